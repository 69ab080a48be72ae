#include "platform/common/WordWait.h"

#include <algorithm>
#include <bit>

#include <windows.h>

namespace Kernova::Internal {

bool WaitOnWord(const std::atomic<std::uint32_t>& nWord, std::uint32_t nValue,
                std::chrono::steady_clock::time_point deadline)
{
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0)
        return false;
    // A longer wait ends without a reason, and its caller goes on.
    const auto nMilliseconds = static_cast<DWORD>(std::min<long long>(left.count(), 3'600'000));
    auto* const pWord = const_cast<std::atomic<std::uint32_t>*>(&nWord);
    return WaitOnAddress(pWord, &nValue, sizeof(nValue), nMilliseconds) || GetLastError() != ERROR_TIMEOUT ||
           left.count() > 3'600'000;
}

void WakeWord(const void* pWord) { WakeByAddressAll(const_cast<void*>(pWord)); }
void WakeOneOnWord(const void* pWord) { WakeByAddressSingle(const_cast<void*>(pWord)); }

unsigned int GetUsableProcessors()
{
    static const unsigned int s_nProcessors = [] {
        DWORD_PTR nOfProcess = 0, nOfSystem = 0;
        const bool bKnown = GetProcessAffinityMask(GetCurrentProcess(), &nOfProcess, &nOfSystem) != 0;
        return bKnown ? static_cast<unsigned int>(std::max(1, std::popcount(nOfProcess))) : 1u;
    }();
    return s_nProcessors;
}

}  // namespace Kernova::Internal
