// Byte strings of one size, kept without their runs of zeros.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

// One thread at a time. Both ways to add throw std::bad_alloc and then have added nothing.
class CPackedBytes {
public:
    void Add(const void* pBytes, std::size_t nSize);
    // Adds a string that has been packed already.
    void AddPacked(const void* pPacked, std::size_t nPacked);
    // Makes place for so many strings altogether, not for their bytes.
    void Reserve(std::size_t nCount) { m_vecPlaces.reserve(nCount); }
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
    void MakePlace();
    Block& MakeRoom(std::size_t nPacked);
    void Take(Block& block, std::size_t nPacked);

    std::vector<Place> m_vecPlaces;
    // Each is twice as long as the one before, up to a limit: a list of one row is small, and a growing list
    // never copies what it holds.
    std::vector<Block> m_vecBlocks;
};
