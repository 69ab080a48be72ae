// Checkin and Checkout against a service that does what a test wants.
#include <thread>

#include "session/FailedCheckOutVector.h"
#include "session/UserInfoMap.h"
#include "tests/connector/NamedValues.h"
#include "tests/fakeplatform/LogicTest.h"

namespace {

class SessionCallsTest : public LogicTest {
protected:
    static bool IsIn(const char* pszUser) { return UserInfoMap().HasUserInfo(pszUser); }
    static CUserInfo InfoOf(const char* pszUser)
    {
        CUserInfo info;
        EXPECT_TRUE(UserInfoMap().FindUserInfo(pszUser, info));
        return info;
    }
    _CHECKIN_RES CheckinAnsweredWith(int nCode)
    {
        Service().On<XC2S_CheckInReq>([nCode](const auto&, auto& ans) { ans.nResult = nCode; });
        return Game().Checkin("abc");
    }
};

TEST_F(SessionCallsTest, ACheckinFillsTheRecordAndTheMap)
{
    Game().settings.products = {{7, "Gold", 3}};
    ASSERT_TRUE(Game().Start());
    Service().On<XC2S_CheckInReq>([](const auto&, auto& ans) {
        Named::Fill(ans);
        ans.nResult = 0, ans.nProductID = 7, ans.nRemainMinutes = -1;
        ans.strUserID = "abc", ans.strUserIP = "10.0.0.1", ans.strSeqNo = "4711";
    });
    const auto res = Game().Checkin("abc");
    EXPECT_EQ(res.nResult, 0);
    EXPECT_EQ(res.nBillingID, 3);  // the settings' word, not the service's
    EXPECT_EQ(res.nProductID, 7);
    EXPECT_EQ(res.nRemainMinutes, 0xFFFFFFFFll);
    EXPECT_EQ(std::string(res.szError), Named::Text("ErrorMsg", 1024));
    EXPECT_EQ(std::string(res.szCRMCode), Named::Text("CRMCode", 15));
    EXPECT_EQ(std::string(res.szEndDate), Named::Text("EndDate", 14));
    const CUserInfo info = InfoOf("abc");
    EXPECT_EQ(info.GetSeqNo(), "4711");
    EXPECT_EQ(info.GetUserIP(), "10.0.0.1");
    EXPECT_EQ(info.GetFree(), Named::Letter("cFree"));
    EXPECT_EQ(info.GetBillingID(), 3);
    EXPECT_EQ(info.GetEndDate(), res.szEndDate);
}

TEST_F(SessionCallsTest, CodesOfTheService)
{
    ASSERT_TRUE(Game().Start());
    struct {
        int nCode, nResult;
        bool bExtra;
    } constexpr kRows[] = {{0, 0, false},      {90006, 0, true},      {30006, -1, true},
                           {30005, -1, false}, {2, -1, false},        {1, 1, false},
                           {-7, -7, false},    {30007, 30007, false}, {90005, 90005, false}};
    for (const auto& row : kRows) {
        const auto res = CheckinAnsweredWith(row.nCode);
        EXPECT_EQ(res.nResult, row.nResult) << row.nCode;
        EXPECT_EQ(res.bExtra, row.bExtra) << row.nCode;
        EXPECT_EQ(IsIn("abc"), row.nResult == 0) << row.nCode;
        UserInfoMap().RemoveAllUserInfo();
    }
    // The user is known by the answer's id, or else by its number.
    for (const char* pszUser : {"abc", ""}) {
        Service().On<XC2S_CheckInReq>(
            [pszUser](const auto&, auto& ans) { ans.strUserID = pszUser, ans.strUserNo = "555"; });
        Game().Checkin("abc");
        EXPECT_EQ(IsIn("555"), *pszUser == '\0');
        EXPECT_TRUE(IsIn("abc"));
    }
}

TEST_F(SessionCallsTest, ACheckoutOfAnUnknownUserAsksNobody)
{
    ASSERT_TRUE(Game().Start());
    EXPECT_STREQ(Game().Checkout("abc").szError, "This user is not checkined.");
    // The look-up takes the whole field: 23 characters are another user than 22.
    Service().SayYes();
    Game().Checkin(std::string(22, 'x'));
    _USER_REQ req = Game().User("");
    std::memset(req.szUserID, 'x', sizeof(req.szUserID));
    EXPECT_STREQ(Game().Call(&Checkout, req).szError, "This user is not checkined.");
    EXPECT_EQ(Service().Count<XC2S_CheckOutReq>(), 0);
}

TEST_F(SessionCallsTest, AUserIsGoneAfterCheckoutWhateverTheAnswer)
{
    ASSERT_TRUE(Game().Start());
    SetSecond(std::chrono::milliseconds(100));
    for (const bool bAnswered : {true, false}) {
        CheckinAnsweredWith(0);
        Service().On<XC2S_CheckOutReq>([bAnswered](const auto&, auto& ans) {
            ans.bSuccess = false, ans.strErrorMsg = "no";
            return bAnswered;
        });
        EXPECT_STREQ(Game().Checkout("abc").szError,
                     bAnswered ? "no" : "Failed to receive a 'XS2C_CheckOutAns' msg because of timeout.");
        EXPECT_FALSE(IsIn("abc"));
    }
}

TEST_F(SessionCallsTest, ACheckoutThatCannotBeSentIsKept)
{
    Service().SayYes();
    ASSERT_TRUE(Game().Start());
    for (const Op op : {Op::LockActiveLinks, Op::GetLink, Op::StreamCreate, Op::StreamWrite, Op::LinkSend}) {
        Game().Checkin("abc");
        Fail(op);
        EXPECT_STREQ(Game().Checkout("abc").szError, "Failed to send a 'XC2S_CheckOutReq' msg.");
        EXPECT_FALSE(IsIn("abc"));
        EXPECT_EQ(FailedCheckOutVector().GetCount(), 1u);
        FailedCheckOutVector().RemoveAll();
    }
    EXPECT_TRUE(Journal::Logged(Journal::Level::Error,
                                "[Velkar Connector] Failed to send a 'XC2S_CheckOutReq' msg(Req ID: "));
}

TEST_F(SessionCallsTest, ALateCheckinIsUndoneByExactlyOneCheckout)
{
    ASSERT_TRUE(Game().Start());
    SetSecond(std::chrono::milliseconds(100));
    EXPECT_STREQ(Game().Checkin("abc").szError,
                 "Failed to receive a 'XS2C_CheckInAns' msg because of timeout.");
    const auto req = Service().Expect<XC2S_CheckInReq>();
    Service().Reply(*req, [](auto& ans) { ans.nResult = 5; });  // a failure needs no undoing
    Service().Reply(*req, [](auto& ans) { ans.strSeqNo = "99"; });
    const auto undo = Service().Expect<XC2S_CheckOutReq>();
    EXPECT_EQ(undo->nReqID, -1);
    EXPECT_EQ(undo->strUserID, "abc");
    EXPECT_EQ(undo->strSeqNo, "");  // the user has never been in the map
    EXPECT_FALSE(IsIn("abc"));
    Service().ExpectNothing();
    // One that cannot be sent is kept, with the Seq No.
    FailSend();
    Service().Reply(*req, [](auto& ans) { ans.strSeqNo = "99"; });
    while (FailedCheckOutVector().GetCount() == 0)
        std::this_thread::yield();
    Wirova::RecordVector<XCheckOutInfo> list;
    FailedCheckOutVector().GetFailedCheckOutList(list);
    EXPECT_EQ(list[0]->strSeqNo, "99");
}

TEST_F(SessionCallsTest, AnswersOfOtherKindsAndNumbersReachNobody)
{
    ASSERT_TRUE(Game().Start());
    auto checkin = Game().Later([&] { return Game().Checkin("abc"); });
    const auto req = Service().Expect<XC2S_CheckInReq>();
    XS2C_CheckOutAns other;
    other.nReqID = req->nReqID;
    other.bSuccess = true;
    XS2C_QueryBillingInfoAns sameRecord;
    sameRecord.nReqID = req->nReqID;
    Service().Send(other, sameRecord);
    Service().Reply(*req, [](auto& ans) { ans.nReqID += 1000, ans.nResult = 5; });
    Service().Reply(*req, [](auto& ans) { ans.strSeqNo = "7"; });
    EXPECT_EQ(checkin.get().nResult, 0);
    EXPECT_EQ(InfoOf("abc").GetSeqNo(), "7");
}

TEST_F(SessionCallsTest, NullArguments)
{
    ASSERT_TRUE(Game().Start());
    _CHECKIN_RES res;
    std::memset(&res, 0x5A, sizeof(res));
    Checkin(nullptr, &res);
    EXPECT_EQ(res.nResult, -1);
    EXPECT_STREQ(res.szError, "Request or response arg is NULL.");
    const _USER_REQ req = Game().User("abc");
    Checkin(&req, nullptr);
    Checkout(&req, nullptr);
    EXPECT_EQ(Journal::Count(Journal::Level::Error, "request or response arg is NULL."), 3);
    Service().ExpectNothing();
}

}  // namespace
