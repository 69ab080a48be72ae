// Charges: whose term has ended, who is reported, and when.
#include <thread>

#include "session/FailedCheckOutVector.h"
#include "session/UserInfoMap.h"
#include "tests/fakeplatform/LogicTest.h"

namespace {

constexpr Host::LocalTime kNow = {2026, 3, 4, 5, 6, 7, 0};
constexpr const char* kPast = "20260304050606";
constexpr const char* kFuture = "20260304050608";

CUserInfo BilledUser(const std::string& strKey, int nBillingID, const char* pszEndDate,
                     int nProductID = kProductID)
{
    CUserInfo info;
    info.SetKey(strKey);
    info.SetUserIP("10.0.0.1");
    info.SetSeqNo("seq-" + strKey);
    info.SetBillingID(nBillingID);
    info.SetEndDate(pszEndDate);
    info.SetProductID(nProductID);
    return info;
}

TEST(UserInfo, AnEndDateIsPassedOnceItsSecondIsOver)
{
    const struct {
        const char* pszEndDate;
        bool bPassed;
    } kRows[] = {{"20260304050607", false},
                 {kPast, true},
                 {kFuture, false},
                 {"20270101000000", false},
                 {"20251231235959", true},
                 {"20260305000000", false},
                 {"", true},
                 {"2026", true},
                 {"20270", false},
                 {"2026030405060799", false},
                 {"2026-3040506", true},
                 {"99991231235959", false}};
    for (const auto& row : kRows)
        EXPECT_EQ(BilledUser("abc", 1, row.pszEndDate).IsEndDatePassed(kNow), row.bPassed) << row.pszEndDate;
}

TEST(UserInfo, TheBillingIdDecides)
{
    const struct {
        int nBillingID;
        ChargeState past, future;
    } kRows[] = {
        {0, ChargeState::Nothing, ChargeState::Nothing}, {1, ChargeState::Expired, ChargeState::Nothing},
        {2, ChargeState::Charge, ChargeState::Charge},   {3, ChargeState::Expired, ChargeState::Charge},
        {4, ChargeState::Nothing, ChargeState::Nothing}, {-1, ChargeState::Nothing, ChargeState::Nothing}};
    for (const auto& row : kRows) {
        EXPECT_EQ(BilledUser("abc", row.nBillingID, kPast).GetChargeState(kNow), row.past) << row.nBillingID;
        EXPECT_EQ(BilledUser("abc", row.nBillingID, kFuture).GetChargeState(kNow), row.future)
            << row.nBillingID;
    }
}

class ChargeTest : public LogicTest {
protected:
    void SetUp() override
    {
        LogicTest::SetUp();
        HostProcess::SetLocalTime(kNow);
        Game().settings.products = {{7, "Gold", 2}, {8, "Silver", 3}};
    }
    static void Add(const CUserInfo& info) { UserInfoMap().AddUserInfo(info.GetKey(), info); }
    static bool IsIn(const char* pszUser) { return UserInfoMap().HasUserInfo(pszUser); }
    static _RESULT_RES ChargeAll()
    {
        _RESULT_RES res;
        std::memset(&res, 0x5A, sizeof(res));
        Charge(&res);
        return res;
    }
};

TEST_F(ChargeTest, OnePassReportsEachProductsUsersInOrder)
{
    ASSERT_TRUE(Game().Start());
    Add(BilledUser("b", 2, "", 7));
    Add(BilledUser("a", 2, "", 7));
    Add(BilledUser("c", 3, kFuture, 8));
    Add(BilledUser("d", 0, "", 7));   // the product was not configured at the checkin
    Add(BilledUser("e", 2, "", 99));  // of a product that is not configured any more
    EXPECT_EQ(ChargeAll().bSuccess, 1);
    for (const bool bFirst : {true, false}) {
        const auto gold = Service().Expect<XC2S_ChargeReq>();
        const auto silver = Service().Expect<XC2S_ChargeReq>();
        ASSERT_EQ(gold->nPID, 7);
        ASSERT_EQ(gold->vecChargeInfo.size(), 2u);
        EXPECT_EQ(gold->vecChargeInfo[0]->strUserID, "a");
        EXPECT_EQ(gold->vecChargeInfo[1]->strSeqNo, "seq-b");
        EXPECT_EQ(gold->vecChargeInfo[0]->bFirst.nByte, bFirst ? 1 : 0);
        ASSERT_EQ(silver->nPID, 8);
        EXPECT_EQ(silver->vecChargeInfo.size(), 1u);
        if (bFirst) {
            ChargeAll();
        }
    }
    Service().ExpectNothing();
}

// Checkout first, then the game, then out of the map; for users of any product, in the first pass.
TEST_F(ChargeTest, ATermThatHasEndedEndsTheSession)
{
    ASSERT_TRUE(Game().Start());
    Add(BilledUser("gone", 1, kPast, 99));
    Add(BilledUser("both", 3, kPast, 8));
    Add(BilledUser("stays", 1, kFuture, 7));
    bool bStillIn = false, bToldLast = false;
    Game().On<BillingEvent>([&](const auto& info) {
        bStillIn = IsIn(info.szUserKey);
        bToldLast = Calls(Op::LinkSend) >= 3;  // the registration and both checkouts
    });
    EXPECT_EQ(ChargeAll().bSuccess, 1);  // nobody to charge is no failure
    const auto both = Service().Expect<XC2S_CheckOutReq>();
    EXPECT_EQ(both->strUserID, "both");
    EXPECT_EQ(both->strSeqNo, "seq-both");
    EXPECT_EQ(both->nReqID, -1);
    EXPECT_EQ(Service().Expect<XC2S_CheckOutReq>()->strUserID, "gone");
    const auto told = Game().Got<BillingEvent>();
    ASSERT_EQ(told.size(), 2u);
    EXPECT_STREQ(told[1].szUserKey, "gone");
    EXPECT_STREQ(told[1].szUserIP, "10.0.0.1");
    EXPECT_EQ(told[1].nEventCode, 0);
    EXPECT_TRUE(bStillIn && bToldLast);
    EXPECT_TRUE(!IsIn("gone") && !IsIn("both") && IsIn("stays"));
    Service().ExpectNothing();
    EXPECT_TRUE(
        Journal::Logged(Journal::Level::Info, "[Comm Handler] There is no user list for PID: 7 charge."));
}

TEST_F(ChargeTest, AnExpiryThatCannotBeSentIsKept)
{
    Game().SetNull<BillingEvent>();
    ASSERT_TRUE(Game().Start());
    Add(BilledUser("gone", 1, kPast));
    Add(BilledUser("pays", 2, ""));
    FailSend();  // the checkout
    ChargeAll();
    EXPECT_EQ(FailedCheckOutVector().GetCount(), 1u);
    EXPECT_FALSE(IsIn("gone"));
    EXPECT_EQ(Service().Expect<XC2S_ChargeReq>()->vecChargeInfo.size(), 1u);
    EXPECT_TRUE(Journal::Logged(Journal::Level::Error,
                                "[Comm Handler] Failed to send a 'XC2S_CheckOutReq' msg for "
                                "'BILLING_EXPIRE' event.\r\n\tUser ID: gone\r\n\tUser IP: 10.0.0.1"));
}

TEST_F(ChargeTest, AGameThatThrowsLosesNoExpiry)
{
    ASSERT_TRUE(Game().Start());
    for (const char* pszUser : {"a", "b"})
        Add(BilledUser(pszUser, 1, kPast));
    Game().On<BillingEvent>([](const auto&) { throw 1; });
    EXPECT_EQ(ChargeAll().bSuccess, 1);
    EXPECT_EQ(Game().Got<BillingEvent>().size(), 2u);
    EXPECT_TRUE(!IsIn("a") && !IsIn("b"));
}

TEST_F(ChargeTest, WhenChargeItselfFails)
{
    EXPECT_STREQ(ChargeAll().szError, "Velkar Connector is not initialized.");
    Charge(nullptr);
    ASSERT_TRUE(Game().Start());
    Add(BilledUser("pays", 2, ""));
    Fail(Op::LinkSend, kAlways);
    // The product with nobody to charge counts as gone out.
    EXPECT_EQ(ChargeAll().bSuccess, 1);
    Fail(Op::LockActiveLinks, kAlways);
    const auto res = ChargeAll();
    EXPECT_EQ(res.bSuccess, 0);
    EXPECT_STREQ(res.szError, "Failed to send a 'XC2S_ChargeReq' msg.");
    Fail(Op::LockActiveLinks, 0);
    Fail(Op::LinkSend, 0);
}

TEST_F(ChargeTest, TheCycleRunsByItselfAndFollowsTheSettings)
{
    Game().settings.nChargeCycle = 1;
    ASSERT_TRUE(Game().Start());
    SetSecond(std::chrono::milliseconds(50));
    Add(BilledUser("pays", 2, ""));
    for (const int nFirst : {1, 0, 0})
        EXPECT_EQ(Service().Expect<XC2S_ChargeReq>()->vecChargeInfo[0]->bFirst.nByte, nFirst);
    // Without the link nobody is charged and nobody expires; nothing is made up for.
    Game().settings.nChargeCycle = 3600;
    Add(BilledUser("term", 1, kFuture));
    Service().Down();
    Service().WaitForDisconnect();
    ASSERT_TRUE(Journal::WaitFor(Journal::Level::Info,
                                 "[Comm Handler] Connection to Velkar server is disconnected."));
    std::this_thread::sleep_for(std::chrono::milliseconds(100));  // lets a pass that was running end
    HostProcess::SetLocalTime({2030, 1, 1, 0, 0, 0, 0});
    Journal::Clear();
    Advance(std::chrono::seconds(60));
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    EXPECT_FALSE(Journal::Logged(Journal::Level::Info, "[Charge Gen] Try to send"));
    EXPECT_TRUE(IsIn("term"));
}

TEST_F(ChargeTest, AStopRunsOneLastPassAndTellsTheGameNothing)
{
    ASSERT_TRUE(Game().Start());
    Add(BilledUser("pays", 2, ""));
    Add(BilledUser("gone", 1, kPast));
    ASSERT_TRUE(Journal::WaitFor(Journal::Level::Info, "[Charge Gen] Charge gen thread start."));
    Game().Stop();
    Service().Settle();
    EXPECT_EQ(Service().Count<XC2S_ChargeReq>(), 1);
    EXPECT_EQ(Service().Count<XC2S_CheckOutReq>(), 1);
    EXPECT_TRUE(Game().Got<BillingEvent>().empty());
}

// A game thread, the handlers and the charge thread at the map at once.
TEST_F(ChargeTest, ChargesAndSessionsAtOnce)
{
    Game().settings.nChargeCycle = 1;
    Service().SayYes();
    ASSERT_TRUE(Game().Start());
    SetSecond(std::chrono::seconds(1));  // of the charge cycle, and enough for every caller
    std::vector<std::future<void>> vecCallers;
    for (int n = 0; n < 4; ++n) {
        vecCallers.push_back(Game().Later([&, n] {
            const std::string strUser = "user" + std::to_string(n);
            for (int i = 0; i < 50; ++i) {
                Game().Checkin(strUser);
                if (n == 0)
                    ChargeAll();
                Add(BilledUser("term" + std::to_string(i), 1, kPast));
                Game().Checkout(strUser);
            }
        }));
    }
    for (auto& caller : vecCallers)
        caller.get();
    ChargeAll();
    for (int i = 0; i < 50; ++i)
        EXPECT_FALSE(IsIn(("term" + std::to_string(i)).c_str()));
}

}  // namespace
