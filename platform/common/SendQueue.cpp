#include "platform/common/SendQueue.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <utility>

#include "platform/Netrova.h"
#include "platform/common/LastError.h"
#include "platform/common/NetTransport.h"

namespace Netrova {

using Kernova::Internal::MutexLock;
using Platova::FailWith;

namespace {

// Small blocks are gathered into one up to this size, so that one system call takes them all.
constexpr std::size_t kGatheredBytes = 16u << 10;

// Of all queues: what m_nBytes of each holds.
std::atomic<std::size_t> g_nQueued{0};

// So often a sender writes what others have queued meanwhile; then the pool goes on.
constexpr int kMostRounds = 32;

// What a gathering and each of its senders may take on a processor of their own.
constexpr std::chrono::microseconds kGatheringTime{500};
constexpr std::chrono::microseconds kSenderTime{20};

}  // namespace

bool GatheringPace::Begin(std::size_t nSenders, Clock::time_point now)
{
    m_limit = now + kGatheringTime + nSenders * kSenderTime;
    return now >= m_restsUntil;
}

void GatheringPace::End(Clock::time_point now)
{
    if (now > m_limit) {
        m_restsUntil = now + m_rest;
        m_rest = std::min(m_rest * 2, kLongestRest);
        m_nGood = 0;
    } else if (++m_nGood == kMany) {
        m_rest = std::max(m_rest / 2, kShortestRest);
        m_nGood = 0;
    }
}

std::size_t Link::GetQueuedBytes() { return g_nQueued.load(std::memory_order_relaxed); }

SendQueue::~SendQueue() { g_nQueued.fetch_sub(m_nBytes, std::memory_order_relaxed); }

void SendQueue::TakeOff(std::size_t nBytes)
{
    m_nBytes -= nBytes;
    g_nQueued.fetch_sub(nBytes, std::memory_order_relaxed);
}

void SendQueue::Open(std::shared_ptr<Transport> pTransport)
{
    const MutexLock lock(m_mutex);
    m_pTransport = std::move(pTransport);
}

void SendQueue::Close()
{
    const MutexLock lock(m_mutex);
    m_bClosed = true;
    AppendHeld();
}

void SendQueue::Shut()
{
    std::shared_ptr<Transport> pTransport;
    const MutexLock lock(m_mutex);
    m_bClosed = true;
    while (m_writer == Writer::Sender)
        m_left.wait(m_mutex);
    pTransport.swap(m_pTransport);
}

int SendQueue::Accept(Kernova::MemoryPool::_XMemory& memory, bool bHold)
{
    const std::size_t nLength = memory.GetLength();
    const MutexLock lock(m_mutex);
    if (m_bClosed)
        return FailWith(asio::error::not_connected);
    if (m_nBytes == 0)
        m_nLargest = 0;
    if (m_nBytes > Link::kMaxQueuedBytes + m_nLargest)
        return FailWith(asio::error::no_buffer_space);
    if (nLength == 0)
        return 0;
    try {
        Append(bHold ? m_vecHeld : m_vecQueued, memory.Join());
    } catch (const std::exception&) {
        return FailWith(asio::error::no_memory);
    }
    memory.DropFront(nLength);
    m_nBytes += nLength;
    g_nQueued.fetch_add(nLength, std::memory_order_relaxed);
    m_nLargest = std::max(m_nLargest, nLength);
    return static_cast<int>(nLength);
}

// Uses the bytes up, unless it throws.
void SendQueue::Append(Blocks& vecBlocks, std::vector<char>& vecBytes)
{
    if (!vecBlocks.empty() && vecBlocks.back().size() + vecBytes.size() <= kGatheredBytes)
        vecBlocks.back().insert(vecBlocks.back().end(), vecBytes.begin(), vecBytes.end());
    else
        vecBlocks.push_back(std::move(vecBytes));
    vecBytes.clear();
}

// Without memory the rest stays held until the next call.
void SendQueue::AppendHeld()
{
    if (m_vecQueued.empty()) {
        m_vecQueued.swap(m_vecHeld);
        return;
    }
    std::size_t nDone = 0;
    try {
        for (; nDone < m_vecHeld.size(); ++nDone)
            Append(m_vecQueued, m_vecHeld[nDone]);
    } catch (const std::exception&) {
    }
    m_vecHeld.erase(m_vecHeld.begin(), m_vecHeld.begin() + static_cast<std::ptrdiff_t>(nDone));
}

Transport* SendQueue::Release()
{
    const MutexLock lock(m_mutex);
    if (m_vecHeld.empty())
        return nullptr;
    AppendHeld();
    if (m_nExpected != 0 && --m_nExpected != 0)
        return nullptr;
    return BeginWritingLocked();
}

void SendQueue::BeginGathering(std::size_t nSenders)
{
    const MutexLock lock(m_mutex);
    m_bGathering = m_pace.Begin(nSenders, GatheringPace::Clock::now());
    m_nExpected = m_bGathering ? nSenders : 0;
}

bool SendQueue::IsGathering()
{
    const MutexLock lock(m_mutex);
    return m_nExpected != 0;
}

Transport* SendQueue::EndGathering()
{
    const MutexLock lock(m_mutex);
    if (std::exchange(m_bGathering, false))
        m_pace.End(GatheringPace::Clock::now());
    m_nExpected = 0;
    return BeginWritingLocked();
}

Transport* SendQueue::BeginWriting()
{
    const MutexLock lock(m_mutex);
    return BeginWritingLocked();
}

Transport* SendQueue::BeginWritingLocked()
{
    if (m_writer != Writer::Nobody || !m_pTransport)
        return nullptr;
    if (m_vecSending.empty())
        m_vecSending.swap(m_vecQueued);
    if (m_vecSending.empty())
        return nullptr;
    m_writer = Writer::Sender;
    return m_pTransport.get();
}

void SendQueue::Flush(Transport* pTransport)
{
    if (pTransport == nullptr)
        return;
    std::size_t nSent = 0;
    for (int nRound = 1; nRound == 1 || NextRound(nRound - 1, nSent); ++nRound) {
        switch (pTransport->WriteNow(m_vecSending, m_nSendingFront, nSent)) {
            case LinkSocket::Sent::All:
                break;
            case LinkSocket::Sent::Part:
                return EndWithPart(nSent);
            case LinkSocket::Sent::Failed:
                return EndWithFailure();
        }
    }
}

// After that many rounds: gives the writer what others have queued meanwhile. False if the calling thread is
// the writer no more.
bool SendQueue::NextRound(int nRounds, std::size_t nSentBefore)
{
    const MutexLock lock(m_mutex);
    TakeOff(nSentBefore);
    m_vecSending.clear();
    m_nSendingFront = 0;
    if (!m_vecQueued.empty() && nRounds < kMostRounds) {
        m_vecSending.swap(m_vecQueued);
        return true;
    }
    m_writer = Writer::Nobody;
    if (!m_vecQueued.empty() || m_bClosed)
        TellStrand();  // for the rest; a closed link waits for this before it closes the socket
    TellShut();
    return false;
}

// The peer takes no more at once.
void SendQueue::EndWithPart(std::size_t nSent)
{
    const MutexLock lock(m_mutex);
    TakeOff(nSent);
    DropSent(nSent);
    TellStrand();
    TellShut();
}

void SendQueue::EndWithFailure()
{
    const MutexLock lock(m_mutex);
    m_writer = Writer::Nobody;
    m_vecSending.clear();
    m_nSendingFront = 0;
    try {
        m_pTransport->PostLose();
        m_bClosed = true;
    } catch (const std::exception&) {  // the next sender finds it broken again
    }
    TellShut();
}

void SendQueue::TellShut()
{
    if (m_bClosed)
        m_left.notify_all();
}

// Leaves the writing to the transport; without memory for that to the next sender.
void SendQueue::TellStrand()
{
    m_writer = Writer::Nobody;
    try {
        m_pTransport->PostWrite();
        m_writer = Writer::Strand;
    } catch (const std::exception&) {
    }
}

void SendQueue::DropSent(std::size_t nCount)
{
    nCount += m_nSendingFront;
    auto it = m_vecSending.begin();
    for (; it != m_vecSending.end() && nCount >= it->size(); ++it)
        nCount -= it->size();
    m_vecSending.erase(m_vecSending.begin(), it);
    m_nSendingFront = nCount;
}

bool SendQueue::Take(Blocks& vecBlocks, std::size_t& nFront)
{
    const MutexLock lock(m_mutex);
    if (m_writer == Writer::Sender)
        return false;
    vecBlocks.clear();
    vecBlocks.swap(m_vecSending.empty() ? m_vecQueued : m_vecSending);
    nFront = std::exchange(m_nSendingFront, 0);
    m_writer = vecBlocks.empty() ? Writer::Nobody : Writer::Strand;
    return !vecBlocks.empty();
}

void SendQueue::Written(std::size_t nCount)
{
    const MutexLock lock(m_mutex);
    TakeOff(nCount);
}

bool SendQueue::HasSentAll()
{
    const MutexLock lock(m_mutex);
    return m_nBytes == 0;
}

bool SendQueue::IsEmpty()
{
    const MutexLock lock(m_mutex);
    return m_writer != Writer::Sender && m_vecQueued.empty() && m_vecSending.empty();
}

}  // namespace Netrova
