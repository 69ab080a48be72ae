// The life of the library as a host process sees it: the library file itself is loaded, nothing is linked.
//
//   life LIBRARY MODE    load     loads it, calls nothing, unloads it, twice
//                        exit     starts it and leaves main without stopping it
//                        exit-waiting   likewise, with callers inside a request
//                        unload   starts it, unloads it, and leaves main
//                        restart  starts and stops it a hundred times, unloading it in between
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <thread>

#include "VelkarConnector.h"
#include "tests/support/LoopbackService.h"
#include "tests/support/ServiceScript.h"
#include "tests/support/Settings.h"

#ifndef _WIN32  // elsewhere the sockets' header brings the system's
#include <dlfcn.h>
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
    void Start() const
    {
        const _CONNECTOR_ID id{"GAME", "SERVER", "WORLD"};
        const _CONNECTOR_CALLBACKS callbacks{};
        char szError[1025];
        if (!pfnInit(&id, &callbacks, szError, sizeof(szError)))
            Die(std::string("no start: ") + szError);
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

void WriteSettings(const char* pszProgram)
{
    std::string strDirectory = pszProgram;
    strDirectory.resize(strDirectory.find_last_of("/\\"));
    Settings settings;
    settings.nServerPort = Service().Port();
    settings.WriteTo(strDirectory);
}

void WaitInside(const Library& library)
{
    for (int i = 0; i < 4; ++i) {
        std::thread([library] {
            for (;;) {
                const _USER_REQ req{"abc", "10.0.0.1"};
                _CHECKIN_RES res;
                library.pfnCheckin(&req, &res);
            }
        }).detach();
    }
    Service().Expect<XC2S_CheckInReq>();
}

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
    library.Start();
    if (strMode == "unload")
        Close(library.pLibrary);
    else if (strMode == "exit-waiting")
        WaitInside(library);
    else if (strMode != "exit")
        Die("unknown mode " + strMode);
    ServiceHolder().reset();
    return 0;
}
