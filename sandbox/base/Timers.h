// Work that is to run after a delay. Belongs to the server's thread. CancelAll must have been called before
// the objects that the work uses are destroyed.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>

namespace asio {
class io_context;
}

namespace Sandbox {

class Timers {
public:
    explicit Timers(asio::io_context& context);
    ~Timers();

    // Runs the work once, on the server's thread; the work must not throw. Returns the number that Cancel
    // takes.
    std::uint64_t After(std::chrono::milliseconds delay, std::function<void()> work);
    void Cancel(std::uint64_t nID);  // does nothing for a number whose work has run
    void CancelAll();

private:
    struct Timer;
    asio::io_context& m_context;
    std::uint64_t m_nLastID = 0;
    std::map<std::uint64_t, std::unique_ptr<Timer>> m_mapTimers;
};

}  // namespace Sandbox
