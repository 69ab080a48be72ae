// The end of a measurement that cannot go on.
#pragma once

#include <cstdio>
#include <cstdlib>

namespace Bench {

[[noreturn]] inline void Fail(const char* pszWhat)
{
    std::fprintf(stderr, "%s\n", pszWhat);
    std::_Exit(1);
}

}  // namespace Bench
