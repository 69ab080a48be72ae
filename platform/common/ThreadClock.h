// What Kernova takes from the system's clock and its threads, in a source file of its own: the tests link
// another one in its place, whose clock runs faster and whose threads fail to start on order.
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace Kernova::Internal {

// Waits until the flag, which the lock guards, is set or the time is over; the flag's value then. A change of
// the time of day does not change the wait.
bool WaitForFlag(std::condition_variable& cond, std::unique_lock<std::mutex>& lock, unsigned int milliseconds,
                 const bool& bFlag);

// Throws std::system_error or std::bad_alloc if no thread can be had.
std::thread StartThread(std::function<void()> body);

}  // namespace Kernova::Internal
