#include "sandbox/base/Console.h"

#include <cstdio>

#include "platform/Host.h"

namespace Sandbox {
namespace {

std::string TimeOfDay()
{
    const Host::LocalTime now = Host::GetLocalTime();
    char szTime[64];
    std::snprintf(szTime, sizeof(szTime), "%02d:%02d:%02d.%03d ", now.nHour, now.nMinute, now.nSecond,
                  now.nMillisecond);
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
