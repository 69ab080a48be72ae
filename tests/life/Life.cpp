// The life of the library as a host process sees it: the library file itself is loaded, nothing is linked.
//
//   life LIBRARY MODE    load     loads it, calls nothing, unloads it, twice
//                        exit     starts it and leaves main without stopping it
//                        exit-waiting   likewise, with callers inside a request
//                        unload   starts it, unloads it, and leaves main
//                        unload-waiting   stops and unloads it, with callers inside a request
//                        throwing   lets callbacks throw
//                        signal     takes a signal that is sent to the process, with the library running
//                        fork     calls it in a forked process while it runs
//                        broken-pipe   starts it with bad settings and nobody behind standard error
//                        restart  starts and stops it a hundred times, unloading it in between
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "VelkarConnector.h"
#include "tests/support/LoopbackService.h"
#include "tests/support/ServiceScript.h"
#include "tests/support/Settings.h"

#ifndef _WIN32  // elsewhere the sockets' header brings the system's
#include <dlfcn.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace {

using namespace Support;

#ifdef _WIN32
void* Open(const char* pszFile) { return LoadLibraryA(pszFile); }
void Close(void* pLibrary) { FreeLibrary(static_cast<HMODULE>(pLibrary)); }
void* Find(void* pLibrary, const char* pszName)
{
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(pLibrary), pszName));
}
#else
void* Open(const char* pszFile) { return dlopen(pszFile, RTLD_NOW | RTLD_LOCAL); }
void Close(void* pLibrary) { dlclose(pLibrary); }
void* Find(void* pLibrary, const char* pszName) { return dlsym(pLibrary, pszName); }
#endif

[[noreturn]] void Die(const std::string& strWhy)
{
    std::printf("%s\n", strWhy.c_str());
    std::fflush(stdout);
    std::_Exit(3);
}

struct Library {
    explicit Library(const char* pszFile) : pLibrary(Open(pszFile))
    {
        if (pLibrary == nullptr)
            Die(std::string("cannot load ") + pszFile);
        Get(pfnInit, "InitModule");
        Get(pfnUninit, "UninitModule");
        Get(pfnCheckin, "Checkin");
    }
    template <class Function>
    void Get(Function& pfn, const char* pszName)
    {
        void* const p = Find(pLibrary, pszName);
        if (p == nullptr)
            Die(std::string("no export ") + pszName);
        std::memcpy(&pfn, &p, sizeof(p));
    }
    bool TryToStart(const _CONNECTOR_CALLBACKS& callbacks, char (&szError)[1025]) const
    {
        const _CONNECTOR_ID id{"GAME", "SERVER", "WORLD"};
        return pfnInit(&id, &callbacks, szError, sizeof(szError));
    }
    void Start(const _CONNECTOR_CALLBACKS& callbacks = {}) const
    {
        char szError[1025];
        if (!TryToStart(callbacks, szError))
            Die(std::string("no start: ") + szError);
    }
    void CheckIn() const
    {
        const _USER_REQ req{"abc", "10.0.0.1"};
        _CHECKIN_RES res;
        pfnCheckin(&req, &res);
    }

    void* pLibrary;
    decltype(&InitModule) pfnInit;
    decltype(&UninitModule) pfnUninit;
    decltype(&Checkin) pfnCheckin;
};

// Ends before the process does: its thread may not run into the end of this program's own objects. The
// library's threads do run into it, and callers with them.
std::unique_ptr<ServiceScript>& ServiceHolder()
{
    static auto s_pService = std::make_unique<ServiceScript>(std::make_unique<LoopbackService>());
    return s_pService;
}
ServiceScript& Service() { return *ServiceHolder(); }

std::string DirectoryOf(const char* pszProgram)
{
    std::string strDirectory = pszProgram;
    strDirectory.resize(strDirectory.find_last_of("/\\"));
    return strDirectory;
}

void WriteSettings(const char* pszProgram)
{
    Settings settings;
    settings.nServerPort = Service().Port();
    settings.WriteTo(DirectoryOf(pszProgram));
}

void WaitInside(const Library& library)
{
    for (int i = 0; i < 4; ++i) {
        std::thread([library] {
            for (;;)
                library.CheckIn();
        }).detach();
    }
    Service().Expect<XC2S_CheckInReq>();
}

void UnloadWaiting(const Library& library)
{
    std::vector<std::thread> vecCallers;
    for (int i = 0; i < 4; ++i)
        vecCallers.emplace_back([&library] { library.CheckIn(); });
    for (int i = 0; i < 4; ++i)
        Service().Expect<XC2S_CheckInReq>();
    library.pfnUninit();
    Close(library.pLibrary);
    for (std::thread& caller : vecCallers)
        caller.join();
}

std::atomic<int> g_nThrown{0};

// A notice, and a request that gets no answer.
void Throw(const Library& library)
{
    _CONNECTOR_CALLBACKS callbacks{};
    callbacks.pfnNotifyStorageInfo = [](const _STORAGE_NOTI_INFO*) {
        ++g_nThrown;
        throw std::runtime_error("out of the game");
    };
    callbacks.pfnQueryGameMoney = [](const _GAME_USER_REQ*, _GAME_MONEY_RES*) {
        ++g_nThrown;
        throw 5;
    };
    library.Start(callbacks);
    for (int n = 1; n <= 3; ++n)
        Service().Send(XS2C_NotifyStorageInfo(), XS2C_QueryGameMoneyReq());
    for (int n = 0; n < 2000 && g_nThrown != 6; ++n)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    if (g_nThrown != 6)
        Die("callbacks that threw: " + std::to_string(g_nThrown));
    library.pfnUninit();
}

#ifndef _WIN32
void SetTermination(int nHow)
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGTERM);
    pthread_sigmask(nHow, &set, nullptr);
}

// As a host does that waits for its end in one thread and leaves the others, and so the library's, unblocked.
void TakeSignal(const char* pszLibrary, const char* pszProgram)
{
    SetTermination(SIG_BLOCK);
    WriteSettings(pszProgram);
    SetTermination(SIG_UNBLOCK);
    const Library library(pszLibrary);
    library.Start();
    SetTermination(SIG_BLOCK);
    kill(getpid(), SIGTERM);
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGTERM);
    int nSignal = 0;
    if (sigwait(&set, &nSignal) != 0 || nSignal != SIGTERM)
        Die("no signal");
    library.pfnUninit();
    ServiceHolder().reset();
}

void Fork(const Library& library)
{
    const pid_t nChild = fork();
    if (nChild == 0) {
        alarm(4);  // a request that is sent takes longer
        char szError[1025];
        const bool bStarted = library.TryToStart({}, szError);
        const std::string strError = szError;
        library.CheckIn();
        library.pfnUninit();
        std::_Exit(bStarted || strError.find("forked") == std::string::npos ? 1 : 0);
    }
    int nStatus = 0;
    if (waitpid(nChild, &nStatus, 0) != nChild || nStatus != 0)
        Die("the forked process ended with " + std::to_string(nStatus));
    library.pfnUninit();
}

void BreakPipe(const char* pszLibrary, const char* pszProgram)
{
    std::ofstream(DirectoryOf(pszProgram) + "/" + kSettingsFile) << "<TARVO><module";
    int arrEnds[2];
    if (pipe(arrEnds) != 0 || dup2(arrEnds[1], STDERR_FILENO) < 0)
        Die("no pipe");
    close(arrEnds[0]);
    char szError[1025];
    if (Library(pszLibrary).TryToStart({}, szError))
        Die("started");
}
#endif

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 3)
        Die("life LIBRARY MODE");
    const std::string strMode = argv[2];
    if (strMode == "load") {
        for (int i = 0; i < 2; ++i)
            Close(Library(argv[1]).pLibrary);
        return 0;
    }
#ifndef _WIN32
    if (strMode == "signal" || strMode == "broken-pipe") {
        (strMode == "signal" ? TakeSignal : BreakPipe)(argv[1], argv[0]);
        return 0;
    }
#endif
    WriteSettings(argv[0]);
    if (strMode == "restart") {
        for (int i = 0; i < 100; ++i) {
            const Library library(argv[1]);
            library.Start();
            library.pfnUninit();
            Close(library.pLibrary);
        }
        return 0;
    }
    const Library library(argv[1]);
    if (strMode == "throwing") {
        Throw(library);
        ServiceHolder().reset();
        return 0;
    }
    library.Start();
    if (strMode == "unload")
        Close(library.pLibrary);
    else if (strMode == "unload-waiting")
        UnloadWaiting(library);
    else if (strMode == "exit-waiting")
        WaitInside(library);
#ifndef _WIN32
    else if (strMode == "fork")
        Fork(library);
#endif
    else if (strMode != "exit")
        Die("unknown mode " + strMode);
    ServiceHolder().reset();
    return 0;
}
