// A process of its own for each client and each service.
#pragma once

#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <type_traits>

#include "bench/Fail.h"
#include "bench/Usage.h"

namespace Bench {

inline Usage GetUsage()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto microseconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_usec);
    };
    return {static_cast<double>(usage.ru_nvcsw + usage.ru_nivcsw),
            microseconds(usage.ru_utime) + microseconds(usage.ru_stime)};
}

// A process that runs the body and ends with the process that started it, or earlier. The body is handed the
// function that gives the starter one value.
template <class T>
class Process {
    static_assert(std::is_trivially_copyable_v<T>);

public:
    using Give = std::function<void(const T&)>;

    Process(bool bOneCore, const std::function<void(const Give&)>& body)
    {
        int arrEnds[2];
        if (pipe(arrEnds) != 0)
            Fail("There is no pipe.");
        m_nProcess = fork();
        if (m_nProcess == 0) {
            close(arrEnds[0]);
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            if (bOneCore)
                UseOneCore();
            body([&](const T& value) {
                if (write(arrEnds[1], &value, sizeof(value)) != sizeof(value))
                    std::_Exit(1);
                close(arrEnds[1]);
            });
            std::_Exit(0);
        }
        close(arrEnds[1]);
        m_nEnd = arrEnds[0];
    }
    ~Process()
    {
        kill(m_nProcess, SIGKILL);
        waitpid(m_nProcess, nullptr, 0);
        close(m_nEnd);
    }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    // Waits for the value. Ends this program if the process has ended without it.
    T Take()
    {
        T value{};
        if (read(m_nEnd, &value, sizeof(value)) != sizeof(value))
            Fail("A round has failed.");
        return value;
    }

private:
    static void UseOneCore()
    {
        cpu_set_t set;
        CPU_ZERO(&set);
        CPU_SET(0, &set);
        sched_setaffinity(0, sizeof(set), &set);
    }

    pid_t m_nProcess;
    int m_nEnd;
};

}  // namespace Bench
