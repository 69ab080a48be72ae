// The library file as a host process loads it; nothing of it is linked.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "VelkarConnector.h"

#ifdef _WIN32
#include <asio.hpp>  // brings the system's header
inline void* Open(const char* pszFile) { return LoadLibraryA(pszFile); }
inline void Close(void* pLibrary) { FreeLibrary(static_cast<HMODULE>(pLibrary)); }
inline void* Find(void* pLibrary, const char* pszName)
{
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(pLibrary), pszName));
}
#else
#include <dlfcn.h>

inline void* Open(const char* pszFile) { return dlopen(pszFile, RTLD_NOW | RTLD_LOCAL); }
inline void Close(void* pLibrary) { dlclose(pLibrary); }
inline void* Find(void* pLibrary, const char* pszName) { return dlsym(pLibrary, pszName); }
#endif

[[noreturn]] inline void Die(const std::string& strWhy)
{
    std::printf("%s\n", strWhy.c_str());
    std::fflush(stdout);
    std::_Exit(3);
}

struct Library {
    explicit Library(const char* pszName) : pszFile(pszName), pLibrary(Open(pszName))
    {
        if (pLibrary == nullptr)
            Die(std::string("cannot load ") + pszFile);
        Get(pfnInit, "InitModule");
        Get(pfnUninit, "UninitModule");
        Get(pfnCheckin, "Checkin");
    }
    template <class Function>
    void Get(Function& pfn, const char* pszName) const
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

    const char* pszFile;
    void* pLibrary;
    decltype(&InitModule) pfnInit;
    decltype(&UninitModule) pfnUninit;
    decltype(&Checkin) pfnCheckin;
};
