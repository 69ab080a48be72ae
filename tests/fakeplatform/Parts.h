// What the parts of the fake platform share. Not for tests.
#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "platform/Kernova.h"
#include "platform/common/LastError.h"
#include "tests/fakeplatform/Fake.h"

namespace Fake {

// Counts a call and answers whether it has to fail; the code is then the thread's last error.
bool MustFail(Op op);
void Violation(const std::string& strText);

// Waits that have begun look again so often, so that a change of the clock reaches them.
inline constexpr std::chrono::milliseconds kLookAgain{10};

// A caller prepares for its wait only after it has sent. Threads that have sent something are "between",
// until they wait; an answer that arrives in between is held back, so that no test meets that race
// unless it orders it (SendReturnsLate).
void ThisThreadHasSent();
void ThisThreadWaits();
void WaitUntilNobodyIsBetween();

// The block has been sent: its stream may only be destroyed.
void NoteSent(const Kernova::MemoryPool::_XMemory* pMemory);

// Counters behind Alive().
struct AtomicCounts {
    std::atomic<int> nPools{0}, nConnectors{0}, nLinks{0}, nStreams{0}, nStopEvents{0}, nChanges{0},
        nLibraryHolds{0};
};
AtomicCounts& Counters();

}  // namespace Fake
