#include "sandbox/base/DateText.h"

#include <algorithm>
#include <cstdio>

#include "platform/Program.h"

namespace Sandbox {

std::string FormatDate(std::time_t time)
{
    const std::tm tm = Host::LocalCalendar(time);
    char szDate[16];
    return {szDate, std::strftime(szDate, sizeof(szDate), "%Y%m%d%H%M%S", &tm)};
}

std::string FormatTimestamp(std::chrono::system_clock::time_point time)
{
    using namespace std::chrono;
    const auto day = floor<days>(time);
    const year_month_day date(day);
    const hh_mm_ss clock(floor<milliseconds>(time - day));
    char szAll[96];
    std::snprintf(szAll, sizeof(szAll), "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ", static_cast<int>(date.year()),
                  static_cast<unsigned int>(date.month()), static_cast<unsigned int>(date.day()),
                  static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                  static_cast<int>(clock.seconds().count()), static_cast<int>(clock.subseconds().count()));
    return szAll;
}

std::optional<std::time_t> ParseDate(const std::string& strDate)
{
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    if (strDate.size() != 14 || !std::all_of(strDate.begin(), strDate.end(), isDigit))
        return std::nullopt;
    const auto number = [&](std::size_t nPos, std::size_t nLength) {
        return std::stoi(strDate.substr(nPos, nLength));
    };
    std::tm tm{};
    tm.tm_year = number(0, 4) - 1900;
    tm.tm_mon = number(4, 2) - 1;
    tm.tm_mday = number(6, 2);
    tm.tm_hour = number(8, 2);
    tm.tm_min = number(10, 2);
    tm.tm_sec = number(12, 2);
    tm.tm_isdst = -1;
    const std::tm asked = tm;
    const std::time_t time = std::mktime(&tm);
    // mktime turns the 31st of April into the 1st of May, so a changed field tells a day that does not exist.
    // The hour alone may change: it does for the hour that summer time skips.
    const bool bExists = tm.tm_year == asked.tm_year && tm.tm_mon == asked.tm_mon &&
                         tm.tm_mday == asked.tm_mday && tm.tm_min == asked.tm_min &&
                         tm.tm_sec == asked.tm_sec;
    return bExists ? std::optional(time) : std::nullopt;
}

}  // namespace Sandbox
