#include "sandbox/Server.h"

#include <algorithm>
#include <asio/post.hpp>
#include <csignal>
#include <fstream>
#include <nlohmann/json.hpp>

#include "platform/Program.h"
#include "platform/common/SocketOptions.h"
#include "sandbox/ServerIo.h"
#include "sandbox/base/Files.h"
#include "sandbox/base/Version.h"
#include "sandbox/store/Postgres.h"
#include "sandbox/wire/TcpLink.h"

namespace Sandbox {
namespace {

constexpr std::chrono::milliseconds kSweepEvery{200};
constexpr std::chrono::seconds kLate{1};                // a sweep that comes this late is left out
constexpr std::chrono::milliseconds kAcceptPause{100};  // after an accept that failed

// As many links as the process may open files, less what the database, the console and the HTTP interface
// take.
std::size_t GetMaxLinks()
{
    constexpr std::size_t kOthers = 24 + HttpServer::kMaxConnections;
    return std::min(Server::kMaxLinks, std::max(Host::GetMaxOpenFiles(), kOthers + 1) - kOthers);
}

Seed ReadSeed(const Options& options)
{
    try {
        return GetSeed(options.strSeed);
    } catch (const SeedError& e) {
        throw StartError(e.what());
    }
}

// The first line of a recording has all that a sandbox needs to start as this one.
Json HeadOf(const Options& options)
{
    if (options.strRecord.empty())
        return {};
    Json head = {{"recording", Recorder::kVersion},
                 {"version", kVersion},
                 {"saveOnPurchase", options.bSaveOnPurchase},
                 {"answerDelay", options.answerDelay.count()},
                 {"seed", options.strSeed}};
    if (options.strSeed != "demo" && options.strSeed != "none") {
        std::ifstream file(PathOf(options.strSeed));
        head["seedText"] = Json::parse(file, nullptr, false);
    }
    return head;
}

// The URL of a database may hold a pass word, so it is not shown.
std::unique_ptr<Store> OpenStore(const Options& options, const Seed& seed, MovableClock& clock,
                                 const std::function<void()>& wake)
{
    try {
        auto pStore = std::make_unique<Store>(options.strDb, clock.Now(), wake);
        Plant(*pStore, seed, clock.Now());
        if (Studio* const pStudio = pStore->GetStudio())
            clock.Advance(pStudio->GetAhead());
        return pStore;
    } catch (const StoreError& e) {
        throw StartError("The database " +
                         (options.strDb.empty()       ? "in memory"
                          : IsPostgres(options.strDb) ? "in PostgreSQL"
                                                      : "'" + options.strDb + "'") +
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
        // A name like "localhost" may have addresses of both kinds. Connectors connect by IPv4, so that one
        // is taken.
        const auto older = std::find_if(found.begin(), found.end(), [](const auto& entry) {
            return entry.endpoint().protocol() == asio::ip::tcp::v4();
        });
        const asio::ip::tcp::endpoint endpoint = older != found.end() ? *older : *found.begin();
        acceptor.open(endpoint.protocol());
        Netrova::SetListenOptions(static_cast<std::uintptr_t>(acceptor.native_handle()));
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
      m_io(std::make_unique<Io>()),
      m_seed(ReadSeed(options)),
      m_pStore(OpenStore(options, m_seed, m_clock, [this] { Post([this] { TakeLetters(); }); })),
      m_registry(*m_pStore, m_clock),
      m_log(console),
      m_timers(m_io->context),
      m_outages(m_timers),
      m_traffic(m_log, m_faults, m_timers, options.answerDelay),
      m_requests(m_traffic, m_timers),
      m_courier(*m_pStore, m_registry, m_traffic, m_requests, m_timers, console),
      m_service(*m_pStore, m_registry, m_traffic, m_requests, m_courier, m_log, console, m_clock,
                options.bSaveOnPurchase),
      m_triggers(*m_pStore, m_registry, m_courier),
      m_recorder(options.strRecord, HeadOf(options), console),
      m_control({*m_pStore, m_registry, m_log, m_faults, m_outages, m_triggers, m_service, m_courier, m_feed,
                 m_coverage, m_recorder, console, m_clock, m_seed}),
      m_nMaxLinks(GetMaxLinks())
{
    Listen(m_io->acceptor, options);
    const auto endpoint = m_io->endpoint = m_io->acceptor.local_endpoint();
    m_nPort = endpoint.port();
    m_outages.SetHost({[this](const Outage& outage) { BeginOutage(outage); },
                       [this](const Outage& outage) { EndOutage(outage); }});
    m_console.Say("Listening on " + endpoint.address().to_string() + " port " + std::to_string(m_nPort));
    m_log.SetListener([this](const LoggedMessage& message, const Wirova::IMessage& msg) {
        m_feed.Publish(message);
        m_recorder.OnMessage(message);
        m_coverage.OnMessage(message, msg);
        if (m_listener)
            m_listener(message);
    });
    m_traffic.SetListener(
        [this](const std::string& strConnector, Wirova::int32 nMsgID, const Mishap& mishap) {
            m_coverage.OnMishap(strConnector, nMsgID, mishap);
        });
    if (options.bHttp)
        StartHttp(options);
    if (!endpoint.address().is_loopback())
        m_console.Say("Other machines can reach it, and there is no authentication: trusted networks only.");
    Accept();
    ScheduleSweep();
}

Server::~Server() = default;

void Server::Run() { m_io->context.run(); }

void Server::Post(std::function<void()> work) { asio::post(m_io->context, std::move(work)); }

void Server::Stop()
{
    Post([this] { CloseAll(); });
}

void Server::StopOnSignals()
{
    m_io->signals.emplace(m_io->context, SIGINT, SIGTERM);
    m_io->signals->async_wait([this](asio::error_code error, int nSignal) {
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
    m_io->acceptor.close(ignored);
    m_io->acceptTimer.cancel();
    m_io->sweepTimer.cancel();
    m_timers.CancelAll();
    if (m_io->signals)
        m_io->signals->cancel(ignored);
    if (m_pHttp != nullptr)
        m_pHttp->Stop();
    while (!m_mapAbandoned.empty())
        ReleaseAbandoned(m_mapAbandoned.begin()->first);
    while (!m_setLinks.empty())
        (*m_setLinks.begin())->Close("the sandbox ends");
}

void Server::Handle(HttpRequest request, Respond respond)
{
    Post([this, request = std::move(request), respond = std::move(respond)] {
        m_control.Handle(request, respond);
    });
}

// The HTTP interface has threads of its own. They hand every request to the server's thread, which is the
// only one that touches the pieces.
void Server::StartHttp(const Options& options)
{
    m_pHttp = std::make_unique<HttpServer>(
        options.strHttpHost, options.nHttpPort,
        [this](HttpRequest request, Respond respond) { Handle(std::move(request), std::move(respond)); });
    m_console.Say("HTTP on " + m_pHttp->GetHost() + " port " + std::to_string(m_pHttp->GetPort()));
    if (!m_pHttp->IsLoopback())
        m_console.Say("Other machines can reach the HTTP interface too, and do there whatever they like.");
}

void Server::Accept()
{
    m_io->acceptor.async_accept([this](asio::error_code error, asio::ip::tcp::socket socket) {
        if (m_bStopped || m_bRefusing)
            return;
        if (error) {  // out of file descriptors, or the peer has gone already
            m_io->acceptTimer.expires_after(kAcceptPause);
            m_io->acceptTimer.async_wait([this](asio::error_code cancelled) {
                if (!cancelled)
                    Accept();
            });
            return;
        }
        if (m_setLinks.size() + CountAbandoned() < m_nMaxLinks) {
            m_bFullShown = false;
            Link::IOwner& owner = *this;
            const auto link = std::make_shared<TcpLink>(std::move(socket), owner, m_clock);
            m_setLinks.insert(link);
            m_console.Note(link->GetName() + ": connected");
            link->Start();
            ApplyOutages();
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
    m_io->sweepTimer.expires_at(due);
    m_io->sweepTimer.async_wait([this, due](asio::error_code cancelled) {
        if (cancelled || m_bStopped)  // a wait that has just ended is not cancelled any more
            return;
        // A sweep that comes far too late is left out: the process was stopped or busy, and bytes that peers
        // have sent meanwhile are still unread. The sweep would take those peers for silent.
        if (std::chrono::steady_clock::now() < due + kLate)
            Sweep();
        ScheduleSweep();
    });
}

void Server::Sweep()
{
    ApplyOutages();
    const auto setLinks = m_setLinks;  // a copy, because Close removes the link from the set
    for (const auto& link : setLinks) {
        const auto strWhy = m_service.ReasonToClose(*link);
        if (strWhy && !link->IsFrozen())
            link->Close(*strWhy);
    }
    try {
        m_service.Sweep();
        if (!m_strFailure.empty())
            m_console.Say("The database answers again.");
        m_strFailure.clear();
    } catch (const StoreError& e) {
        if (m_strFailure != e.what())
            m_console.Say(std::string("The database has failed: ") + e.what());
        m_strFailure = e.what();
    }
}

void Server::TakeLetters()
{
    try {
        if (!m_bStopped)
            m_courier.TakeLetters();
    } catch (const StoreError& e) {
        m_console.Say(std::string("The database has failed: ") + e.what());
    }
}

void Server::OnFrame(Link& link, Wirova::Stream* body) { m_service.Handle(link, body); }

void Server::OnClosed(Link& link, const std::string& strWhy)
{
    m_console.Say(link.GetName() + ": closed: " + strWhy);
    m_requests.OnClosed(link);
    m_coverage.OnClosed(link.GetName(), m_bRefusing);
    m_recorder.OnClosed(link.GetName(), strWhy);
    m_registry.Detach(link);
    m_setLinks.erase(link.shared_from_this());
}

}  // namespace Sandbox
