// UninitModule from every state that a game server can be in: never longer than six seconds, unless a
// callback of the game takes longer.
#include <thread>

#include "base/ModuleFlags.h"
#include "tests/support/LoopbackTest.h"

namespace {

class StopTest : public LoopbackTest {
protected:
    void SetUp() override { ASSERT_TRUE(Game().Start()); }
    void StartAgainToReconnectEverySecond()
    {
        Game().Stop();
        Game().settings.nReconnectCycle = 1;
        ASSERT_TRUE(Game().Start());
    }
    static void ExpectStop()
    {
        const auto begin = std::chrono::steady_clock::now();
        UninitModule();
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(6));
        EXPECT_FALSE(InitializedFlag().IsSet());
    }
    void SendEvent(int nCode)
    {
        XS2C_BillingEventNotice notice;
        notice.strUserID = "abc";
        notice.nEventCode = nCode;
        Service().Send(notice);
    }
};

TEST_F(StopTest, WithCallersThatWait)
{
    std::vector<std::future<_CHECKIN_RES>> vecCallers;
    for (int n = 0; n < 64; ++n)
        vecCallers.push_back(Game().Later([&, n] { return Game().Checkin("user" + std::to_string(n)); }));
    for (int n = 0; n < 64; ++n)
        Service().Expect<XC2S_CheckInReq>();
    ExpectStop();
    for (auto& caller : vecCallers)
        EXPECT_STREQ(caller.get().szError, "Failed to receive a 'XS2C_CheckInAns' msg because of timeout.");
}

// Callers that never pause, on processors that are busy otherwise.
TEST_F(StopTest, WhileManyCallersWorkOnABusyMachine)
{
    Service().SayYes();
    std::atomic<bool> bEnough{false};
    std::vector<std::thread> vecThreads;
    for (int n = 0; n < 4; ++n) {
        vecThreads.emplace_back([&] {
            while (!bEnough) {
            }
        });
    }
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

TEST_F(StopTest, WhileTheReconnectedServiceIsSilent)
{
    StartAgainToReconnectEverySecond();
    Service().IgnoreRegistration();
    Service().Drop();
    Service().WaitForConnection(3);
    ExpectStop();
}

// The peer is there for the system and gone for the program: nothing is read, much is queued.
TEST_F(StopTest, OnALinkWhoseServiceReadsNoMore)
{
    Service().HoldReading(true);
    std::vector<std::future<void>> vecCallers;
    for (int n = 0; n < 4; ++n)
        vecCallers.push_back(Game().Later([&] { Game().Checkin("abc"); }));
    ExpectStop();
    Service().HoldReading(false);
}

TEST_F(StopTest, WhileACallbackRuns)
{
    Game().Hold<BillingEvent>();
    SendEvent(1);
    Game().WaitFor<BillingEvent>();
    auto stop = Game().Later([] { ExpectStop(); });
    EXPECT_EQ(stop.wait_for(std::chrono::milliseconds(500)), std::future_status::timeout);
    Game().Release<BillingEvent>();
    stop.get();
}

TEST_F(StopTest, InsideACallbackItDoesNothing)
{
    bool bInit = false;
    Game().On<BillingEvent>([&](const auto&) {
        UninitModule();
        bInit = static_cast<bool>(Game().Init());
    });
    Service().SayYes();
    SendEvent(1);
    Game().WaitFor<BillingEvent>();
    EXPECT_EQ(Game().Checkin("abc").nResult, 0);
    EXPECT_TRUE(bInit);
    EXPECT_EQ(Game().LastError(), "Velkar Connector is already initialized.");
    ExpectStop();
}

// A charge tells the game on the caller's own thread, with the link list locked.
TEST_F(StopTest, InsideTheCallbackOfAChargeItDoesNothing)
{
    Service().On<XC2S_CheckInReq>([](const auto&, auto& ans) { ans.strEndDate = "2000"; });
    Game().Stop();
    Game().settings.products = {{kProductID, "Gold", 1}};
    ASSERT_TRUE(Game().Start());
    ASSERT_EQ(Game().Checkin("abc").nResult, 0);
    Game().On<BillingEvent>([](const auto&) { UninitModule(); });
    _RESULT_RES res;
    Charge(&res);
    EXPECT_EQ(res.bSuccess, 1);
    EXPECT_EQ(Game().Got<BillingEvent>().size(), 1u);
    Service().Expect<XC2S_CheckOutReq>();
    ExpectStop();
}

TEST_F(StopTest, WhileTheSettingsAreReloaded)
{
    for (int n = 1; n <= 5000; ++n)
        Game().settings.products.push_back({100 + n, "Product " + std::to_string(n), 2});
    std::atomic<bool> bEnough{false};
    std::thread saver([&] {
        while (!bEnough) {
            try {
                Game().WriteSettings();
            } catch (const std::exception&) {  // somewhere a file that is being read cannot be replaced
            }
        }
    });
    while (std::string(GetBillingName(5100)).empty())
        std::this_thread::yield();
    ExpectStop();
    bEnough = true;
    saver.join();
}

}  // namespace
