#include "platform/common/LockOrder.h"

#ifndef NDEBUG
#include <cstddef>
#include <cstdio>
#include <cstdlib>

namespace Kernova::Internal {

namespace {

struct Held {
    const void* pLock;
    Threading::LockRank rank;
};

// The locks of one thread, outermost first; a lock that is held twice stands here twice.
struct HeldLocks {
    static constexpr std::size_t kMax = 32;
    Held arrHeld[kMax];
    std::size_t nCount = 0;

    bool Holds(const void* pLock) const
    {
        for (std::size_t n = 0; n < nCount; ++n) {
            if (arrHeld[n].pLock == pLock)
                return true;
        }
        return false;
    }
};

thread_local HeldLocks t_held;

[[noreturn]] void EndProcess(const char* pszText, int nRank, int nHeldRank)
{
    std::fprintf(stderr, "Assertion: %s (rank %d, held %d)\n", pszText, nRank, nHeldRank);
    std::abort();
}

}  // namespace

void BeforeLock(const void* pLock, Threading::LockRank rank)
{
    if (!t_held.Holds(pLock)) {
        for (std::size_t n = 0; n < t_held.nCount; ++n) {
            if (t_held.arrHeld[n].rank >= rank)
                EndProcess("a lock is taken against the order of locks", static_cast<int>(rank),
                           static_cast<int>(t_held.arrHeld[n].rank));
        }
    }
    if (t_held.nCount == HeldLocks::kMax)
        EndProcess("a thread holds too many locks", static_cast<int>(rank), 0);
    t_held.arrHeld[t_held.nCount++] = {pLock, rank};
}

void AfterUnlock(const void* pLock)
{
    for (std::size_t n = t_held.nCount; n-- > 0;) {
        if (t_held.arrHeld[n].pLock != pLock)
            continue;
        for (--t_held.nCount; n < t_held.nCount; ++n)
            t_held.arrHeld[n] = t_held.arrHeld[n + 1];
        return;
    }
}

}  // namespace Kernova::Internal
#endif
