// The error code that log lines show behind a failure.
#pragma once

#include "platform/Platova.h"

// The operating system's code of the last platform call that failed on this thread, as a number for "%d".
// Only useful directly behind that call.
inline int LastErrorCode() { return static_cast<int>(Platova::GetLastError()); }
