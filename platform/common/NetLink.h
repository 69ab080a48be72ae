// A link: its reference count, its two queues, and the order of its callbacks.
#pragma once

#include <atomic>
#include <cstddef>
#include <deque>
#include <memory>
#include <vector>

#include "platform/Netrova.h"
#include "platform/common/Mutex.h"
#include "platform/common/NetTransport.h"
#include "platform/common/OwnedLock.h"

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
    int Recv(int nSize);
    Strova::_THandle* LockReadStream();
    bool UnlockReadStream();
    bool Close();

    // ---- for the connector ----
    // Runs the connected callback and lets the others follow. On a pool thread, once.
    void RunConnected();
    // Undoes Create for a link that nobody has heard of yet.
    void Abandon();
    bool IsClosed();

    // ---- for the transport, on its strand ----
    // Takes the size of the next receive off the credits; 0 if there is none, and then the next Recv
    // wakes the transport again.
    std::size_t TakeCredit();
    // Bytes for the read stream, and a received callback for them. False without memory.
    bool AddReceived(const char* pBytes, std::size_t nCount);
    // Everything that is waiting to be sent; false if there is nothing, and then the next Send wakes the
    // transport again.
    bool TakeQueued(std::vector<std::vector<char>>& vecBlocks);
    void Written(std::size_t nCount);
    // The connection is over. Any number of times.
    void Lost();

private:
    struct Credits {
        std::size_t nSize;
        std::size_t nCount;
    };

    void PostReceived();
    void RunReceived();
    void PostDisconnected();
    void RunDisconnected();
    void AppendToQueue(std::vector<char> vecBytes) REQUIRES(m_mutex);

    Connector::_THandle& m_connector;
    std::atomic<int> m_nRefs{1};
    std::shared_ptr<_THandle> m_pSelf;  // held while the count is not 0

    Kernova::Internal::OwnedLock m_readLock{Kernova::Threading::LockRank::ReadStream};  // guards the stream
    Strova::_THandle* const m_pStream;

    Kernova::Internal::Mutex m_mutex;
    std::shared_ptr<Transport> m_pTransport GUARDED_BY(m_mutex);  // null after the disconnected callback
    bool m_bClosed GUARDED_BY(m_mutex) = false;                   // refuses Send and Recv
    bool m_bLost GUARDED_BY(m_mutex) = false;  // the disconnected callback is due or has been
    bool m_bConnectedReturned GUARDED_BY(m_mutex) = false;
    // Reading
    std::deque<Credits> m_deqCredits GUARDED_BY(m_mutex);
    bool m_bReading GUARDED_BY(m_mutex) = false;          // the transport looks for credits by itself
    std::vector<char> m_vecPending GUARDED_BY(m_mutex);   // received, not yet in the stream
    std::size_t m_nCallbacksDue GUARDED_BY(m_mutex) = 0;  // with the one that is running
    bool m_bDelivering GUARDED_BY(m_mutex) = false;       // a received callback is running or posted
    // Writing
    std::vector<std::vector<char>> m_vecQueued GUARDED_BY(m_mutex);
    std::size_t m_nQueuedBytes GUARDED_BY(m_mutex) = 0;  // with those being written
    bool m_bWriting GUARDED_BY(m_mutex) = false;         // the transport looks at the queue by itself
};

}  // namespace Netrova::Link
