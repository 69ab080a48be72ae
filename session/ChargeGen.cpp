#include "session/ChargeGen.h"

#include "comm/Cycle.h"
#include "config/ConfigReader.h"
#include "connector/Logger.h"
#include "platform/Host.h"
#include "session/ChargePass.h"

using Kernova::XTL::Singleton;

namespace {
constexpr unsigned int kStopPoll = 50;  // milliseconds
}  // namespace

bool CChargeGen::Start()
{
    m_bStop.store(false);
    m_wake.Reset();
    m_bRunning.store(true);
    if (Thread::Start())
        return true;
    m_bRunning.store(false);
    return false;
}

void CChargeGen::Stop()
{
    if (!m_bRunning.load())
        return;
    m_bStop.store(true);
    m_wake.Set();
    Thread::Stop();
    while (m_bRunning.load())
        Host::Sleep(kStopPoll);
}

void CChargeGen::Execute()
{
    try {
        Run();
    } catch (...) {
        Log::Error("[Charge Gen] There is an exception in ChargeGen Execute func.");
    }
    m_bRunning.store(false);
}

void CChargeGen::Run()
{
    Log::Info("[Charge Gen] Charge gen thread start.");
    bool bLast = false;  // after a stop has been seen, however long it takes to terminate this thread
    while (!Terminated() && !bLast) {
        m_wake.Wait(CycleMilliseconds(Singleton<CConfigReader>::Instance().GetChargeCycle()));
        ResetUnlessStopping(m_wake, m_bStop);
        bLast = m_bStop.load();
        if (m_bDisconnected.load())
            continue;
        Log::Info("[Charge Gen] Try to send a 'XC2S_ChargeReq' msg");
        SendChargePass([](int nProductId) {
            Log::DebugFmt("[Charge Gen] Failed to send a 'XC2S_ChargeReq' msg for PID: %d.", nProductId);
        });
    }
}
