// The library's clock: real time, stretched by a factor that may change while waits are running.
#include "tests/fakeplatform/Parts.h"

namespace Fake {
namespace {

struct Clock {
    std::mutex mutex;
    // At the real moment `real` the library's clock stood at `system`; since then each second of the
    // library has taken `second`.
    std::chrono::steady_clock::time_point real = std::chrono::steady_clock::now();
    std::chrono::nanoseconds system{0};
    std::chrono::nanoseconds second = std::chrono::milliseconds(200);

    double Factor() const { return 1e9 / static_cast<double>(second.count()); }
    std::chrono::nanoseconds Now() const
    {
        const std::chrono::nanoseconds passed = std::chrono::steady_clock::now() - real;
        return system + Scaled(passed, Factor());
    }
    void Restart(std::chrono::nanoseconds from)
    {
        system = from;
        real = std::chrono::steady_clock::now();
    }
    static std::chrono::nanoseconds Scaled(std::chrono::nanoseconds time, double dFactor)
    {
        return std::chrono::nanoseconds(
            static_cast<std::chrono::nanoseconds::rep>(static_cast<double>(time.count()) * dFactor));
    }
};

Clock& TheClock()
{
    static Clock* const s_pClock = new Clock;
    return *s_pClock;
}

}  // namespace

std::chrono::nanoseconds SystemNow()
{
    const std::lock_guard lock(TheClock().mutex);
    return TheClock().Now();
}

RealTime RealTimeUntil(std::chrono::nanoseconds system)
{
    const std::lock_guard lock(TheClock().mutex);
    return Clock::Scaled(system - TheClock().Now(), 1 / TheClock().Factor());
}

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

}  // namespace Fake
