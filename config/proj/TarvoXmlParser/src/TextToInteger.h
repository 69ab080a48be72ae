// The one rule by which numbers of a settings file are read.
#pragma once

#include <limits>

namespace Tarvo::XmlParser {

// An optional sign and the digits behind it, as far as they go; 0 if there are none. A number out of range
// becomes the nearest one in range.
inline int TextToInteger(const char* pszText)
{
    const bool bNegative = *pszText == '-';
    if (bNegative || *pszText == '+')
        ++pszText;
    constexpr long long kLargest = std::numeric_limits<int>::max();
    long long nValue = 0;
    for (; *pszText >= '0' && *pszText <= '9'; ++pszText) {
        if (nValue <= kLargest)
            nValue = nValue * 10 + (*pszText - '0');
    }
    if (nValue > kLargest)
        nValue = bNegative ? kLargest + 1 : kLargest;
    return static_cast<int>(bNegative ? -nValue : nValue);
}

}  // namespace Tarvo::XmlParser
