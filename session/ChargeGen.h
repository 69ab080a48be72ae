// The thread that reports the users of running products to the service, once every charge cycle.
#pragma once

#include <atomic>

#include "platform/Kernova.h"

// A process-wide object without users of its own: each pass sends one message a product, and filling it
// scans the users.
class CChargeGen final : public Kernova::Threading::Thread {
public:
    // The first pass comes one whole cycle after the start. False if there is no thread.
    bool Start();
    // Waits for a pass that is running, and for the last one, which the stop itself begins if the link
    // stands; never for a cycle.
    void Stop();
    // While it is set no pass runs, and what is left out is not made up for. Start and Stop leave it alone.
    void SetDisconnected(bool bDisconnected) { m_bDisconnected.store(bDisconnected); }
    void Execute() override;

private:
    void Run();

    std::atomic<bool> m_bRunning{false};
    std::atomic<bool> m_bStop{false};
    std::atomic<bool> m_bDisconnected{false};
    Kernova::Threading::ManualResetEvent m_wake{false};
};
