// How the threads that keep a cycle of the settings file wait.
#pragma once

#include <algorithm>
#include <atomic>

#include "platform/KernovaXtl.h"

// The wait of a cycle. A value below 1 is waited for as 1 second: a typo in the settings of a running
// server must not become a flood. The longest wait is about 46 days.
inline unsigned int CycleMilliseconds(int nSeconds)
{
    return static_cast<unsigned int>(std::clamp(nSeconds, 1, 4'000'000)) * 1000u;
}

// Clears the event that cuts a wait short, but never the signal of a stop, which raises its flag first and
// sets the event second: one of the two is seen here.
inline void ResetUnlessStopping(Kernova::Threading::ManualResetEvent& event, const std::atomic<bool>& bStop)
{
    event.Reset();
    if (bStop.load())
        event.Set();
}
