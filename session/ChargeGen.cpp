// The charge thread: start, stop and the loop of its cycle.
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
    // Set before the thread runs, so that a Stop right behind this call waits for the thread.
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
    // Flag first, event second: ResetUnlessStopping relies on this order.
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

// An exception costs the rest of one pass; the next cycle begins as usual.
void CChargeGen::RunPass()
{
    try {
        m_pfnPass();
    } catch (...) {
        Log::Error("[Charge Gen] There is an exception in ChargeGen Execute func.");
    }
}

void CChargeGen::Run()
{
    Host::NameThread("velkar-charge");
    Log::Info("[Charge Gen] Charge gen thread start.");
    // A stop that ends the wait still lets one pass run, if the link stands: also one that comes before this
    // thread has reached its first wait, so the end of the loop asks. bLast makes sure that it is one pass
    // only, because Terminated() becomes true some time after the stop flag.
    bool bLast = false;
    do {
        // The cycle is read afresh at each turn, so a reloaded CHARGE_CYCLE counts from the next wait on.
        m_wake.Wait(CycleMilliseconds(ConfigReader().GetChargeCycle()));
        ResetUnlessStopping(m_wake, m_bStop);
        bLast = m_bStop.load();
        if (m_bDisconnected.load())
            continue;
        Log::Info("[Charge Gen] Try to send a 'XC2S_ChargeReq' msg");
        RunPass();
    } while (!Terminated() && !bLast);
}
