// Fixture of the tests of the library on the fake platform:
//
//     #include "tests/fakeplatform/LogicTest.h"
//     TEST_F(LogicTest, CheckinWithoutAnAnswerTimesOut) {
//         ASSERT_TRUE(Game().Start());
//         const auto res = Game().Checkin("abc");
//         EXPECT_STREQ(res.szError, "Failed to receive a 'XS2C_CheckInAns' msg because of timeout.");
//     }
//
// Verbs:
//   Service()   support/ServiceScript.h        Game()      support/GameServer.h
//   FailSend(), Fail(Op::StreamWrite), SetSecond, HoldPools,
//   Calls(Op::...)            fakeplatform/Fake.h
//   Journal::Logged(Journal::Level::Error, "part of the line"), Journal::WaitFor     fakeplatform/FakeLog.h
//   HostProcess::SetLocalTime, Boxes, NotifyChange                                   fakeplatform/FakeHost.h
//
// The settings' directory is a new and empty one. Waits run by the library's clock: a limit of 5000 ms
// takes a second unless SetSecond changes that. At the end of each test the library is stopped and
// everything that it held has to be given back.
#pragma once

#include <cstdio>

#include "tests/fakeplatform/Fake.h"
#include "tests/fakeplatform/FakeHost.h"
#include "tests/fakeplatform/FakeLog.h"
#include "tests/fakeplatform/MemoryTransport.h"
#include "tests/support/LibraryTest.h"

class LogicTest : public Support::LibraryTest<Fake::MemoryTransport> {
protected:
    void SetUp() override { Fake::Reset(); }
    void TearDown() override
    {
        Fake::HoldPools(false);
        LibraryTest::TearDown();
        EXPECT_TRUE(NothingIsLeft());
        for (const std::string& strViolation : Fake::Violations())
            ADD_FAILURE() << "The library has broken a contract: " << strViolation;
        if (HasFailure())
            std::fprintf(stderr, "---- log ----\n%s-------------\n", Fake::Journal::Text().c_str());
    }
    // What fails is the test's own, and not the heartbeat that follows every start.
    static void FailBehindHeartbeat(Fake::Op op, int nTimes = 1)
    {
        EXPECT_TRUE(
            Fake::Journal::WaitFor(Fake::Journal::Level::Debug, "Success to send a 'XC2S_Heartbeat' msg."));
        Fake::Fail(op, nTimes);
    }
    static void FailSend(int nTimes = 1) { FailBehindHeartbeat(Fake::Op::LinkSend, nTimes); }
    // Of the platform's things, once the service has noticed the end of the link.
    testing::AssertionResult NothingIsLeft()
    {
        Service().Settle();
        return testing::AssertionResult(Fake::Alive().empty()) << Fake::Describe(Fake::Alive());
    }
};

// The same with the library running from the start.
class StartedTest : public LogicTest {
protected:
    void SetUp() override
    {
        LogicTest::SetUp();
        ASSERT_TRUE(Game().Start());
    }
};

using namespace Support;
using namespace Fake;
