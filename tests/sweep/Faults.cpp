#include "tests/sweep/Faults.h"

#include <dlfcn.h>
#include <poll.h>
#include <pthread.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace Faults {

namespace {

thread_local int t_nInside = 0;
std::atomic<bool> g_bOrdered{false};
std::atomic<int> g_nPassed{0};
Kind g_kind;
int g_nFirst, g_nWidth;
const char* g_pszDirectory;

bool MustFail(Kind kind, int nError)
{
    if (t_nInside == 0 || !g_bOrdered || kind != g_kind)
        return false;
    const int nBehindFirst = ++g_nPassed - g_nFirst;
    if (nBehindFirst < 0 || nBehindFirst >= g_nWidth)
        return false;
    errno = nError;
    return true;
}

// What the program would have called without this file.
template <class Function>
Function* FindNext(Function*, const char* pszName)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, pszName));
}

// What a thread of the library is made with.
using Body = std::pair<void* (*)(void*), void*>;
void* RunInside(void* p)
{
    const Body body = *static_cast<Body*>(p);
    std::free(p);
    const Inside inside;
    return body.first(body.second);
}

}  // namespace

Inside::Inside() { ++t_nInside; }
Inside::~Inside() { --t_nInside; }

void Order(Kind kind, int nFirst, int nWidth)
{
    g_kind = kind;
    g_nFirst = nFirst;
    g_nWidth = nWidth;
    g_nPassed = 0;
    g_bOrdered = true;
}

int Release()
{
    g_bOrdered = false;
    return g_nPassed;
}

void SetDirectory(const char* pszDirectory) { g_pszDirectory = pszDirectory; }

}  // namespace Faults

using Faults::Kind;

// The library finds them.
#pragma GCC visibility push(default)
extern "C" {

// ---- memory; the C library has these names for its own functions ----
#define FAILING_MEMORY(name, real, parameters, arguments)                         \
    void* real parameters;                                                        \
    void* name parameters noexcept                                                \
    {                                                                             \
        return Faults::MustFail(Kind::Memory, ENOMEM) ? nullptr : real arguments; \
    }
FAILING_MEMORY(malloc, __libc_malloc, (std::size_t n), (n))
FAILING_MEMORY(calloc, __libc_calloc, (std::size_t n, std::size_t m), (n, m))
FAILING_MEMORY(realloc, __libc_realloc, (void* p, std::size_t n), (p, n))
FAILING_MEMORY(aligned_alloc, __libc_memalign, (std::size_t a, std::size_t n), (a, n))

// ---- system calls ----
#define FAILING(name, failed, error, parameters, arguments)                           \
    auto name parameters noexcept(noexcept(name arguments))->decltype(name arguments) \
    {                                                                                 \
        static const auto s_pfnNext = Faults::FindNext(&name, #name);                 \
        return Faults::MustFail(Kind::Calls, error) ? failed : s_pfnNext arguments;   \
    }
FAILING(epoll_create1, -1, EMFILE, (int nFlags), (nFlags))
FAILING(eventfd, -1, EMFILE, (unsigned int nCount, int nFlags), (nCount, nFlags))
FAILING(timerfd_create, -1, EMFILE, (clockid_t nClock, int nFlags), (nClock, nFlags))
FAILING(inotify_init1, -1, EMFILE, (int nFlags), (nFlags))
FAILING(inotify_add_watch, -1, ENOSPC, (int n, const char* psz, std::uint32_t nMask), (n, psz, nMask))
FAILING(socket, -1, EMFILE, (int nDomain, int nType, int nProtocol), (nDomain, nType, nProtocol))
FAILING(connect, -1, EADDRNOTAVAIL, (int n, const sockaddr* p, socklen_t nLength), (n, p, nLength))
FAILING(getsockname, -1, ENOBUFS, (int n, sockaddr* p, socklen_t* pLength), (n, p, pLength))
FAILING(setsockopt, -1, ENOPROTOOPT, (int n, int nLevel, int nOption, const void* p, socklen_t nLength),
        (n, nLevel, nOption, p, nLength))
FAILING(sendmsg, -1, ENOBUFS, (int n, const msghdr* p, int nFlags), (n, p, nFlags))
FAILING(recv, -1, ENOTCONN, (int n, void* p, std::size_t nSize, int nFlags), (n, p, nSize, nFlags))
FAILING(poll, -1, ENOMEM, (pollfd * p, nfds_t nCount, int nTime), (p, nCount, nTime))
FAILING(stat, -1, ENOENT, (const char* psz, struct stat* p), (psz, p))
FAILING(fstat, -1, EIO, (int n, struct stat* p), (n, p))
FAILING(fopen, nullptr, EMFILE, (const char* psz, const char* pszMode), (psz, pszMode))
FAILING(fwrite, 0, ENOSPC, (const void* p, std::size_t n, std::size_t m, std::FILE* pFile), (p, n, m, pFile))
FAILING(fflush, EOF, ENOSPC, (std::FILE * pFile), (pFile))

// Only what needs memory of the system can fail.
int epoll_ctl(int n, int nOrder, int nOther, epoll_event* p) noexcept
{
    static const auto s_pfnNext = Faults::FindNext(&epoll_ctl, "epoll_ctl");
    if (nOrder == EPOLL_CTL_ADD && Faults::MustFail(Kind::Calls, ENOMEM))
        return -1;
    return s_pfnNext(n, nOrder, nOther, p);
}

int pthread_create(pthread_t* pThread, const pthread_attr_t* pHow, void* (*pfnBody)(void*),
                   void* pArg) noexcept
{
    static const auto s_pfnNext = Faults::FindNext(&pthread_create, "pthread_create");
    if (Faults::t_nInside == 0)
        return s_pfnNext(pThread, pHow, pfnBody, pArg);
    if (Faults::MustFail(Kind::Calls, EAGAIN))
        return EAGAIN;
    auto* const pBody = static_cast<Faults::Body*>(__libc_malloc(sizeof(Faults::Body)));
    *pBody = {pfnBody, pArg};
    return s_pfnNext(pThread, pHow, &Faults::RunInside, pBody);
}

ssize_t readlink(const char* psz, char* pszTarget, std::size_t nSize) noexcept
{
    static const auto s_pfnNext = Faults::FindNext(&readlink, "readlink");
    if (Faults::t_nInside == 0)
        return s_pfnNext(psz, pszTarget, nSize);
    if (Faults::MustFail(Kind::Calls, EACCES))
        return -1;
    return std::snprintf(pszTarget, nSize, "%s/program", Faults::g_pszDirectory);
}

}  // extern "C"
#pragma GCC visibility pop
