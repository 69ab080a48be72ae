// What the service tells unasked.
#include "session/FailedCheckOutVector.h"
#include "session/UserInfoMap.h"
#include "tests/connector/NamedValues.h"
#include "tests/fakeplatform/LogicTest.h"

namespace {

class NoticeTest : public LogicTest {
protected:
    void SetUp() override
    {
        LogicTest::SetUp();
        Service().SayYes();
        ASSERT_TRUE(Game().Start());
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
        EXPECT_STREQ(info.szUserKey, "abc");
        EXPECT_EQ(info.nEventCode, nCode);
        const bool bAddress = nCode == 1 || nCode == 3;
        Named::ExpectIn(info, {"szUserKey", "nEventCode", bAddress ? "" : "szUserIP"});
        EXPECT_EQ(*info.szUserIP != '\0', bAddress);
        EXPECT_TRUE(IsIn("abc"));
    }
    Service().ExpectNothing();
}

TEST_F(NoticeTest, AnExpiryTellsTheGameFirstAndThenChecksOut)
{
    int nCheckoutsBefore = -1;
    Game().On<BillingEvent>([&](const auto&) { nCheckoutsBefore = Service().Count<XC2S_CheckOutReq>(); });
    SendEvent(0);
    const auto checkout = Service().Expect<XC2S_CheckOutReq>();
    EXPECT_EQ(checkout->nReqID, -1);
    EXPECT_EQ(checkout->strSeqNo, "1");
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

TEST_F(NoticeTest, AGameThatThrowsIsCheckedOutOfNevertheless)
{
    Game().On<BillingEvent>([](const auto&) { throw std::runtime_error("of the game"); });
    SendEvent(0);
    Service().Expect<XC2S_CheckOutReq>();
    Settle();
    EXPECT_FALSE(IsIn("abc"));
}

TEST_F(NoticeTest, AStorageNoticeReachesTheGameForKnownUsersAndForNobody)
{
    XS2C_NotifyStorageInfo notice;
    notice.strCharacterID = std::string(30, 'c');
    notice.nItemCnt = 3;
    for (const char* pszUser : {"unknown", "abc", ""}) {
        notice.strUserID = pszUser;
        Service().Send(notice);
    }
    Settle();
    const auto got = Game().Got<NotifyStorageInfo>();
    ASSERT_EQ(got.size(), 2u);
    EXPECT_STREQ(got[0].szUserKey, "abc");
    EXPECT_STREQ(got[0].szCharacterID, std::string(20, 'c').c_str());
    EXPECT_EQ(got[0].nItemCount, 3);
    EXPECT_STREQ(got[1].szUserKey, "");
}

}  // namespace
