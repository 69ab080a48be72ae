// Platova: last error and processor count. Any thread may call both.
#pragma once

namespace Platova {

// The code of the last failing platform call on the calling thread; 0 if none has failed.
// Read it right after the failing call. It is only shown in log lines and error texts.
unsigned int GetLastError();

// Logical processors of this machine, at least 1.
unsigned int GetProcessorCount();

}  // namespace Platova
