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

TEST_F(LoopbackTest, ComesBackAfterTheServiceWasGone)
{
    Game().settings.nReconnectCycle = 1;
    Service().SayYes();
    ASSERT_TRUE(Game().Start());
    ASSERT_EQ(Game().Checkin("alice").nResult + Game().Checkin("bob").nResult, 0);
    Service().Down();
    Service().WaitForDisconnect();
    // The library may need a moment to notice; a checkout that it could not send is kept.
    const auto res = Game().Checkout("bob");
    Service().Forget();
    Service().Up();
    const auto sync = Service().Expect<XC2S_UserListSyncReq>();
    ASSERT_EQ(sync->vecCheckOutInfo.size(), 1u);
    EXPECT_EQ(sync->vecCheckOutInfo[0]->strUserID, "alice");
    if (std::string(res.szError).starts_with("Failed to send")) {
        EXPECT_EQ(Service().Expect<XC2S_FailedCheckOutReq>()->vecCheckOutInfo[0]->strUserID, "bob");
    }
    EXPECT_EQ(Game().Checkout("alice").bSuccess, 1);
}

// Sixty-four callers at once, and every one gets its own answer.
TEST_F(LoopbackTest, ManyCallersGetTheirOwnAnswers)
{
    ASSERT_TRUE(Game().Start());
    Service().On<XC2S_CheckInReq>(
        [](const auto& req, auto& ans) { ans.strErrorMsg = "for " + req.strUserID; });
    Service().On<XC2S_CheckOutReq>(
        [](const auto& req, auto& ans) { ans.strErrorMsg = "bye " + req.strUserID; });
    std::vector<std::future<void>> vecCallers;
    for (int n = 0; n < 64; ++n) {
        vecCallers.push_back(Game().Later([&, n] {
            const std::string strUser = "user" + std::to_string(n);
            for (int i = 0; i < 20; ++i) {
                const auto in = Game().Checkin(strUser);
                EXPECT_EQ(in.nResult, 0);
                EXPECT_EQ(std::string(in.szError), "for " + strUser);
                const auto out = Game().Checkout(strUser);
                EXPECT_EQ(out.bSuccess, 1);
                EXPECT_EQ(std::string(out.szError), "bye " + strUser);
            }
        }));
    }
    for (auto& caller : vecCallers)
        caller.get();
    EXPECT_EQ(ResWaiterMap().GetCount(), 0u);
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
