// The text of a log line from a printf format.
#pragma once

#include <cstdarg>
#include <string>

namespace Logova {

// The format with %I64d, %I64u, %I64x and their like written the standard way (%lld).
std::string TranslateFormat(const char* pszFormat);

// The formatted text, of any length; the format itself where it cannot be followed. Throws
// std::bad_alloc.
std::string FormatText(const char* pszFormat, std::va_list args);

}  // namespace Logova
