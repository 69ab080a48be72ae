// Reading a stream in pieces: the bytes at the front are copied into a window, where small fields are read
// without a call for each of them.
#pragma once

#include <cstddef>

#include "wirova/BigEndian.h"
#include "wirova/WirovaBase.h"

namespace Wirova {

// One thread, and nobody else touches the stream meanwhile. The stream keeps all bytes that are in the window
// until Close or until the window moves on.
class StreamWindow {
public:
    static constexpr std::size_t kMostTaken = 4u << 10;  // bytes that can be taken in one piece
    static constexpr std::size_t kPadding = 16;          // readable bytes behind any piece, of no meaning

    // Nothing behind the first nLength bytes of the stream is ever read.
    StreamWindow(Stream* stream, int nLength) : m_stream(stream), m_nLeft(nLength < 0 ? 0 : nLength) {}
    StreamWindow(const StreamWindow&) = delete;
    StreamWindow& operator=(const StreamWindow&) = delete;

    // The next nCount bytes, at most kMostTaken, valid until the next call. Null, and nothing is taken, if so
    // many are not there.
    const unsigned char* Take(std::size_t nCount)
    {
        if (m_nEnd - m_nAt < nCount && !MoveOn(nCount))
            return nullptr;
        const unsigned char* const p = m_bytes + m_nAt;
        m_nAt += nCount;
        return p;
    }
    // Leaves out so many bytes. False if they are not there.
    bool Skip(std::size_t nCount);
    // False if there are not as many bytes as the integer has.
    template <class T>
    bool TakeInteger(T& n)
    {
        const unsigned char* const p = Take(sizeof(T));
        if (p == nullptr)
            return false;
        n = GetBigEndian<T>(*reinterpret_cast<const unsigned char(*)[sizeof(T)]>(p));
        return true;
    }
    // How many bytes can still be taken.
    std::size_t GetLeft() const { return m_nLeft + m_nEnd - m_nAt; }
    // Takes off the stream what has been taken here. False if the stream does not give it up.
    bool Close();

private:
    bool MoveOn(std::size_t nCount);

    static constexpr std::size_t kWindow = 16u << 10;

    Stream* const m_stream;
    std::size_t m_nLeft;     // bytes of the stream behind the window
    std::size_t m_nAt = 0;   // the window's first byte that has not been taken
    std::size_t m_nEnd = 0;  // end of the window's bytes
    unsigned char m_bytes[kWindow + kPadding];
};

}  // namespace Wirova
