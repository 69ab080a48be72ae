#include "platform/common/WordWait.h"

#include <linux/futex.h>
#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <ctime>

namespace Kernova::Internal {

bool WaitOnWord(const std::atomic<std::uint32_t>& nWord, std::uint32_t nValue,
                std::chrono::steady_clock::time_point deadline)
{
    // This kind of wait takes an absolute time of the steady clock.
    const auto since = std::chrono::duration_cast<std::chrono::nanoseconds>(deadline.time_since_epoch());
    timespec until{};
    until.tv_sec = static_cast<std::time_t>(since.count() / 1'000'000'000);
    until.tv_nsec = static_cast<long>(since.count() % 1'000'000'000);
    return syscall(SYS_futex, &nWord, FUTEX_WAIT_BITSET_PRIVATE, nValue, &until, nullptr,
                   FUTEX_BITSET_MATCH_ANY) == 0 ||
           errno != ETIMEDOUT;
}

namespace {
void Wake(const void* pWord, int nMost)
{
    syscall(SYS_futex, pWord, FUTEX_WAKE_PRIVATE, nMost, nullptr, nullptr, 0);
}
}  // namespace

void WakeWord(const void* pWord) { Wake(pWord, INT_MAX); }
void WakeOneOnWord(const void* pWord) { Wake(pWord, 1); }

unsigned int GetUsableProcessors()
{
    static const unsigned int s_nProcessors = [] {
        cpu_set_t set;
        CPU_ZERO(&set);
        const bool bKnown = sched_getaffinity(0, sizeof(set), &set) == 0;
        return bKnown ? static_cast<unsigned int>(std::max(1, CPU_COUNT(&set))) : 1u;
    }();
    return s_nProcessors;
}

}  // namespace Kernova::Internal
