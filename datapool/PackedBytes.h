// Byte strings of one size, kept without their runs of zeros.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

// One thread at a time. Add throws std::bad_alloc and then has added nothing.
class CPackedBytes {
public:
    void Add(const void* pBytes, std::size_t nSize);
    // Writes all nSize bytes; false at or past the end, and then nothing.
    bool Get(std::size_t nIndex, void* pOut, std::size_t nSize) const;
    std::size_t GetCount() const { return m_vecPlaces.size(); }

private:
    struct Block {
        std::unique_ptr<unsigned char[]> pBytes;
        std::uint32_t nSize;
        std::uint32_t nUsed;
    };
    struct Place {
        std::uint32_t nBlock;
        std::uint32_t nOffset;
    };
    Block& MakeRoom(std::size_t nPacked);

    std::vector<Place> m_vecPlaces;
    // Each is twice as long as the one before, up to a limit: a list of one row is small, and a growing list
    // never copies what it holds.
    std::vector<Block> m_vecBlocks;
};
