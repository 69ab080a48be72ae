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

std::string FormatText(const char* pszFormat, std::va_list args)
{
    const std::string strFormat = TranslateFormat(pszFormat);
    char szShort[1024];
    std::va_list again;
    va_copy(again, args);
    const int nLength = std::vsnprintf(szShort, sizeof(szShort), strFormat.c_str(), args);
    std::string strResult;
    if (nLength < 0) {
        strResult = pszFormat;
    } else if (static_cast<std::size_t>(nLength) < sizeof(szShort)) {
        strResult.assign(szShort, static_cast<std::size_t>(nLength));
    } else {
        try {
            strResult.resize(static_cast<std::size_t>(nLength));
        } catch (...) {
            va_end(again);
            throw;
        }
        std::vsnprintf(strResult.data(), strResult.size() + 1, strFormat.c_str(), again);
    }
    va_end(again);
    return strResult;
}

}  // namespace Logova
