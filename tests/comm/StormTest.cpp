// The storm on the in-memory platform, with a hundred seconds of the library in one.
#include "tests/support/Storm.h"

#include "tests/fakeplatform/LogicTest.h"

namespace {

using StormTest = Storm<LogicTest>;

TEST_F(StormTest, WhoIsInIsInEverywhereAndNobodyElse)
{
    Blow(std::chrono::milliseconds(1500), std::chrono::milliseconds(20), [](bool bCalm) {
        SetSecond(std::chrono::milliseconds(bCalm ? 50 : 10));
        Journal::Clear();
    });
}

}  // namespace
