#include "platform/Program.h"

#include <sys/resource.h>

#include <algorithm>
#include <csignal>
#include <cstdint>

namespace Host {

std::vector<const char*> BeginProgram(int argc, char** argv) { return {argv, argv + argc}; }

void IgnoreBrokenPipes() { std::signal(SIGPIPE, SIG_IGN); }

std::tm LocalCalendar(std::time_t time)
{
    std::tm tm{};
    localtime_r(&time, &tm);
    return tm;
}

std::size_t GetMaxOpenFiles()
{
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return SIZE_MAX;
    return static_cast<std::size_t>(std::min<rlim_t>(limit.rlim_cur, SIZE_MAX));
}

void OnSessionEnd(std::function<void()>) {}

}  // namespace Host
