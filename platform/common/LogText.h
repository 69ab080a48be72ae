// The text of a log line from a printf format.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <string>
#include <string_view>

namespace Logova {

inline constexpr std::size_t kShortText = 1024;

// The formatted text, of any length. From a conversion on that there is not, or one of a wide text, it is the
// format itself. It stands in one of the two buffers: a short text of conversions without flags (%s %d %u %c
// %I64d) allocates nothing. Throws std::bad_alloc.
// Control characters in the texts that the conversions put in are written as \n, \r, \t or \xNN, so that no
// text of a game or of the service forges a line. Line breaks of the format itself stay.
std::string_view FormatText(const char* pszFormat, std::va_list args, char (&szShort)[kShortText],
                            std::string& strLong);

}  // namespace Logova
