// Counts what the calling thread takes from the heap while a counter lives.
#pragma once

#include <cstddef>

class AllocationCount {
public:
    AllocationCount();
    ~AllocationCount();
    AllocationCount(const AllocationCount&) = delete;
    AllocationCount& operator=(const AllocationCount&) = delete;

    std::size_t Total() const;    // bytes asked for, freed since or not
    std::size_t Largest() const;  // the largest single request
};
