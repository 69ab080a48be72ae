// Start, stop and the comm thread.
#include "comm/CommHandler.h"

#include <cstdio>
#include <exception>

#include "base/LastErrorCode.h"
#include "base/Logger.h"
#include "base/ModuleFlags.h"
#include "base/Times.h"
#include "comm/ChargePass.h"
#include "comm/FailedDelivery.h"
#include "comm/FirstConnectWait.h"
#include "config/ConfigReader.h"
#include "platform/Host.h"
#include "session/ChargeGen.h"
#include "session/FailedCheckOutVector.h"

using Kernova::XTL::ScopedLock;

namespace {

constexpr int kConnectTimeout = 5000;    // milliseconds
constexpr unsigned int kFirstIdle = 50;  // milliseconds, while the first connection is pending

}  // namespace

bool CCommHandler::Start(const _CONNECTOR_ID& id, const _CONNECTOR_CALLBACKS& callbacks,
                         RegisterHandlersFunction pfnRegisterHandlers)
{
    m_pfnRegisterHandlers.store(pfnRegisterHandlers);
    SetLastErrorText({});
    {
        const ScopedLock lock(m_lockSettings);
        CopyText(m_id.GID, FieldText(id.GID));
        CopyText(m_id.SID, FieldText(id.SID));
        CopyText(m_id.WID, FieldText(id.WID));
    }
    SetCallbacks(callbacks);
    LinkWatch().OnStart();
    FirstConnectWait().Open();
    if (!CreateConnector() || !SetConnectorCallbacks() || !ConnectFirst())
        return false;
    if (!ChargeGen().Start(&RunChargeCycle)) {
        StartFailed("[Comm Handler] Failed to start a charge gen thread.");
        return false;
    }
    m_bRunning.store(true);
    if (!Thread::Start()) {
        m_bRunning.store(false);
        StartFailed("[Comm Handler] Failed to start a comm thread.");
        return false;
    }
    return true;
}

bool CCommHandler::CreateConnector()
{
    m_pPool = Kernova::ThreadPool::CreateHandle(2 * std::size_t{Platova::GetProcessorCount()});
    if (m_pPool != nullptr)
        m_pConnector.store(Netrova::Connector::CreateHandle(m_pPool));
    if (m_pPool == nullptr || m_pConnector.load() == nullptr) {
        Log::ErrorFmt("[Comm Handler] Failed to create a thread pool or connector. [Error code: %d]",
                      LastErrorCode());
        SetLastErrorText("[Comm Handler] Failed to create a thread pool or connector.");
        return false;
    }
    m_gateConnector.Open();
    return true;
}

bool CCommHandler::SetConnectorCallbacks()
{
    using namespace Netrova::Connector;
    auto* const p = m_pConnector.load();
    if (SetOnConnected(p, &CCommHandler::OnConnected, nullptr) &&
        SetOnDisconnected(p, &CCommHandler::OnDisconnected, nullptr) &&
        SetOnTimeout(p, &CCommHandler::OnTimeout, nullptr) &&
        SetOnReceived(p, &CCommHandler::OnReceived, nullptr))
        return true;
    Log::ErrorFmt("[Comm Handler] Failed to set callback functions for socket operations. [Error code: %d]",
                  LastErrorCode());
    SetLastErrorText("[Comm Handler] Failed to set callback functions for socket operations.");
    return false;
}

bool CCommHandler::Connect()
{
    auto& wait = FirstConnectWait();
    const auto& config = ConfigReader();
    const std::string strServerIP = config.GetServerIP();
    const int nServerPort = config.GetServerPort();
    LinkWatch().OnAttempt(strServerIP, nServerPort);
    wait.ExpectAnswer();
    if (Netrova::Connector::Connect(m_pConnector.load(), strServerIP.c_str(),
                                    static_cast<unsigned short>(nServerPort), kConnectTimeout))
        return true;
    wait.ForgetAnswer();
    return false;
}

bool CCommHandler::ConnectFirst()
{
    const auto& config = ConfigReader();
    const std::string strServerIP = config.GetServerIP();
    const int nServerPort = config.GetServerPort();
    if (Connect())
        return true;
    char szWhere[256];
    std::snprintf(szWhere, sizeof(szWhere), "IP: %s, Port: %d, ErrorCode: %d", strServerIP.c_str(),
                  nServerPort, LastErrorCode());
    SetLastErrorText(std::string("[Comm Handler] Failed to connect to Velkar server. ") + szWhere);
    Log::ErrorFmt("%s", GetLastErrorText().c_str());
    return false;
}

void CCommHandler::StartFailed(const char* pszError)
{
    Log::Error(pszError);
    SetLastErrorText(pszError);
}

void CCommHandler::Stop()
{
    BeingTerminatedFlag().Set(true);
    SetCallbacks({});
    FirstConnectWait().Cancel();
    Log::Debug("[Comm Handler] Charge thread stop.");
    ChargeGen().Stop();
    Log::Debug("[Comm Handler] Session thread stop.");
    m_bStop.store(true);
    m_wakeHeartbeat.Set();
    m_wakeReconnect.Set();
    Netrova::Connector::AbortConnects(m_pConnector.load());
    Thread::Stop();
    while (m_bRunning.load())
        Host::Sleep(kStopPoll);
    m_gateConnector.CloseAndWait();
    Netrova::Connector::DestroyHandle(m_pConnector.exchange(nullptr));
    Kernova::ThreadPool::DestroyHandle(m_pPool);
    m_pPool = nullptr;
    m_wakeHeartbeat.Reset();
    m_wakeReconnect.Reset();
    m_bRunning.store(false);
    m_bStop.store(false);
    m_bConnected.store(false);
    m_bFirstConnect.store(false);
    SetCallbacks({});
    LinkWatch().OnStop();
}

void CCommHandler::Execute()
{
    Host::NameThread("velkar-comm");
    Log::Info("[Comm Handler] Session manager thread start.");
    while (!Terminated() && !m_bStop.load()) {
        try {
            RunCycle();
        } catch (...) {
            // Without memory this cycle is lost. The thread stays: nobody else connects again.
            Log::Error("[Comm Handler] There is an exception in CommHandler Execute func.");
            Host::Sleep(kFirstIdle);
        }
    }
    m_bRunning.store(false);
}

void CCommHandler::RunCycle()
{
    if (m_bConnected.load()) {
        BeatHeart();
    } else if (m_bFirstConnect.load()) {
        Kernova::Threading::AutoResetEvent never(false);
        never.Wait(kFirstIdle);
    } else {
        Reconnect();
    }
}

void CCommHandler::BeatHeart()
{
    bool bAllLeft = false;
    const auto onAccepted = [&bAllLeft] { FailedCheckOutVector().OnHeartbeat(bAllLeft); };
    if (SendWith<XC2S_Heartbeat>(SendTerms{0, nullptr, &bAllLeft}, onAccepted)) {
        Log::Debug("[Comm Handler] Success to send a 'XC2S_Heartbeat' msg.");
        // Checkouts that failed while the link stood do not wait for its loss.
        Netrova::Link::_THandle* const pRegistered = m_pRegistered.load();
        if (pRegistered != nullptr && FailedCheckOutVector().GetCount() > 0)
            DeliverFailedCheckouts(pRegistered);
    } else {
        Log::Error("[Comm Handler] Failed to send a 'XC2S_Heartbeat' msg.");
    }
    m_wakeHeartbeat.Wait(CycleMilliseconds(ConfigReader().GetHeartbeatCycle()));
    ResetWake(m_wakeHeartbeat);
}

void CCommHandler::Reconnect()
{
    m_wakeReconnect.Wait(CycleMilliseconds(ConfigReader().GetReconnectCycle()));
    if (m_bConnected.load() || m_bStop.load())
        return;
    ResetWake(m_wakeReconnect);
    Log::Info("[Comm Handler] Reconnection to Velkar server.");
    if (!Connect())
        return;
    auto& wait = FirstConnectWait();
    bool bAccepted = false;
    try {
        wait.WaitForConnectAnswer();
        bAccepted = wait.GetConnectResult() == 0;
    } catch (const std::exception&) {
        wait.ForgetAnswer();  // the handler of the answer would be held for ever
    }
    if (!bAccepted)
        CloseActiveLink();
}

std::string CCommHandler::GetLastErrorText() const
{
    const ScopedLock lock(m_lockSettings);
    return m_strLastError;
}

void CCommHandler::SetLastErrorText(std::string str)
{
    const ScopedLock lock(m_lockSettings);
    m_strLastError = std::move(str);
}

void CCommHandler::SetCallbacks(const _CONNECTOR_CALLBACKS& callbacks)
{
    const ScopedLock lock(m_lockSettings);
    m_callbacks = callbacks;
}
