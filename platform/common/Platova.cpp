#include "platform/Platova.h"

#include <algorithm>
#include <thread>

#include "platform/common/LastError.h"

namespace Platova {

namespace {
thread_local unsigned int t_nLastError = 0;
}

unsigned int GetLastError() { return t_nLastError; }

void SetLastError(unsigned int nCode) { t_nLastError = nCode; }

unsigned int GetProcessorCount() { return std::max(1u, std::thread::hardware_concurrency()); }

}  // namespace Platova
