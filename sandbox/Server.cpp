#include "sandbox/Server.h"

#include <sys/resource.h>

#include <algorithm>
#include <csignal>

namespace Sandbox {
namespace {

constexpr std::chrono::milliseconds kSweepEvery{200};
constexpr std::chrono::seconds kLate{1};
constexpr std::chrono::milliseconds kAcceptPause{100};

// Descriptors are left for the database, the console, the HTTP interface and a few more.
std::size_t GetMaxLinks()
{
    constexpr rlim_t kOthers = 24 + HttpServer::kMaxConnections;
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur >= Server::kMaxLinks + kOthers)
        return Server::kMaxLinks;
    return static_cast<std::size_t>(std::max<rlim_t>(limit.rlim_cur, kOthers + 1) - kOthers);
}

Seed ReadSeed(const Options& options)
{
    try {
        return GetSeed(options.strSeed);
    } catch (const SeedError& e) {
        throw StartError(e.what());
    }
}

std::unique_ptr<Store> OpenStore(const Options& options, const Seed& seed, const IClock& clock)
{
    try {
        auto pStore = std::make_unique<Store>(options.strDb, clock.Now());
        Plant(*pStore, seed, clock.Now());
        return pStore;
    } catch (const StoreError& e) {
        throw StartError("The database " + (options.strDb.empty() ? "in memory" : "'" + options.strDb + "'") +
                         " cannot be used: " + e.what());
    } catch (const SeedError& e) {
        throw StartError(e.what());
    }
}

void Listen(asio::ip::tcp::acceptor& acceptor, const Options& options)
{
    try {
        asio::ip::tcp::resolver resolver(acceptor.get_executor());
        const auto found = resolver.resolve(options.strHost, std::to_string(options.nPort),
                                            asio::ip::tcp::resolver::passive);
        // "localhost" may be both; connectors are given the address of the older kind.
        const auto older = std::find_if(found.begin(), found.end(), [](const auto& entry) {
            return entry.endpoint().protocol() == asio::ip::tcp::v4();
        });
        const asio::ip::tcp::endpoint endpoint = older != found.end() ? *older : *found.begin();
        acceptor.open(endpoint.protocol());
        acceptor.set_option(asio::ip::tcp::acceptor::reuse_address(true));
        acceptor.bind(endpoint);
        acceptor.listen();
    } catch (const asio::system_error& e) {
        throw StartError("Cannot listen on " + options.strHost + ':' + std::to_string(options.nPort) + ": " +
                         e.code().message());
    }
}

}  // namespace

Server::Server(const Options& options, const IClock& clock, const Console& console)
    : m_clock(clock),
      m_console(console),
      m_seed(ReadSeed(options)),
      m_pStore(OpenStore(options, m_seed, clock)),
      m_registry(*m_pStore, clock),
      m_log(console),
      m_traffic(m_log, m_faults, m_timers, options.answerDelay),
      m_triggers(*m_pStore, m_registry, m_traffic, m_timers),
      m_service(*m_pStore, m_registry, m_traffic, m_triggers, m_log, console, clock, options.bSaveOnPurchase),
      m_control(*m_pStore, m_registry, m_log, m_faults, m_triggers, console, clock, m_seed),
      m_nMaxLinks(GetMaxLinks())
{
    Listen(m_acceptor, options);
    const auto endpoint = m_acceptor.local_endpoint();
    m_nPort = endpoint.port();
    m_console.Say("Listening on " + endpoint.address().to_string() + " port " + std::to_string(m_nPort));
    if (options.bHttp)
        StartHttp(options);
    if (!endpoint.address().is_loopback())
        m_console.Say("Other machines can reach it, and there is no authentication: trusted networks only.");
    Accept();
    ScheduleSweep();
}

void Server::Run() { m_context.run(); }

void Server::Stop()
{
    asio::post(m_context, [this] { CloseAll(); });
}

void Server::StopOnSignals()
{
    m_signals.emplace(m_context, SIGINT, SIGTERM);
    m_signals->async_wait([this](asio::error_code error, int nSignal) {
        if (error)
            return;
        m_console.Say(nSignal == SIGINT ? "Interrupted." : "Terminated.");
        CloseAll();
    });
}

void Server::CloseAll()
{
    m_bStopped = true;
    asio::error_code ignored;
    m_acceptor.close(ignored);
    m_acceptTimer.cancel();
    m_sweepTimer.cancel();
    m_timers.CancelAll();
    if (m_signals)
        m_signals->cancel(ignored);
    if (m_pHttp != nullptr)
        m_pHttp->Stop();
    while (!m_setLinks.empty())
        (*m_setLinks.begin())->Close("the sandbox ends");
}

// The interface's threads only ask; what is asked for happens on the server's own thread.
void Server::StartHttp(const Options& options)
{
    m_pHttp = std::make_unique<HttpServer>(
        options.strHttpHost, options.nHttpPort, [this](ControlRequest request, Respond respond) {
            asio::post(m_context, [this, request = std::move(request), respond = std::move(respond)] {
                m_control.Handle(request, respond);
            });
        });
    m_console.Say("HTTP on " + m_pHttp->GetHost() + " port " + std::to_string(m_pHttp->GetPort()));
    if (!m_pHttp->IsLoopback())
        m_console.Say("Other machines can reach the HTTP interface too, and do there whatever they like.");
}

void Server::Accept()
{
    m_acceptor.async_accept([this](asio::error_code error, asio::ip::tcp::socket socket) {
        if (m_bStopped)
            return;
        if (error) {  // out of file descriptors, or a peer that has gone already
            m_acceptTimer.expires_after(kAcceptPause);
            m_acceptTimer.async_wait([this](asio::error_code cancelled) {
                if (!cancelled)
                    Accept();
            });
            return;
        }
        if (m_setLinks.size() < m_nMaxLinks) {
            m_bFullShown = false;
            Link::IOwner& owner = *this;
            const auto link = std::make_shared<Link>(std::move(socket), owner, m_clock);
            m_setLinks.insert(link);
            m_console.Note(link->GetName() + ": connected");
            link->Start();
        } else if (!m_bFullShown) {
            m_bFullShown = true;
            m_console.Say("Connections are refused: there are " + std::to_string(m_nMaxLinks) + " already");
        }
        Accept();
    });
}

void Server::ScheduleSweep()
{
    const auto due = std::chrono::steady_clock::now() + kSweepEvery;
    m_sweepTimer.expires_at(due);
    m_sweepTimer.async_wait([this, due](asio::error_code cancelled) {
        if (cancelled || m_bStopped)  // a wait that has just ended cannot be cancelled
            return;
        // Far too late: the process has been stopped or busy, and what the peers have sent meanwhile is
        // still to be read. They are not silent.
        if (std::chrono::steady_clock::now() < due + kLate)
            Sweep();
        ScheduleSweep();
    });
}

void Server::Sweep()
{
    const auto setLinks = m_setLinks;  // Close takes them out
    for (const auto& link : setLinks) {
        if (const auto strWhy = m_service.GetOverdue(*link))
            link->Close(*strWhy);
    }
    try {
        m_service.Sweep();
    } catch (const StoreError& e) {
        m_console.Say(std::string("The database has failed: ") + e.what());
    }
}

void Server::OnFrame(Link& link, Wirova::Stream* body) { m_service.Handle(link, body); }

void Server::OnClosed(Link& link, const std::string& strWhy)
{
    m_console.Say(link.GetName() + ": closed: " + strWhy);
    m_triggers.OnClosed(link);
    m_registry.Detach(link);
    m_setLinks.erase(link.shared_from_this());
}

}  // namespace Sandbox
