// What the parts of the fake platform share. Not for tests.
#pragma once

#include <condition_variable>
#include <string>
#include <thread>

#include "platform/Kernova.h"
#include "platform/common/LastError.h"
#include "tests/fakeplatform/Fake.h"
#include "tests/support/Guarded.h"

namespace Fake {

// Counts a call and answers whether it has to fail; the code is then the thread's last error.
bool MustFail(Op op);
void Violation(const std::string& strText);

// Waits that have begun look again so often, so that a change of the clock reaches them.
inline constexpr std::chrono::milliseconds kLookAgain{10};
// Where steps follow one another at once.
inline constexpr std::chrono::microseconds kLookAgainSoon{300};

// The library's clock, from any beginning.
std::chrono::nanoseconds Now();

// The block has been sent: its stream may only be destroyed.
void NoteSent(const Kernova::MemoryPool::_XMemory* pMemory);

// Counts objects that the library holds, for Alive().
void Count(const char* pszObjects, int nChange);

// Never destroyed: threads of the library may run while the process exits.
template <class T>
Support::Guarded<T>& Immortal()
{
    static auto* const s_p = new Support::Guarded<T>;
    return *s_p;
}

}  // namespace Fake
