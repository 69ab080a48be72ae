// Kernova: locks, events, threads and the thread pool. Every operation may be called from any
// thread; none throws unless it says so.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>

#include "platform/LockRank.h"
#include "platform/ThreadAnnotations.h"

namespace Kernova {

namespace Threading {

// Mutual exclusion, re-entrant on the thread that holds it. LockRank.h says in which order a thread may take
// the system's locks.
class CAPABILITY("mutex") CriticalSection {
public:
    // spinCount: how many times Lock tries before it sleeps.
    CriticalSection(unsigned int spinCount, LockRank rank);
    ~CriticalSection();
    CriticalSection(const CriticalSection&) = delete;
    CriticalSection& operator=(const CriticalSection&) = delete;

    void Lock() ACQUIRE();
    void Unlock() RELEASE();
    bool IsMine() const;  // the calling thread holds it

private:
    void LockWithOthers();

    std::atomic<std::uint32_t> m_nState{0};  // free, held, or held and somebody may sleep
    unsigned int m_nDepth = 0;               // the holder's: how often it has entered again
    std::atomic<std::thread::id> m_owner{};
    const unsigned int m_nSpinCount;
    const LockRank m_rank;
    std::atomic<bool> m_bSpinning{false};  // somebody spins
};

// Stays signalled from Set until Reset; all waiters pass meanwhile.
class ManualResetEvent {
public:
    explicit ManualResetEvent(bool signalled);
    ~ManualResetEvent();
    ManualResetEvent(const ManualResetEvent&) = delete;
    ManualResetEvent& operator=(const ManualResetEvent&) = delete;

    bool Set();
    bool Reset();
    // Blocks until signalled or the time is over; true if signalled. A clock that is set does not
    // change the wait.
    bool Wait(unsigned int milliseconds);

    // Set in two steps, for a thread that holds locks which the woken thread will want. The first step
    // signals: a Wait that begins from now on returns. The second one wakes those who sleep already; the
    // event may be gone by then.
    using Sleepers = const void*;  // null: nobody sleeps
    Sleepers SetAndWakeLater();
    static void Wake(Sleepers sleepers);

private:
    std::atomic<std::uint32_t> m_nState;  // not signalled, signalled, or not signalled and somebody sleeps
};

// A signal is taken by the one wait that it ends. Used only as a timed sleep.
class AutoResetEvent {
public:
    explicit AutoResetEvent(bool signalled);
    ~AutoResetEvent();
    AutoResetEvent(const AutoResetEvent&) = delete;
    AutoResetEvent& operator=(const AutoResetEvent&) = delete;

    bool Wait(unsigned int milliseconds);

private:
    std::mutex m_mutex;
    std::condition_variable m_cond;
    bool m_bSignalled;
};

// A thread with its body in the subclass. May be started again after Stop.
class Thread {
public:
    Thread();
    // A thread that is still running is left to itself, never joined: this may run while the
    // process exits. Subclasses call Stop before they go.
    virtual ~Thread();
    virtual void Execute() = 0;

    // Starts a thread that runs Execute; false on failure, or if the thread is still running.
    bool Start();
    // Asks the thread to end: Terminated answers true from now on. Wake the thread first. Callers
    // poll their own running flag afterwards, so an implementation need not wait; where it does
    // not, it must have left Execute and its module's code before the next Start returns.
    // Called by the thread itself it never waits.
    void Stop();

    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

protected:
    bool Terminated() const;  // true once Stop has been called

private:
    std::atomic<bool> m_bTerminated{false};
    std::mutex m_mutex;  // guards the two below
    std::thread m_thread;
    std::shared_ptr<std::atomic<bool>> m_pRunning;  // shared with the body, which may outlive this object
};

}  // namespace Threading

namespace ThreadPool {
struct _THandle;
// A pool with that many workers; null on failure.
_THandle* CreateHandle(std::size_t threads);
// Ends the pool and waits for its workers; call it after the connector is gone. Takes null.
void DestroyHandle(_THandle*);
}  // namespace ThreadPool

namespace MemoryPool {
// A block of bytes that a stream owns and that a link can send.
struct _XMemory;
}  // namespace MemoryPool

}  // namespace Kernova
