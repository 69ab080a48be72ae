// The life of the library: InitModule and UninitModule.
#include <cstring>

#include "comm/CommHandler.h"
#include "comm/FirstConnectWait.h"
#include "config/BillingIdMap.h"
#include "config/ConfigReader.h"
#include "config/EventCodeMap.h"
#include "connector/Guard.h"
#include "connector/Logger.h"
#include "connector/ModuleFlags.h"
#include "connector/VelkarConnector.h"
#include "datapool/DataPool.h"
#include "platform/Host.h"
#include "session/FailedCheckOutVector.h"
#include "session/UserInfoMap.h"

using Kernova::XTL::ScopedLock;
using Kernova::XTL::Singleton;

namespace {

constexpr const char* kSettingsFile = "VelkarConnectorConfig.tl2";

// InitModule and UninitModule against each other; taken by no thread that is inside a callback. Never
// destroyed, so that a call during the process's exit finds it.
Kernova::Threading::CriticalSection& LifecycleLock()
{
    static auto* const s_pLock = new Kernova::Threading::CriticalSection(Kernova::XTL::kSpinCount);
    return *s_pLock;
}

// The caller's buffer for the error text.
struct ErrorText {
    char* pszError;
    int nErrorSize;

    void Copy(const std::string& strText) const
    {
        if (pszError == nullptr || nErrorSize < 1)
            return;
        const auto nSize = static_cast<std::size_t>(nErrorSize);
        const std::size_t nLength = strText.size() < nSize ? strText.size() : nSize - 1;
        std::memcpy(pszError, strText.data(), nLength);
        pszError[nLength] = '\0';
    }
};

// From the first step of a start to the last one of the stop path.
void StopRunning() noexcept
{
    try {
        Singleton<CConfigReader>::Instance().Shutdown();
        Singleton<CCommHandler>::Instance().Stop();
        Singleton<CLogger>::Instance().Uninit();
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
bool StartConnector(const _CONNECTOR_ID& id, const _CONNECTOR_CALLBACKS& callbacks, const ErrorText& error)
{
    Log::Info("[Velkar Connector] Velkar Connector start...");
    const std::string strDirectory = Host::GetExecutableDirectory();
    const std::string strPrefix = strDirectory.empty() ? "" : strDirectory + Host::GetPathSeparator();
    error.Copy("");

    auto& config = Singleton<CConfigReader>::Instance();
    if (!config.Open(strPrefix + kSettingsFile)) {
        error.Copy(config.GetLastErrorText());
        return false;
    }
    if (!Singleton<CLogger>::Instance().Init(
            config.GetLogovaService(), strPrefix + config.GetLogovaConfigFile(), config.GetLogovaLogger()))
        error.Copy("Failed to initialize a logger.");

    auto& comm = Singleton<CCommHandler>::Instance();
    if (!comm.Start(id, callbacks)) {
        error.Copy(comm.GetLastErrorText());
        return false;
    }
    auto& wait = Singleton<CFirstConnectWait>::Instance();
    wait.WaitForConnectAnswer();
    if (wait.GetConnectResult() != 0) {
        error.Copy(wait.GetConnectMessage());
        return false;
    }
    return true;
}

// A verdict without a start, or none.
enum class Verdict { Start, AlreadyRunning, Refused };
Verdict LookAtFlags(const ErrorText& error)
{
    if (InitializedFlag().IsSet()) {
        error.Copy("Velkar Connector is already initialized.");
        return Verdict::AlreadyRunning;
    }
    if (BeingTerminatedFlag().IsSet()) {
        error.Copy("Velkar Connector is being terminated.");
        return Verdict::Refused;
    }
    return Verdict::Start;
}

bool StartLocked(const _CONNECTOR_ID& id, const _CONNECTOR_CALLBACKS& callbacks, const ErrorText& error)
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
        error.Copy("There is an exception because of some reasons.");
        StopConnector();
    }
    return false;
}

bool InitGuarded(const _CONNECTOR_ID* pId, const _CONNECTOR_CALLBACKS* pCallbacks, const ErrorText& error)
{
    if (const Verdict verdict = LookAtFlags(error); verdict != Verdict::Start)
        return verdict == Verdict::AlreadyRunning;
    if (CallbackScope::IsInside()) {
        // Another thread may be waiting for this very callback while it holds the lifecycle lock.
        error.Copy("Velkar Connector is not initialized.");
        return false;
    }
    if (pId == nullptr || pCallbacks == nullptr) {
        error.Copy("Connector id or callbacks arg is NULL.");
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
    Singleton<CBillingIdMap>::Instance().Clear();
    Singleton<CEventCodeMap>::Instance().Clear();
    Singleton<CFailedCheckOutVector>::Instance().RemoveAll();
    Singleton<CUserInfoMap>::Instance().RemoveAllUserInfo();
    Singleton<CDataPool>::Instance().Clear();
}

}  // namespace

bool InitModule(const _CONNECTOR_ID* pId, const _CONNECTOR_CALLBACKS* pCallbacks, char* pszError,
                int nErrorSize)
{
    const ErrorText error{pszError, nErrorSize};
    bool bStarted = false;
    Guarded([&] { bStarted = InitGuarded(pId, pCallbacks, error); },
            [&] { error.Copy("There is an exception because of some reasons."); });
    return bStarted;
}

void UninitModule(void)
{
    Guarded([] { UninitGuarded(); }, [] {});
}
