// The wire's byte order, and the only place that knows it. Shifts: right on any machine.
#pragma once

#include <cstddef>
#include <type_traits>

namespace Wirova {

template <class T>
void PutBigEndian(T value, unsigned char (&bytes)[sizeof(T)])
{
    auto u = static_cast<std::make_unsigned_t<T>>(value);
    for (std::size_t i = sizeof(T); i-- > 0; u >>= 8)
        bytes[i] = static_cast<unsigned char>(u & 0xFF);
}

template <class T>
T GetBigEndian(const unsigned char (&bytes)[sizeof(T)])
{
    std::make_unsigned_t<T> u = 0;
    for (const unsigned char c : bytes)
        u = static_cast<std::make_unsigned_t<T>>((u << 8) | c);
    return static_cast<T>(u);
}

}  // namespace Wirova
