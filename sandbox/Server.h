// The sandbox as a whole: owns every piece, accepts connectors, and runs everything on one thread.
#pragma once

#include <functional>
#include <future>
#include <map>
#include <memory>
#include <set>
#include <type_traits>
#include <vector>

#include "sandbox/Options.h"
#include "sandbox/base/Clock.h"
#include "sandbox/base/Console.h"
#include "sandbox/base/StartError.h"
#include "sandbox/base/Timers.h"
#include "sandbox/control/Control.h"
#include "sandbox/control/HttpServer.h"
#include "sandbox/seed/Seed.h"
#include "sandbox/service/ConnectorRegistry.h"
#include "sandbox/service/Coverage.h"
#include "sandbox/service/GameRequests.h"
#include "sandbox/service/Service.h"
#include "sandbox/store/Store.h"
#include "sandbox/wire/Faults.h"
#include "sandbox/wire/Link.h"
#include "sandbox/wire/MessageLog.h"
#include "sandbox/wire/Outages.h"
#include "sandbox/wire/Traffic.h"

namespace Sandbox {

class Server final : private Link::IOwner {
public:
    static constexpr std::size_t kMaxLinks = 1000;  // fewer if the process may open fewer files

    // Opens the database, plants the seed and listens. The clock and the console must outlive the server.
    // Throws StartError.
    Server(const Options& options, const IClock& clock, const Console& console);
    ~Server();

    // The bound ports. Any thread. The HTTP port is 0 if there is no HTTP interface.
    unsigned short GetPort() const { return m_nPort; }
    unsigned short GetHttpPort() const { return m_pHttp != nullptr ? m_pHttp->GetPort() : 0; }

    // Serves on the calling thread until Stop. Can be called once.
    void Run();
    void Stop();           // from any thread; Run returns soon afterwards
    void StopOnSignals();  // SIGINT and SIGTERM stop the server from now on; to be called before Run

    // Runs the rules that run by time now instead of within the next 200 ms, and waits for them. Any thread.
    void SweepNow()
    {
        Invoke([this] { Sweep(); });
    }

    // Does what a route of the HTTP interface does, on the thread of Run. Any thread. The reply is given
    // there, at once or later.
    void Handle(HttpRequest request, Respond respond);

    // Who gets every message that passes, on the thread of Run; to be called before Run. Must not throw.
    void SetListener(std::function<void(const LoggedMessage& message)> listener)
    {
        m_listener = std::move(listener);
    }

    // Runs work() on the thread of Run, waits for it and returns its result. From any other thread, while
    // Run runs.
    template <class Work>
    auto Invoke(Work work) -> std::invoke_result_t<Work>
    {
        auto pTask = std::make_shared<std::packaged_task<std::invoke_result_t<Work>()>>(std::move(work));
        auto result = pTask->get_future();
        Post([pTask] { (*pTask)(); });
        return result.get();
    }

    // Only within Invoke.
    Store& GetStore() { return *m_pStore; }
    ConnectorRegistry& GetRegistry() { return m_registry; }
    const MessageLog& GetMessageLog() const { return m_log; }
    std::size_t CountLinks() const { return m_setLinks.size(); }

private:
    struct Io;

    void Post(std::function<void()> work);  // runs the work on the thread of Run; any thread
    void Accept();
    void ScheduleSweep();
    void Sweep();
    void TakeLetters();
    void CloseAll();
    void BeginOutage(const Outage& outage);
    void EndOutage(const Outage& outage);
    void ApplyOutages();
    void ReleaseAbandoned(int nOutage);
    std::size_t CountAbandoned() const;
    void StopListening();
    void ListenAgain();
    void StartHttp(const Options& options);
    void OnFrame(Link& link, Wirova::Stream* body) override;
    void OnClosed(Link& link, const std::string& strWhy) override;

    MovableClock m_clock;
    const Console& m_console;
    std::unique_ptr<Io> m_io;
    const Seed m_seed;
    std::unique_ptr<Store> m_pStore;
    ConnectorRegistry m_registry;
    MessageLog m_log;
    Faults m_faults;
    Timers m_timers;
    Outages m_outages;
    Traffic m_traffic;
    GameRequests m_requests;
    Courier m_courier;
    Service m_service;
    Triggers m_triggers;
    MessageFeed m_feed;
    Coverage m_coverage;
    Recorder m_recorder;
    Control m_control;

    std::function<void(const LoggedMessage& message)> m_listener;
    std::set<std::shared_ptr<Link>> m_setLinks;
    // By outage: links that are closed here and look open to their peers.
    std::map<int, std::vector<std::shared_ptr<Link>>> m_mapAbandoned;
    std::size_t m_nMaxLinks;
    bool m_bFullShown = false;  // refusing connections has been shown since there was room last
    unsigned short m_nPort = 0;
    bool m_bRefusing = false;  // an outage refuses connections
    std::string m_strFailure;  // of the database in the last sweep; empty: none
    bool m_bStopped = false;
    std::unique_ptr<HttpServer> m_pHttp;  // the last member, so that its threads end before the other pieces
};

}  // namespace Sandbox
