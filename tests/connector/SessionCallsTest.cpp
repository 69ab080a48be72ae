// Checkin and Checkout against a service that does what a test wants.
#include <thread>

#include "comm/CommHandler.h"
#include "session/FailedCheckOutVector.h"
#include "session/UserInfoMap.h"
#include "tests/connector/NamedValues.h"
#include "tests/fakeplatform/LogicTest.h"

namespace {

class SessionCallsTest : public StartedTest {
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
    Service().On<XC2S_CheckInReq>([](const auto&, auto& ans) {
        Named::Fill(ans);
        Assign(ans,
               "nResult=0 nProductID=7 nRemainMinutes=-1 strUserID=abc strUserIP=10.0.0.1 strSeqNo=4711");
    });
    const auto res = Game().Checkin("abc");
    // The billing id is the settings' word, not the service's.
    EXPECT_EQ(Named::Pick(res, "nResult nBillingID nProductID nRemainMinutes"), "0,2,7,4294967295");
    EXPECT_EQ(Named::Pick(res, "szError"), Named::Text("ErrorMsg", 1024));
    Named::ExpectIn(
        res, {"nResult", "nBillingID", "nProductID", "nRemainMinutes", "szError", "bExtra", "bPCCafe"});
    const CUserInfo info = InfoOf("abc");
    EXPECT_EQ(info.GetSeqNo() + ' ' + info.GetUserIP() + ' ' + info.GetEndDate(),
              std::string("4711 10.0.0.1 ") + res.szEndDate);
    EXPECT_EQ(info.GetFree(), Named::Letter("cFree"));
    EXPECT_EQ(info.GetBillingID(), 2);
}

TEST_F(SessionCallsTest, CodesOfTheService)
{
    struct {
        int nCode, nResult;
        bool bExtra;
    } constexpr kRows[] = {{0, 0, false},      {90006, 0, true},      {30006, -1, true},
                           {30005, -1, false}, {2, -1, false},        {1, 1, false},
                           {-7, -7, false},    {30007, 30007, false}, {90005, 90005, false}};
    for (const auto& row : kRows) {
        const auto res = CheckinAnsweredWith(row.nCode);
        EXPECT_TRUE(res.nResult == row.nResult && res.bExtra == row.bExtra) << row.nCode;
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
    SetSecond(std::chrono::milliseconds(100));
    for (const bool bAnswered : {true, false}) {
        CheckinAnsweredWith(0);
        Service().On<XC2S_CheckOutReq>([bAnswered](const auto&, auto& ans) {
            Assign(ans, "bSuccess=0 strErrorMsg=no");
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
    for (const Op op : {Op::LockActiveLinks, Op::GetLink, Op::StreamCreate, Op::StreamWrite, Op::LinkSend}) {
        Game().Checkin("abc");
        FailBehindHeartbeat(op);
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
    SetSecond(std::chrono::milliseconds(100));
    EXPECT_STREQ(Game().Checkin("abc").szError,
                 "Failed to receive a 'XS2C_CheckInAns' msg because of timeout.");
    const auto req = Service().Expect<XC2S_CheckInReq>();
    Service().Reply(*req, "nResult=5");  // a failure needs no undoing
    Service().Reply(*req, "strSeqNo=99");
    // The undoing names no Seq No: the user has never been in the map.
    EXPECT_EQ(Pick(*Service().Expect<XC2S_CheckOutReq>(), "nReqID strUserID strSeqNo"), "-1,abc,");
    EXPECT_FALSE(IsIn("abc"));
    Service().ExpectNothing();
    // One that cannot be sent is kept, with the Seq No.
    FailSend();
    Service().Reply(*req, "strSeqNo=99");
    while (FailedCheckOutVector().GetCount() == 0)
        std::this_thread::yield();
    Wirova::RecordVector<XCheckOutInfo> list;
    FailedCheckOutVector().GetFailedCheckOutList(list);
    EXPECT_EQ(list[0]->strSeqNo, "99");
}

// A user who has checked in again stays in, here and at the service, whatever an earlier call of the user
// still brings about.
TEST_F(SessionCallsTest, ALateAnswerLeavesTheNextSessionAlone)
{
    int nSeqNo = 0;
    const auto answer = [&nSeqNo](const auto&, auto& ans) { ans.strSeqNo = std::to_string(++nSeqNo); };
    Service().On<XC2S_CheckInReq>(answer);
    Game().Checkin("abc");
    auto checkout = Game().Later([&] { return Game().Checkout("abc"); });
    const auto leave = Service().Expect<XC2S_CheckOutReq>();
    EXPECT_EQ(leave->strSeqNo, "1");
    Game().Checkin("abc");
    Service().Reply(*leave);
    EXPECT_EQ(checkout.get().bSuccess, 1);
    EXPECT_EQ(InfoOf("abc").GetSeqNo(), "2");

    SetSecond(std::chrono::milliseconds(100));
    Service().SayNothing();
    Service().Forget();
    Game().Checkin("abc");  // times out
    const auto late = Service().Expect<XC2S_CheckInReq>();
    Service().Reply(*late, "strSeqNo=3");
    EXPECT_EQ(Service().Expect<XC2S_CheckOutReq>()->strSeqNo, "3");
    Service().Reply(*late, "strSeqNo=2");  // names the living session: a repetition, and nothing to undo
    Service().Ask(XS2C_QueryGameMoneyReq());
    EXPECT_TRUE(IsIn("abc"));

    Game().Checkin("def");  // times out
    const auto first = Service().Expect<XC2S_CheckInReq>();
    auto retry = Game().Later([&] { return Game().Checkin("def"); });
    const auto second = Service().Expect<XC2S_CheckInReq>();
    Service().Reply(*first, "strSeqNo=4");
    EXPECT_EQ(Service().Expect<XC2S_CheckOutReq>()->strSeqNo, "4");
    Service().Reply(*second, "strSeqNo=5");
    EXPECT_EQ(retry.get().nResult, 0);
    EXPECT_EQ(InfoOf("def").GetSeqNo(), "5");
    Service().ExpectNothing();
}

TEST_F(SessionCallsTest, WhatBelongsToAnEarlierLifeStaysOutOfTheNext)
{
    CheckinAnsweredWith(0);
    const CUserInfo old = InfoOf("abc");
    auto checkout = Game().Later([&] { return Game().Checkout("abc"); });
    Service().Expect<XC2S_CheckOutReq>();
    Game().Stop();
    ASSERT_TRUE(Game().Start());
    CheckinAnsweredWith(0);
    EXPECT_STREQ(checkout.get().szError, "Failed to receive a 'XS2C_CheckOutAns' msg because of timeout.");
    EXPECT_TRUE(IsIn("abc"));
    FailedCheckOutVector().AddFailedUser(old);
    EXPECT_EQ(FailedCheckOutVector().GetCount(), 0u);
    EXPECT_FALSE(UserInfoMap().AddUserInfo("def", old));
    EXPECT_FALSE(CommHandler().SendInLife<XC2S_Heartbeat>(old.GetLife(), [] {}));
}

TEST_F(SessionCallsTest, NullArguments)
{
    _CHECKIN_RES res;
    std::memset(&res, 0x5A, sizeof(res));
    Checkin(nullptr, &res);
    EXPECT_EQ(Named::Pick(res, "nResult szError"), "-1,Request or response arg is NULL.");
    const _USER_REQ req = Game().User("abc");
    Checkin(&req, nullptr);
    Checkout(&req, nullptr);
    EXPECT_EQ(Journal::Count(Journal::Level::Error, "request or response arg is NULL."), 3);
    Service().ExpectNothing();
}

}  // namespace
