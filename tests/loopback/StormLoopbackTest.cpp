// The storm on real sockets, whose callers wait for five real seconds.
#include "tests/support/LoopbackTest.h"
#include "tests/support/Storm.h"

namespace {

using StormLoopbackTest = Storm<LoopbackTest>;

TEST_F(StormLoopbackTest, WhoIsInIsInEverywhereAndNobodyElse)
{
    Blow(std::chrono::milliseconds(4000), std::chrono::milliseconds(200), [](bool) {});
}

}  // namespace
