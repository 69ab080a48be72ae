#include "datapool/PackedBytes.h"

#include <cstring>
#include <stdexcept>

namespace {

// A packed string is a row of pieces: two bytes with the length of what follows as it is, two bytes with the
// number of zeros behind it. A run shorter than this is not worth a piece.
constexpr std::size_t kShortestRun = 8;
constexpr std::size_t kLongestPiece = 0xFFFF;

std::size_t EndOfZeros(const unsigned char* p, std::size_t n, std::size_t nSize)
{
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

void PutNumber(std::vector<unsigned char>& vec, std::size_t n)
{
    vec.push_back(static_cast<unsigned char>(n & 0xFF));
    vec.push_back(static_cast<unsigned char>(n >> 8));
}

std::size_t GetNumber(const unsigned char* p) { return p[0] | static_cast<std::size_t>(p[1]) << 8; }

}  // namespace

void CPackedBytes::Add(const void* pBytes, std::size_t nSize)
{
    if (nSize > kLongestPiece / 2)
        throw std::length_error("a record of the data pool is too long");
    const auto* const p = static_cast<const unsigned char*>(pBytes);
    m_vecPacked.clear();
    for (std::size_t n = 0; n < nSize;) {
        const std::size_t nZeros = EndOfLiteral(p, n, nSize);
        const std::size_t nEnd = EndOfZeros(p, nZeros, nSize);
        PutNumber(m_vecPacked, nZeros - n);
        PutNumber(m_vecPacked, nEnd - nZeros);
        m_vecPacked.insert(m_vecPacked.end(), p + n, p + nZeros);
        n = nEnd;
    }
    m_vecPlaces.reserve(m_vecPlaces.size() + 1 > m_vecPlaces.capacity() ? m_vecPlaces.size() * 3 / 2 + 16
                                                                        : m_vecPlaces.size() + 1);
    if (m_nUsed + m_vecPacked.size() > kBlockSize) {
        m_vecBlocks.push_back(std::make_unique<unsigned char[]>(kBlockSize));
        m_nUsed = 0;
    }
    std::memcpy(m_vecBlocks.back().get() + m_nUsed, m_vecPacked.data(), m_vecPacked.size());
    m_vecPlaces.push_back(
        {static_cast<std::uint32_t>(m_vecBlocks.size() - 1), static_cast<std::uint32_t>(m_nUsed)});
    m_nUsed += m_vecPacked.size();
}

bool CPackedBytes::Get(std::size_t nIndex, void* pOut, std::size_t nSize) const
{
    if (nIndex >= m_vecPlaces.size())
        return false;
    const unsigned char* p = m_vecBlocks[m_vecPlaces[nIndex].nBlock].get() + m_vecPlaces[nIndex].nOffset;
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
