// What lies between a link of the library and a MemoryTransport. Not for tests.
//
// Locks, outermost first: a line's mutex; the link's own, an inbox's, the map of lines. A line's mutex is
// never taken inside a link.
#pragma once

#include <asio.hpp>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "platform/common/NetLink.h"
#include "tests/support/Guarded.h"
#include "tests/support/Transport.h"

namespace Fake {

struct Line;
using Sink = Support::Transport::Sink;

// What has happened on a transport's connections and has not been told to its sink yet.
struct InboxState {
    std::condition_variable cond;
    std::deque<std::function<void(Sink&)>> deqEvents;
    std::map<int, std::shared_ptr<Line>> mapLines;  // open connections
    int nLastConnection = 0;
    bool bAccept = true;
    bool bHoldReading = false;
    bool bTelling = false;  // the sink is being told of an event
    bool bEnd = false;

    void Post(std::function<void(Sink&)> tell);
};
using Inbox = Support::Guarded<InboxState>;

// The inbox that listens on that port; null if none does.
std::shared_ptr<Inbox> FindListener(unsigned short nPort);

// One connection: does the work of the link's transport.
struct Line : std::enable_shared_from_this<Line> {
    Line(std::shared_ptr<Inbox> pIn, int nNumber) : pInbox(std::move(pIn)), nConnection(nNumber) {}

    // ---- the library's side ----
    void Attach(std::shared_ptr<Netrova::Link::_THandle> p, asio::io_context& context);
    void Post(void (Line::*pfnWork)());  // on a pool thread; not once the line has ended
    void Pump();                         // gives the link the next chunk that is due, or the end
    void End();
    void Write(const Netrova::Blocks& vecBlocks);  // to the peer, at once
    void Flush();                                  // likewise, what the link has queued
    void ReceivedReturned();
    bool IsWriting();  // whether something that was sent has not reached the peer yet

    // ---- the peer's side ----
    void OnPeerBytes(const std::string& strBytes);
    void OnPeerClose(bool bAbruptly);

private:
    void FlushLocked();
    void EndLocked(std::unique_lock<std::mutex>& lock);

    const std::shared_ptr<Inbox> pInbox;
    const int nConnection;
    // The connector's. The line may outlive it, and touches it only while there is a link.
    asio::io_context* pContext = nullptr;

    std::mutex mutex;
    std::shared_ptr<Netrova::Link::_THandle> pLink;  // null once the line has ended
    std::deque<std::string> deqIncoming;
    bool bDelivering = false;  // a chunk is on its way through the callback
    bool bPeerClosed = false;
    bool bCut = false;
};

// The line of that link; null once its disconnected callback has returned.
std::shared_ptr<Line> LineOf(const Netrova::Link::_THandle* pLink);
void ForgetLine(const Netrova::Link::_THandle* pLink);

}  // namespace Fake
