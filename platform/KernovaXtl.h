// Kernova::XTL: the scope lock and the process-wide objects.
#pragma once

#include <atomic>
#include <cstdlib>
#include <new>
#include <stdexcept>

#include "platform/Assertion.h"
#include "platform/Kernova.h"

namespace Kernova::XTL {

inline constexpr unsigned int kSpinCount = 4000;

// Holds a CriticalSection to the end of the scope.
class SCOPED_CAPABILITY ScopedLock {
public:
    explicit ScopedLock(Threading::CriticalSection& lock, bool lockNow = true) ACQUIRE(lock) : m_lock(lock)
    {
        if (lockNow)
            Lock();
    }
    ~ScopedLock() RELEASE()
    {
        if (locked_)
            Unlock();
    }
    ScopedLock(const ScopedLock&) = delete;
    ScopedLock& operator=(const ScopedLock&) = delete;

    void Lock() NO_THREAD_SAFETY_ANALYSIS
    {
        if (locked_)
            Fail("[ScopedLock::Lock()] locked_ must be false.");
        m_lock.Lock();
        locked_ = true;
    }
    void Unlock() NO_THREAD_SAFETY_ANALYSIS
    {
        if (!locked_)
            Fail("[ScopedLock::Unlock()] locked_ must be true.");
        locked_ = false;
        m_lock.Unlock();
    }

private:
    [[noreturn]] static void Fail(const char* pszText)
    {
        RaiseAssertion(pszText);
        throw std::logic_error(pszText);
    }

    Threading::CriticalSection& m_lock;
    bool locked_ = false;
};

// Whether code of this library may be running: its threads, and game threads inside an export. While it may,
// an exit of the process leaves the process-wide objects alone instead of destroying them under somebody's
// feet, and exports go on working: a handler of the game that runs later in the exit can still stop the
// library. What is left over belongs to the operating system.
class ExitGate {
public:
    // For the length of an export or of a thread's body.
    class Scope {
    public:
        Scope()
        {
            if (State().fetch_add(1) < kClosed)
                return;
            State().fetch_sub(1);
            throw std::logic_error("[Kernova::XTL::Singleton] Dead reference detected.");
        }
        ~Scope() { State().fetch_sub(1); }
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;
    };

    // True if nobody is inside, and then nobody gets in any more. False changes nothing.
    static bool Close()
    {
        int nState = 0;
        return State().compare_exchange_strong(nState, kClosed) || nState >= kClosed;
    }

private:
    static constexpr int kClosed = 1 << 30;
    // How many are inside, and kClosed.
    static std::atomic<int>& State()
    {
        static std::atomic<int> nState{0};
        return nState;
    }
};

// The one object of its class, made on first use by any thread and destroyed when the process exits
// (or when the library is unloaded), unless the ExitGate says that somebody is still inside.
template <class T>
class Singleton {
public:
    // Throws std::logic_error after the destruction and std::bad_alloc without memory.
    static T& Instance()
    {
        if (T* p = s_pInstance.load(std::memory_order_acquire))
            return *p;
        return Create();
    }

private:
    static T& Create()
    {
        static Threading::CriticalSection* const s_pLock =
            new Threading::CriticalSection(kSpinCount, Threading::LockRank::Creation);
        ScopedLock lock(*s_pLock);
        if (T* p = s_pInstance.load())
            return *p;
        if (s_bDead.load())
            throw std::logic_error("[Kernova::XTL::Singleton] Dead reference detected.");
        T* const pNew = new T();
        s_pInstance.store(pNew, std::memory_order_release);
        static const End s_end;
        return *pNew;
    }
    struct End {
        ~End() { Destroy(); }
    };
    static void Destroy()
    {
        if (!ExitGate::Close())
            return;
        delete s_pInstance.exchange(nullptr);
        s_bDead.store(true);
    }

    static inline std::atomic<T*> s_pInstance{nullptr};
    static inline std::atomic<bool> s_bDead{false};
};

// Many threads use a thing that one thread takes away: users enter and leave, and the taker closes the
// gate and waits until the last user has left. Entering nests.
class UseGate {
public:
    bool Enter()
    {
        m_nUsers.fetch_add(1);
        if (m_bOpen.load())
            return true;
        Leave();
        return false;
    }
    void Leave()
    {
        if (m_nUsers.fetch_sub(1) == 1 && !m_bOpen.load())
            m_empty.Set();
    }
    void Open() { m_bOpen.store(true); }
    // Users that come from now on are refused.
    void Close() { m_bOpen.store(false); }
    // And waits for those inside. The calling thread must not be one of them.
    void CloseAndWait()
    {
        Close();
        while (m_nUsers.load() != 0) {
            m_empty.Wait(50);
            m_empty.Reset();
        }
    }

private:
    std::atomic<int> m_nUsers{0};
    std::atomic<bool> m_bOpen{false};
    Threading::ManualResetEvent m_empty{false};
};

class UseScope {
public:
    explicit UseScope(UseGate& gate) : m_gate(gate), m_bEntered(gate.Enter()) {}
    ~UseScope()
    {
        if (m_bEntered)
            m_gate.Leave();
    }
    UseScope(const UseScope&) = delete;
    UseScope& operator=(const UseScope&) = delete;
    explicit operator bool() const { return m_bEntered; }

private:
    UseGate& m_gate;
    bool m_bEntered;
};

}  // namespace Kernova::XTL
