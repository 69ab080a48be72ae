#include "platform/common/NetConnectCall.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <optional>
#include <thread>

#include "platform/Host.h"
#include "platform/common/SignalsBlocked.h"

namespace Netrova {

using Kernova::Internal::MutexLock;

namespace {

constexpr std::size_t kMaxHostLength = 255;
constexpr std::size_t kMaxEndpoints = 8;

// Look-ups that nobody waits for any more. A resolver that hangs for good must not gather threads with
// every reconnect.
constexpr int kMaxAbandoned = 16;
std::atomic<int> g_nAbandoned{0};

struct LookUp {
    std::vector<Endpoint> vecEndpoints;  // written before the step ends, read afterwards
    std::atomic<bool> bAbandoned{false};
    std::atomic<bool> bReturned{false};
};

// How often a pool thread that waits for a connection looks after the pool's other work.
constexpr std::chrono::milliseconds kHelpingSlice{10};

}  // namespace

int ConnectCall::BeginStep()
{
    const MutexLock lock(m_mutex);
    m_bEnded = m_bAborted;
    m_outcome = m_bAborted ? std::error_code(asio::error::operation_aborted) : std::error_code();
    return ++m_nStep;
}

void ConnectCall::EndStep(int nStep, const std::error_code& failed)
{
    const MutexLock lock(m_mutex);
    if (nStep != m_nStep || m_bEnded)
        return;
    m_bEnded = true;
    m_outcome = failed;
    m_cond.notify_all();
}

void ConnectCall::Abort()
{
    const MutexLock lock(m_mutex);
    m_bAborted = true;
    m_bEnded = true;
    m_outcome = asio::error::operation_aborted;
    m_cond.notify_all();
}

bool ConnectCall::WaitForStep(Clock::time_point until)
{
    const MutexLock lock(m_mutex);
    while (!m_bEnded) {
        if (m_cond.wait_until(m_mutex, until) == std::cv_status::timeout)
            break;
    }
    return m_bEnded;
}

std::error_code ConnectCall::TakeOutcome()
{
    const MutexLock lock(m_mutex);
    if (!m_bEnded) {
        m_bEnded = true;
        m_outcome = asio::error::timed_out;
    }
    return m_outcome;
}

std::error_code ResolveName(const std::string& strHost, std::vector<Endpoint>& vecEndpoints)
{
    // A context of its own: the name service of the connector's would have to outlive this thread.
    asio::io_context context;
    asio::ip::tcp::resolver resolver(context);
    std::error_code failed;
    for (const auto& entry : resolver.resolve(strHost, "", failed))
        vecEndpoints.push_back(entry.endpoint());
    return failed;
}

namespace {

std::error_code LookUpName(const std::shared_ptr<ConnectCall>& pCall, const std::string& strHost,
                           std::vector<Endpoint>& vecEndpoints, Resolve* pfnResolve)
{
    if (g_nAbandoned.load() >= kMaxAbandoned)
        return asio::error::host_not_found_try_again;
    const auto pLookUp = std::make_shared<LookUp>();
    const int nStep = pCall->BeginStep();
    std::optional<Kernova::Internal::SignalsBlocked> blocked(std::in_place);
    std::thread thread([pCall, nStep, pLookUp, strHost, pfnResolve] {
        Host::NameThread("velkar-lookup");
        std::error_code failed = asio::error::no_memory;
        try {
            failed = pfnResolve(strHost, pLookUp->vecEndpoints);
        } catch (const std::exception&) {  // out of memory
        }
        pCall->EndStep(nStep, failed);
        pLookUp->bReturned.store(true);
        if (pLookUp->bAbandoned.exchange(false))
            g_nAbandoned.fetch_sub(1);
    });
    blocked.reset();
    pCall->WaitForStep(pCall->GetDeadline());
    const std::error_code outcome = pCall->TakeOutcome();
    if (outcome != asio::error::timed_out && outcome != asio::error::operation_aborted) {
        thread.join();  // it has nothing left to do
        vecEndpoints = std::move(pLookUp->vecEndpoints);
        return outcome;
    }
    // The thread runs the library's code when its look-up returns.
    Host::PinLibrary();
    thread.detach();
    g_nAbandoned.fetch_add(1);
    pLookUp->bAbandoned.store(true);
    if (pLookUp->bReturned.load() && pLookUp->bAbandoned.exchange(false))
        g_nAbandoned.fetch_sub(1);
    return outcome;
}

}  // namespace

std::error_code FindEndpoints(const std::shared_ptr<ConnectCall>& pCall, const std::string& strHost,
                              unsigned short nPort, std::vector<Endpoint>& vecEndpoints, Resolve* pfnResolve)
{
    // An empty name would mean this machine to the resolver, and no name is longer than that.
    if (strHost.empty() || strHost.size() > kMaxHostLength)
        return asio::error::host_not_found;
    std::error_code failed;
    const auto address = asio::ip::make_address(strHost, failed);
    if (!failed) {
        vecEndpoints.assign(1, Endpoint(address, nPort));
        return failed;
    }
    failed = LookUpName(pCall, strHost, vecEndpoints, pfnResolve);
    if (!failed && vecEndpoints.empty())
        failed = asio::error::host_not_found;
    if (vecEndpoints.size() > kMaxEndpoints)
        vecEndpoints.resize(kMaxEndpoints);
    for (Endpoint& endpoint : vecEndpoints)
        endpoint.port(nPort);
    return failed;
}

namespace {

std::error_code DialOne(const std::shared_ptr<ConnectCall>& pCall, asio::io_context& context,
                        const Endpoint& endpoint, Clock::time_point until, Socket& socket)
{
    std::error_code failed;
    const auto pSocket = std::make_shared<Socket>(context);
    pSocket->open(endpoint.protocol(), failed);
    if (failed)
        return failed;
    const int nStep = pCall->BeginStep();
    pSocket->async_connect(endpoint, [pCall, nStep, pSocket](const std::error_code& outcome) {
        pCall->EndStep(nStep, outcome);
    });
    if (context.get_executor().running_in_this_thread()) {
        // On the pool's own thread, perhaps its only one: nobody else may be there to finish the attempt.
        while (!pCall->WaitForStep(Clock::now()) && Clock::now() < until)
            context.run_one_for(kHelpingSlice);
    } else {
        pCall->WaitForStep(until);
    }
    failed = pCall->TakeOutcome();
    if (failed == asio::error::timed_out || failed == asio::error::operation_aborted) {
        std::error_code ignored;
        pSocket->cancel(ignored);  // the handler comes at once and lets the socket go
    }
    if (failed)
        return failed;
    // A port of this machine that nobody listens on may get connected to itself, if the system picks the
    // very same one for this end.
    if (pSocket->local_endpoint(failed) == pSocket->remote_endpoint(failed) && !failed)
        return asio::error::connection_refused;
    socket = std::move(*pSocket);
    return {};
}

}  // namespace

std::error_code Dial(const std::shared_ptr<ConnectCall>& pCall, asio::io_context& context,
                     const std::vector<Endpoint>& vecEndpoints, Socket& socket)
{
    std::error_code failed = asio::error::timed_out;
    for (std::size_t n = 0; n < vecEndpoints.size(); ++n) {
        const Clock::time_point now = Clock::now();
        if (now >= pCall->GetDeadline())
            return asio::error::timed_out;
        const auto share = (pCall->GetDeadline() - now) / static_cast<int>(vecEndpoints.size() - n);
        failed = DialOne(pCall, context, vecEndpoints[n], now + share, socket);
        if (!failed || failed == asio::error::operation_aborted)
            return failed;
    }
    return failed;
}

}  // namespace Netrova
