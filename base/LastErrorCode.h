// The system's error code of a call of the platform that has failed on this thread, as log lines show it.
#pragma once

#include "platform/Platova.h"

inline int LastErrorCode() { return static_cast<int>(Platova::GetLastError()); }
