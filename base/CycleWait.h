// The wait of the comm thread and the charge thread between two passes. Both take the length of their cycle
// from the settings file and wait on an event, so that a stop or a change of the connection ends the wait.
#pragma once

#include <algorithm>
#include <atomic>

#include "platform/KernovaXtl.h"

// The cycle of the settings file, in seconds, as the milliseconds of a wait. A cycle below 1 becomes 1
// second, because a typo in the settings of a running server must not flood the service with messages. A
// cycle above 4,000,000 seconds (46 days) becomes 46 days, because more milliseconds do not fit the result.
inline unsigned int CycleMilliseconds(int nSeconds)
{
    return static_cast<unsigned int>(std::clamp(nSeconds, 1, 4'000'000)) * 1000u;
}

// Clears the event that cuts a wait short, so that the next wait is a whole one, but keeps the signal of a
// stop. A stop raises bStop first and sets the event second. If the stop comes before the Reset, the flag is
// seen here and the event is set again; if it comes after the Reset, the stop sets the event itself.
inline void ResetUnlessStopping(Kernova::Threading::ManualResetEvent& event, const std::atomic<bool>& bStop)
{
    event.Reset();
    if (bStop.load())
        event.Set();
}
