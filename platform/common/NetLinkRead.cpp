// The way in of a link: who reads, and who runs the received callback.
#include <algorithm>
#include <exception>

#include "platform/common/LastError.h"
#include "platform/common/NetConnector.h"
#include "platform/common/NetLink.h"

namespace Netrova::Link {

using Kernova::Internal::MutexLock;
using Platova::FailWith;

namespace {

// No matter how much a Recv asks for, this is what one receive takes at most.
constexpr std::size_t kMaxReadBytes = 64u << 10;

}  // namespace

int _THandle::Recv(int nSize)
{
    if (nSize <= 0)
        return FailWith(asio::error::invalid_argument);
    const std::size_t nBytes = std::min(static_cast<std::size_t>(nSize), kMaxReadBytes);
    const MutexLock lock(m_mutex);
    if (m_bClosed)
        return FailWith(asio::error::not_connected);
    try {
        if (m_deqCredits.empty() || m_deqCredits.back().nSize != nBytes)
            m_deqCredits.push_back(Credits{nBytes, 0});
        if (m_reader == Reader::Nobody)
            AppointReader();
    } catch (const std::exception&) {
        return FailWith(asio::error::no_memory);
    }
    ++m_deqCredits.back().nCount;
    return 0;
}

// The reader cannot look for its credit before the lock is given back.
void _THandle::AppointReader()
{
    if (AppointThread())
        return;
    m_pTransport->PostRead();
    m_reader = Reader::Strand;
}

// False if the pool has no thread to spare, and then the reader is who it was.
bool _THandle::AppointThread()
{
    if (m_bHung || m_bLost || !m_pTransport->MayBlock() || !m_connector.LendThread())
        return false;
    try {
        asio::post(m_connector.GetContext(),
                   [pSelf = shared_from_this(), pTransport = m_pTransport, nReader = m_nReader + 1] {
                       pSelf->ReadLoop(*pTransport, nReader);
                       pSelf->m_connector.ThreadIsBack();
                   });
    } catch (const std::exception&) {
        m_connector.ThreadIsBack();
        return false;
    }
    ++m_nReader;
    m_reader = Reader::Thread;
    return true;
}

// 0, with nobody appointed any more, if there is none.
std::size_t _THandle::TakeCredit()
{
    while (!m_deqCredits.empty() && m_deqCredits.front().nCount == 0)
        m_deqCredits.pop_front();
    if (m_deqCredits.empty()) {
        m_reader = Reader::Nobody;
        return 0;
    }
    --m_deqCredits.front().nCount;
    return m_deqCredits.front().nSize;
}

bool _THandle::AddPending(const char* pBytes, std::size_t nCount)
{
    try {
        m_vecPending.insert(m_vecPending.end(), pBytes, pBytes + nCount);
    } catch (const std::exception&) {
        return false;
    }
    ++m_nCallbacksDue;
    return true;
}

// ---- the strand as the reader ----

std::size_t _THandle::TakeCreditOnStrand()
{
    const MutexLock lock(m_mutex);
    return m_reader == Reader::Strand ? TakeCredit() : 0;
}

bool _THandle::AddReceivedOnStrand(const char* pBytes, std::size_t nCount)
{
    {
        const MutexLock lock(m_mutex);
        if (!AddPending(pBytes, nCount))
            return false;
        AppointThread();
        if (!m_bConnectedReturned || m_bDelivering)
            return true;
        m_bDelivering = true;
    }
    PostReceived();
    return true;
}

// ---- a thread as the reader ----

void _THandle::ReadLoop(Transport& transport, unsigned int nReader)
{
    std::vector<char> vecRead;
    while (ReadOnce(transport, vecRead, nReader)) {
    }
}

std::size_t _THandle::TakeCreditOnThread(unsigned int nReader)
{
    const MutexLock lock(m_mutex);
    return nReader == m_nReader && m_reader == Reader::Thread ? TakeCredit() : 0;
}

// False when this thread is not the reader any more.
bool _THandle::ReadOnce(Transport& transport, std::vector<char>& vecRead, unsigned int nReader)
{
    const std::size_t nSize = TakeCreditOnThread(nReader);
    if (nSize == 0)
        return false;
    std::size_t nCount = 0;
    try {
        vecRead.resize(std::max(nSize, vecRead.size()));
        nCount = transport.ReadNow(vecRead.data(), nSize);
    } catch (const std::exception&) {  // out of memory
    }
    // In one hold of the lock: another thread that delivers could take what has been added for its own.
    bool bAdded = false;
    bool bBegin = false;
    bool bWatch = false;
    if (nCount != 0) {
        const MutexLock lock(m_mutex);
        bAdded = AddPending(vecRead.data(), nCount);
        bBegin = bAdded && BeginCallback(bWatch);
    }
    if (!bAdded) {
        transport.PostLose();
        return false;
    }
    if (bWatch)
        transport.PostWatch();
    if (!bBegin)
        return true;
    for (bool bAgain = true; bAgain;) {
        m_connector.RunCallback(Connector::Event::Received, this);
        if (!EndCallback(nReader, bAgain))
            return false;
    }
    return true;
}

// False if the callback cannot run yet or another thread runs it. bWatch: the watch has to begin.
bool _THandle::BeginCallback(bool& bWatch)
{
    if (m_bLost || !m_bConnectedReturned || m_bDelivering)
        return false;
    m_bDelivering = true;
    m_bReaderCalls = true;
    ++m_nCalls;
    bWatch = !m_bWatching;
    if (bWatch) {
        m_bWatching = true;
        m_nCallsSeen = m_nCalls;
    }
    return true;
}

// False if another reader has been appointed meanwhile. bAgain: more has arrived, and this thread has to call
// again.
bool _THandle::EndCallback(unsigned int nReader, bool& bAgain)
{
    {
        const MutexLock lock(m_mutex);
        --m_nCallbacksDue;
        m_bDelivering = m_nCallbacksDue != 0;
        bAgain = m_bDelivering;
        if (nReader == m_nReader) {
            m_bReaderCalls = bAgain;
            m_nCalls += bAgain ? 1 : 0;
            return true;
        }
        m_bHung = false;
    }
    if (bAgain)
        PostReceived();
    return false;
}

bool _THandle::Watch()
{
    const MutexLock lock(m_mutex);
    const bool bSame = m_nCalls == m_nCallsSeen;
    m_nCallsSeen = m_nCalls;
    m_bWatching = !m_bLost && (!bSame || m_bReaderCalls);
    if (m_bLost || !bSame || !m_bReaderCalls)
        return m_bWatching;
    if (!m_deqCredits.empty())
        m_pTransport->PostRead();
    m_reader = m_deqCredits.empty() ? Reader::Nobody : Reader::Strand;
    ++m_nReader;
    m_bReaderCalls = false;
    m_bHung = true;
    m_bWatching = false;
    return false;
}

void _THandle::EndWatch()
{
    const MutexLock lock(m_mutex);
    m_bWatching = false;
}

}  // namespace Netrova::Link
