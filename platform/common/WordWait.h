// Sleeping on a word of memory, which costs a system call only where somebody has to sleep.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>

namespace Kernova::Internal {

// Sleeps while the word holds that value. False once the time is over; true otherwise, also without any
// reason.
bool WaitOnWord(const std::atomic<std::uint32_t>& nWord, std::uint32_t nValue,
                std::chrono::steady_clock::time_point deadline);

// Wakes everybody who sleeps on the word at that address. The memory may be gone: it is not looked at, and
// who sleeps on something else there by now wakes without a reason.
void WakeWord(const void* pWord);
// Wakes one of them.
void WakeOneOnWord(const void* pWord);

// How many processors this process may use, at least 1. Found out once.
unsigned int GetUsableProcessors();

}  // namespace Kernova::Internal
