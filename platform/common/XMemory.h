// The bytes of a stream, and what a link takes over when it sends them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "platform/Kernova.h"

// Belongs to one thread at a time, as the stream around it does. A long stream is a row of blocks: it grows
// without copying what it holds, and gives the blocks back one by one as they are taken.
struct Kernova::MemoryPool::_XMemory {
    std::size_t GetLength() const { return m_nLength; }
    // Adds bytes at the back. Throws std::bad_alloc, and then nothing has changed.
    void Append(const char* pBytes, std::size_t nCount);
    // Copies nCount bytes of the front, which are there.
    void CopyFront(char* pTo, std::size_t nCount) const;
    // Takes nCount bytes off the front, which are there.
    void DropFront(std::size_t nCount);
    // Copies nCount bytes of the front, which are there, and takes them off.
    void TakeFront(char* pTo, std::size_t nCount)
    {
        if (!m_vecOlder.empty() || nCount >= m_nLength) {
            CopyFront(pTo, nCount);
            DropFront(nCount);
            return;
        }
        const char* const pFront = m_vecBytes.data() + m_nFront;
        if (nCount == sizeof(std::int32_t))  // most fields of a message
            std::memcpy(pTo, pFront, sizeof(std::int32_t));
        else
            std::memcpy(pTo, pFront, nCount);
        m_nFront += nCount;
        m_nLength -= nCount;
    }
    // All bytes in one block, which the caller may take. Throws std::bad_alloc, and then nothing has changed.
    std::vector<char>& Join();
    // Exchanges the bytes of an empty stream with those.
    void SwapEmpty(std::vector<char>& vecBytes);

private:
    void DropOldest();

    std::vector<char> m_vecBytes;               // the newest block
    std::vector<std::vector<char>> m_vecOlder;  // the blocks before it, the oldest first
    std::size_t m_nOldest = 0;                  // the first of them that has not been given back
    std::size_t m_nFront = 0;                   // so many bytes of the oldest block have been taken
    std::size_t m_nLength = 0;                  // of all blocks, without those bytes
};
