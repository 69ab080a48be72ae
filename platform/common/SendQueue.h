// The blocks of a link between their senders and the socket.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <memory>

#include "platform/common/LinkSocket.h"
#include "platform/common/Mutex.h"
#include "platform/common/XMemory.h"

namespace Netrova {

class Transport;

// Whether blocks may be gathered. Who gathers gives its processor away, and on a busy machine the one who
// takes it keeps it for milliseconds: after that, gathering rests, twice as long each time, and less again
// once it has gone well for long.
class GatheringPace {
public:
    using Clock = std::chrono::steady_clock;

    bool Begin(std::size_t nSenders, Clock::time_point now);  // false while it rests
    void End(Clock::time_point now);                          // after a Begin that was true

private:
    static constexpr std::chrono::milliseconds kShortestRest{10};
    static constexpr std::chrono::milliseconds kLongestRest{3200};
    static constexpr int kMany = 1000;

    Clock::time_point m_restsUntil{};
    Clock::time_point m_limit{};  // what ends later has taken long
    std::chrono::milliseconds m_rest = kShortestRest;
    int m_nGood = 0;  // in a row
};

// Whoever sends writes to the socket itself, unless another thread is writing: then that thread takes the
// block along. What the socket does not take at once is left to the transport, which waits for the peer.
class SendQueue {
public:
    SendQueue() = default;
    ~SendQueue();
    SendQueue(const SendQueue&) = delete;
    SendQueue& operator=(const SendQueue&) = delete;

    void Open(std::shared_ptr<Transport> pTransport);
    // Refuses blocks from now on; what has been accepted may leave.
    void Close();
    // Lets the transport go, once no sender writes to it any more.
    void Shut();

    // The number of bytes accepted, or -1 with the reason as the thread's last error. A held block does not
    // leave before Release.
    int Accept(Kernova::MemoryPool::_XMemory& memory, bool bHold);
    // Lets the held blocks leave, unless they are gathered. A transport: the calling thread is the writer
    // now, and Flush has to follow. Null if no block was held, somebody else writes, or more senders are
    // expected.
    Transport* Release();
    // Makes the calling thread the writer if nobody is and there is something to write; null otherwise.
    Transport* BeginWriting();
    // From here to EndGathering: what is released waits until so many senders have released something, or
    // until somebody writes. Nothing waits while gathering rests because it has taken long.
    void BeginGathering(std::size_t nSenders);
    bool IsGathering();  // whether senders are still expected
    // As BeginWriting.
    Transport* EndGathering();
    // Writes until nothing is left, for the writer.
    void Flush(Transport* pTransport);
    bool HasSentAll();

    // ---- for the transport, on its strand ----
    // Everything that may leave, without the first nFront bytes of the first block. False if there is nothing
    // or a sender is writing; the transport is told when there is something for it again.
    bool Take(Blocks& vecBlocks, std::size_t& nFront);
    void Written(std::size_t nCount);
    bool IsEmpty();  // and no sender is writing

private:
    enum class Writer { Nobody, Sender, Strand };

    static void Append(Blocks& vecBlocks, std::vector<char>& vecBytes);
    void AppendHeld() REQUIRES(m_mutex);
    void TellStrand() REQUIRES(m_mutex);
    void TellShut() REQUIRES(m_mutex);
    void DropSent(std::size_t nCount) REQUIRES(m_mutex);
    void TakeOff(std::size_t nBytes) REQUIRES(m_mutex);
    Transport* BeginWritingLocked() REQUIRES(m_mutex);
    bool NextRound(int nRounds, std::size_t nSentBefore);
    void EndWithPart(std::size_t nSent);
    void EndWithFailure();

    Kernova::Internal::Mutex m_mutex;
    std::condition_variable_any m_left;  // the last sender has left a closed queue
    std::shared_ptr<Transport> m_pTransport GUARDED_BY(m_mutex);
    bool m_bClosed GUARDED_BY(m_mutex) = false;
    Writer m_writer GUARDED_BY(m_mutex) = Writer::Nobody;
    Blocks m_vecHeld GUARDED_BY(m_mutex);    // of the thread that holds the active links
    Blocks m_vecQueued GUARDED_BY(m_mutex);  // may leave
    bool m_bGathering GUARDED_BY(m_mutex) = false;
    std::size_t m_nExpected GUARDED_BY(m_mutex) = 0;  // senders that are yet to come meanwhile
    GatheringPace m_pace GUARDED_BY(m_mutex);
    std::size_t m_nBytes GUARDED_BY(m_mutex) = 0;    // of all blocks, with those being written
    std::size_t m_nLargest GUARDED_BY(m_mutex) = 0;  // of the blocks since the queue was last empty
    // What a sender is writing: its own while it is the writer.
    Blocks m_vecSending;
    std::size_t m_nSendingFront = 0;  // bytes of the first block that have been sent
};

}  // namespace Netrova
