// The buffer in which an export leaves the text of a failure.
#pragma once

#include <cstddef>
#include <cstring>
#include <string_view>

// A null buffer, or one without room, takes nothing. The text is cut to nSize - 1 bytes and ends in a NUL;
// the buffer's last byte becomes a NUL in any case.
struct CallerText {
    char* pszText;
    std::size_t nSize;

    void Put(std::string_view text) const
    {
        if (pszText == nullptr || nSize == 0)
            return;
        const std::size_t nLength = text.size() < nSize ? text.size() : nSize - 1;
        std::memcpy(pszText, text.data(), nLength);
        pszText[nLength] = '\0';
        pszText[nSize - 1] = '\0';
    }
    bool Refuse(std::string_view text) const
    {
        Put(text);
        return false;
    }
};
