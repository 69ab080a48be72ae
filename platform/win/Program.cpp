#include "platform/Program.h"

#include <windows.h>

#include <cstdint>
#include <mutex>

#include "platform/win/WidePath.h"

// Of the C runtime: the command line as the system has it, cut into arguments. No header of mingw's shows it.
extern "C" {
struct VelkarStartupInfo {
    int nNewMode;
};
__declspec(dllimport) int __cdecl __wgetmainargs(int* pCount, wchar_t*** pArguments, wchar_t*** pEnvironment,
                                                 int bExpand, VelkarStartupInfo* pInfo);
}

namespace Host {
namespace {

constexpr DWORD kLongerThanAnyEnd = 60'000;  // milliseconds

std::mutex g_mutex;
std::function<void()> g_stop;

// Runs on a thread of the system. When it returns from one of the last three, the process ends at once.
BOOL WINAPI OnConsoleEvent(DWORD nEvent)
{
    if (nEvent == CTRL_C_EVENT)
        return FALSE;  // becomes a signal
    {
        const std::lock_guard lock(g_mutex);
        if (g_stop)
            g_stop();
    }
    if (nEvent != CTRL_BREAK_EVENT)
        ::Sleep(kLongerThanAnyEnd);
    return TRUE;
}

}  // namespace

std::vector<const char*> BeginProgram(int argc, char** argv)
{
    SetConsoleOutputCP(CP_UTF8);
    wchar_t **pArguments = nullptr, **pEnvironment = nullptr;
    VelkarStartupInfo info{};
    int nCount = 0;
    if (__wgetmainargs(&nCount, &pArguments, &pEnvironment, 0, &info) != 0)
        return {argv, argv + argc};
    static const std::vector<std::string> kTexts = [=] {
        std::vector<std::string> vecTexts;
        for (int i = 0; i < nCount; ++i)
            vecTexts.push_back(Internal::FromWide(pArguments[i]));
        return vecTexts;
    }();
    std::vector<const char*> vecArguments;
    for (const std::string& strText : kTexts)
        vecArguments.push_back(strText.c_str());
    return vecArguments;
}

void IgnoreBrokenPipes() {}

std::tm LocalCalendar(std::time_t time)
{
    std::tm tm{};
    localtime_s(&tm, &time);
    return tm;
}

std::size_t GetMaxOpenFiles() { return SIZE_MAX; }

void OnSessionEnd(std::function<void()> stop)
{
    // Registered once: the system would let a removal wait for the call that is under way, which waits for
    // the end.
    static const BOOL bRegistered = SetConsoleCtrlHandler(OnConsoleEvent, TRUE);
    static_cast<void>(bRegistered);
    const std::lock_guard lock(g_mutex);
    g_stop = std::move(stop);
}

}  // namespace Host
