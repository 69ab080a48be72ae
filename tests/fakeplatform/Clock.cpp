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
    std::mutex mutex;
    // At the real moment `real` the library's clock stood at `system`; since then each second of the
    // library has taken `second`.
    steady_clock::time_point real = steady_clock::now();
    nanoseconds system{0};
    nanoseconds second = std::chrono::milliseconds(200);

    std::condition_variable between;
    std::map<std::thread::id, steady_clock::time_point> mapBetween;  // threads, and since when

    double Factor() const { return 1e9 / static_cast<double>(second.count()); }
    nanoseconds Now() const { return system + Scaled(steady_clock::now() - real, Factor()); }
    void Restart(nanoseconds from)
    {
        system = from;
        real = steady_clock::now();
    }
    static nanoseconds Scaled(nanoseconds time, double dFactor)
    {
        return nanoseconds(static_cast<nanoseconds::rep>(static_cast<double>(time.count()) * dFactor));
    }
};

Clock& TheClock() { return Fake::Immortal<Clock>(); }

nanoseconds SystemNow()
{
    const std::lock_guard lock(TheClock().mutex);
    return TheClock().Now();
}

nanoseconds RealTimeUntil(nanoseconds system)
{
    const std::lock_guard lock(TheClock().mutex);
    return Clock::Scaled(system - TheClock().Now(), 1 / TheClock().Factor());
}

}  // namespace

void SetSecond(std::chrono::milliseconds real)
{
    const std::lock_guard lock(TheClock().mutex);
    TheClock().Restart(TheClock().Now());
    TheClock().second = real;
}

void Advance(std::chrono::milliseconds system)
{
    const std::lock_guard lock(TheClock().mutex);
    TheClock().Restart(TheClock().Now() + system);
}

void ThisThreadHasSent()
{
    const std::lock_guard lock(TheClock().mutex);
    TheClock().mapBetween[std::this_thread::get_id()] = steady_clock::now();
}

void ThisThreadWaits()
{
    const std::lock_guard lock(TheClock().mutex);
    if (TheClock().mapBetween.erase(std::this_thread::get_id()) != 0)
        TheClock().between.notify_all();
}

void WaitUntilNobodyIsBetween()
{
    std::unique_lock lock(TheClock().mutex);
    auto& mapBetween = TheClock().mapBetween;
    while (!mapBetween.empty()) {
        const auto now = steady_clock::now();
        std::erase_if(mapBetween, [now](const auto& entry) { return now - entry.second >= kLongestBetween; });
        if (!mapBetween.empty())
            TheClock().between.wait_for(lock, kLongestBetween / 4);
    }
}

}  // namespace Fake

namespace Kernova::Internal {

bool WaitForFlag(std::condition_variable& cond, std::unique_lock<std::mutex>& lock, unsigned int milliseconds,
                 const bool& bFlag)
{
    Fake::ThisThreadWaits();
    const auto begin = Fake::SystemNow();
    while (!bFlag) {
        const auto left = Fake::RealTimeUntil(begin + std::chrono::milliseconds(milliseconds));
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
