// The heap of test_wirova. It is compiled apart from the other sources: a compiler that sees these operators
// together with their callers takes new and free for a mismatch.
#include "tests/wirova/Allocations.h"

#include <algorithm>
#include <cstdlib>
#include <new>

thread_local std::size_t t_nTotal = 0;
thread_local std::size_t t_nLargest = 0;

void* operator new(std::size_t n, const std::nothrow_t&) noexcept
{
    t_nTotal += n;
    t_nLargest = std::max(t_nLargest, n);
    return std::malloc(std::max<std::size_t>(n, 1));
}
void* operator new(std::size_t n)
{
    if (void* const p = ::operator new(n, std::nothrow))
        return p;
    throw std::bad_alloc();
}
// All forms that containers use go through malloc, so that no pair of them is mixed.
void operator delete(void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
