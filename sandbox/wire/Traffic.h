// The one place where messages pass between the service and its links: recorded, and with the faults that
// were ordered. Belongs to the server's thread.
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
    // Bodies held back by a delay may have this many bytes together.
    static constexpr std::size_t kMaxHeldBack = 64u << 20;

    // answerDelay: before an answer leaves, faults apart.
    Traffic(MessageLog& log, Faults& faults, Timers& timers, std::chrono::milliseconds answerDelay)
        : m_log(log), m_faults(faults), m_timers(timers), m_answerDelay(answerDelay)
    {
    }

    // The message may be changed by a fault on the way.
    void Send(Link& link, Wirova::IMessage& msg);

    // Serves a body: serve(body, what faults have done), now, later or not at all. serve records the message
    // and runs within the link's Guard. Throws ProtocolError.
    using Serve = std::function<void(Wirova::Stream* body, const std::vector<std::string>& vecFaults)>;
    void Receive(Link& link, Wirova::Stream* body, const Serve& serve);

private:
    void ServeLater(Link& link, Wirova::Stream* body, const Mishap& mishap, const Serve& serve);
    void Refuse(Link& link, Wirova::IMessage& req, const Mishap::Refused& refused);

    MessageLog& m_log;
    Faults& m_faults;
    Timers& m_timers;
    std::chrono::milliseconds m_answerDelay;
    std::size_t m_nHeldBack = 0;  // bytes
};

// The id at the front of a body, which stays there.
Wirova::int32 PeekMsgID(Wirova::Stream* body);

}  // namespace Sandbox
