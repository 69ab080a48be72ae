// The fake's streams, for the parts that see inside. Not for tests.
#pragma once

#include <string>

#include "platform/Strova.h"

namespace Kernova::MemoryPool {
struct _XMemory {
    Strova::_THandle* pStream = nullptr;
};
}  // namespace Kernova::MemoryPool

namespace Strova {
struct _THandle {
    std::string strBytes;
    std::size_t nFront = 0;  // bytes before this have been taken
    Kernova::MemoryPool::_XMemory memory;
    bool bSent = false;  // may only be destroyed

    int Length() const { return static_cast<int>(strBytes.size() - nFront); }
    void Drop(int nSize)
    {
        nFront += static_cast<std::size_t>(nSize);
        if (nFront == strBytes.size()) {
            strBytes.clear();
            nFront = 0;
        }
    }
};
}  // namespace Strova
