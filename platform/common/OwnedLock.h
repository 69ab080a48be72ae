// A CriticalSection for the locks that the system takes and gives back by calls: giving back what one does
// not hold is refused instead of being undefined.
#pragma once

#include "platform/KernovaXtl.h"

namespace Kernova::Internal {

class OwnedLock {
public:
    explicit OwnedLock(Threading::LockRank rank) : m_lock(XTL::kSpinCount, rank) {}

    void Lock() NO_THREAD_SAFETY_ANALYSIS { m_lock.Lock(); }
    bool IsMine() const { return m_lock.IsMine(); }
    // False if the calling thread does not hold it.
    bool Unlock() NO_THREAD_SAFETY_ANALYSIS
    {
        if (!m_lock.IsMine())
            return false;
        m_lock.Unlock();
        return true;
    }

private:
    Threading::CriticalSection m_lock;
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
