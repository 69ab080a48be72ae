#include "sandbox/base/Console.h"

#include <chrono>
#include <cstdio>
#include <ctime>

namespace Sandbox {
namespace {

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

}  // namespace Sandbox
