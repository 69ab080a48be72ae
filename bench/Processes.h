// The processes of a measurement, and the only place of it that asks the operating system for something:
// clients and services run in processes of their own, so that none of them shares a heap, a thread or a
// counter with another. On Windows, which cannot divide a process, they are threads of one process; rows for
// one core are then for whoever starts the program on one core, and context switches are not counted.
#pragma once

#ifdef _WIN32
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#else
#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <type_traits>

namespace Bench {

[[noreturn]] inline void Fail(const char* pszWhat)
{
    std::fprintf(stderr, "%s\n", pszWhat);
    std::_Exit(1);
}

#ifdef _WIN32

inline long ContextSwitches() { return 0; }

// A thread that runs the body, and goes on for as long as the body does. The body is handed the function that
// gives the starter one value.
template <class T>
class Process {
public:
    using Give = std::function<void(const T&)>;

    Process(bool, const std::function<void(const Give&)>& body)
    {
        std::thread([pGiven = m_pGiven, body] {
            body([&pGiven](const T& value) {
                const std::lock_guard lock(pGiven->mutex);
                pGiven->value = value;
                pGiven->there.notify_all();
            });
        }).detach();
    }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    // Waits for the value.
    T Take()
    {
        std::unique_lock lock(m_pGiven->mutex);
        m_pGiven->there.wait(lock, [this] { return m_pGiven->value.has_value(); });
        return *m_pGiven->value;
    }

private:
    struct Given {
        std::mutex mutex;
        std::condition_variable there;
        std::optional<T> value;
    };
    std::shared_ptr<Given> m_pGiven = std::make_shared<Given>();
};

#else

// Of the whole process, voluntary or not, since its start.
inline long ContextSwitches()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_nvcsw + usage.ru_nivcsw;
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

#endif

// Runs the body in a process of its own and gives what it returns.
template <class T>
T InProcess(bool bOneCore, const std::function<T()>& body)
{
    return Process<T>(bOneCore, [&](const auto& give) { give(body()); }).Take();
}

// A service in a process of its own, until the end of this object. The function that serves gets the function
// that tells the service's port, and does not return.
class ServiceProcess {
public:
    using Ready = std::function<void(unsigned short)>;

    ServiceProcess(bool bOneCore, const std::function<void(const Ready&)>& serve)
        : m_process(bOneCore, [serve](const auto& give) { serve(give); }), m_nPort(m_process.Take())
    {
    }
    unsigned short Port() const { return m_nPort; }

private:
    Process<unsigned short> m_process;
    unsigned short m_nPort;
};

}  // namespace Bench
