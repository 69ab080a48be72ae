// The life of the library: InitModule and UninitModule. A start reads the settings file, starts the logger
// and the comm handler, which connects, and waits for the service's answer to the registration. A stop ends
// the reload thread, the comm handler and the logger, and empties the tables. A start that fails stops what
// it had begun.
#include <atomic>

#include "VelkarConnector.h"
#include "base/Gauges.h"
#include "base/Logger.h"
#include "base/ModuleFlags.h"
#include "base/ReqIdGenerator.h"
#include "comm/CommHandler.h"
#include "comm/FirstConnectWait.h"
#include "comm/ResWaiter.h"
#include "comm/Status.h"
#include "comm/in/HandlerTable.h"
#include "config/BillingIdMap.h"
#include "config/ConfigReader.h"
#include "config/EventCodeMap.h"
#include "connector/CallerText.h"
#include "connector/ExceptionGuard.h"
#include "datapool/DataPool.h"
#include "platform/Host.h"
#include "session/ChargeGen.h"
#include "session/FailedCheckOutVector.h"
#include "session/UserInfoMap.h"

using Kernova::XTL::ScopedLock;

namespace {

constexpr const char* kSettingsFile = "VelkarConnectorConfig.tl2";  // in the directory of the host executable

// Keeps InitModule and UninitModule of several threads apart. A thread that is inside a callback of the game
// never takes this lock, because a stop holds it while it waits for running callbacks. The lock is never
// destroyed, so that a call during the exit of the process still finds it.
Kernova::Threading::CriticalSection& LifecycleLock()
{
    static auto* const s_pLock = new Kernova::Threading::CriticalSection(
        Kernova::XTL::kSpinCount, Kernova::Threading::LockRank::Lifecycle);
    return *s_pLock;
}

// Whether there are threads of the library, or a thread that starts or stops it.
std::atomic<bool> g_bAlive{false};

// In a forked process.
void RefuseIfAlive()
{
    if (!g_bAlive.load())
        return;
    ForkedFlag().Set(true);
    InitializedFlag().Set(false);
    CLogger::Silence();
    Gauges().linkState.store(LinkState::Stopped);
}

// Makes all process-wide objects before the first of them is used. Whoever ends a request or the library
// finds them without needing memory. Throws std::bad_alloc.
void MakeObjects()
{
    Logger();
    ConfigReader();
    BillingIdMap();
    EventCodeMap();
    DataPool();
    UserInfoMap();
    FailedCheckOutVector();
    ChargeGen();
    FirstConnectWait();
    ReqIdGenerator();
    ResWaiterMap();
    LinkWatch();
    CommHandler();
    BeingTerminatedFlag();
}

// The stop path, from any state that a start can have reached. Clears both flags at its end, whatever has
// failed.
void StopRunning() noexcept
{
    const auto step = [](auto&& work) {
        try {
            work();
        } catch (...) {  // without memory for this step the others follow all the same
        }
    };
    step([] { ConfigReader().Shutdown(); });
    step([] { CommHandler().Stop(); });
    ModuleLife::End();
    step([] { Logger().Uninit(); });
    InitializedFlag().Set(false);
    BeingTerminatedFlag().Set(false);
    g_bAlive.store(false);
}

void StopConnector() noexcept
{
    Log::Info("[Velkar Connector] Velkar Connector stop...");
    StopRunning();
}

// The steps of a start. False with the reason in the caller's buffer; the caller of this function then runs
// the stop path. Blocks for up to 5000 milliseconds to connect and as long again for the service's answer.
bool StartConnector(const _CONNECTOR_ID& id, const _CONNECTOR_CALLBACKS& callbacks, const CallerText& error)
{
    Log::Info("[Velkar Connector] Velkar Connector start...");
    const std::string strDirectory = Host::GetExecutableDirectory();
    const std::string strPrefix = strDirectory.empty() ? "" : strDirectory + Host::GetPathSeparator();
    error.Put("");

    // The load adds entries and changes none, so what a failed start has left would stay in force.
    BillingIdMap().Clear();
    EventCodeMap().Clear();
    // The first load may show a bad settings file in a dialog, which blocks until it is closed.
    auto& config = ConfigReader();
    if (!config.Open(strPrefix + kSettingsFile)) {
        error.Put(config.GetLastErrorText());
        return false;
    }
    // A logger that does not start is no failure: the library runs without a log, and the text stays in the
    // buffer even if the rest of the start succeeds.
    if (!Logger().Init(config.GetLogovaService(), strPrefix + config.GetLogovaConfigFile(),
                       config.GetLogovaLogger()))
        error.Put("Failed to initialize a logger.");
    config.LogWarnings();
    StartReporting();

    auto& comm = CommHandler();
    if (!comm.Start(id, callbacks, &RegisterHandlers)) {
        error.Put(comm.GetLastErrorText());
        return false;
    }
    auto& wait = FirstConnectWait();
    wait.WaitForConnectAnswer();
    if (wait.GetConnectResult() != 0) {
        error.Put(wait.GetConnectMessage());
        return false;
    }
    return true;
}

// What InitModule does, as the flags stand: it starts the library, or ends at once with true or with false.
enum class Verdict { Start, AlreadyRunning, Refused };
Verdict LookAtFlags(const CallerText& error)
{
    if (ForkedFlag().IsSet()) {
        error.Put("Velkar Connector does not work in a forked process.");
        return Verdict::Refused;
    }
    if (InitializedFlag().IsSet()) {
        error.Put("Velkar Connector is already initialized.");
        return Verdict::AlreadyRunning;
    }
    if (BeingTerminatedFlag().IsSet()) {
        error.Put("Velkar Connector is being terminated.");
        return Verdict::Refused;
    }
    return Verdict::Start;
}

// Runs with the lifecycle lock held, so a failed start has been taken down before another call can begin.
bool StartLocked(const _CONNECTOR_ID& id, const _CONNECTOR_CALLBACKS& callbacks, const CallerText& error)
{
    MakeObjects();
    // Threads of the library, and callers, are inside its code from here on.
    Host::PinLibrary();
    g_bAlive.store(true);
    ForkedFlag();
    Host::OnForked(&RefuseIfAlive);
    try {
        if (StartConnector(id, callbacks, error)) {
            InitializedFlag().Set(true);
            BeingTerminatedFlag().Set(false);
            return true;
        }
        Log::Fatal("[Velkar Connector] Velkar Connector can't start because of some errors...");
        StopRunning();
    } catch (...) {
        error.Put("There is an exception because of some reasons.");
        StopConnector();
    }
    return false;
}

// Looks at the flags twice: once without the lock, so that a call during a long start or stop by another
// thread is answered where possible, and once more when it has the lock, because that thread may have
// finished meanwhile.
bool InitGuarded(const _CONNECTOR_ID* pId, const _CONNECTOR_CALLBACKS* pCallbacks, const CallerText& error)
{
    if (const Verdict verdict = LookAtFlags(error); verdict != Verdict::Start)
        return verdict == Verdict::AlreadyRunning;
    if (CallbackScope::IsInside()) {
        // A stop on another thread may be waiting for this very callback while it holds the lifecycle lock;
        // waiting for that lock here would never end.
        error.Put("Velkar Connector is not initialized.");
        return false;
    }
    if (pId == nullptr || pCallbacks == nullptr) {
        error.Put("Connector id or callbacks arg is NULL.");
        return false;
    }
    // The caller's blocks need not outlive the call.
    const _CONNECTOR_CALLBACKS callbacks = *pCallbacks;
    const _CONNECTOR_ID id = *pId;
    const ScopedLock lock(LifecycleLock());
    if (const Verdict verdict = LookAtFlags(error); verdict != Verdict::Start)
        return verdict == Verdict::AlreadyRunning;
    return StartLocked(id, callbacks, error);
}

// Does nothing on a library that is not initialised, or that another thread is stopping. The tables are
// emptied after the stop, when no thread of the library uses them any more; checkouts that could not be sent
// are given up.
void UninitGuarded()
{
    if (!InitializedFlag().IsSet() || BeingTerminatedFlag().IsSet())
        return;
    if (CallbackScope::IsInside()) {
        Log::Error("[Velkar Connector] UninitModule was called inside a callback and did nothing.");
        return;
    }
    const ScopedLock lock(LifecycleLock());
    if (!InitializedFlag().IsSet())
        return;
    StopConnector();
    BillingIdMap().Clear();
    EventCodeMap().Clear();
    FailedCheckOutVector().RemoveAll();
    UserInfoMap().RemoveAllUserInfo();
    DataPool().Clear();
}

}  // namespace

bool InitModule(const _CONNECTOR_ID* pId, const _CONNECTOR_CALLBACKS* pCallbacks, char* pszError,
                int nErrorSize)
{
    const CallerText error{pszError, nErrorSize < 1 ? 0 : static_cast<std::size_t>(nErrorSize)};
    bool bStarted = false;
    Guarded([&] { bStarted = InitGuarded(pId, pCallbacks, error); },
            [&] { error.Put("There is an exception because of some reasons."); });
    return bStarted;
}

void UninitModule(void)
{
    Guarded([] { UninitGuarded(); }, [] {});
}
