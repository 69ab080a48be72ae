// What Platova::GetLastError answers.
#pragma once

namespace Platova {

// Stores the code of a call that has failed on this thread: an error number of the operating system.
void SetLastError(unsigned int nCode);

}  // namespace Platova
