// Streams and bytes for the tests of the wire.
#pragma once

#include <cctype>
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
    // The contents, which stay.
    std::string Bytes() const
    {
        const int nSize = Strova::GetLength(m_stream);
        std::string bytes(static_cast<std::size_t>(nSize), '\0');
        if (nSize > 0 && Strova::Peek(m_stream, bytes.data(), nSize) != nSize)
            throw std::runtime_error("the stream gives no bytes");
        return bytes;
    }

private:
    Wirova::Stream* m_stream;
};

inline std::string Saved(const Wirova::IMessage& msg)
{
    const ByteStream stream;
    return msg.Save(stream) ? stream.Bytes() : "not saved";
}

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
