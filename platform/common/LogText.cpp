#include "platform/common/LogText.h"

#include <cstdio>
#include <cstring>

namespace Logova {

std::string TranslateFormat(const char* pszFormat)
{
    std::string strResult;
    const char* p = pszFormat;
    while (*p != '\0') {
        if (*p != '%') {
            strResult += *p++;
            continue;
        }
        // Flags, width and precision stay as they are; a second percent sign ends it here.
        const std::size_t nPrefix = 1 + std::strspn(p + 1, "-+ #0123456789.*");
        strResult.append(p, nPrefix);
        p += nPrefix;
        if (std::strncmp(p, "I64", 3) == 0) {
            strResult += "ll";
            p += 3;
        } else if (*p == '%') {
            strResult += *p++;
        }
    }
    return strResult;
}

std::string_view FormatText(const char* pszFormat, std::va_list args, char (&szShort)[kShortText],
                            std::string& strLong)
{
    std::string strTranslated;
    const char* pszStandard = pszFormat;
    if (std::strstr(pszFormat, "I64") != nullptr) {
        strTranslated = TranslateFormat(pszFormat);
        pszStandard = strTranslated.c_str();
    }
    std::va_list again;
    va_copy(again, args);
    const int nLength = std::vsnprintf(szShort, sizeof(szShort), pszStandard, args);
    std::string_view text = pszFormat;
    if (nLength >= 0 && static_cast<std::size_t>(nLength) < sizeof(szShort)) {
        text = {szShort, static_cast<std::size_t>(nLength)};
    } else if (nLength >= 0) {
        try {
            strLong.resize(static_cast<std::size_t>(nLength));
        } catch (...) {
            va_end(again);
            throw;
        }
        std::vsnprintf(strLong.data(), strLong.size() + 1, pszStandard, again);
        text = strLong;
    }
    va_end(again);
    return text;
}

}  // namespace Logova
