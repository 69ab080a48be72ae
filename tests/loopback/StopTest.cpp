// UninitModule from every state that a game server can be in: never longer than six seconds, unless a
// callback of the game takes longer.
#include <thread>

#include "base/ModuleFlags.h"
#include "tests/support/LoopbackTest.h"

namespace {

class StopTest : public LoopbackTest {
protected:
    void SetUp() override { ASSERT_TRUE(Game().Start()); }
    static void ExpectStop()
    {
        const auto begin = std::chrono::steady_clock::now();
        UninitModule();
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(6));
        EXPECT_FALSE(InitializedFlag().IsSet());
    }
};

// Far more callers than processors, who never pause.
TEST_F(StopTest, WhileManyCallersWorkOnABusyMachine)
{
    Service().SayYes();
    std::atomic<bool> bEnough{false};
    std::vector<std::thread> vecThreads;
    for (int n = 0; n < 64; ++n) {
        vecThreads.emplace_back([&, n] {
            while (!bEnough) {
                Game().Checkin("user" + std::to_string(n));
                Game().Checkout("user" + std::to_string(n));
            }
        });
    }
    for (int n = 0; n < 3; ++n) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        ExpectStop();
        ASSERT_TRUE(Game().Init()) << Game().LastError();
    }
    bEnough = true;
    ExpectStop();
    for (std::thread& thread : vecThreads)
        thread.join();
}

TEST_F(StopTest, WhileACallbackRuns)
{
    Game().Hold<BillingEvent>();
    Service().Send<XS2C_BillingEventNotice>("strUserID=abc nEventCode=1");
    Game().WaitFor<BillingEvent>();
    auto stop = Game().Later([] { ExpectStop(); });
    EXPECT_EQ(stop.wait_for(std::chrono::milliseconds(500)), std::future_status::timeout);
    Game().Release<BillingEvent>();
    stop.get();
}

// On a pool thread, and in a charge on the caller's own thread.
TEST_F(StopTest, InsideACallbackItDoesNothing)
{
    Game().Stop();
    Game().settings.products = {{kProductID, "Gold", 1}};
    ASSERT_TRUE(Game().Start());
    bool bInit = false;
    Game().On<BillingEvent>([&](const auto&) {
        UninitModule();
        bInit = static_cast<bool>(Game().Init());
    });
    Service().Send<XS2C_BillingEventNotice>("strUserID=abc nEventCode=1");
    Game().WaitFor<BillingEvent>();
    Service().On<XC2S_CheckInReq>([](const auto&, auto& ans) { ans.strEndDate = "2000"; });
    EXPECT_EQ(Game().Checkin("abc").nResult, 0);
    EXPECT_TRUE(bInit);
    EXPECT_EQ(Game().LastError(), "Velkar Connector is already initialized.");
    _RESULT_RES res;
    Charge(&res);
    EXPECT_EQ(res.bSuccess, 1);
    EXPECT_EQ(Game().Got<BillingEvent>().size(), 2u);
    Service().Expect<XC2S_CheckOutReq>();
    ExpectStop();
}

}  // namespace
