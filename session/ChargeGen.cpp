#include "session/ChargeGen.h"

#include "base/CycleWait.h"
#include "base/Logger.h"
#include "base/Times.h"
#include "config/ConfigReader.h"
#include "platform/Host.h"

bool CChargeGen::Start(Pass pfnPass)
{
    m_pfnPass = pfnPass;
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
        m_wake.Wait(CycleMilliseconds(ConfigReader().GetChargeCycle()));
        ResetUnlessStopping(m_wake, m_bStop);
        bLast = m_bStop.load();
        if (m_bDisconnected.load())
            continue;
        Log::Info("[Charge Gen] Try to send a 'XC2S_ChargeReq' msg");
        m_pfnPass();
    }
}
