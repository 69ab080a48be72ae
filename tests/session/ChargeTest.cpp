// Charges: whose term has ended, who is reported, and when.
#include <thread>

#include "comm/ChargePass.h"
#include "comm/ResWaiter.h"
#include "config/BillingIdMap.h"
#include "session/ChargeGen.h"
#include "session/FailedCheckOutVector.h"
#include "session/UserInfoMap.h"
#include "tests/connector/NamedValues.h"
#include "tests/fakeplatform/LogicTest.h"
#include "tests/session/Users.h"

namespace {

constexpr Host::LocalTime kNow = {2026, 3, 4, 5, 6, 7, 0};
constexpr const char* kPast = "20260304050606";
constexpr const char* kFuture = "20260304050608";

CUserInfo BilledUser(const std::string& strKey, int nBillingID, const char* pszEndDate,
                     int nProductID = kProductID)
{
    CUserInfo info = User(strKey, "10.0.0.1", "seq-" + strKey);
    info.SetBillingID(nBillingID);
    info.SetEndDate(pszEndDate);
    info.SetProductID(nProductID);
    return info;
}

TEST(UserInfo, AnEndDateIsPassedOnceItsSecondIsOver)
{
    for (const char* pszEndDate : {kPast, "20251231235959", "", "2026", "2026-3040506"})
        EXPECT_TRUE(BilledUser("abc", 1, pszEndDate).IsEndDatePassed(kNow)) << pszEndDate;
    for (const char* pszEndDate : {"20260304050607", kFuture, "20270101000000", "20260305000000", "20270",
                                   "2026030405060799", "99991231235959"})
        EXPECT_FALSE(BilledUser("abc", 1, pszEndDate).IsEndDatePassed(kNow)) << pszEndDate;
}

TEST(UserInfo, TheBillingIdDecides)
{
    const auto state = [](int nBillingID, const char* pszEndDate) {
        return BilledUser("abc", nBillingID, pszEndDate).GetChargeState(kNow);
    };
    for (const int nBillingID : {-1, 0, 1, 2, 3, 4}) {
        const bool bTerm = nBillingID == 1 || nBillingID == 3, bPays = nBillingID == 2 || nBillingID == 3;
        const ChargeState running = bPays ? ChargeState::Charge : ChargeState::Nothing;
        EXPECT_EQ(state(nBillingID, kFuture), running) << nBillingID;
        EXPECT_EQ(state(nBillingID, kPast), bTerm ? ChargeState::Expired : running) << nBillingID;
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
    static void Add(const std::string& strKey, int nBillingID, const char* pszEndDate = "",
                    int nProductID = kProductID)
    {
        UserInfoMap().AddUserInfo(strKey, BilledUser(strKey, nBillingID, pszEndDate, nProductID));
    }
    static bool IsIn(const std::string& strUser) { return UserInfoMap().HasUserInfo(strUser); }
    static _RESULT_RES ChargeAll()
    {
        _RESULT_RES res;
        std::memset(&res, 0x5A, sizeof(res));
        Charge(&res);
        return res;
    }
    // The next charge's product and users, each with an exclamation mark on the first charge.
    std::string NextCharge()
    {
        const auto req = Service().Expect<XC2S_ChargeReq>();
        std::string str = std::to_string(req->nPID);
        for (const auto* pUser : req->vecChargeInfo)
            str += " " + pUser->strUserID + "/" + pUser->strSeqNo + (pUser->bFirst.nByte == 1 ? "!" : "");
        return str;
    }
};

TEST_F(ChargeTest, OnePassReportsEachProductsUsersInOrder)
{
    ASSERT_TRUE(Game().Start());
    Add("b", 2);
    Add("a", 2);
    Add("c", 3, kFuture, 8);
    Add("d", 0);          // the product was not configured at the checkin
    Add("e", 2, "", 99);  // of a product that is not configured any more
    EXPECT_EQ(ChargeAll().bSuccess, 1);
    EXPECT_EQ(NextCharge(), "7 a/seq-a! b/seq-b!");
    EXPECT_EQ(NextCharge(), "8 c/seq-c!");
    ChargeAll();
    EXPECT_EQ(NextCharge(), "7 a/seq-a b/seq-b");
    EXPECT_EQ(NextCharge(), "8 c/seq-c");
    Service().ExpectNothing();
}

// A reload in the middle of a pass; by position, product 7 would be next once more.
TEST_F(ChargeTest, AProductThatComesDuringAPassShiftsNoOther)
{
    ASSERT_TRUE(Game().Start());
    Add("a", 2);
    Add("c", 3, kFuture, 8);
    FailSend();
    SendChargePass([](int) { BillingIdMap().AddBilling(1, 2, "New"); });
    EXPECT_EQ(NextCharge(), "8 c/seq-c!");
    Service().ExpectNothing();
}

// Checkout first, then the game, then out of the map; for users of any product, in the first pass.
TEST_F(ChargeTest, ATermThatHasEndedEndsTheSession)
{
    ASSERT_TRUE(Game().Start());
    Add("gone", 1, kPast, 99);
    Add("both", 3, kPast, 8);
    Add("stays", 1, kFuture, 7);
    bool bStillIn = false, bToldLast = false;
    Game().On<BillingEvent>([&](const auto& info) {
        bStillIn = IsIn(info.szUserKey);
        bToldLast = Calls(Op::LinkSend) >= 3;  // the registration and both checkouts
        throw 1;                               // loses no expiry
    });
    EXPECT_EQ(ChargeAll().bSuccess, 1);  // nobody to charge is no failure
    EXPECT_EQ(Pick(*Service().Expect<XC2S_CheckOutReq>(), "nReqID strUserID strSeqNo"), "-1,both,seq-both");
    EXPECT_EQ(Service().Expect<XC2S_CheckOutReq>()->strUserID, "gone");
    const auto told = Game().Got<BillingEvent>();
    ASSERT_EQ(told.size(), 2u);
    EXPECT_EQ(Named::Pick(told[1], "szUserKey szUserIP nEventCode"), "gone,10.0.0.1,0");
    EXPECT_TRUE(bStillIn && bToldLast);
    EXPECT_TRUE(!IsIn("gone") && !IsIn("both") && IsIn("stays"));
    Service().ExpectNothing();
    EXPECT_TRUE(
        Journal::Logged(Journal::Level::Info, "[Comm Handler] There is no user list for PID: 7 charge."));
}

// Other callers go on, a charge inside the callback ends, a lower product that comes up meanwhile shifts
// nobody, and a user who checks in again meanwhile stays.
TEST_F(ChargeTest, NoLockIsHeldWhileTheGameIsTold)
{
    Service().SayYes();
    ASSERT_TRUE(Game().Start());
    Add("gone", 1, kPast);
    Add("pays", 2);
    Add("too", 1, kPast);
    Game().On<BillingEvent>([](const auto&) {
        BillingIdMap().AddBilling(1, 2, "Lower");
        ChargeAll();
    });
    Game().Hold<BillingEvent>();
    auto charge = Game().Later(&ChargeAll);
    Game().WaitFor<BillingEvent>();
    EXPECT_EQ(Game().Checkin("gone").nResult, 0);
    Game().Release<BillingEvent>();
    EXPECT_EQ(charge.get().bSuccess, 1);
    EXPECT_EQ(Game().Got<BillingEvent>().size(), 2u);
    EXPECT_TRUE(IsIn("gone") && !IsIn("too"));
    Service().Settle();
    EXPECT_EQ(Service().Count<XC2S_CheckOutReq>(), 2);
    EXPECT_EQ(Service().Count<XC2S_ChargeReq>(), 3) << "one for each Charge";
}

TEST_F(ChargeTest, APassThatFailsIsNotTheLast)
{
    static std::atomic<int> s_nPasses;
    s_nPasses = 0;
    Game().settings.nChargeCycle = 1;
    ASSERT_TRUE(Game().Start());
    Game().Stop();  // the settings stay
    SetSecond(std::chrono::milliseconds(20));
    CChargeGen gen;
    ASSERT_TRUE(gen.Start([] {
        if (++s_nPasses == 1)
            throw std::bad_alloc();
    }));
    while (s_nPasses < 2)
        std::this_thread::yield();
    gen.Stop();
}

TEST_F(ChargeTest, AnExpiryThatCannotBeSentIsKept)
{
    Game().callbacks.pfnBillingEvent = nullptr;
    ASSERT_TRUE(Game().Start());
    Add("gone", 1, kPast);
    Add("pays", 2);
    FailSend();  // the checkout
    ChargeAll();
    EXPECT_EQ(FailedCheckOutVector().GetCount(), 1u);
    EXPECT_FALSE(IsIn("gone"));
    EXPECT_EQ(NextCharge(), "7 pays/seq-pays!");
    EXPECT_TRUE(Journal::Logged(Journal::Level::Error,
                                "[Comm Handler] Failed to send a 'XC2S_CheckOutReq' msg for "
                                "'BILLING_EXPIRE' event.\r\n\tUser ID: gone\r\n\tUser IP: 10.0.0.1"));
}

TEST_F(ChargeTest, WhenChargeItselfFails)
{
    EXPECT_STREQ(ChargeAll().szError, "Velkar Connector is not initialized.");
    Charge(nullptr);
    ASSERT_TRUE(Game().Start());
    Add("pays", 2);
    Fail(Op::LinkSend, kAlways);
    // The product with nobody to charge counts as gone out.
    EXPECT_EQ(ChargeAll().bSuccess, 1);
    Fail(Op::LockActiveLinks, kAlways);
    EXPECT_EQ(Named::Pick(ChargeAll(), "bSuccess szError"), "0,Failed to send a 'XC2S_ChargeReq' msg.");
    Fail(Op::LockActiveLinks, 0);
    Fail(Op::LinkSend, 0);
}

TEST_F(ChargeTest, TheCycleRunsByItselfAndFollowsTheSettings)
{
    Game().settings.nChargeCycle = 1;
    ASSERT_TRUE(Game().Start());
    SetSecond(std::chrono::milliseconds(50));
    Add("pays", 2);
    for (const char* pszCharge : {"7 pays/seq-pays!", "7 pays/seq-pays", "7 pays/seq-pays"})
        EXPECT_EQ(NextCharge(), pszCharge);
    // Without the link nobody is charged and nobody expires; nothing is made up for.
    Add("term", 1, kFuture);
    Service().Down();
    Service().WaitForDisconnect();
    ASSERT_TRUE(Journal::WaitFor(Journal::Level::Info,
                                 "[Comm Handler] Connection to Velkar server is disconnected."));
    std::this_thread::sleep_for(std::chrono::milliseconds(100));  // lets a pass that was running end
    HostProcess::SetLocalTime({2030, 1, 1, 0, 0, 0, 0});
    Journal::Clear();
    SetSecond(std::chrono::milliseconds(2));
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    EXPECT_FALSE(Journal::Logged(Journal::Level::Info, "[Charge Gen] Try to send"));
    EXPECT_TRUE(IsIn("term"));
}

TEST_F(ChargeTest, AStopRunsOneLastPassAndTellsTheGameNothing)
{
    ASSERT_TRUE(Game().Start());
    Add("pays", 2);
    Add("gone", 1, kPast);
    ASSERT_TRUE(Journal::WaitFor(Journal::Level::Info, "[Charge Gen] Charge gen thread start."));
    Game().Stop();
    Service().Settle();
    EXPECT_EQ(Service().Count<XC2S_ChargeReq>(), 1);
    EXPECT_EQ(Service().Count<XC2S_CheckOutReq>(), 1);
    EXPECT_TRUE(Game().Got<BillingEvent>().empty());
}

// Game threads, the handlers and the charge thread at the map at once. A caller that checks its user out
// right behind the checkin is never told that there is no such user.
TEST_F(ChargeTest, ChargesAndSessionsAtOnce)
{
    Game().settings.nChargeCycle = 1;
    Service().SayYes();
    ASSERT_TRUE(Game().Start());
    SetSecond(std::chrono::seconds(1));         // of the charge cycle, and enough for every caller
    std::vector<std::future<void>> vecCallers;  // their end is waited for
    for (int n = 0; n < 8; ++n) {
        vecCallers.push_back(Game().Later([&, n] {
            const std::string strUser = "user" + std::to_string(n);
            for (int i = 0; i < 100; ++i) {
                EXPECT_EQ(Game().Checkin(strUser).nResult, 0);
                if (n == 0)
                    ChargeAll();
                Add("term" + std::to_string(i), 1, kPast);
                EXPECT_EQ(Game().Checkout(strUser).bSuccess, 1);
            }
        }));
    }
    vecCallers.clear();
    ChargeAll();
    for (int i = 0; i < 100; ++i)
        EXPECT_FALSE(IsIn("term" + std::to_string(i)));
    EXPECT_EQ(ResWaiterMap().GetCount(), 0u);
}

}  // namespace
