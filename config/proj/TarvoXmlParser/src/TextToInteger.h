// The rule by which all numbers of a settings file are read: by the property arrays here and by
// CConfigReader.
#pragma once

#include <limits>

namespace Tarvo::XmlParser {

// The value of an optional sign and the decimal digits behind it; whatever follows the digits is ignored, and
// 0 stands for no digits. A number that does not fit an int becomes the nearest int. Blanks in front are no
// digits.
inline int TextToInteger(const char* pszText)
{
    const bool bNegative = *pszText == '-';
    if (bNegative || *pszText == '+')
        ++pszText;
    constexpr long long kLargest = std::numeric_limits<int>::max();
    long long nValue = 0;
    for (; *pszText >= '0' && *pszText <= '9'; ++pszText) {
        // Once out of range the value stays, so that no number of digits can overflow 64 bits.
        if (nValue <= kLargest)
            nValue = nValue * 10 + (*pszText - '0');
    }
    if (nValue > kLargest)
        nValue = bNegative ? kLargest + 1 : kLargest;
    return static_cast<int>(bNegative ? -nValue : nValue);
}

}  // namespace Tarvo::XmlParser
