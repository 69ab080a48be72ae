#include "platform/common/ThreadClock.h"

#include <chrono>
#include <utility>

namespace Kernova::Internal {

bool WaitForFlag(std::condition_variable& cond, std::unique_lock<std::mutex>& lock, unsigned int milliseconds,
                 const bool& bFlag)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    return cond.wait_until(lock, deadline, [&bFlag] { return bFlag; });
}

std::thread StartThread(std::function<void()> body) { return std::thread(std::move(body)); }

}  // namespace Kernova::Internal
