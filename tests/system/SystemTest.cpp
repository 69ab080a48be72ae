// The library against the stand-in service, with the faults that the service can be ordered to make.
#include <gtest/gtest.h>

#include "comm/ResWaiter.h"
#include "datapool/DataPool.h"
#include "session/UserInfoMap.h"
#include "tests/sandbox/SandboxFixture.h"
#include "tests/support/GameServer.h"

namespace {

using namespace Support;

class SystemTest : public testing::Test {
protected:
    SystemTest() : m_game(m_sandbox.Port())
    {
        m_game.settings.nReconnectCycle = 1;
        m_game.settings.products = {{1001, "Term", 1}, {1002, "Hours", 2}, {1003, "Both", 3}};
    }
    void SetUp() override { ASSERT_TRUE(Game().Start()); }
    void TearDown() override
    {
        const std::size_t nLists = DataPool().GetCount();
        Game().Stop();
        EXPECT_EQ(GameServer::Breaches(), 0);
        EXPECT_EQ(ResWaiterMap().GetCount(), 0u);
        EXPECT_EQ(nLists, 0u);
    }

    GameServer& Game() { return m_game; }
    SandboxTest::RunningSandbox& Sandbox() { return m_sandbox; }
    // How many of that message have passed since the last reset.
    std::size_t Count(const std::string& strClass)
    {
        return Sandbox().Get("/messages?limit=500&class=" + strClass).json["messages"].size();
    }
    bool WaitForCount(const std::string& strClass, std::size_t nCount)
    {
        for (int n = 0; n < 2000 && Count(strClass) < nCount; ++n)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        return Count(strClass) == nCount;
    }

private:
    SandboxTest::RunningSandbox m_sandbox;
    GameServer m_game;
};

TEST_F(SystemTest, AnswersAfterTheirCallersFiveSeconds)
{
    for (const char* pszClass : {"XS2C_CheckInAns", "XS2C_CheckInExAns", "XS2C_QueryBillingInfoExAns"})
        Sandbox().Post("/fault",
                       std::string(R"({"kind": "delay", "ms": 6000, "class": ")") + pszClass + "\"}");
    auto checkin = Game().Later([&] { return Game().Checkin("alice").nResult; });
    auto checkinEx = Game().Later([&] { return Game().Call(&CheckinEx, Game().User("carol")); });
    auto query = Game().Later([&] { return Game().Call(&QueryBillingInfoEx, Game().User("carol")); });
    EXPECT_EQ(checkin.get(), -1);
    EXPECT_EQ(checkinEx.get().hBillingData, nullptr);
    EXPECT_EQ(query.get().hBillingData, nullptr);
    EXPECT_NE(Sandbox().Sessions().find("alice on "), std::string::npos);
    EXPECT_NE(Sandbox().Sessions().find("carol on "), std::string::npos);

    Sandbox().Advance(6000);
    EXPECT_TRUE(WaitForCount("XS2C_CheckOutAns", 2));
    EXPECT_EQ(Game().Checkin("bob").nResult, 0);  // behind everything that was late
    EXPECT_EQ(Count("XC2S_CheckOutReq"), 2u);
    EXPECT_EQ(Sandbox().Sessions(), "bob on GAME/SERVER/WORLD");
    EXPECT_EQ(UserInfoMap().GetCount(), 1u);
}

TEST_F(SystemTest, ALinkCutInsideAnAnswerComesBackWithItsUsers)
{
    ASSERT_EQ(Game().Checkin("alice").nResult, 0);
    Sandbox().Post("/fault", R"({"class": "XS2C_CheckInAns", "kind": "cut", "bytes": 9})");
    auto bob = Game().Later([&] { return Game().Checkin("bob").nResult; });
    EXPECT_TRUE(WaitForCount("XC2S_UserListSyncReq", 1));
    EXPECT_EQ(bob.get(), -1);
    EXPECT_EQ(Game().Checkout("alice").bSuccess, 1);
}

TEST_F(SystemTest, TheServiceAsksAndTells)
{
    ASSERT_EQ(Game().Checkin("alice").nResult, 0);
    Game().On<SpendGameMoney>([](const auto& req, auto& res) {
        res.bSuccess = req.nGameMoney <= 100;
        res.nGameMoney = 100 - req.nGameMoney;
        Put(res.szMessage, "not enough");
    });
    const auto spend = [this](const std::string& strMoney) {
        return Sandbox()
            .Post("/trigger/spend-game-money", R"({"user": "alice", "gameMoney": )" + strMoney + "}")
            .json["fields"];
    };
    EXPECT_EQ(spend("30")["nGameMoney"], 70);
    EXPECT_EQ(spend("300")["strMessage"], "not enough");
    Sandbox().Post("/trigger/billing-event", R"({"user": "alice", "eventCode": 1, "param": "soon"})");
    EXPECT_STREQ(Game().WaitFor<BillingEvent>().szParam, "soon");
    Sandbox().Post("/trigger/billing-event", R"({"user": "alice", "eventCode": 2})");
    EXPECT_EQ(Game().Checkin("bob").nResult, 0);
    EXPECT_STREQ(Game().Checkout("alice").szError, "This user is not checkined.");
}

// A metered user is charged until nothing is left: warned, told, checked out.
TEST_F(SystemTest, MinutesRunOut)
{
    ASSERT_EQ(Game().Checkin("two-minutes-left").nResult, 0);
    for (int n = 0; n < 2; ++n) {
        Sandbox().Advance(61'000);
        _RESULT_RES res;
        Charge(&res);
        EXPECT_EQ(res.bSuccess, 1);
        EXPECT_TRUE(WaitForCount("XS2C_ChargeAns", static_cast<std::size_t>(n) + 1));
    }
    const auto told = Game().WaitFor<BillingEvent>(2);
    EXPECT_EQ(told.nEventCode, 0);
    EXPECT_TRUE(WaitForCount("XC2S_CheckOutReq", 1));
    EXPECT_EQ(Sandbox().Sessions(), "");
}

}  // namespace
