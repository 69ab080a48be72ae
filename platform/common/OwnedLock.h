// A CriticalSection that knows its holder, for the locks that the system takes and gives back by calls:
// giving back what one does not hold is refused instead of being undefined.
#pragma once

#include <atomic>
#include <thread>

#include "platform/KernovaXtl.h"

namespace Kernova::Internal {

class OwnedLock {
public:
    explicit OwnedLock(Threading::LockRank rank) : m_lock(XTL::kSpinCount, rank) {}

    void Lock() NO_THREAD_SAFETY_ANALYSIS
    {
        m_lock.Lock();
        m_owner.store(std::this_thread::get_id());
        ++m_nDepth;
    }
    bool IsMine() const { return m_owner.load(std::memory_order_relaxed) == std::this_thread::get_id(); }
    // False if the calling thread does not hold it.
    bool Unlock() NO_THREAD_SAFETY_ANALYSIS
    {
        if (!IsMine())
            return false;
        if (--m_nDepth == 0)
            m_owner.store(std::thread::id());
        m_lock.Unlock();
        return true;
    }

private:
    Threading::CriticalSection m_lock;
    std::atomic<std::thread::id> m_owner{};
    int m_nDepth = 0;  // the holder's
};

// Holds it to the end of the scope.
class OwnedLockScope {
public:
    explicit OwnedLockScope(OwnedLock& lock) : m_lock(lock) { m_lock.Lock(); }
    ~OwnedLockScope() { m_lock.Unlock(); }
    OwnedLockScope(const OwnedLockScope&) = delete;
    OwnedLockScope& operator=(const OwnedLockScope&) = delete;

private:
    OwnedLock& m_lock;
};

}  // namespace Kernova::Internal
