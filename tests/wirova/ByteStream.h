// Streams and bytes for the tests of the wire.
#pragma once

#include <cctype>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <string_view>

#include "wirova/WirovaBase.h"

// A stream that ends with its scope.
class ByteStream {
public:
    explicit ByteStream(std::string_view bytes = {}) : m_stream(Strova::CreateHandle()) { Append(bytes); }
    ~ByteStream() { Strova::DestroyHandle(m_stream); }
    ByteStream(const ByteStream&) = delete;
    ByteStream& operator=(const ByteStream&) = delete;
    operator Wirova::Stream*() const { return m_stream; }

    void Append(std::string_view bytes)
    {
        const int nSize = static_cast<int>(bytes.size());
        if (nSize > 0 && Strova::Write(m_stream, bytes.data(), nSize) != nSize)
            throw std::runtime_error("the stream takes no bytes");
    }
    int Length() const { return Strova::GetLength(m_stream); }
    // The contents, which stay.
    std::string Bytes() const
    {
        std::string bytes(static_cast<std::size_t>(Length()), '\0');
        if (!bytes.empty() && Strova::Peek(m_stream, bytes.data(), Length()) != Length())
            throw std::runtime_error("the stream gives no bytes");
        return bytes;
    }

private:
    Wirova::Stream* m_stream;
};

// The bytes of a text like "0000001F 00000003 'abc'": hexadecimal pairs and texts in single quotes.
inline std::string Wire(std::string_view text)
{
    std::string bytes;
    for (std::size_t i = 0; i < text.size();) {
        if (text[i] == '\'') {
            const std::size_t nEnd = text.find('\'', i + 1);
            bytes += text.substr(i + 1, nEnd - i - 1);
            i = nEnd + 1;
        } else if (std::isxdigit(static_cast<unsigned char>(text[i]))) {
            bytes += static_cast<char>(std::stoi(std::string(text.substr(i, 2)), nullptr, 16));
            i += 2;
        } else {
            ++i;
        }
    }
    return bytes;
}

// Bytes as pairs, so that a failed comparison can be read.
inline std::string Hex(std::string_view bytes)
{
    std::string text;
    for (const char c : bytes) {
        constexpr char szDigits[] = "0123456789ABCDEF";
        const auto u = static_cast<unsigned char>(c);
        text += {szDigits[u >> 4], szDigits[u & 15], ' '};
    }
    return text;
}
