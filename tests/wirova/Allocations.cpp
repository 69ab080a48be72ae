// The counted heap of a program. It is compiled apart from the other sources: a compiler that sees these
// operators together with their callers takes new and free for a mismatch.
#include "tests/wirova/Allocations.h"

#include <algorithm>
#include <cstdlib>
#include <new>

#include <malloc.h>

std::atomic<std::size_t> g_nLive{0}, g_nPeak{0};

static std::size_t SizeOf(void* p)
{
#ifdef __linux__
    return malloc_usable_size(p);
#else
    return _msize(p);
#endif
}

void* operator new(std::size_t n, const std::nothrow_t&) noexcept
{
    void* const p = std::malloc(std::max<std::size_t>(n, 1));
    if (p == nullptr)
        return nullptr;
    const std::size_t nLive = g_nLive += SizeOf(p);
    for (std::size_t nPeak = g_nPeak; nLive > nPeak && !g_nPeak.compare_exchange_weak(nPeak, nLive);) {
    }
    return p;
}
void* operator new(std::size_t n)
{
    if (void* const p = ::operator new(n, std::nothrow))
        return p;
    throw std::bad_alloc();
}
// All forms that containers use go through malloc, so that no pair of them is mixed.
void operator delete(void* p) noexcept
{
    if (p == nullptr)
        return;
    g_nLive -= SizeOf(p);
    std::free(p);
}
void operator delete(void* p, std::size_t) noexcept { operator delete(p); }
