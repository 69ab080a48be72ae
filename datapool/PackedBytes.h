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
    // Blocks of one size: a growing list never copies what it holds, nor needs much more than that.
    static constexpr std::size_t kBlockSize = 64u << 10;
    struct Place {
        std::uint32_t nBlock;
        std::uint32_t nOffset;
    };
    std::vector<Place> m_vecPlaces;
    std::vector<std::unique_ptr<unsigned char[]>> m_vecBlocks;
    std::size_t m_nUsed = kBlockSize;        // of the last block
    std::vector<unsigned char> m_vecPacked;  // of the record being added
};
