#include "sandbox/base/Console.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>

namespace Sandbox {
namespace {

constexpr std::size_t kMaxPrintable = 64;  // bytes

std::string TimeOfDay()
{
    using namespace std::chrono;
    const auto now = system_clock::now();
    const std::time_t seconds = system_clock::to_time_t(now);
    const auto nMillisecond = duration_cast<milliseconds>(now.time_since_epoch()).count() % 1000;
    std::tm tm{};
    localtime_r(&seconds, &tm);
    char szTime[32];
    std::snprintf(szTime, sizeof(szTime), "%02d:%02d:%02d.%03d ", tm.tm_hour, tm.tm_min, tm.tm_sec,
                  static_cast<int>(nMillisecond));
    return szTime;
}

}  // namespace

void Console::Say(const std::string& strText) const { m_sink(TimeOfDay() + strText); }

void Console::Note(const std::string& strText) const
{
    if (m_verbosity != Verbosity::Quiet)
        Say(strText);
}

std::string Printable(const std::string& strText)
{
    std::string strOut = strText.substr(0, kMaxPrintable);
    std::replace_if(
        strOut.begin(), strOut.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, '?');
    return strOut.size() < strText.size() ? strOut + "..." : strOut;
}

std::string Quoted(const std::string& strText) { return "'" + Printable(strText) + "'"; }

}  // namespace Sandbox
