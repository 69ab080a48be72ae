// End dates as the wire has them: 14 digits, YYYYMMDDhhmmss, local time.
#pragma once

#include <chrono>
#include <ctime>
#include <optional>
#include <string>

namespace Sandbox {

// The end date of what never ends.
inline constexpr char kNoEnd[] = "99991231235959";

std::string FormatDate(std::time_t time);
// UTC with milliseconds, for logs: "2026-01-31T12:00:00.123Z".
std::string FormatTimestamp(std::chrono::system_clock::time_point time);
// Nothing unless the text is 14 digits and names a day and time that exist.
std::optional<std::time_t> ParseDate(const std::string& strDate);

}  // namespace Sandbox
