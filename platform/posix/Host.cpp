// The process, its clock, its files and its operator, on POSIX systems.
#include "platform/Host.h"

#include <pthread.h>
#include <signal.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include "platform/common/LastError.h"

namespace Host {

namespace {

bool GetStatus(const std::string& strPath, struct stat& status)
{
    if (stat(strPath.c_str(), &status) == 0)
        return true;
    Platova::SetLastError(static_cast<unsigned int>(errno));
    return false;
}

}  // namespace

// A path is whatever bytes the file system has.
std::string PathFromText(const std::string& strText) { return strText; }

std::string TextFromPath(const std::string& strPath) { return strPath; }

std::string GetExecutableDirectory()
{
    std::string strPath(256, '\0');
    for (;;) {
        const ssize_t nLength = readlink("/proc/self/exe", strPath.data(), strPath.size());
        if (nLength < 0) {
            Platova::SetLastError(static_cast<unsigned int>(errno));
            return {};
        }
        if (static_cast<std::size_t>(nLength) < strPath.size()) {
            strPath.resize(static_cast<std::size_t>(nLength));
            break;
        }
        strPath.resize(strPath.size() * 2);  // it may have been cut
    }
    const std::size_t nSeparator = strPath.rfind('/');
    if (nSeparator == std::string::npos)
        return {};
    // A program in the root directory: an empty answer would mean that it cannot be found.
    return nSeparator == 0 ? "/." : strPath.substr(0, nSeparator);
}

const char* GetPathSeparator() { return "/"; }

LocalTime GetLocalTime()
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm parts{};
    localtime_r(&now.tv_sec, &parts);
    return LocalTime{parts.tm_year + 1900,
                     parts.tm_mon + 1,
                     parts.tm_mday,
                     parts.tm_hour,
                     parts.tm_min,
                     parts.tm_sec,
                     static_cast<int>(now.tv_nsec / 1'000'000)};
}

void Sleep(unsigned int milliseconds)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

bool FileExists(const std::string& strPath)
{
    struct stat status {};
    return GetStatus(strPath, status);
}

std::FILE* OpenForReading(const std::string& strPath) { return std::fopen(strPath.c_str(), "rbe"); }

bool IsRegularFile(const std::string& strPath)
{
    struct stat status {};
    return GetStatus(strPath, status) && S_ISREG(status.st_mode);
}

bool IsFreshlyWritten(const std::string& strPath)
{
    struct stat status {};
    return GetStatus(strPath, status) && std::abs(std::time(nullptr) - status.st_mtim.tv_sec) <= 2;
}

bool GetLastWriteTime(const std::string& strPath, std::int64_t& nTime)
{
    struct stat status {};
    if (!GetStatus(strPath, status))
        return false;
    nTime = static_cast<std::int64_t>(status.st_mtim.tv_sec) * 1'000'000'000 + status.st_mtim.tv_nsec;
    return true;
}

// A game server on these systems has no desktop; the caller's other way of reporting is the log.
bool ShowErrorBox(const char*, const char*) { return false; }

void PrintError(const char* pszFormat, ...)
{
    // A write to a closed pipe raises SIGPIPE on this thread. Taking it here leaves the host's own one alone.
    sigset_t pipe, pending, before;
    sigemptyset(&pipe);
    sigaddset(&pipe, SIGPIPE);
    sigpending(&pending);
    pthread_sigmask(SIG_BLOCK, &pipe, &before);
    std::va_list args;
    va_start(args, pszFormat);
    std::vfprintf(stderr, pszFormat, args);
    va_end(args);
    constexpr timespec kNow{};
    if (!sigismember(&pending, SIGPIPE))
        sigtimedwait(&pipe, nullptr, &kNow);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

void NameThread(const char* pszName) { pthread_setname_np(pthread_self(), pszName); }

void OnForked(void (*pfnInNewProcess)())
{
    static const int s_nRegistered = pthread_atfork(nullptr, nullptr, pfnInNewProcess);
    static_cast<void>(s_nRegistered);
}

// The library is linked so that it stays in memory once it has been loaded (-z nodelete).
void PinLibrary() {}

}  // namespace Host
