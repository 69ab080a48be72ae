// The cycles of the settings file.
#pragma once

#include <algorithm>

// The wait of a cycle. A value below 1 is waited for as 1 second: a typo in the settings of a running
// server must not become a flood. The longest wait is about 46 days.
inline unsigned int CycleMilliseconds(int nSeconds)
{
    return static_cast<unsigned int>(std::clamp(nSeconds, 1, 4'000'000)) * 1000u;
}
