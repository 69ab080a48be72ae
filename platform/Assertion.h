// Programming faults inside the library. A debugging build says so on standard error; any other build
// says nothing. Neither stops the host: the operation just returns what it is documented to return.
#pragma once

#include <cstdio>

inline void RaiseAssertion([[maybe_unused]] const char* pszText)
{
#ifndef NDEBUG
    std::fprintf(stderr, "Assertion: %s\n", pszText);
#endif
}
