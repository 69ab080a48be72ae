#include "platform/common/LogQueue.h"

#include <spdlog/details/log_msg.h>
#include <spdlog/details/os.h>

#include <algorithm>
#include <exception>
#include <utility>

namespace Logova {

using Kernova::Internal::MutexLock;

LogQueue::LogQueue(std::size_t nLength, std::function<void(const char*)> complain)
    : m_nLength(nLength), m_complain(std::move(complain)), m_thread([this] { Main(); })
{
}

LogQueue::~LogQueue()
{
    {
        const MutexLock lock(m_mutex);
        m_bEnd = true;
        m_cond.notify_one();
    }
    m_thread.join();
}

void LogQueue::Push(RotatingSink& sink, Level level, bool bFlush, std::string_view text)
{
    const auto now = spdlog::details::os::now();
    const std::size_t nThread = spdlog::details::os::thread_id();
    bool bWake = false;
    {
        const MutexLock lock(m_mutex);
        if (m_nWaiting == m_vecRing.size() && m_nWaiting < m_nLength)
            Grow();
        if (m_nWaiting == m_nLength) {
            m_nFront = (m_nFront + 1) % m_vecRing.size();
            --m_nWaiting;
            ++m_nLost;
        }
        Line& line = m_vecRing[(m_nFront + m_nWaiting) % m_vecRing.size()];
        line.strText.assign(text);
        line.time = now;
        line.nThread = nThread;
        line.level = level;
        line.bFlush = bFlush;
        line.pSink = &sink;
        ++m_nWaiting;
        m_bFlush = m_bFlush || bFlush;
        bWake = m_state == State::Asleep || (m_state == State::Pausing && IsUrgent());
        if (bWake)
            m_state = State::Writing;
    }
    if (bWake)
        m_cond.notify_one();
}

std::size_t LogQueue::GetWaiting()
{
    const MutexLock lock(m_mutex);
    return m_nWaiting;
}

std::size_t LogQueue::GetLost()
{
    const MutexLock lock(m_mutex);
    return m_nLost;
}

bool LogQueue::IsUrgent() const { return m_bEnd || m_bFlush || m_nWaiting > m_nLength / 2; }

void LogQueue::Grow()
{
    std::vector<Line> vecRing(std::min(m_nLength, std::max(kBatch, m_vecRing.size() * 2)));
    for (std::size_t n = 0; n < m_nWaiting; ++n)
        std::swap(vecRing[n], m_vecRing[(m_nFront + n) % m_vecRing.size()]);
    m_vecRing.swap(vecRing);
    m_nFront = 0;
}

void LogQueue::Main()
{
    std::vector<Line> vecBatch(kBatch);
    const MutexLock lock(m_mutex);
    for (;;) {
        const bool bAny = m_nWaiting != 0;
        WriteAll(vecBatch);
        if (m_bEnd)
            return;
        if (bAny) {
            const auto until = std::chrono::steady_clock::now() + kPause;
            m_state = State::Pausing;
            while (!IsUrgent() && m_cond.wait_until(m_mutex, until) != std::cv_status::timeout) {
            }
        } else {
            m_state = State::Asleep;
            while (!m_bEnd && m_nWaiting == 0)
                m_cond.wait(m_mutex);
        }
        m_state = State::Writing;
    }
}

void LogQueue::WriteAll(std::vector<Line>& vecBatch)
{
    while (m_nWaiting != 0) {
        const std::size_t nTaken = std::min(kBatch, m_nWaiting);
        for (std::size_t n = 0; n < nTaken; ++n) {
            std::swap(vecBatch[n], m_vecRing[m_nFront]);
            m_nFront = (m_nFront + 1) % m_vecRing.size();
        }
        m_nWaiting -= nTaken;
        m_bFlush = m_bFlush && m_nWaiting != 0;
        m_mutex.unlock();
        for (std::size_t n = 0; n < nTaken; ++n)
            Write(vecBatch[n]);
        m_mutex.lock();
    }
}

void LogQueue::Write(Line& line)
{
    try {
        // The sink asks for none of spdlog's own levels.
        spdlog::details::log_msg msg(line.time, CarryLevel(line.level), {}, spdlog::level::info,
                                     line.strText);
        msg.thread_id = line.nThread;
        line.pSink->log(msg);
        if (line.bFlush)
            line.pSink->flush();
    } catch (const std::exception& error) {
        m_complain(error.what());
    } catch (...) {
        m_complain("an unknown error");
    }
    if (line.strText.capacity() > kKeptText)
        std::string().swap(line.strText);
}

}  // namespace Logova
