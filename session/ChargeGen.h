// The charge thread: once every CHARGE_CYCLE seconds it runs a charge pass, which reports the users of each
// product to the service and checks out the users whose term has ended. Without this cycle no user would ever
// expire here.
#pragma once

#include <atomic>

#include "platform/KernovaXtl.h"

// A process-wide object, started and stopped by CCommHandler. It only keeps the time. What a pass does is
// handed in at the start (RunChargeCycle in comm/ChargePass.h), because a pass sends messages and this folder
// knows no sender.
class CChargeGen final : public Kernova::Threading::Thread {
public:
    using Pass = void (*)();

    // Starts the thread, on which pfnPass runs once a cycle, the first time one whole cycle after the start.
    // False if no thread could be made.
    bool Start(Pass pfnPass);
    // Ends the thread and waits for its end: for a pass that is running, and for the last pass, which the
    // stop begins if the link stands. Does not wait for the rest of a cycle. Does nothing if no thread runs.
    void Stop();
    // Called at the loss and at the making of the connection. While disconnected no pass runs, and a pass
    // that is left out is not made up for. Start and Stop do not change this state.
    void SetDisconnected(bool bDisconnected) { m_bDisconnected.store(bDisconnected); }
    void Execute() override;

private:
    void Run();
    void RunPass();

    Pass m_pfnPass = nullptr;             // set before the thread starts
    std::atomic<bool> m_bRunning{false};  // from Start until the thread's body has ended
    std::atomic<bool> m_bStop{false};     // Stop has asked the thread to finish
    std::atomic<bool> m_bDisconnected{false};
    Kernova::Threading::ManualResetEvent m_wake{false};  // ends the wait of a cycle early
};

// The one object of the process.
inline CChargeGen& ChargeGen() { return Kernova::XTL::Singleton<CChargeGen>::Instance(); }
