// Texts in and out of the connector's fixed fields.
#pragma once

#include <cstdio>
#include <cstring>
#include <string>

// Cut to fit, like everything that the library writes itself.
template <std::size_t N>
void Put(char (&szField)[N], const std::string& str)
{
    std::snprintf(szField, N, "%s", str.c_str());
}

// No answer is not a "no": the service may have done what we asked. Each call says what to do about it.
inline bool IsTimeout(const char* pszError)
{
    return std::strstr(pszError, "because of timeout.") != nullptr;
}
