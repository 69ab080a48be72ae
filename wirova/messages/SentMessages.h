// The messages that the connector sends, numbered from 0, so that a table can have a row for each of them.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

#include "wirova/messages/AllMessages.h"

namespace Wirova {

struct SentMessage {
    int32 nMsgID;
    const char* pszName;
};

namespace Internal {

#define WIROVA_NAMED(cls) SentMessage{cls::kMsgID, #cls},
inline constexpr SentMessage kTopLevel[] = {WIROVA_TOP_LEVEL_CLASSES(WIROVA_NAMED)};
#undef WIROVA_NAMED

// The beginning of a name says who sends the message, but for one: that answer is the service's.
constexpr bool IsSent(const SentMessage& message)
{
    return std::string_view(message.pszName).starts_with("XC2S_") &&
           message.nMsgID != XC2S_RequestUseStorageAns::kMsgID;
}

}  // namespace Internal

// In the order of AllMessages.h.
inline constexpr auto kSentMessages = [] {
    std::array<SentMessage, std::ranges::count_if(Internal::kTopLevel, Internal::IsSent)> arr{};
    std::ranges::copy_if(Internal::kTopLevel, arr.begin(), Internal::IsSent);
    return arr;
}();

// The number of class M. Does not compile for a class that the connector does not send.
template <class M>
inline constexpr std::size_t kSentNumber = [] {
    const auto it = std::ranges::find(kSentMessages, M::kMsgID, &SentMessage::nMsgID);
    return static_cast<std::size_t>(it == kSentMessages.end() ? throw "not sent"
                                                              : it - kSentMessages.begin());
}();

}  // namespace Wirova
