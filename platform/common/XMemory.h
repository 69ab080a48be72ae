// The bytes of a stream, and what a link takes over when it sends them.
#pragma once

#include <cstddef>
#include <vector>

#include "platform/Kernova.h"

// Belongs to one thread at a time, as the stream around it does.
struct Kernova::MemoryPool::_XMemory {
    std::vector<char> m_vecBytes;
    std::size_t m_nFront = 0;  // so many bytes at the front have been taken already

    std::size_t GetLength() const { return m_vecBytes.size() - m_nFront; }
    const char* GetFront() const { return m_vecBytes.data() + m_nFront; }
};
