// The byte order of the wire: big-endian, the most significant byte first. No other file knows it. The bytes
// are made and read by shifts, which give the same result on every processor and need no alignment.
#pragma once

#include <cstddef>
#include <type_traits>

namespace Wirova {

// Writes the integer, signed or not, as sizeof(T) bytes.
template <class T>
void PutBigEndian(T value, unsigned char (&bytes)[sizeof(T)])
{
    auto u = static_cast<std::make_unsigned_t<T>>(value);
    for (std::size_t i = sizeof(T); i-- > 0; u >>= 8)
        bytes[i] = static_cast<unsigned char>(u & 0xFF);
}

// The integer that PutBigEndian has written.
template <class T>
T GetBigEndian(const unsigned char (&bytes)[sizeof(T)])
{
    std::make_unsigned_t<T> u = 0;
    for (const unsigned char c : bytes)
        u = static_cast<std::make_unsigned_t<T>>((u << 8) | c);
    return static_cast<T>(u);
}

}  // namespace Wirova
