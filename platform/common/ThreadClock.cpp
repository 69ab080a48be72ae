#include "platform/common/ThreadClock.h"

#include <chrono>
#include <utility>

#include "platform/Host.h"
#include "platform/common/SignalsBlocked.h"
#include "platform/common/WordWait.h"

namespace Host {

std::int64_t GetSteadyTime()
{
    return std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch()).count();
}

}  // namespace Host

namespace Kernova::Internal {

bool WaitForFlag(std::condition_variable& cond, std::unique_lock<std::mutex>& lock, unsigned int milliseconds,
                 const bool& bFlag)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    return cond.wait_until(lock, deadline, [&bFlag] { return bFlag; });
}

bool WaitForWord(const std::atomic<std::uint32_t>& nWord, std::uint32_t nValue, unsigned int milliseconds)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    while (nWord.load() == nValue && WaitOnWord(nWord, nValue, deadline)) {
    }
    return nWord.load() != nValue;
}

std::thread StartThread(std::function<void()> body)
{
    const SignalsBlocked blocked;
    return std::thread(std::move(body));
}

}  // namespace Kernova::Internal
