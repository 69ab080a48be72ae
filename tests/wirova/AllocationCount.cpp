#include "tests/wirova/AllocationCount.h"

#include <algorithm>
#include <cstdlib>
#include <new>

namespace {

thread_local bool t_bCounting = false;
thread_local std::size_t t_nTotal = 0;
thread_local std::size_t t_nLargest = 0;

void* Allocate(std::size_t n) noexcept
{
    if (t_bCounting) {
        t_nTotal += n;
        t_nLargest = std::max(t_nLargest, n);
    }
    return std::malloc(std::max<std::size_t>(n, 1));
}

void* AllocateOrThrow(std::size_t n)
{
    if (void* const p = Allocate(n))
        return p;
    throw std::bad_alloc();
}

}  // namespace

// All plain forms of this program go through malloc, so that no pair of them is mixed.
void* operator new(std::size_t n) { return AllocateOrThrow(n); }
void* operator new[](std::size_t n) { return AllocateOrThrow(n); }
void* operator new(std::size_t n, const std::nothrow_t&) noexcept { return Allocate(n); }
void* operator new[](std::size_t n, const std::nothrow_t&) noexcept { return Allocate(n); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t) noexcept { std::free(p); }
void operator delete(void* p, const std::nothrow_t&) noexcept { std::free(p); }
void operator delete[](void* p, const std::nothrow_t&) noexcept { std::free(p); }

AllocationCount::AllocationCount()
{
    t_nTotal = t_nLargest = 0;
    t_bCounting = true;
}

AllocationCount::~AllocationCount() { t_bCounting = false; }

std::size_t AllocationCount::Total() const { return t_nTotal; }

std::size_t AllocationCount::Largest() const { return t_nLargest; }
