// The library on real sockets and the real platform.
#include "tests/support/LoopbackTest.h"

#include "comm/ResWaiter.h"

namespace {

TEST_F(LoopbackTest, StartsAndStopsAHundredTimesInARow)
{
    Service().SayYes();
    ASSERT_TRUE(Game().Start());
    for (int i = 0; i < 100; ++i) {
        Game().Stop();
        ASSERT_TRUE(Game().Init()) << "start " << i << ": " << Game().LastError();
    }
    EXPECT_EQ(Game().Checkin("abc").nResult, 0);
}

TEST_F(LoopbackTest, RubbishFromTheServiceIsSurvived)
{
    Game().settings.nReconnectCycle = 1;
    Service().SayYes();
    ASSERT_TRUE(Game().Start());
    std::string strRubbish;
    for (unsigned int i = 0, n = 12345; i < 100'000; ++i)
        strRubbish += static_cast<char>((n = n * 1103515245u + 12345u) >> 16);
    Service().SendRaw(strRubbish);
    Service().Cut();
    Service().WaitForConnection(2);
    Service().Expect<XC2S_VelkarConnectReq>([](const auto&) { return true; });
    while (Game().Checkin("abc").nResult != 0) {
    }
}

}  // namespace
