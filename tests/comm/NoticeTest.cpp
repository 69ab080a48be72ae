// What the service tells unasked.
#include "session/FailedCheckOutVector.h"
#include "session/UserInfoMap.h"
#include "tests/connector/NamedValues.h"
#include "tests/fakeplatform/LogicTest.h"

namespace {

class NoticeTest : public StartedTest {
protected:
    void SetUp() override
    {
        StartedTest::SetUp();
        Service().SayYes();
        ASSERT_EQ(Game().Checkin("abc").nResult, 0);
        Service().Forget();
    }
    static bool IsIn(const char* pszUser) { return UserInfoMap().HasUserInfo(pszUser); }
    void SendEvent(int nCode, const std::string& strUserID = "abc", const std::string& strUserNo = "")
    {
        XS2C_BillingEventNotice notice;
        Named::Fill(notice);
        notice.strUserID = strUserID, notice.strUserNo = strUserNo;
        notice.nEventCode = nCode;
        Service().Send(notice);
    }
    // The notices before have been dealt with.
    void Settle() { Service().Ask(XS2C_QueryGameMoneyReq()); }
};

TEST_F(NoticeTest, EventsThatOnlyTell)
{
    for (const int nCode : {1, 3, 7, -1}) {
        SendEvent(nCode);
        Settle();
        const auto info = Game().Got<BillingEvent>().back();
        EXPECT_EQ(Named::Pick(info, "szUserKey nEventCode"), "abc," + std::to_string(nCode));
        const bool bAddress = nCode == 1 || nCode == 3;
        Named::ExpectIn(info, {"szUserKey", "nEventCode", bAddress ? "" : "szUserIP"});
        EXPECT_EQ(*info.szUserIP != '\0', bAddress);
        EXPECT_TRUE(IsIn("abc"));
    }
    Service().ExpectNothing();
}

// Whatever the game throws.
TEST_F(NoticeTest, AnExpiryTellsTheGameFirstAndThenChecksOut)
{
    int nCheckoutsBefore = -1;
    Game().On<BillingEvent>([&](const auto&) {
        nCheckoutsBefore = Service().Count<XC2S_CheckOutReq>();
        throw std::runtime_error("of the game");
    });
    SendEvent(0);
    EXPECT_EQ(Pick(*Service().Expect<XC2S_CheckOutReq>(), "nReqID strSeqNo"), "-1,1");
    Settle();
    EXPECT_EQ(nCheckoutsBefore, 0);
    EXPECT_STRNE(Game().WaitFor<BillingEvent>().szUserIP, "");
    EXPECT_FALSE(IsIn("abc"));
    // A user who is not known here, named by the number: told and checked out all the same.
    SendEvent(0, "", "555");
    EXPECT_EQ(Service().Expect<XC2S_CheckOutReq>()->strUserID, "555");
    EXPECT_STREQ(Game().WaitFor<BillingEvent>(2).szUserKey, "555");
}

TEST_F(NoticeTest, AnExpiryThatCannotBeSentIsKeptIfTheUserIsKnown)
{
    Game().On<BillingEvent>([](const auto&) { FailSend(); });
    SendEvent(0, "unknown");
    Settle();
    EXPECT_EQ(FailedCheckOutVector().GetCount(), 0u);
    SendEvent(0);
    Settle();
    EXPECT_EQ(FailedCheckOutVector().GetCount(), 1u);
    EXPECT_FALSE(IsIn("abc"));
}

TEST_F(NoticeTest, AForcedCheckoutIsSilent)
{
    SendEvent(2);
    Settle();
    EXPECT_FALSE(IsIn("abc"));
    EXPECT_TRUE(Game().Got<BillingEvent>().empty());
    Service().ExpectNothing();
}

TEST_F(NoticeTest, AStorageNoticeReachesTheGameForKnownUsersAndForNobody)
{
    for (const std::string strUser : {"unknown", "abc", ""})
        Service().Send<XS2C_NotifyStorageInfo>("nItemCnt=3 strCharacterID=" + std::string(30, 'c') +
                                               " strUserID=" + strUser);
    Settle();
    std::string strGot;
    for (const auto& info : Game().Got<NotifyStorageInfo>())
        strGot += Named::Pick(info, "szUserKey szCharacterID nItemCount") + ' ';
    EXPECT_EQ(strGot, "abc,cccccccccccccccccccc,3 ,cccccccccccccccccccc,3 ");
}

}  // namespace
