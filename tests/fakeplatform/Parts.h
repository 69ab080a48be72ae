// What the parts of the fake platform share. Not for tests.
#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "platform/Kernova.h"
#include "tests/fakeplatform/Fake.h"

namespace Fake {

// Counts a call and answers whether it has to fail; the code is then the thread's last error.
bool MustFail(Op op);
void SetLastError(unsigned int nCode);
void Violation(const std::string& strText);
inline constexpr unsigned int kInvalidCode = 22;

// Waits on the condition until the predicate holds or that much of the library's time is over; the
// predicate's last value. The cap lets a change of the clock reach waits that have begun.
using RealTime = std::chrono::steady_clock::duration;
std::chrono::nanoseconds SystemNow();
RealTime RealTimeUntil(std::chrono::nanoseconds system);
inline constexpr std::chrono::milliseconds kLookAgain{10};

// A caller prepares for its wait only after it has sent. Threads that have sent something are "between",
// until they wait; an answer that arrives in between is held back, so that no test meets that race
// unless it orders it (SendReturnsLate).
void ThisThreadHasSent();
void ThisThreadWaits();
void WaitUntilNobodyIsBetween();

template <class Predicate>
bool WaitBySystemClock(std::condition_variable& cond, std::unique_lock<std::mutex>& lock,
                       unsigned int nMilliseconds, Predicate predicate)
{
    ThisThreadWaits();
    const auto deadline = SystemNow() + std::chrono::milliseconds(nMilliseconds);
    while (!predicate()) {
        const RealTime left = RealTimeUntil(deadline);
        if (left <= RealTime::zero())
            return false;
        cond.wait_for(lock, std::min<RealTime>(left, kLookAgain));
    }
    return true;
}

// Counters behind Alive().
struct AtomicCounts {
    std::atomic<int> nPools{0}, nConnectors{0}, nLinks{0}, nStreams{0}, nStopEvents{0}, nChanges{0},
        nLibraryHolds{0};
};
AtomicCounts& Counters();

// Orders of how Connect behaves.
struct ConnectOrders {
    std::mutex mutex;
    std::condition_variable cond;
    bool bBlock = false;
    bool bLate = false;
    bool bSendLate = false;
};
ConnectOrders& ConnectBehaviour();

}  // namespace Fake

namespace Kernova::ThreadPool {

struct _THandle {
    explicit _THandle(std::size_t nThreads);
    ~_THandle();
    void Post(std::function<void()> task);

    std::atomic<int> nConnectors{0};

private:
    void Run();

    std::mutex m_mutex;
    std::condition_variable m_cond;
    std::deque<std::function<void()>> m_deqTasks;
    bool m_bEnd = false;
    std::vector<std::thread> m_vecThreads;
};

bool IsPoolThread();

}  // namespace Kernova::ThreadPool
