#include "load/Text.h"

#include <cstdarg>
#include <cstdio>

namespace Load {

std::string Format(const char* pszFormat, ...)
{
    char szText[1024];
    std::va_list args;
    va_start(args, pszFormat);
    std::vsnprintf(szText, sizeof(szText), pszFormat, args);
    va_end(args);
    return szText;
}

std::string TimeText(Micros time)
{
    const double dMillis = static_cast<double>(time.count()) / 1000;
    if (time.count() == 0)
        return "0";
    if (dMillis >= 1000)
        return Format("%.2f s", dMillis / 1000);
    return Format(dMillis < 10 ? "%.2f ms" : dMillis < 100 ? "%.1f ms" : "%.0f ms", dMillis);
}

std::string CountText(std::uint64_t n)
{
    std::string strText = std::to_string(n);
    for (auto nAt = static_cast<std::ptrdiff_t>(strText.size()) - 3; nAt > 0; nAt -= 3)
        strText.insert(static_cast<std::size_t>(nAt), ",");
    return strText;
}

}  // namespace Load
