// What a program takes from the heap.
#pragma once

#include <atomic>
#include <cstddef>

// Of the calling thread.
extern thread_local std::size_t t_nTotal;    // bytes asked for, freed since or not
extern thread_local std::size_t t_nLargest;  // the largest single request

// Of all threads, by the sizes that the heap has given.
extern std::atomic<std::size_t> g_nLive;  // bytes that have not been freed
extern std::atomic<std::size_t> g_nPeak;  // the most of them since it was last set
