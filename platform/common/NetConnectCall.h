// One Connect on its way: the thread that waits, and what it waits for.
#pragma once

#include <asio.hpp>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "platform/common/Mutex.h"
#include "platform/common/NetTransport.h"

namespace Netrova {

using Endpoint = asio::ip::tcp::endpoint;
using Clock = std::chrono::steady_clock;

// A Connect waits for one step after the other: the addresses, then each attempt. A step may end long
// after nobody waits for it any more, so whoever works on it shares the ownership.
class ConnectCall {
public:
    explicit ConnectCall(Clock::time_point deadline) : m_deadline(deadline) {}

    Clock::time_point GetDeadline() const { return m_deadline; }

    // Begins a step and gives its number.
    int BeginStep();
    // Ends it, from any thread; ignored if it is not the current one any more.
    void EndStep(int nStep, const std::error_code& failed);
    // Ends the current step and all that follow: the connector is being destroyed.
    void Abort();
    // Blocks until the current step has ended; false if the time is over before.
    bool WaitForStep(Clock::time_point until);
    // How the current step has ended; timed_out if it has not, and from then on it cannot any more.
    std::error_code TakeOutcome();

private:
    const Clock::time_point m_deadline;
    Kernova::Internal::Mutex m_mutex;
    std::condition_variable_any m_cond;
    int m_nStep GUARDED_BY(m_mutex) = 0;
    bool m_bEnded GUARDED_BY(m_mutex) = false;
    bool m_bAborted GUARDED_BY(m_mutex) = false;
    std::error_code m_outcome GUARDED_BY(m_mutex);
};

using Resolve = std::error_code(const std::string& strHost, std::vector<Endpoint>& vecEndpoints);

// The system's own resolver. It may block for as long as it likes. The port of the endpoints is 0.
Resolve ResolveName;

// The endpoints of a host, dotted or named, in the order of preference. A name is looked up on a thread
// of its own; if that does not come back in time it is left to itself, and the library stays in memory
// for it. Throws std::bad_alloc and std::system_error.
std::error_code FindEndpoints(const std::shared_ptr<ConnectCall>& pCall, const std::string& strHost,
                              unsigned short nPort, std::vector<Endpoint>& vecEndpoints,
                              Resolve* pfnResolve = &ResolveName);

// Tries the endpoints one after the other, each with its share of the time that is left. On success the
// socket is connected. Throws std::bad_alloc.
std::error_code Dial(const std::shared_ptr<ConnectCall>& pCall, asio::io_context& context,
                     const std::vector<Endpoint>& vecEndpoints, Socket& socket);

}  // namespace Netrova
