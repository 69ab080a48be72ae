// The calls that bring a list of billings, and the moves between game servers.
#include "datapool/DataPool.h"
#include "session/FailedCheckOutVector.h"
#include "session/UserInfoMap.h"
#include "tests/connector/NamedValues.h"
#include "tests/fakeplatform/LogicTest.h"

namespace {

class BillingCallsTest : public StartedTest {
protected:
    static bool IsIn(const char* pszUser) { return UserInfoMap().HasUserInfo(pszUser); }
    static std::size_t Lists() { return DataPool().GetCount(); }
    // An arrival, of the user with that Seq No.
    std::string MoveFrom(const char* pszUser, int nSeqNo = 77)
    {
        s_info = Named::Full<_USER_MOVE_INFO>();
        s_info.nSeqNo = nSeqNo, s_info.bFirst = 0, s_info.bFree = 'Y';
        const auto call = [](const _USER_REQ* pReq, _RESULT_RES* pRes) { UserMoveFrom(pReq, &s_info, pRes); };
        return Named::Pick(Game().Call<_USER_REQ, _RESULT_RES>(call, Game().User(pszUser)),
                           "bSuccess szError");
    }
    static inline _USER_MOVE_INFO s_info;
};

// Both answers look alike to the game; where the ids come from differs.
TEST_F(BillingCallsTest, ListsOfOtherBillings)
{
    Game().Stop();
    Game().settings.products = {{7, "Gold", 3}, {8, "Silver", 1}};
    ASSERT_TRUE(Game().Start());
    const auto answer = [](const auto&, auto& ans) {
        Assign(ans, "nBillType=44 nResult=90006 strErrorMsg=fine");
        for (const char* pszProduct : {"nProductID=8", "nProductID=9"}) {  // the second one is not configured
            auto& other = ans.vecOtherBilling.Add();
            Named::Fill(other);
            Assign(other, std::string("nRemainMinutes=78187493520 ") + pszProduct);
        }
    };
    Service().On<XC2S_CheckInExReq>(answer);
    Service().On<XC2S_QueryBillingInfoExReq>(answer);
    for (const bool bCheckin : {true, false}) {
        const auto res = Game().Call(bCheckin ? &CheckinEx : &QueryBillingInfoEx, Game().User("abc"));
        EXPECT_EQ(Named::Pick(res, "nResult bExtra szError"), "0,1,fine");
        EXPECT_EQ(res.nBillingID, bCheckin ? 3 : 44);
        EXPECT_EQ(IsIn("abc"), bCheckin);
        EXPECT_EQ(GetDataSize(res.hBillingData, nullptr, 0), 2u);
        for (const int n : {0, 1}) {
            _BILL_INFO info;
            ASSERT_TRUE(GetBillingData(res.hBillingData, static_cast<std::size_t>(n), &info, nullptr, 0));
            EXPECT_EQ(Named::Pick(info, "nBillingID nProductID nRemainMinutes"),
                      n == 0 ? "1,8,78187493520" : "0,9,78187493520");
            Named::ExpectIn(info, {"nBillingID", "nProductID", "nRemainMinutes"});
        }
        DestroyHandle(res.hBillingData);
        EXPECT_EQ(Lists(), 0u);
        UserInfoMap().RemoveAllUserInfo();
    }
}

TEST_F(BillingCallsTest, ARefusalOrATimeoutBringsNoList)
{
    SetSecond(std::chrono::milliseconds(100));
    for (const bool bAnswered : {true, false}) {
        const auto refuse = [bAnswered](const auto&, auto& ans) {
            Assign(ans, "nResult=30006 strErrorMsg=no vecOtherBilling={}");
            return bAnswered;
        };
        Service().On<XC2S_CheckInExReq>(refuse);
        Service().On<XC2S_QueryBillingInfoExReq>(refuse);
        for (const auto& [pfnCall, strAnswer] : {std::pair(&CheckinEx, "CheckInExAns"),
                                                 std::pair(&QueryBillingInfoEx, "QueryBillingInfoExAns")}) {
            const auto res = Game().Call(pfnCall, Game().User("abc"));
            EXPECT_EQ(res.nResult, -1);
            EXPECT_EQ(res.bExtra, bAnswered);
            EXPECT_EQ(res.hBillingData, nullptr);
            EXPECT_EQ(res.szError, bAnswered ? "no"
                                             : "Failed to receive a 'XC2S_" + std::string(strAnswer) +
                                                   "' msg because of timeout.");
        }
    }
    EXPECT_FALSE(IsIn("abc"));
    EXPECT_EQ(Lists(), 0u);
}

TEST_F(BillingCallsTest, ABillingQueryChangesNobody)
{
    Service().On<XC2S_QueryBillingInfoReq>("nBillType=44 bPCCafe=1 nRemainMinutes=4294967301");
    const auto res = Game().Call(&QueryBillingInfo, Game().User("abc"));
    EXPECT_EQ(res.nBillingID, 44) << "as it came";
    EXPECT_TRUE(res.bPCCafe == 1 && res.nRemainMinutes == 5 && res.nResult == 0 && !IsIn("abc"));
    EXPECT_TRUE(Journal::Logged(Journal::Level::Debug,
                                "\r\n\tRemain Minutes: 4294967301\r\n\tPC Cafe: Y\r\n\tCRM Code: CRM"));
}

TEST_F(BillingCallsTest, AUserMovesAway)
{
    Service().SayYes();
    auto info = Named::Full<_USER_MOVE_INFO>();
    const _USER_MOVE_INFO untouched = info;
    EXPECT_FALSE(GetBillingInfoForUserMove("abc", &info) || GetBillingInfoForUserMove(nullptr, &info) ||
                 GetBillingInfoForUserMove("abc", nullptr));
    EXPECT_EQ(std::memcmp(&info, &untouched, sizeof(info)), 0);

    Game().Checkin("abc");
    ASSERT_TRUE(GetBillingInfoForUserMove("abc", &info));
    _USER_MOVE_INFO expected = {2, kProductID, 1, 1, "CRM", "20991231235959", 'N'};
    EXPECT_EQ(std::memcmp(&info, &expected, offsetof(_USER_MOVE_INFO, bFree) + 1), 0);
    EXPECT_EQ(Game().Call(&UserMoveTo, Game().User("abc", "1.2.3.4")).bSuccess, 1);
    EXPECT_EQ(Service().Expect<XC2S_UserMoveToReq>()->strUserIP, "1.2.3.4");
    EXPECT_FALSE(IsIn("abc"));
    EXPECT_STREQ(Game().Call(&UserMoveTo, Game().User("abc")).szError, "This user is not checkined.");

    Game().Checkin("abc");
    FailSend();
    EXPECT_STREQ(Game().Call(&UserMoveTo, Game().User("abc")).szError,
                 "Failed to send a 'XC2S_UserMoveToReq' msg.");
    EXPECT_FALSE(IsIn("abc"));
    EXPECT_EQ(FailedCheckOutVector().GetCount(), 1u);
}

// A CRM code without a NUL is read to its end. A Seq No of 0 stands for none.
TEST_F(BillingCallsTest, AUserArrives)
{
    Service().SayYes();
    EXPECT_EQ(MoveFrom("abc"), "1,");
    CUserInfo info;
    ASSERT_TRUE(UserInfoMap().FindUserInfo("abc", info));
    EXPECT_EQ(info.GetSeqNo(), "77");
    EXPECT_EQ(info.GetBillingID(), s_info.nBillType);
    EXPECT_EQ(info.GetCRMCode(), Named::Text("CRMCode", 16));
    EXPECT_EQ(info.GetFree(), 'Y');
    EXPECT_FALSE(info.IsFirst());
    _USER_MOVE_INFO again{};
    GetBillingInfoForUserMove("abc", &again);
    EXPECT_EQ(std::string(again.szCRMCode), Named::Text("CRMCode", 15));

    MoveFrom("def", 0);
    GetBillingInfoForUserMove("def", &again);
    EXPECT_EQ(again.nSeqNo, 0);
    Game().Checkout("def");
    EXPECT_EQ(Service().Expect<XC2S_CheckOutReq>()->strSeqNo, "");
}

TEST_F(BillingCallsTest, AnArrivalThatFailsLeavesTheUserOutOfTheMap)
{
    SetSecond(std::chrono::milliseconds(100));
    for (const bool bAnswered : {true, false}) {
        Service().On<XC2S_UserMoveFromReq>([bAnswered](const auto&, auto& ans) {
            Assign(ans, "bSuccess=0 strErrorMsg=no");
            return bAnswered;
        });
        EXPECT_EQ(
            MoveFrom("abc"),
            bAnswered ? "0,no" : "0,Failed to recieve a 'XS2C_UserMoveFromAns' msg because of timeout.");
    }
    EXPECT_EQ(FailedCheckOutVector().GetCount(), 0u);
    FailSend();
    EXPECT_EQ(MoveFrom("abc"), "0,Failed to send a 'XC2S_UserMoveFromReq' msg.");
    EXPECT_FALSE(IsIn("abc"));
    Wirova::RecordVector<XCheckOutInfo> list;
    ASSERT_TRUE(FailedCheckOutVector().GetFailedCheckOutList(list));
    EXPECT_EQ(list[0]->strSeqNo, "77");

    const _USER_REQ req = Game().User("abc");
    _RESULT_RES res{};
    UserMoveFrom(&req, nullptr, &res);
    EXPECT_STREQ(res.szError, "Request or response or billinfo arg is NULL.");
    EXPECT_TRUE(Journal::Logged(Journal::Level::Error, "request or response or billingo arg is NULL."));
}

TEST_F(BillingCallsTest, NamesStayGoodAndAreKeptOnce)
{
    Game().Stop();
    Game().settings.events = {"BILLING_EXPIRE", "WARNING"};
    ASSERT_TRUE(Game().Start());
    const char* const pszProduct = GetBillingName(7);
    const char* const pszEvent = GetEventName(1);
    EXPECT_STREQ(GetBillingName(8), "");
    EXPECT_STREQ(GetEventName(-1), "");
    Game().Stop();
    EXPECT_STREQ(GetBillingName(7), "");
    for (int n = 100; n < 1100; ++n)
        Game().settings.products.push_back({n, "name " + std::to_string(n), 1});
    Game().settings.events.resize(1000, "another name");
    ASSERT_TRUE(Game().Start());
    EXPECT_STREQ(GetBillingName(1099), "name 1099");
    EXPECT_EQ(GetBillingName(7), pszProduct);
    EXPECT_EQ(GetEventName(1), pszEvent);
    EXPECT_STREQ(pszProduct, "Gold");
    EXPECT_STREQ(pszEvent, "WARNING");
}

}  // namespace
