// A link: its reference count, its reader, and the order of its callbacks.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

#include "platform/Netrova.h"
#include "platform/common/Mutex.h"
#include "platform/common/NetTransport.h"
#include "platform/common/OwnedLock.h"
#include "platform/common/SendQueue.h"

namespace Netrova::Link {

// Owned by the reference count, and by the library's own shared pointers while it still works on it.
// The connector outlives every callback of the link, but not the link itself.
struct _THandle : public std::enable_shared_from_this<_THandle> {
    // With one reference, the connector's, which goes with the disconnected callback. Throws
    // std::bad_alloc.
    static std::shared_ptr<_THandle> Create(Connector::_THandle& connector, Socket socket);
    explicit _THandle(Connector::_THandle& connector);  // for Create alone
    ~_THandle();
    _THandle(const _THandle&) = delete;
    _THandle& operator=(const _THandle&) = delete;

    // ---- the operations of the contract ----
    int AddRef();
    int Release();
    int Send(Kernova::MemoryPool::_XMemory& memory);
    void BeginGathering(std::size_t nSenders) { m_queue.BeginGathering(nSenders); }
    void EndGathering();
    bool HasSentAll() { return m_queue.HasSentAll(); }
    int Recv(int nSize);
    Strova::_THandle* LockReadStream();
    bool UnlockReadStream();
    bool Close();
    End GetEnd(int& nCode) const;

    // ---- for the connector ----
    // Runs the connected callback and lets the others follow. On a pool thread, once.
    void RunConnected();
    // Undoes Create for a link that nobody has heard of yet.
    void Abandon();
    bool IsClosed();
    SendQueue& GetSendQueue() { return m_queue; }

    // ---- for the transport, on its strand ----
    // Takes the size of the next receive off the credits; 0 if the strand is not to read. A later Recv
    // appoints a reader then.
    std::size_t TakeCreditOnStrand();
    // Bytes for the read stream, and a received callback for them. The strand may have to give the reading to
    // a thread afterwards. False without memory.
    bool AddReceivedOnStrand(const char* pBytes, std::size_t nCount);
    // Lets the strand read if the reader's callback takes long. False when nothing has to be watched any
    // more; the next callback begins another watch.
    bool Watch();
    void EndWatch();
    // The connection is over. Any number of times.
    void Lost();
    // Why, before Lost and from any thread; what comes first counts.
    void NoteEnd(End end, int nCode);
    void NoteSocketEnd(int nCode) { NoteEnd(nCode == 0 ? End::ByPeer : End::Failed, nCode); }

private:
    struct Credits {
        std::size_t nSize;
        std::size_t nCount;
    };
    // Who takes the credits. A thread of the pool reads in a blocking receive and runs the callback itself;
    // the strand reads beside a callback that hangs, and where the pool has no thread to spare.
    enum class Reader { Nobody, Thread, Strand };

    void AppointReader() REQUIRES(m_mutex);
    bool AppointThread() REQUIRES(m_mutex);
    void ReadLoop(Transport& transport, unsigned int nReader);
    bool ReadOnce(Transport& transport, std::vector<char>& vecRead, unsigned int nReader);
    std::size_t TakeCreditOnThread(unsigned int nReader);
    std::size_t TakeCredit() REQUIRES(m_mutex);
    bool AddPending(const char* pBytes, std::size_t nCount) REQUIRES(m_mutex);
    bool BeginCallback(bool& bWatch) REQUIRES(m_mutex);
    bool EndCallback(unsigned int nReader, bool& bAgain);
    void PostReceived();
    void RunReceived();
    void PostDisconnected();
    void RunDisconnected();

    Connector::_THandle& m_connector;
    std::atomic<int> m_nRefs{1};
    static constexpr std::uint64_t kEndNoted = 1u << 31;
    std::atomic<std::uint64_t> m_nEnd{0};  // kEndNoted, the End, and the code in the upper half
    std::shared_ptr<_THandle> m_pSelf;     // held while the count is not 0

    Kernova::Internal::OwnedLock m_readLock{Kernova::Threading::LockRank::ReadStream};  // guards the stream
    Strova::_THandle* const m_pStream;
    SendQueue m_queue;

    Kernova::Internal::Mutex m_mutex;
    std::shared_ptr<Transport> m_pTransport GUARDED_BY(m_mutex);  // null after the disconnected callback
    bool m_bClosed GUARDED_BY(m_mutex) = false;                   // refuses Recv
    bool m_bLost GUARDED_BY(m_mutex) = false;  // the disconnected callback is due or has been
    bool m_bConnectedReturned GUARDED_BY(m_mutex) = false;
    std::deque<Credits> m_deqCredits GUARDED_BY(m_mutex);
    Reader m_reader GUARDED_BY(m_mutex) = Reader::Nobody;
    unsigned int m_nReader GUARDED_BY(m_mutex) = 0;       // the number of the appointment that is in force
    std::vector<char> m_vecPending GUARDED_BY(m_mutex);   // received, not yet in the stream
    std::size_t m_nCallbacksDue GUARDED_BY(m_mutex) = 0;  // with the one that is running
    bool m_bDelivering GUARDED_BY(m_mutex) = false;       // a received callback is running or posted
    bool m_bReaderCalls GUARDED_BY(m_mutex) = false;      // the appointed thread is inside a callback
    bool m_bHung GUARDED_BY(m_mutex) = false;             // a former reader is inside a callback
    unsigned int m_nCalls GUARDED_BY(m_mutex) = 0;        // callbacks that readers have begun
    unsigned int m_nCallsSeen GUARDED_BY(m_mutex) = 0;    // of those, when the watch looked last
    bool m_bWatching GUARDED_BY(m_mutex) = false;
};

}  // namespace Netrova::Link
