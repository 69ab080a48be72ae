// The thread that reports the users of running products to the service, once every charge cycle.
#pragma once

#include <atomic>

#include "platform/KernovaXtl.h"

// A process-wide object. It keeps the time alone: what a pass does is given to it.
class CChargeGen final : public Kernova::Threading::Thread {
public:
    using Pass = void (*)();

    // pfnPass runs on this thread, the first time one whole cycle after the start. False if there is no
    // thread.
    bool Start(Pass pfnPass);
    // Waits for a pass that is running, and for the last one, which the stop itself begins if the link
    // stands; never for a cycle.
    void Stop();
    // While it is set no pass runs, and what is left out is not made up for. Start and Stop leave it alone.
    void SetDisconnected(bool bDisconnected) { m_bDisconnected.store(bDisconnected); }
    void Execute() override;

private:
    void Run();

    Pass m_pfnPass = nullptr;  // set before the thread starts
    std::atomic<bool> m_bRunning{false};
    std::atomic<bool> m_bStop{false};
    std::atomic<bool> m_bDisconnected{false};
    Kernova::Threading::ManualResetEvent m_wake{false};
};

// The one object of the process.
inline CChargeGen& ChargeGen() { return Kernova::XTL::Singleton<CChargeGen>::Instance(); }
