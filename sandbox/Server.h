// The sandbox as a whole: accepts connectors, owns every piece, and runs it all on one thread.
#pragma once

#include <asio.hpp>
#include <future>
#include <memory>
#include <optional>
#include <set>
#include <type_traits>

#include "sandbox/Options.h"
#include "sandbox/base/Clock.h"
#include "sandbox/base/Console.h"
#include "sandbox/base/StartError.h"
#include "sandbox/base/Timers.h"
#include "sandbox/control/Control.h"
#include "sandbox/control/HttpServer.h"
#include "sandbox/seed/Seed.h"
#include "sandbox/service/Registry.h"
#include "sandbox/service/Service.h"
#include "sandbox/service/Triggers.h"
#include "sandbox/store/Store.h"
#include "sandbox/wire/Faults.h"
#include "sandbox/wire/Link.h"
#include "sandbox/wire/MessageLog.h"
#include "sandbox/wire/Traffic.h"

namespace Sandbox {

class Server final : private Link::IOwner {
public:
    static constexpr std::size_t kMaxLinks = 1000;  // fewer if the system allows the process fewer files

    // Opens the database, seeds it and listens. The clock and the console must outlive the server.
    // Throws StartError.
    Server(const Options& options, const IClock& clock, const Console& console);

    // The bound ones; any thread. The HTTP port is 0 without that interface.
    unsigned short GetPort() const { return m_nPort; }
    unsigned short GetHttpPort() const { return m_pHttp != nullptr ? m_pHttp->GetPort() : 0; }

    // Serves on the calling thread until Stop. Once.
    void Run();
    void Stop();           // from any thread; Run then returns soon
    void StopOnSignals();  // SIGINT and SIGTERM stop it; before Run

    // What runs by time, at once instead of a little later. Any thread.
    void SweepNow()
    {
        Invoke([this] { Sweep(); });
    }

    // Runs work() on the thread of Run, waits for it and returns its result. Any other thread, while
    // Run runs.
    template <class Work>
    auto Invoke(Work work) -> std::invoke_result_t<Work>
    {
        auto pTask = std::make_shared<std::packaged_task<std::invoke_result_t<Work>()>>(std::move(work));
        auto result = pTask->get_future();
        asio::post(m_context, [pTask] { (*pTask)(); });
        return result.get();
    }

    // Only within Invoke.
    Store& GetStore() { return *m_pStore; }
    Registry& GetRegistry() { return m_registry; }
    const MessageLog& GetMessageLog() const { return m_log; }
    std::size_t CountLinks() const { return m_setLinks.size(); }

private:
    void Accept();
    void ScheduleSweep();
    void Sweep();
    void CloseAll();
    void StartHttp(const Options& options);
    void OnFrame(Link& link, Wirova::Stream* body) override;
    void OnClosed(Link& link, const std::string& strWhy) override;

    const IClock& m_clock;
    const Console& m_console;
    asio::io_context m_context{1};
    const Seed m_seed;
    std::unique_ptr<Store> m_pStore;
    Registry m_registry;
    MessageLog m_log;
    Faults m_faults;
    Timers m_timers{m_context};
    Traffic m_traffic;
    Triggers m_triggers;
    Service m_service;
    Control m_control;

    asio::ip::tcp::acceptor m_acceptor{m_context};
    asio::steady_timer m_acceptTimer{m_context};  // a pause after an accept that failed
    asio::steady_timer m_sweepTimer{m_context};
    std::optional<asio::signal_set> m_signals;
    std::set<std::shared_ptr<Link>> m_setLinks;
    std::size_t m_nMaxLinks;
    bool m_bFullShown = false;  // the line about it, since there was room last
    unsigned short m_nPort = 0;
    bool m_bStopped = false;
    std::unique_ptr<HttpServer> m_pHttp;  // its threads end before the rest
};

}  // namespace Sandbox
