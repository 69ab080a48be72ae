// The library's clock: real time, stretched by a factor that may change while waits are running; and the
// start of its threads.
#include <algorithm>
#include <optional>
#include <system_error>

#include "platform/Host.h"
#include "platform/Platova.h"
#include "platform/common/ThreadClock.h"
#include "platform/common/WordWait.h"
#include "tests/fakeplatform/Parts.h"

namespace Fake {
namespace {

using std::chrono::nanoseconds;
using std::chrono::steady_clock;

struct Clock {
    // At the real moment `real` the library's clock stood at `system`; since then each second of the
    // library has taken `second`.
    steady_clock::time_point real = steady_clock::now();
    nanoseconds system{0};
    nanoseconds second = std::chrono::milliseconds(200);
    std::optional<nanoseconds> endingWaits;  // by EndWaits: stands in place of the time

    double Factor() const { return 1e9 / static_cast<double>(second.count()); }
    nanoseconds Now() const { return system + Scaled(steady_clock::now() - real, Factor()); }
    nanoseconds RealTimeUntil(nanoseconds then) const { return Scaled(then - Now(), 1 / Factor()); }
    void Change(nanoseconds newSecond)
    {
        system = Now();
        real = steady_clock::now();
        second = newSecond;
        endingWaits.reset();
    }
    static nanoseconds Scaled(nanoseconds time, double dFactor)
    {
        return nanoseconds(static_cast<nanoseconds::rep>(static_cast<double>(time.count()) * dFactor));
    }
};

Support::Guarded<Clock>& TheClock() { return Immortal<Clock>(); }

// In a play with EndWaits.
constexpr std::chrono::microseconds kShortestWait{100};

// How long a wait until then, of that length, sleeps before it looks again; nothing once it is over.
std::optional<nanoseconds> NextSleep(nanoseconds end, std::chrono::milliseconds length, bool bHasSlept)
{
    const auto clock = TheClock().Lock();
    const nanoseconds left = clock->RealTimeUntil(end);
    if (!clock->endingWaits)
        return left.count() > 0 ? std::optional(std::min<nanoseconds>(left, kLookAgain)) : std::nullopt;
    if (length > *clock->endingWaits)
        return kLookAgainSoon;
    return bHasSlept ? std::nullopt : std::optional<nanoseconds>(kShortestWait);  // a loop yields
}

}  // namespace

nanoseconds Now() { return TheClock()->Now(); }

void SetSecond(std::chrono::milliseconds real) { TheClock()->Change(real); }

void EndWaits(std::chrono::milliseconds longest) { TheClock()->endingWaits = longest; }

}  // namespace Fake

std::int64_t Host::GetSteadyTime() { return Fake::Now().count() + 1; }

namespace Kernova::Internal {

bool WaitForFlag(std::condition_variable& cond, std::unique_lock<std::mutex>& lock, unsigned int milliseconds,
                 const bool& bFlag)
{
    const std::chrono::milliseconds length(milliseconds);
    const auto end = Fake::TheClock()->Now() + length;
    for (bool bHasSlept = false; !bFlag; bHasSlept = true) {
        const auto sleep = Fake::NextSleep(end, length, bHasSlept);
        if (!sleep)
            return false;
        cond.wait_for(lock, *sleep);
    }
    return true;
}

bool WaitForWord(const std::atomic<std::uint32_t>& nWord, std::uint32_t nValue, unsigned int milliseconds)
{
    const std::chrono::milliseconds length(milliseconds);
    const auto end = Fake::TheClock()->Now() + length;
    for (bool bHasSlept = false; nWord.load() == nValue; bHasSlept = true) {
        const auto sleep = Fake::NextSleep(end, length, bHasSlept);
        if (!sleep)
            return false;
        WaitOnWord(nWord, nValue, std::chrono::steady_clock::now() + *sleep);
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
