#include "datapool/PackedBytes.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "datapool/PackedRecord.h"

using namespace Packed;

namespace {

std::size_t EndOfZeros(const unsigned char* p, std::size_t n, std::size_t nSize)
{
    for (std::uint64_t nEight = 0; n + sizeof(nEight) <= nSize; n += sizeof(nEight)) {
        std::memcpy(&nEight, p + n, sizeof(nEight));
        if (nEight != 0)
            break;
    }
    while (n < nSize && p[n] == 0)
        ++n;
    return n;
}

// Where the next run of zeros worth a piece begins, or the end.
std::size_t EndOfLiteral(const unsigned char* p, std::size_t n, std::size_t nSize)
{
    while (n < nSize) {
        const void* const pZero = std::memchr(p + n, 0, nSize - n);
        if (pZero == nullptr)
            return nSize;
        n = static_cast<std::size_t>(static_cast<const unsigned char*>(pZero) - p);
        const std::size_t nEnd = EndOfZeros(p, n, nSize);
        if (nEnd - n >= kShortestRun || nEnd == nSize)
            return n;
        n = nEnd;
    }
    return nSize;
}

// The length of the packed string, which is written only if there is a place for it.
std::size_t Pack(const unsigned char* p, std::size_t nSize, unsigned char* pOut)
{
    std::size_t nPacked = 0;
    for (std::size_t n = 0; n < nSize;) {
        const std::size_t nZeros = EndOfLiteral(p, n, nSize);
        const std::size_t nEnd = EndOfZeros(p, nZeros, nSize);
        if (pOut != nullptr) {
            pOut = PutNumber(PutNumber(pOut, nZeros - n), nEnd - nZeros);
            std::memcpy(pOut, p + n, nZeros - n);
            pOut += nZeros - n;
        }
        nPacked += kNumbers + nZeros - n;
        n = nEnd;
    }
    return nPacked;
}

constexpr std::size_t kShortBlock = 256;
constexpr std::size_t kLongBlock = 64u << 10;

}  // namespace

void CPackedBytes::Add(const void* pBytes, std::size_t nSize)
{
    if (nSize > kLongestPiece / 2)
        throw std::length_error("a record of the data pool is too long");
    const auto* const p = static_cast<const unsigned char*>(pBytes);
    MakePlace();
    const bool bFits =
        !m_vecBlocks.empty() && m_vecBlocks.back().nSize - m_vecBlocks.back().nUsed >= LongestPacked(nSize);
    Block& block = bFits ? m_vecBlocks.back() : MakeRoom(Pack(p, nSize, nullptr));
    Take(block, Pack(p, nSize, block.pBytes.get() + block.nUsed));
}

void CPackedBytes::AddPacked(const void* pPacked, std::size_t nPacked)
{
    MakePlace();
    Block& block = MakeRoom(nPacked);
    std::memcpy(block.pBytes.get() + block.nUsed, pPacked, nPacked);
    Take(block, nPacked);
}

void CPackedBytes::MakePlace()
{
    if (m_vecPlaces.size() == m_vecPlaces.capacity())
        m_vecPlaces.reserve(m_vecPlaces.size() * 3 / 2 + 4);
}

// The string has been written into the last block.
void CPackedBytes::Take(Block& block, std::size_t nPacked)
{
    m_vecPlaces.push_back({static_cast<std::uint32_t>(m_vecBlocks.size() - 1), block.nUsed});
    block.nUsed += static_cast<std::uint32_t>(nPacked);
}

// The last block, with that much room.
CPackedBytes::Block& CPackedBytes::MakeRoom(std::size_t nPacked)
{
    std::size_t nSize = nPacked;  // of the first block: most lists have one row
    if (!m_vecBlocks.empty()) {
        const Block& last = m_vecBlocks.back();
        if (last.nSize - last.nUsed >= nPacked)
            return m_vecBlocks.back();
        nSize = std::max(nPacked, std::clamp(std::size_t{last.nSize} * 2, kShortBlock, kLongBlock));
    }
    // Bytes that are never read before they are written need not be cleared.
    m_vecBlocks.push_back(
        {std::unique_ptr<unsigned char[]>(new unsigned char[nSize]), static_cast<std::uint32_t>(nSize), 0});
    return m_vecBlocks.back();
}

bool CPackedBytes::Get(std::size_t nIndex, void* pOut, std::size_t nSize) const
{
    if (nIndex >= m_vecPlaces.size())
        return false;
    const unsigned char* p =
        m_vecBlocks[m_vecPlaces[nIndex].nBlock].pBytes.get() + m_vecPlaces[nIndex].nOffset;
    auto* const pTo = static_cast<unsigned char*>(pOut);
    for (std::size_t n = 0; n < nSize;) {
        const std::size_t nLiteral = GetNumber(p), nZeros = GetNumber(p + 2);
        std::memcpy(pTo + n, p + 4, nLiteral);
        std::memset(pTo + n + nLiteral, 0, nZeros);
        p += 4 + nLiteral;
        n += nLiteral + nZeros;
    }
    return true;
}
