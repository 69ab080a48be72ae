// What Platova::GetLastError answers.
#pragma once

#include <system_error>

namespace Platova {

// Stores the code of a call that has failed on this thread: an error number of the operating system.
void SetLastError(unsigned int nCode);

// The same, with what a failed call returns where a number is expected: -1.
inline int FailWith(const std::error_code& code)
{
    SetLastError(static_cast<unsigned int>(code.value()));
    return -1;
}
inline int FailWith(std::errc code)
{
    SetLastError(static_cast<unsigned int>(code));
    return -1;
}

}  // namespace Platova
