// The two clocks that the sandbox's rules run on. Tests implement the interface themselves, so that hours
// pass in a moment.
#pragma once

#include <atomic>
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
    // Milliseconds that only go forward, for what a peer does with its socket. Any thread. They stay with the
    // real time when the other two are moved.
    virtual std::int64_t SocketMilliseconds() const { return Milliseconds(); }
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

// A clock that runs ahead of another by what Advance has added.
class MovableClock final : public IClock {
public:
    explicit MovableClock(const IClock& clock) : m_clock(clock) {}  // the clock must outlive this one

    std::int64_t Milliseconds() const override { return m_clock.Milliseconds() + m_nAhead * 1000; }
    std::time_t Now() const override { return m_clock.Now() + m_nAhead; }
    std::int64_t SocketMilliseconds() const override { return m_clock.SocketMilliseconds(); }

    void Advance(std::int64_t nSeconds) { m_nAhead += nSeconds; }  // REQUIRES: nSeconds is not below 0
    std::int64_t GetAhead() const { return m_nAhead; }             // seconds

private:
    const IClock& m_clock;
    std::atomic<std::int64_t> m_nAhead = 0;  // seconds
};

}  // namespace Sandbox
