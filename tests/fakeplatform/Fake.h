// The platform of the tests, linked in place of the real one. It is the real one wherever a test needs
// nothing else: locks, events, threads, the pool, streams, connectors and links are compiled from
// platform/common/, with the following in front of them or in their place.
//
//   Waits       and sleeps run by a clock of their own: Fake::SetSecond says how long one second of the
//               library takes; it counts for waits that have begun, too.
//   Failures    come on order:
//                   Fake::Fail(Op::LinkSend);                  the next Send fails
//                   Fake::Fail(Op::StreamWrite, 1, 5);         the sixth write from now fails
//                   Fake::Fail(Op::OpenFile, Fake::kAlways);   all fail
//               Platova::GetLastError gives kOrderedCode. Work of the test itself (Support::Outside) is
//               passed over.
//   Network     in memory instead of on sockets: fakeplatform/MemoryTransport.h.
//   Log         in memory: fakeplatform/FakeLog.h.
//   Host        fakeplatform/FakeHost.h: executable directory, local time, error box, change notification.
//   Violations  of the contracts by the library are noted, not punished: Fake::Violations() must be
//               empty at the end of a test.
//
// Fake::Reset() at the start of each test puts all of it back. See fakeplatform/LogicTest.h for the
// fixture that does this.
#pragma once

#include <chrono>
#include <limits>
#include <map>
#include <string>
#include <vector>

namespace Fake {

// clang-format off
enum class Op {
    PoolCreate, ThreadStart,
    ConnectorCreate, SetOnConnected, SetOnDisconnected, SetOnTimeout, SetOnReceived,
    LockActiveLinks, GetLink, LinkSend, LockReadStream,
    StreamCreate, StreamWrite, StreamRemoveLeft,
    LogInitialize,
    LastWriteTime, OpenFile, CreateStopEvent, FindFirstChange, FindNextChange, WaitForChange
};
// clang-format on

inline constexpr int kAlways = std::numeric_limits<int>::max();
inline constexpr unsigned int kOrderedCode = 4711;
inline constexpr unsigned int kRefusedCode = 10061;

// After nAfter further calls that work, the next nTimes calls of that operation fail. Replaces an earlier
// order for the same operation.
void Fail(Op op, int nTimes = 1, int nAfter = 0);
// How often the library has called the operation since Reset, failures included.
int Calls(Op op);

// How long one second of the library's waits takes. 200 ms unless set: a limit of 5000 ms is then one
// second, which a loaded machine does not miss.
void SetSecond(std::chrono::milliseconds real);

// Stops the library's clock until the next SetSecond: from now on a wait of at most that length ends at
// once, and a longer one only by what it waits for. So a play says when what runs out: a wait for an answer
// takes 5000 milliseconds, cycles take what the settings say, and what must not run out is longer.
void EndWaits(std::chrono::milliseconds longest);

// The next write to a link breaks the link off: so many of its bytes arrive.
void BreakWriting(std::size_t nArrive);

// Objects of the platform that the library holds now, and references to links: how many of each kind that
// there are any of. Empty when the library is stopped.
using Counts = std::map<std::string, int>;
Counts Alive();
std::string Describe(const Counts& counts);

// While held, no callback starts on the threads of any pool; what runs goes on.
void HoldPools(bool bHold);

// Breaches of the platform's contracts by the library, in words.
std::vector<std::string> Violations();

// Everything above, the log and the host's orders as in a new process. The library must be stopped.
void Reset();

}  // namespace Fake
