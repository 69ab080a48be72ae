// The state of the whole library: whether it is initialised, whether it is being terminated, and whether the
// calling thread is inside a callback of the game. Exports, waiters, start and stop ask for it.
#pragma once

#include <atomic>

// One flag. Any thread; a thread that sees it set sees everything that was done before it was set.
class CModuleFlag {
public:
    bool IsSet() const { return m_bSet.load(); }
    void Set(bool bSet) { m_bSet.store(bSet); }

private:
    std::atomic<bool> m_bSet{false};
};

// Set from a successful InitModule until the stop path ends. While it is not set, every request export
// refuses with "Velkar Connector is not initialized.". The two flags live on the heap and are never
// destroyed, so that an export that the game calls while the process exits still finds them.
inline CModuleFlag& InitializedFlag()
{
    static auto* const s_pFlag = new CModuleFlag;
    return *s_pFlag;
}

// Set while the stop path runs. No new waiter is accepted meanwhile, and InitModule refuses.
inline CModuleFlag& BeingTerminatedFlag()
{
    static auto* const s_pFlag = new CModuleFlag;
    return *s_pFlag;
}

// Set in a process that was forked off one that had started the library. The threads of the library are not
// there, and a lock may be held for ever by one that is not, so the library refuses to work.
inline CModuleFlag& ForkedFlag()
{
    static auto* const s_pFlag = new CModuleFlag;
    return *s_pFlag;
}

// Counts the lives of the library: a life begins with InitModule and ends within UninitModule. A call of the
// game can outlast a stop by its whole wait. What belongs to a life carries the life's number, so that such a
// call changes nothing in the tables of the next life and sends nothing on the next life's connection.
class ModuleLife {
public:
    static unsigned int Current() { return s_nLife.load(); }
    // After the last thread of the library has ended and before the tables are emptied.
    static void End() { ++s_nLife; }

private:
    static inline std::atomic<unsigned int> s_nLife{1};  // never 0
};

// Marks the calling thread as inside a callback of the game, for the length of the scope; scopes nest.
// InitModule and UninitModule refuse to work on a marked thread: a stop waits until every running callback
// has returned, so a stop from inside a callback would wait for itself for ever.
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
