// The library's clock: real time, stretched by a factor that may change while waits are running; and the
// start of its threads.
#include <algorithm>
#include <map>
#include <system_error>

#include "platform/Platova.h"
#include "platform/common/ThreadClock.h"
#include "tests/fakeplatform/Parts.h"

namespace Fake {
namespace {

using std::chrono::nanoseconds;
using std::chrono::steady_clock;

// A thread that sends and never waits holds answers back this long.
constexpr std::chrono::milliseconds kLongestBetween{100};

struct Clock {
    // At the real moment `real` the library's clock stood at `system`; since then each second of the
    // library has taken `second`.
    steady_clock::time_point real = steady_clock::now();
    nanoseconds system{0};
    nanoseconds second = std::chrono::milliseconds(200);

    std::condition_variable between;
    std::map<std::thread::id, steady_clock::time_point> mapBetween;  // threads, and since when

    double Factor() const { return 1e9 / static_cast<double>(second.count()); }
    nanoseconds Now() const { return system + Scaled(steady_clock::now() - real, Factor()); }
    nanoseconds RealTimeUntil(nanoseconds then) const { return Scaled(then - Now(), 1 / Factor()); }
    void Change(nanoseconds ahead, nanoseconds newSecond)
    {
        system = Now() + ahead;
        real = steady_clock::now();
        second = newSecond;
    }
    static nanoseconds Scaled(nanoseconds time, double dFactor)
    {
        return nanoseconds(static_cast<nanoseconds::rep>(static_cast<double>(time.count()) * dFactor));
    }
};

Support::Guarded<Clock>& TheClock() { return Immortal<Clock>(); }

}  // namespace

void SetSecond(std::chrono::milliseconds real) { TheClock()->Change({}, real); }

void Advance(std::chrono::milliseconds system)
{
    const auto clock = TheClock().Lock();
    clock->Change(system, clock->second);
}

void ThisThreadHasSent() { TheClock()->mapBetween[std::this_thread::get_id()] = steady_clock::now(); }

void ThisThreadWaits()
{
    const auto clock = TheClock().Lock();
    if (clock->mapBetween.erase(std::this_thread::get_id()) != 0)
        clock->between.notify_all();
}

void WaitUntilNobodyIsBetween()
{
    auto clock = TheClock().Lock();
    while (!clock->mapBetween.empty()) {
        std::erase_if(clock->mapBetween, [now = steady_clock::now()](const auto& entry) {
            return now - entry.second >= kLongestBetween;
        });
        if (!clock->mapBetween.empty())
            clock->between.wait_for(clock.lock, kLongestBetween / 4);
    }
}

}  // namespace Fake

namespace Kernova::Internal {

bool WaitForFlag(std::condition_variable& cond, std::unique_lock<std::mutex>& lock, unsigned int milliseconds,
                 const bool& bFlag)
{
    Fake::ThisThreadWaits();
    const auto end = Fake::TheClock()->Now() + std::chrono::milliseconds(milliseconds);
    while (!bFlag) {
        const auto left = Fake::TheClock()->RealTimeUntil(end);
        if (left.count() <= 0)
            return false;
        cond.wait_for(lock, std::min<std::chrono::nanoseconds>(left, Fake::kLookAgain));
    }
    return true;
}

std::thread StartThread(std::function<void()> body)
{
    if (Fake::MustFail(Fake::Op::ThreadStart))
        throw std::system_error(static_cast<int>(Platova::GetLastError()), std::generic_category());
    return std::thread(std::move(body));
}

}  // namespace Kernova::Internal
