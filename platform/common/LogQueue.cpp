#include "platform/common/LogQueue.h"

#include <spdlog/details/log_msg.h>
#include <spdlog/details/os.h>

#include <algorithm>
#include <exception>
#include <utility>

#include "platform/Host.h"
#include "platform/common/SignalsBlocked.h"

namespace Logova {

using Kernova::Internal::MutexLock;

std::shared_ptr<LogQueue> LogQueue::Start(std::size_t nLength, std::chrono::seconds flushInterval,
                                          std::function<void(const char*)> complain)
{
    auto pQueue = std::make_shared<LogQueue>(nLength, flushInterval, std::move(complain));
    // Made here: the thread itself has nobody to tell that there is no memory.
    std::vector<Line> vecBatch(kBatch);
    const Kernova::Internal::SignalsBlocked blocked;
    pQueue->m_thread = std::thread([pQueue, vecBatch = std::move(vecBatch)]() mutable {
        Host::NameThread("velkar-log");
        pQueue->Main(vecBatch);
    });
    return pQueue;
}

LogQueue::LogQueue(std::size_t nLength, std::chrono::seconds flushInterval,
                   std::function<void(const char*)> complain)
    : m_nLength(nLength), m_flushInterval(flushInterval), m_complain(std::move(complain))
{
}

void LogQueue::End()
{
    const auto until = std::chrono::steady_clock::now() + kEnd;
    bool bEnded = false;
    {
        const MutexLock lock(m_mutex);
        m_bEnd = true;
        m_cond.notify_all();
        while (!m_bEnded && m_cond.wait_until(m_mutex, until) != std::cv_status::timeout) {
        }
        bEnded = m_bEnded;
        m_bLeftBehind = !bEnded;
    }
    if (bEnded) {
        m_thread.join();
    } else {
        Host::PinLibrary();
        m_thread.detach();
    }
}

void LogQueue::Keep(const std::shared_ptr<RotatingSink>& pSink)
{
    const MutexLock lock(m_mutex);
    m_setSinks.insert(pSink);
}

void LogQueue::SetReporter(std::shared_ptr<StatusReporter> pReporter)
{
    const MutexLock lock(m_mutex);
    m_pReporter = std::move(pReporter);
    m_cond.notify_all();
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

bool LogQueue::IsUrgent() const { return m_bEnd || m_bFlush || m_nWaiting > std::min(kMany, m_nLength / 2); }

void LogQueue::Grow()
{
    std::vector<Line> vecRing(std::min(m_nLength, std::max(kBatch, m_vecRing.size() * 2)));
    for (std::size_t n = 0; n < m_nWaiting; ++n)
        std::swap(vecRing[n], m_vecRing[(m_nFront + n) % m_vecRing.size()]);
    m_vecRing.swap(vecRing);
    m_nFront = 0;
}

void LogQueue::Main(std::vector<Line>& vecBatch)
{
    const MutexLock lock(m_mutex);
    bool bWritten = false;
    for (;;) {
        if (m_nWaiting != 0) {
            WriteBatch(vecBatch);
            bWritten = true;
        } else if (m_bEnd) {
            break;
        } else {
            // A process that exits without a stop loses what it still holds.
            if (bWritten)
                FlushAll(false);
            Wait(bWritten);
            bWritten = false;
        }
        if (m_bUnflushed && std::chrono::steady_clock::now() >= m_nextFlush)
            FlushAll(false);
        if (m_pReporter && std::chrono::steady_clock::now() >= m_nextLook)
            Report(false);
    }
    FlushAll(true);
    Report(true);
    m_bEnded = true;
    m_cond.notify_all();
}

// While lines keep coming, for kPause; otherwise until the next line or other work.
void LogQueue::Wait(bool bWritten)
{
    if (bWritten) {
        const auto until = std::chrono::steady_clock::now() + kPause;
        m_state = State::Pausing;
        while (!IsUrgent() && m_cond.wait_until(m_mutex, until) != std::cv_status::timeout) {
        }
    } else {
        m_state = State::Asleep;
        while (!m_bEnd && m_nWaiting == 0) {
            const auto until = NextWork();
            if (until == std::chrono::steady_clock::time_point::max())
                m_cond.wait(m_mutex);
            else if (m_cond.wait_until(m_mutex, until) == std::cv_status::timeout)
                break;
        }
    }
    m_state = State::Writing;
}

// What the thread has to do when no line comes, or never.
std::chrono::steady_clock::time_point LogQueue::NextWork() const
{
    constexpr auto kNever = std::chrono::steady_clock::time_point::max();
    return std::min(m_bUnflushed ? m_nextFlush : kNever, m_pReporter ? m_nextLook : kNever);
}

// The status file of a thread that is left behind belongs to the service's next start.
void LogQueue::Report(bool bEnd)
{
    const std::shared_ptr<StatusReporter> pReporter = m_pReporter;
    if (!pReporter || m_bLeftBehind)
        return;
    m_nextLook = std::chrono::steady_clock::now() + StatusReporter::kLook;
    m_mutex.unlock();
    Try([&] { pReporter->Run(bEnd); });
    m_mutex.lock();
}

void LogQueue::WriteBatch(std::vector<Line>& vecBatch)
{
    const std::size_t nTaken = std::min(kBatch, m_nWaiting);
    for (std::size_t n = 0; n < nTaken; ++n) {
        std::swap(vecBatch[n], m_vecRing[m_nFront]);
        m_nFront = (m_nFront + 1) % m_vecRing.size();
    }
    m_nWaiting -= nTaken;
    m_bFlush = m_bFlush && m_nWaiting != 0;
    if (!m_bUnflushed) {
        m_bUnflushed = true;
        m_nextFlush = std::chrono::steady_clock::now() + m_flushInterval;
    }
    m_mutex.unlock();
    for (std::size_t n = 0; n < nTaken; ++n)
        Write(vecBatch[n]);
    m_mutex.lock();
}

void LogQueue::Write(Line& line)
{
    Try([&] {
        // The sink asks for none of spdlog's own levels.
        spdlog::details::log_msg msg(line.time, CarryLevel(line.level), {}, spdlog::level::info,
                                     line.strText);
        msg.thread_id = line.nThread;
        line.pSink->log(msg);
        if (line.bFlush)
            line.pSink->flush();
    });
    if (line.strText.capacity() > kKeptText)
        std::string().swap(line.strText);
}

// No writer waits meanwhile. A closed file belongs to another service from then on, or to nobody.
void LogQueue::FlushAll(bool bClose)
{
    std::set<std::shared_ptr<RotatingSink>> setSinks;
    Try([&]() NO_THREAD_SAFETY_ANALYSIS { setSinks = m_setSinks; });
    if (bClose)
        m_setSinks.clear();
    m_bUnflushed = false;
    m_mutex.unlock();
    for (const std::shared_ptr<RotatingSink>& pSink : setSinks)
        Try([&] { pSink->flush(); });
    setSinks.clear();
    m_mutex.lock();
}

template <class Call>
void LogQueue::Try(Call call) noexcept
{
    try {
        call();
    } catch (const std::exception& error) {
        m_complain(error.what());
    } catch (...) {
        m_complain("an unknown error");
    }
}

}  // namespace Logova
