// What the calling thread has taken from the heap.
#pragma once

#include <cstddef>

extern thread_local std::size_t t_nTotal;    // bytes asked for, freed since or not
extern thread_local std::size_t t_nLargest;  // the largest single request
