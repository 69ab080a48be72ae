// Fixed text fields of the public records and of the send records.
#pragma once

#include <cstddef>
#include <cstring>
#include <string_view>

// Copies at most N - 1 bytes and fills the rest of the field with NULs.
template <std::size_t N>
void CopyText(char (&szField)[N], std::string_view text)
{
    const std::size_t nLength = text.size() < N - 1 ? text.size() : N - 1;
    std::memcpy(szField, text.data(), nLength);
    std::memset(szField + nLength, 0, N - nLength);
}

// What a field of the game holds: to its NUL, or to its end if it has none.
template <std::size_t N>
std::string_view FieldText(const char (&szField)[N])
{
    const void* const pEnd = std::memchr(szField, '\0', N);
    return {szField,
            pEnd == nullptr ? N : static_cast<std::size_t>(static_cast<const char*>(pEnd) - szField)};
}
