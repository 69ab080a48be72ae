// Numbers as people read them.
#pragma once

#include <string>

#include "load/Tally.h"

namespace Load {

// As printf.
[[gnu::format(printf, 1, 2)]] std::string Format(const char* pszFormat, ...);
std::string TimeText(Micros time);       // "0.21 ms", "35 ms", "1.20 s"
std::string CountText(std::uint64_t n);  // "12,345"

}  // namespace Load
