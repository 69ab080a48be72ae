// Locks and events. No test relies on how long a millisecond is: an implementation may have a clock of its
// own. Long waits stand for "until signalled".
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "platform/KernovaXtl.h"
#include "tests/platform/Waiting.h"

using namespace Kernova;
using namespace Kernova::Threading;

namespace {
constexpr unsigned int kLong = 3'600'000;
}

#if !defined(NDEBUG) && !defined(VELKAR_FAKE_PLATFORM)
TEST(LockOrderDeathTest, ALockTakenAgainstTheOrderEndsADebuggingBuild) NO_THREAD_SAFETY_ANALYSIS
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    CriticalSection outer(0, LockRank::ActiveLinks);
    CriticalSection inner(0, LockRank::UserInfoMap);
    {
        const XTL::ScopedLock first(outer);
        const XTL::ScopedLock second(inner);
        const XTL::ScopedLock again(outer);
    }
    const auto takeBackwards = [&] {
        const XTL::ScopedLock first(inner);
        const XTL::ScopedLock second(outer);
    };
    EXPECT_DEATH(takeBackwards(), "against the order of locks");
}
#endif

TEST(CriticalSection, IsHeldUntilTheOutermostUnlock) NO_THREAD_SAFETY_ANALYSIS
{
    for (const unsigned int nSpinCount : {0u, XTL::kSpinCount}) {
        CriticalSection lock(nSpinCount, LockRank::Leaf);
        for (int n = 0; n < 3; ++n)
            lock.Lock();
        lock.Unlock();
        lock.Unlock();
        std::atomic<bool> bIn{false};
        std::thread other([&]() NO_THREAD_SAFETY_ANALYSIS {
            lock.Lock();
            bIn.store(true);
            lock.Unlock();
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        EXPECT_FALSE(bIn.load());
        lock.Unlock();
        other.join();
        EXPECT_TRUE(bIn.load());
    }
}

TEST(Events, StaySignalledForEverybodyUntilResetOrForOneWait)
{
    ManualResetEvent event(false);
    EXPECT_FALSE(event.Wait(0) || event.Wait(20));
    std::atomic<int> nWoken{0};
    std::vector<std::thread> vecThreads;
    for (int n = 0; n < 3; ++n)
        vecThreads.emplace_back([&] { nWoken += event.Wait(kLong) ? 1 : 0; });
    EXPECT_TRUE(event.Set());
    for (std::thread& thread : vecThreads)
        thread.join();
    EXPECT_EQ(3, nWoken.load());
    EXPECT_TRUE(event.Wait(0) && event.Reset());
    EXPECT_FALSE(event.Wait(0));
    EXPECT_TRUE(ManualResetEvent(true).Wait(0));

    AutoResetEvent oneWait(true);
    EXPECT_TRUE(oneWait.Wait(0));
    EXPECT_FALSE(oneWait.Wait(0) || AutoResetEvent(false).Wait(20));
}

// The thread that signals wakes the sleepers later, and by then the event may be gone.
TEST(ManualResetEvent, IsSignalledBeforeItsSleepersAreWoken)
{
    ManualResetEvent event(false);
    ManualResetEvent::Wake(event.SetAndWakeLater());
    EXPECT_TRUE(event.Wait(0));
    event.Reset();
    EXPECT_FALSE(event.Wait(0));
    for (int n = 0; n < 200; ++n) {
        auto pEvent = std::make_unique<ManualResetEvent>(false);
        std::thread waiter([&] {
            EXPECT_TRUE(pEvent->Wait(kLong));
            pEvent.reset();
        });
        if (n % 2 == 0)
            std::this_thread::sleep_for(std::chrono::microseconds(100));  // it sleeps by now, as a rule
        ManualResetEvent::Wake(pEvent->SetAndWakeLater());
        waiter.join();
    }
}
