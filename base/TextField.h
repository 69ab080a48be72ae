// Fixed text fields, such as char[23] for a user's id, of the public records and of the send records. A
// field's width counts the NUL that ends its text.
#pragma once

#include <cstddef>
#include <cstring>
#include <string_view>

// Copies at most N - 1 bytes of the text, cutting a longer text silently, and fills the rest of the field
// with NULs. The cut counts bytes: a character of several bytes may lose its end.
template <std::size_t N>
void CopyText(char (&szField)[N], std::string_view text)
{
    const std::size_t nLength = text.size() < N - 1 ? text.size() : N - 1;
    std::memcpy(szField, text.data(), nLength);
    std::memset(szField + nLength, 0, N - nLength);
}

// The text of a field that the game has filled: up to its first NUL, or all N bytes if the game has written
// no NUL. Nothing behind the field is ever read.
template <std::size_t N>
std::string_view FieldText(const char (&szField)[N])
{
    const void* const pEnd = std::memchr(szField, '\0', N);
    return {szField,
            pEnd == nullptr ? N : static_cast<std::size_t>(static_cast<const char*>(pEnd) - szField)};
}
