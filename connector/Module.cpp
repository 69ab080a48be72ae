// The life of the library: InitModule and UninitModule.
#include "VelkarConnector.h"
#include "base/Logger.h"
#include "base/ModuleFlags.h"
#include "comm/CommHandler.h"
#include "comm/FirstConnectWait.h"
#include "comm/in/HandlerTable.h"
#include "config/BillingIdMap.h"
#include "config/ConfigReader.h"
#include "config/EventCodeMap.h"
#include "connector/CallerText.h"
#include "connector/ExceptionGuard.h"
#include "datapool/DataPool.h"
#include "platform/Host.h"
#include "session/FailedCheckOutVector.h"
#include "session/UserInfoMap.h"

using Kernova::XTL::ScopedLock;

namespace {

constexpr const char* kSettingsFile = "VelkarConnectorConfig.tl2";

// InitModule and UninitModule against each other; taken by no thread that is inside a callback. Never
// destroyed, so that a call during the process's exit finds it.
Kernova::Threading::CriticalSection& LifecycleLock()
{
    static auto* const s_pLock = new Kernova::Threading::CriticalSection(
        Kernova::XTL::kSpinCount, Kernova::Threading::LockRank::Lifecycle);
    return *s_pLock;
}

// From the first step of a start to the last one of the stop path.
void StopRunning() noexcept
{
    try {
        ConfigReader().Shutdown();
        CommHandler().Stop();
        Logger().Uninit();
    } catch (...) {  // the flags below still have to fall
    }
    InitializedFlag().Set(false);
    BeingTerminatedFlag().Set(false);
    Host::ReleaseLibrary();
}

void StopConnector() noexcept
{
    Log::Info("[Velkar Connector] Velkar Connector stop...");
    StopRunning();
}

// Everything between the checks and the verdict.
bool StartConnector(const _CONNECTOR_ID& id, const _CONNECTOR_CALLBACKS& callbacks, const CallerText& error)
{
    Log::Info("[Velkar Connector] Velkar Connector start...");
    const std::string strDirectory = Host::GetExecutableDirectory();
    const std::string strPrefix = strDirectory.empty() ? "" : strDirectory + Host::GetPathSeparator();
    error.Put("");

    auto& config = ConfigReader();
    if (!config.Open(strPrefix + kSettingsFile)) {
        error.Put(config.GetLastErrorText());
        return false;
    }
    if (!Logger().Init(config.GetLogovaService(), strPrefix + config.GetLogovaConfigFile(),
                       config.GetLogovaLogger()))
        error.Put("Failed to initialize a logger.");

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

bool StartLocked(const _CONNECTOR_ID& id, const _CONNECTOR_CALLBACKS& callbacks, const CallerText& error)
{
    Host::HoldLibrary();
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

bool InitGuarded(const _CONNECTOR_ID* pId, const _CONNECTOR_CALLBACKS* pCallbacks, const CallerText& error)
{
    if (const Verdict verdict = LookAtFlags(error); verdict != Verdict::Start)
        return verdict == Verdict::AlreadyRunning;
    if (CallbackScope::IsInside()) {
        // Another thread may be waiting for this very callback while it holds the lifecycle lock.
        error.Put("Velkar Connector is not initialized.");
        return false;
    }
    if (pId == nullptr || pCallbacks == nullptr) {
        error.Put("Connector id or callbacks arg is NULL.");
        return false;
    }
    const _CONNECTOR_CALLBACKS callbacks = *pCallbacks;
    const _CONNECTOR_ID id = *pId;
    const ScopedLock lock(LifecycleLock());
    if (const Verdict verdict = LookAtFlags(error); verdict != Verdict::Start)
        return verdict == Verdict::AlreadyRunning;
    return StartLocked(id, callbacks, error);
}

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
