// The two flags that every export and every waiter consults, and the mark of a thread that is inside a
// callback of the game. A leaf.
#pragma once

#include "platform/KernovaXtl.h"

// One byte with its own lock. Nobody holds the locks of both flags at once.
class CModuleFlag {
public:
    bool IsSet() const
    {
        const Kernova::XTL::ScopedLock lock(m_lock);
        return m_bSet;
    }
    void Set(bool bSet)
    {
        const Kernova::XTL::ScopedLock lock(m_lock);
        m_bSet = bSet;
    }

private:
    mutable Kernova::Threading::CriticalSection m_lock{Kernova::XTL::kSpinCount,
                                                       Kernova::Threading::LockRank::Leaf};
    bool m_bSet GUARDED_BY(m_lock) = false;
};

// Initialised: from a successful InitModule until the stop path ends.
// Being terminated: while the stop path runs. Never destroyed, so that an export called while the
// process exits finds them.
inline CModuleFlag& InitializedFlag()
{
    static auto* const s_pFlag = new CModuleFlag;
    return *s_pFlag;
}
inline CModuleFlag& BeingTerminatedFlag()
{
    static auto* const s_pFlag = new CModuleFlag;
    return *s_pFlag;
}

// Around every call into the game: stopping the library from in there would wait for itself.
class CallbackScope {
public:
    CallbackScope() { ++s_nDepth; }
    ~CallbackScope() { --s_nDepth; }
    CallbackScope(const CallbackScope&) = delete;
    CallbackScope& operator=(const CallbackScope&) = delete;

    static bool IsInside() { return s_nDepth > 0; }

private:
    static inline thread_local int s_nDepth = 0;
};
