// The buffer of the caller in which InitModule and the data calls leave the text of a failure.
#pragma once

#include <cstddef>
#include <cstring>
#include <string_view>

// Lives for the length of one export; the buffer is the caller's. A null buffer and a buffer of size 0 are
// left alone. The text is cut to nSize - 1 bytes and ends in a NUL; the buffer's last byte becomes a NUL in
// any case.
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
    // Leaves the text and returns false, the result of an export that has failed.
    bool Refuse(std::string_view text) const
    {
        Put(text);
        return false;
    }
};
