// Locks, events and threads: real ones, waiting by the tests' clock.
#include "platform/KernovaXtl.h"

#include <memory>
#include <system_error>
#include <utility>

#include "tests/fakeplatform/Parts.h"

namespace Kernova::Threading {

CriticalSection::CriticalSection(unsigned int spinCount, LockRank rank)
    : m_nSpinCount(spinCount), m_rank(rank)
{
    (void)m_rank;
}
CriticalSection::~CriticalSection() = default;

void CriticalSection::Lock() NO_THREAD_SAFETY_ANALYSIS { m_mutex.lock(); }

void CriticalSection::Unlock() NO_THREAD_SAFETY_ANALYSIS { m_mutex.unlock(); }

ManualResetEvent::ManualResetEvent(bool signalled) : m_bSignalled(signalled) {}
ManualResetEvent::~ManualResetEvent() = default;

bool ManualResetEvent::Set()
{
    const std::lock_guard lock(m_mutex);
    m_bSignalled = true;
    // Under the lock: the waiter may destroy the event as soon as it gets the lock.
    m_cond.notify_all();
    return true;
}

bool ManualResetEvent::Reset()
{
    const std::lock_guard lock(m_mutex);
    m_bSignalled = false;
    return true;
}

bool ManualResetEvent::Wait(unsigned int milliseconds)
{
    std::unique_lock lock(m_mutex);
    return Fake::WaitBySystemClock(m_cond, lock, milliseconds, [this] { return m_bSignalled; });
}

AutoResetEvent::AutoResetEvent(bool signalled) : m_bSignalled(signalled) {}
AutoResetEvent::~AutoResetEvent() = default;

bool AutoResetEvent::Wait(unsigned int milliseconds)
{
    std::unique_lock lock(m_mutex);
    const bool bResult = Fake::WaitBySystemClock(m_cond, lock, milliseconds, [this] { return m_bSignalled; });
    m_bSignalled = false;
    return bResult;
}

namespace {
thread_local const Thread* t_pRunning = nullptr;
}

Thread::Thread() = default;

Thread::~Thread()
{
    if (m_thread.joinable())
        m_thread.detach();
}

bool Thread::Start()
{
    if (Fake::MustFail(Fake::Op::ThreadStart))
        return false;
    if (t_pRunning == this)
        return false;
    const std::lock_guard lock(m_mutex);
    if (m_thread.joinable()) {
        if (m_pRunning->load() && !m_bTerminated.load())
            return false;
        m_thread.join();  // has ended, or has stopped itself and is on its way out
    }
    auto pRunning = std::make_shared<std::atomic<bool>>(true);
    m_bTerminated.store(false);
    try {
        m_thread = std::thread([this, pRunning] {
            t_pRunning = this;
            try {
                const XTL::ExitGate::Scope inside;
                Execute();
            } catch (...) {
                Fake::Violation("Execute of a Thread has thrown, or ran while the process exits");
            }
            pRunning->store(false);
        });
        m_pRunning = std::move(pRunning);
    } catch (const std::system_error& error) {
        Fake::SetLastError(static_cast<unsigned int>(error.code().value()));
        return false;
    }
    return true;
}

void Thread::Stop()
{
    m_bTerminated.store(true);
    if (t_pRunning == this)
        return;
    const std::lock_guard lock(m_mutex);
    if (m_thread.joinable())
        m_thread.join();
}

bool Thread::Terminated() const { return m_bTerminated.load(); }

}  // namespace Kernova::Threading
