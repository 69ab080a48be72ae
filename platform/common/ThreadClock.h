// What Kernova takes from the system's clock and its threads, in a source file of its own: the tests link
// another one in its place, whose clock runs faster and whose threads fail to start on order.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>

namespace Kernova::Internal {

// Waits until the flag, which the lock guards, is set or the time is over; the flag's value then. A change of
// the time of day does not change the wait.
bool WaitForFlag(std::condition_variable& cond, std::unique_lock<std::mutex>& lock, unsigned int milliseconds,
                 const bool& bFlag);

// Sleeps while the word holds that value, at most until the time is over. Whether it holds another one now.
bool WaitForWord(const std::atomic<std::uint32_t>& nWord, std::uint32_t nValue, unsigned int milliseconds);

// Throws std::system_error or std::bad_alloc if no thread can be had.
std::thread StartThread(std::function<void()> body);

}  // namespace Kernova::Internal
