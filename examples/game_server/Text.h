// Texts in and out of the connector's fixed fields.
#pragma once

#include <cstdio>
#include <cstring>
#include <string>

// Copies a text into a field of a record, cut to the field's width as the library cuts its own texts.
template <std::size_t N>
void Put(char (&szField)[N], const std::string& str)
{
    std::snprintf(szField, N, "%s", str.c_str());
}

// Whether an error text says that no answer came in time. That is not a refusal: the service may have done
// what it was asked. The places that call this function say what the game does then.
inline bool IsTimeout(const char* pszError)
{
    return std::strstr(pszError, "because of timeout.") != nullptr;
}
