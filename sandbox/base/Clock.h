// The two clocks that the sandbox's rules run on. Tests implement the interface themselves, so that hours
// pass in a moment.
#pragma once

#include <chrono>
#include <cstdint>
#include <ctime>

namespace Sandbox {

class IClock {
public:
    virtual ~IClock() = default;
    // Milliseconds that only go forward, for heartbeat cycles and time limits. Any thread.
    virtual std::int64_t Milliseconds() const = 0;
    // Seconds of the calendar, for end dates and for times that must outlive a restart. Any thread.
    virtual std::time_t Now() const = 0;
};

class SystemClock final : public IClock {
public:
    std::int64_t Milliseconds() const override
    {
        const auto now = std::chrono::steady_clock::now().time_since_epoch();
        return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
    }
    std::time_t Now() const override { return std::time(nullptr); }
};

}  // namespace Sandbox
