// The library against the stand-in service, with the faults that the service can be ordered to make.
#include <gtest/gtest.h>

#include "comm/ResWaiter.h"
#include "datapool/DataPool.h"
#include "session/UserInfoMap.h"
#include "tests/sandbox/SandboxFixture.h"
#include "tests/support/GameServer.h"

namespace {

using namespace Support;
using SandboxTest::HttpAnswer;

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
        Game().Stop();
        EXPECT_EQ(GameServer::Breaches(), 0);
        EXPECT_EQ(ResWaiterMap().GetCount(), 0u);
    }

    GameServer& Game() { return m_game; }
    SandboxTest::RunningSandbox& Sandbox() { return m_sandbox; }
    void Fault(const std::string& strJson)
    {
        EXPECT_EQ(Sandbox().Post("/fault", strJson).nStatus, 200) << strJson;
    }
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
    static std::size_t Lists() { return DataPool().GetCount(); }

private:
    // Long enough for every call to wait before its answer comes.
    SandboxTest::RunningSandbox m_sandbox{std::chrono::milliseconds(30)};
    GameServer m_game;
};

TEST_F(SystemTest, AnswersAfterTheirCallersFiveSeconds)
{
    for (const char* pszClass : {"XS2C_CheckInAns", "XS2C_CheckInExAns", "XS2C_QueryBillingInfoExAns"})
        Fault(std::string(R"({"kind": "delay", "ms": 6000, "class": ")") + pszClass + "\"}");
    auto checkin = Game().Later([&] { return Game().Checkin("alice").nResult; });
    auto checkinEx = Game().Later([&] { return Game().Call(&CheckinEx, Game().User("carol")); });
    auto query = Game().Later([&] { return Game().Call(&QueryBillingInfoEx, Game().User("carol")); });
    EXPECT_EQ(checkin.get(), -1);
    EXPECT_EQ(checkinEx.get().hBillingData, nullptr);
    EXPECT_EQ(query.get().hBillingData, nullptr);
    EXPECT_EQ(Sandbox().Sessions().size(), 2u);  // the service holds both users checked in

    Sandbox().Advance(6000);
    EXPECT_TRUE(WaitForCount("XS2C_CheckOutAns", 2));
    EXPECT_EQ(Game().Checkin("bob").nResult, 0);  // behind everything that was late
    EXPECT_EQ(Count("XC2S_CheckOutReq"), 2u);
    EXPECT_EQ(Sandbox().Sessions().size(), 1u);
    EXPECT_EQ(UserInfoMap().GetCount(), 1u);
    EXPECT_EQ(Lists(), 0u);
}

TEST_F(SystemTest, AnswersInPiecesTogetherAndRefused)
{
    Fault(R"({"class": "XS2C_CheckInExAns", "kind": "split", "bytes": 3})");
    Fault(R"({"class": "XS2C_CheckOutAns", "kind": "refuse", "code": 7, "text": "not now"})");
    const auto res = Game().Call(&CheckinEx, Game().User("carol"));
    EXPECT_EQ(res.nResult, 0) << res.szError;
    EXPECT_EQ(GetDataSize(res.hBillingData, nullptr, 0), 2u);
    DestroyHandle(res.hBillingData);
    EXPECT_STREQ(Game().Checkout("carol").szError, "not now");
    EXPECT_EQ(Lists(), 0u);
}

TEST_F(SystemTest, ALinkCutInsideAnAnswerComesBackWithItsUsers)
{
    ASSERT_EQ(Game().Checkin("alice").nResult, 0);
    Fault(R"({"class": "XS2C_CheckInAns", "kind": "cut", "bytes": 9})");
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
    const HttpAnswer spent =
        Sandbox().Post("/trigger/spend-game-money", R"({"user": "alice", "gameMoney": 30})");
    EXPECT_EQ(spent.json["fields"]["nGameMoney"], 70) << spent.strBody;
    const HttpAnswer refused =
        Sandbox().Post("/trigger/spend-game-money", R"({"user": "alice", "gameMoney": 300})");
    EXPECT_EQ(refused.json["fields"]["strMessage"], "not enough") << refused.strBody;
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
    EXPECT_TRUE(Sandbox().Sessions().empty());
}

}  // namespace
