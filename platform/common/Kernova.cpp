// Locks and events on words of memory, threads on the standard library's.
#include <algorithm>
#include <exception>
#include <system_error>

#include "platform/KernovaXtl.h"
#include "platform/common/LastError.h"
#include "platform/common/LockOrder.h"
#include "platform/common/ThreadClock.h"
#include "platform/common/WordWait.h"

namespace Kernova::Threading {

namespace {

// A few dozen cycles between two tries, so that a spinning thread leaves the lock's cache line alone.
void Pause()
{
    for (int n = 0; n < 16; ++n)
        std::atomic_signal_fence(std::memory_order_seq_cst);
}

constexpr unsigned int kMostSpins = 40;

}  // namespace

// A spinning thread takes its processor from the holder where there is only one, and a crowd of them does so
// where there are few: past about a microsecond the holder does not run, and sleeping is cheaper.
CriticalSection::CriticalSection(unsigned int spinCount, LockRank rank)
    : m_nSpinCount(Internal::GetUsableProcessors() > 1 ? std::min(spinCount, kMostSpins) : 0), m_rank(rank)
{
}

CriticalSection::~CriticalSection() = default;

namespace {
constexpr std::uint32_t kFree = 0, kHeld = 1, kHeldAndWanted = 2;
}

// The thread itself is the only one that can have stored its id, so an outdated value is never its own.
bool CriticalSection::IsMine() const
{
    return m_owner.load(std::memory_order_relaxed) == std::this_thread::get_id();
}

void CriticalSection::Lock() NO_THREAD_SAFETY_ANALYSIS
{
    Internal::BeforeLock(this, m_rank);
    if (IsMine()) {
        ++m_nDepth;
        return;
    }
    std::uint32_t nState = kFree;
    if (!m_nState.compare_exchange_strong(nState, kHeld, std::memory_order_acquire,
                                          std::memory_order_relaxed))
        LockWithOthers();
    m_owner.store(std::this_thread::get_id(), std::memory_order_relaxed);
}

void CriticalSection::LockWithOthers()
{
    // One thread spins, the others sleep: a crowd of spinners takes the processors from the holder, and
    // from a caller on its way to wait for its answer.
    if (m_nSpinCount != 0 && !m_bSpinning.exchange(true, std::memory_order_relaxed)) {
        bool bLocked = false;
        for (unsigned int n = 0; n < m_nSpinCount && !bLocked; ++n) {
            Pause();
            std::uint32_t nState = kFree;
            bLocked = m_nState.compare_exchange_strong(nState, kHeld, std::memory_order_acquire,
                                                       std::memory_order_relaxed);
        }
        m_bSpinning.store(false, std::memory_order_relaxed);
        if (bLocked)
            return;
    }
    // Who has slept cannot know whether others still sleep, and so keeps the mark for them.
    while (m_nState.exchange(kHeldAndWanted, std::memory_order_acquire) != kFree)
        Internal::WaitOnWord(m_nState, kHeldAndWanted, std::chrono::steady_clock::time_point::max());
}

void CriticalSection::Unlock() NO_THREAD_SAFETY_ANALYSIS
{
    Internal::AfterUnlock(this);
    if (m_nDepth != 0) {
        --m_nDepth;
        return;
    }
    m_owner.store(std::thread::id(), std::memory_order_relaxed);
    const void* const pWord = &m_nState;  // the next holder may destroy the lock
    if (m_nState.exchange(kFree, std::memory_order_release) == kHeldAndWanted)
        Internal::WakeOneOnWord(pWord);
}

namespace {
constexpr std::uint32_t kReset = 0, kSet = 1, kSomebodySleeps = 2;
}

ManualResetEvent::ManualResetEvent(bool signalled) : m_nState(signalled ? kSet : kReset) {}
ManualResetEvent::~ManualResetEvent() = default;

bool ManualResetEvent::Set()
{
    Wake(SetAndWakeLater());
    return true;
}

ManualResetEvent::Sleepers ManualResetEvent::SetAndWakeLater()
{
    const void* const pWord = &m_nState;  // a waiter may destroy the event as soon as it is signalled
    return m_nState.exchange(kSet) == kSomebodySleeps ? pWord : nullptr;
}

void ManualResetEvent::Wake(Sleepers sleepers)
{
    if (sleepers != nullptr)
        Internal::WakeWord(sleepers);
}

bool ManualResetEvent::Reset()
{
    std::uint32_t nSet = kSet;
    m_nState.compare_exchange_strong(nSet, kReset);
    return true;
}

bool ManualResetEvent::Wait(unsigned int milliseconds)
{
    if (m_nState.load() == kSet)
        return true;
    if (milliseconds == 0)
        return false;
    std::uint32_t nReset = kReset;
    if (!m_nState.compare_exchange_strong(nReset, kSomebodySleeps) && nReset == kSet)
        return true;
    // Only Set ends this state, also where a Reset follows at once.
    return Internal::WaitForWord(m_nState, kSomebodySleeps, milliseconds);
}

AutoResetEvent::AutoResetEvent(bool signalled) : m_bSignalled(signalled) {}
AutoResetEvent::~AutoResetEvent() = default;

bool AutoResetEvent::Wait(unsigned int milliseconds)
{
    std::unique_lock lock(m_mutex);
    const bool bSignalled = Internal::WaitForFlag(m_cond, lock, milliseconds, m_bSignalled);
    m_bSignalled = false;
    return bSignalled;
}

namespace {
thread_local const Thread* t_pRunning = nullptr;  // whose body this thread is in
}

Thread::Thread() = default;

Thread::~Thread()
{
    if (m_thread.joinable())
        m_thread.detach();
}

bool Thread::Start()
{
    if (t_pRunning == this)
        return false;
    const std::lock_guard lock(m_mutex);
    if (m_thread.joinable()) {
        // Finished, or under an order to end that it has given itself: wait for the rest of it. The order
        // is never taken back from a thread that has not left yet.
        if (!m_bTerminated.load() && m_pRunning->load())
            return false;
        m_thread.join();
    }
    try {
        auto pRunning = std::make_shared<std::atomic<bool>>(true);
        m_pRunning = pRunning;
        m_bTerminated.store(false);
        m_thread = Internal::StartThread([this, pRunning] {
            t_pRunning = this;
            try {
                const XTL::ExitGate::Scope inside;
                Execute();
            } catch (...) {  // the process is exiting, or a body that should have caught it itself
                RaiseAssertion("[Kernova::Threading::Thread] Execute has thrown, or was started at exit.");
            }
            pRunning->store(false);
        });
        return true;
    } catch (const std::system_error& error) {
        Platova::SetLastError(static_cast<unsigned int>(error.code().value()));
    } catch (const std::exception&) {
        Platova::SetLastError(static_cast<unsigned int>(std::errc::not_enough_memory));
    }
    return false;
}

void Thread::Stop()
{
    m_bTerminated.store(true);
    if (t_pRunning == this)
        return;
    const std::lock_guard lock(m_mutex);
    m_bTerminated.store(true);  // a Start may just have taken it back
    if (m_thread.joinable())
        m_thread.join();
}

bool Thread::Terminated() const { return m_bTerminated.load(); }

}  // namespace Kernova::Threading
