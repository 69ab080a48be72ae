// Links, connectors and what lies between them and a MemoryTransport. Not for tests.
//
// Locks, outermost first: a connector's active list or a link's read-stream lock; a link's mutex; a
// connector's mutex, an inbox's mutex, a pool's mutex. Callbacks run without any of the last four.
#pragma once

#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/Netrova.h"
#include "tests/fakeplatform/Parts.h"
#include "tests/fakeplatform/Stream.h"

namespace Fake {

// What has happened on a transport's connections and has not been told to its sink yet.
struct Inbox {
    enum class What { Opened, Bytes, Closed };
    struct Event {
        What what;
        int nConnection;
        std::string strBytes;
    };

    std::mutex mutex;
    std::condition_variable cond;
    std::deque<Event> deqEvents;
    std::map<int, Netrova::Link::_THandle*> mapLinks;  // open connections; each holds a reference
    int nLastConnection = 0;
    bool bAccept = true;
    bool bHoldReading = false;
    bool bTelling = false;  // the sink is being told of an event
    bool bEnd = false;

    bool HasWork() const { return !deqEvents.empty() && !bHoldReading; }
    void Post(What what, int nConnection, std::string strBytes = {})
    {
        const std::lock_guard lock(mutex);
        if (!bEnd)
            deqEvents.push_back({what, nConnection, std::move(strBytes)});
        cond.notify_all();
    }
};

// The inbox that listens on that port; null if none does.
std::shared_ptr<Inbox> FindListener(unsigned short nPort);

}  // namespace Fake

namespace Netrova::Connector {

enum Slot { kConnected, kDisconnected, kTimeout, kReceived, kSlots };

struct _THandle;

}  // namespace Netrova::Connector

namespace Netrova::ActiveLinkList {
struct _THandle {
    std::recursive_mutex mutex;
    std::vector<Link::_THandle*> vecLinks;
};
}  // namespace Netrova::ActiveLinkList

namespace Netrova::Connector {

struct _THandle {
    struct Target {
        Callback pfn = nullptr;
        void* pContext = nullptr;
    };

    Kernova::ThreadPool::_THandle* pPool = nullptr;
    ActiveLinkList::_THandle active;

    std::mutex mutex;
    std::condition_variable cond;
    Target targets[kSlots];
    int nTasks = 0;       // on the pool or about to be
    int nLinks = 0;       // their disconnected callback has not returned yet
    int nConnecting = 0;  // threads inside Connect
    bool bEnding = false;

    void Call(Slot slot, Link::_THandle* pLink);
    // Runs the task on the pool; the connector lives until it has returned.
    void Post(std::function<void()> task);
};

}  // namespace Netrova::Connector

namespace Netrova::Link {

struct _THandle {
    _THandle(Connector::_THandle* pOwner, std::shared_ptr<Fake::Inbox> pInbox, int nConnection);
    ~_THandle();

    // ---- the network's side ----
    void OnPeerBytes(const std::string& strBytes);
    void OnPeerClose(bool bAbruptly);
    void OnTaken(std::size_t nBytes);  // the peer has read that much

    void RunConnected();
    void Pump();        // under the mutex: starts whatever is due
    bool BeginClose();  // false if closed already

    std::atomic<int> nReferences{1};        // the first is the connector's, until disconnected has run
    Connector::_THandle* const pConnector;  // gone once disconnected has run
    const std::shared_ptr<Fake::Inbox> pInbox;
    const int nConnection;

    std::mutex mutex;
    std::deque<std::string> deqIncoming;
    std::deque<int> deqCredits;
    int nReceived = 0;        // received callbacks that have returned
    std::size_t nQueued = 0;  // sent and not read by the peer
    bool bConnected = false;  // the connected callback has returned
    bool bReceiving = false;
    bool bPeerClosed = false;
    bool bClosed = false;

    std::recursive_mutex streamMutex;
    Strova::_THandle stream;

private:
    void RunReceived();
    void Close();  // under the mutex
    void RunDisconnected();
};

}  // namespace Netrova::Link
