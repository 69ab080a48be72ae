// How a record is kept in a list: without its runs of zero bytes. A packed record is a row of pieces: two
// bytes with the length of what follows as it is, two bytes with the number of zeros behind it.
#pragma once

#include <cstddef>
#include <cstring>

namespace Packed {

inline constexpr std::size_t kShortestRun = 8;  // a shorter run of zeros is not worth a piece
inline constexpr std::size_t kNumbers = 4;      // bytes of the two numbers of a piece
inline constexpr std::size_t kLongestPiece = 0xFFFF;

// No packed record is longer: a piece but the last one stands for a run of zeros at least.
constexpr std::size_t LongestPacked(std::size_t nSize)
{
    return nSize + kNumbers * (nSize / kShortestRun + 2);
}

inline unsigned char* PutNumber(unsigned char* pOut, std::size_t n)
{
    pOut[0] = static_cast<unsigned char>(n & 0xFF);
    pOut[1] = static_cast<unsigned char>(n >> 8);
    return pOut + 2;
}
inline std::size_t GetNumber(const unsigned char* p) { return p[0] | static_cast<std::size_t>(p[1]) << 8; }

// Packs one record out of its fields, which are put in the order of their places in the record. What is not
// put is zero. A field at a place where something has been put already is ignored.
class RecordWriter {
public:
    static constexpr std::size_t kMostBytes = 4u << 10;  // of a packed record
    static constexpr std::size_t kPadding = 16;  // bytes that must be readable behind those of a field

    void Begin()
    {
        m_pPiece = m_bytes;
        m_pOut = m_bytes + kNumbers;
        m_nPlace = 0;
    }
    // Puts nCount bytes at the place nPlace, counted from the beginning of the record.
    void Put(std::size_t nPlace, const void* pBytes, std::size_t nCount)
    {
        if (nPlace < m_nPlace || nCount == 0)
            return;
        const std::size_t nZeros = nPlace - m_nPlace;
        if (nZeros >= kShortestRun) {
            EndPiece(nZeros);
        } else {
            std::memset(m_pOut, 0, kShortestRun);
            m_pOut += nZeros;
        }
        // Whole blocks of a fixed size, which are quicker to copy than what is wanted of them.
        unsigned char* const pTo = m_pOut;
        const auto* const pFrom = static_cast<const unsigned char*>(pBytes);
        std::memcpy(pTo, pFrom, kPadding);
        for (std::size_t n = kPadding; n < nCount; n += kPadding)
            std::memcpy(pTo + n, pFrom + n, kPadding);
        m_pOut = pTo + nCount;
        m_nPlace = nPlace + nCount;
    }
    // Ends the record, which has nSize bytes unpacked. GetBytes and GetCount are the packed record.
    void End(std::size_t nSize)
    {
        EndPiece(nSize - m_nPlace);
        m_pOut -= kNumbers;
    }
    const unsigned char* GetBytes() const { return m_bytes; }
    std::size_t GetCount() const { return static_cast<std::size_t>(m_pOut - m_bytes); }

private:
    void EndPiece(std::size_t nZeros)
    {
        PutNumber(PutNumber(m_pPiece, static_cast<std::size_t>(m_pOut - m_pPiece) - kNumbers), nZeros);
        m_pPiece = m_pOut;
        m_pOut += kNumbers;
    }

    unsigned char* m_pPiece = m_bytes;  // the piece that is being written
    unsigned char* m_pOut = m_bytes;
    std::size_t m_nPlace = 0;  // the place in the record behind all that has been put
    unsigned char m_bytes[kMostBytes + kPadding];
};

}  // namespace Packed
