// A connection as the service sees it: a name, a way to send bytes and to close. Belongs to the server's
// thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "sandbox/wire/Frames.h"

namespace Sandbox {

// How bytes leave a link.
struct Delivery {
    std::chrono::milliseconds delay{0};
    std::size_t nPiece = 0;             // above 0: in pieces of so many bytes, with a pause between them
    std::chrono::milliseconds hold{0};  // above 0: together with the next bytes, or alone after this time
    bool bLast = false;                 // the link is closed once these bytes are written
};

class Link : public std::enable_shared_from_this<Link> {
public:
    // Whoever the frames are for. Must outlive the link.
    class IOwner {
    public:
        // The body of one frame. Runs within Guard, so what it throws closes the link.
        virtual void OnFrame(Link& link, Wirova::Stream* body) = 0;
        // Called once for each link, from within Close. strWhy is a text for the operator.
        virtual void OnClosed(Link& link, const std::string& strWhy) = 0;

    protected:
        ~IOwner() = default;
    };

    virtual ~Link() = default;

    // What an outage does to the link. A frozen link neither reads nor writes, and goes on where it was once
    // it is not frozen any more; a rate above 0 lets so many bytes a second through in each direction.
    virtual void SetPace(bool, std::size_t) {}
    virtual bool IsFrozen() const { return false; }
    // Closes the link for the service, while the peer sees it open: what comes is thrown away.
    virtual void Abandon(const std::string& strWhy) { Close(strWhy); }
    virtual void Release() {}  // ends an abandoned link for the peer too

    // Queues bytes that leave after the delay. Bytes of the same delay keep their order, and nothing comes
    // between the pieces of one call. Closes the link if the peer leaves more than kMaxQueuedBytes waiting.
    virtual void Post(std::string strBytes, const Delivery& delivery) = 0;
    // Drops what is still queued. Does nothing for a closed link.
    virtual void Close(const std::string& strWhy) = 0;
    bool IsOpen() const { return m_bOpen; }
    // Runs work that serves a frame. An exception of the work closes the link and goes no further.
    void Guard(const std::function<void()>& work);

    // The link's name in console lines: the peer's address, or the connector's name once it has registered.
    const std::string& GetName() const { return m_strName; }
    void SetName(const std::string& strName) { m_strName = strName; }

    std::int64_t GetStartTime() const { return m_msStarted; }  // of IClock::SocketMilliseconds
    std::int64_t GetLastHeard() const { return m_msHeard; }    // when bytes came in last

    // Reading pauses while this much waits to be written, so that a peer that does not read is not served on.
    static constexpr std::size_t kPauseAt = 1u << 20;
    static constexpr std::size_t kMaxQueuedBytes = 32u << 20;

protected:
    Link(std::string strName, std::int64_t msNow)
        : m_strName(std::move(strName)), m_msStarted(msNow), m_msHeard(msNow)
    {
    }

    std::string m_strName;
    bool m_bOpen = true;
    std::int64_t m_msStarted;
    std::int64_t m_msHeard;
};

}  // namespace Sandbox
