// Which threads have sent something and have not waited yet: see Parts.h.
#include <map>

#include "tests/fakeplatform/Parts.h"

namespace Fake {
namespace {

// A thread that sends and never waits holds answers back this long.
constexpr std::chrono::milliseconds kLongest{100};

struct Between {
    std::mutex mutex;
    std::condition_variable cond;
    std::map<std::thread::id, std::chrono::steady_clock::time_point> mapSince;
};

Between& TheThreads()
{
    static Between* const s_pThreads = new Between;
    return *s_pThreads;
}

}  // namespace

void ThisThreadHasSent()
{
    if (Kernova::ThreadPool::IsPoolThread())
        return;
    const std::lock_guard lock(TheThreads().mutex);
    TheThreads().mapSince[std::this_thread::get_id()] = std::chrono::steady_clock::now();
}

void ThisThreadWaits()
{
    const std::lock_guard lock(TheThreads().mutex);
    if (TheThreads().mapSince.erase(std::this_thread::get_id()) != 0)
        TheThreads().cond.notify_all();
}

void WaitUntilNobodyIsBetween()
{
    Between& threads = TheThreads();
    std::unique_lock lock(threads.mutex);
    while (!threads.mapSince.empty()) {
        const auto now = std::chrono::steady_clock::now();
        std::erase_if(threads.mapSince, [now](const auto& entry) { return now - entry.second >= kLongest; });
        if (!threads.mapSince.empty())
            threads.cond.wait_for(lock, kLongest / 4);
    }
}

}  // namespace Fake
