#include <algorithm>
#include <stdexcept>

#include "platform/KernovaXtl.h"
#include "tests/fakeplatform/Parts.h"

namespace {

struct PoolHold {
    std::mutex mutex;
    std::condition_variable cond;
    bool bHeld = false;

    void Pass()
    {
        std::unique_lock lock(mutex);
        cond.wait(lock, [this] { return !bHeld; });
    }
};

PoolHold& TheHold()
{
    static PoolHold* const s_pHold = new PoolHold;
    return *s_pHold;
}

}  // namespace

namespace Fake {

void HoldPools(bool bHold)
{
    const std::lock_guard lock(TheHold().mutex);
    TheHold().bHeld = bHold;
    TheHold().cond.notify_all();
}

}  // namespace Fake

namespace Kernova::ThreadPool {

_THandle::_THandle(std::size_t nThreads)
{
    ++Fake::Counters().nPools;
    for (std::size_t i = 0; i < nThreads; ++i)
        m_vecThreads.emplace_back([this] { Run(); });
}

_THandle::~_THandle()
{
    {
        const std::lock_guard lock(m_mutex);
        m_bEnd = true;
        m_cond.notify_all();
    }
    for (std::thread& thread : m_vecThreads)
        thread.join();
    --Fake::Counters().nPools;
}

void _THandle::Post(std::function<void()> task)
{
    const std::lock_guard lock(m_mutex);
    m_deqTasks.push_back(std::move(task));
    m_cond.notify_one();
}

namespace {
thread_local bool t_bPoolThread = false;
}

void _THandle::Run()
{
    t_bPoolThread = true;
    try {
        const XTL::ExitGate::Scope inside;
        std::unique_lock lock(m_mutex);
        for (;;) {
            m_cond.wait(lock, [this] { return m_bEnd || !m_deqTasks.empty(); });
            if (m_deqTasks.empty())
                return;
            const std::function<void()> task = std::move(m_deqTasks.front());
            m_deqTasks.pop_front();
            lock.unlock();
            TheHold().Pass();
            [&task]() noexcept { task(); }();  // callbacks do not throw
            lock.lock();
        }
    } catch (const std::logic_error&) {  // the process exits
    }
}

bool IsPoolThread() { return t_bPoolThread; }

_THandle* CreateHandle(std::size_t threads)
{
    if (Fake::MustFail(Fake::Op::PoolCreate))
        return nullptr;
    if (threads == 0) {
        Fake::SetLastError(Fake::kInvalidCode);
        return nullptr;
    }
    return new _THandle(threads);
}

void DestroyHandle(_THandle* pPool)
{
    if (pPool != nullptr && pPool->nConnectors.load() != 0) {
        Fake::Violation("A thread pool is destroyed before its connector");
        return;
    }
    delete pPool;
}

}  // namespace Kernova::ThreadPool
