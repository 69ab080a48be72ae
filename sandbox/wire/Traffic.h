// The one place where messages pass between the service and its links. Messages are recorded here, and the
// faults that were ordered happen to them here. Belongs to the server's thread.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "sandbox/base/Timers.h"
#include "sandbox/wire/Faults.h"
#include "sandbox/wire/Link.h"
#include "sandbox/wire/MessageLog.h"

namespace Sandbox {

class Traffic {
public:
    // A delay may hold back this many bytes of bodies, all links together; more closes the link.
    static constexpr std::size_t kMaxHeldBack = 64u << 20;

    // answerDelay: how long every message waits before it leaves; the delay of a fault is added.
    Traffic(MessageLog& log, Faults& faults, Timers& timers, std::chrono::milliseconds answerDelay)
        : m_log(log), m_faults(faults), m_timers(timers), m_answerDelay(answerDelay)
    {
    }

    // Who is told of every message that faults befall, before it is recorded. Must not throw.
    using Listener =
        std::function<void(const std::string& strConnector, Wirova::int32 nMsgID, const Mishap& mishap)>;
    void SetListener(Listener listener) { m_listener = std::move(listener); }

    // Sends the message, unless a fault drops it. A fault may change msg.
    void Send(Link& link, Wirova::IMessage& msg);

    // Calls serve(body, names of the faults that have hit it) at once, after a fault's delay, or never if a
    // fault drops or refuses the message. serve records the message; it runs within the link's Guard. Throws
    // ProtocolError.
    using Serve = std::function<void(Wirova::Stream* body, const std::vector<std::string>& vecFaults)>;
    void Receive(Link& link, Wirova::Stream* body, const Serve& serve);

private:
    static std::vector<std::string> UsersOf(const Wirova::ClassInfo& info, Wirova::Stream* body);
    Mishap TakeFaults(const Link& link, Wirova::int32 nMsgID, const std::vector<std::string>& vecUsers);
    void ServeLater(Link& link, Wirova::Stream* body, const Mishap& mishap, const Serve& serve);
    void Refuse(Link& link, Wirova::IMessage& req, const Mishap::Refused& refused);

    MessageLog& m_log;
    Faults& m_faults;
    Timers& m_timers;
    std::chrono::milliseconds m_answerDelay;
    Listener m_listener;
    std::size_t m_nHeldBack = 0;  // bytes of delayed bodies
};

}  // namespace Sandbox
