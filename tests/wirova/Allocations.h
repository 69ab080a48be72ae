// What a program takes from the heap.
#pragma once

#include <atomic>
#include <cstddef>

// Of all threads, by the sizes that the heap has given.
extern std::atomic<std::size_t> g_nLive;  // bytes that have not been freed
extern std::atomic<std::size_t> g_nPeak;  // the most of them since it was last set
