// The life of the connection.
#include "session/FailedCheckOutVector.h"
#include "session/UserInfoMap.h"
#include "tests/fakeplatform/LogicTest.h"
#include "tests/session/Users.h"

namespace {

using Names = std::vector<std::string>;

class ReconnectTest : public LogicTest {
protected:
    // Started with a quick reconnect, and the users in.
    void Play(std::initializer_list<const char*> listUsers)
    {
        Game().settings.nReconnectCycle = 1;
        Service().SayYes();
        ASSERT_TRUE(Game().Start());
        SetSecond(std::chrono::milliseconds(100));
        for (const char* pszUser : listUsers)
            ASSERT_EQ(Game().Checkin(pszUser).nResult, 0);
        Service().SayNothing();
    }
};

TEST_F(ReconnectTest, DeliversTheFailedCheckoutsFirstAndTheUserListAfterThem)
{
    Play({"alice", "bob", "carol"});
    Service().Down();
    Service().WaitForDisconnect();
    while (Game().Checkout("bob").szError != std::string("Failed to send a 'XC2S_CheckOutReq' msg."))
        ASSERT_TRUE(UserInfoMap().HasUserInfo("bob"));
    EXPECT_FALSE(UserInfoMap().HasUserInfo("bob"));
    Service().Forget();
    Service().Up();
    const auto failed = Service().Expect<XC2S_FailedCheckOutReq>();
    const auto sync = Service().Expect<XC2S_UserListSyncReq>();
    EXPECT_EQ(Pick(*failed, "strUserID strSeqNo"), "|bob,1");
    EXPECT_EQ(Pick(*sync, "strUserID nProductID"), "|alice,7|carol,7");
    EXPECT_EQ(Service().Names(),
              (Names{"XC2S_VelkarConnectReq", "XC2S_FailedCheckOutReq", "XC2S_UserListSyncReq"}));
    EXPECT_TRUE(Journal::WaitFor(Journal::Level::Info,
                                 "[Failed Checkout Vector] Failed checkout user list start.\r\n"
                                 "\tUser ID: bob\r\n\tUser IP: 10.0.0.1\r\n"
                                 "[Failed Checkout Vector] Failed checkout user list end."));
    EXPECT_EQ(FailedCheckOutVector().GetCount(), 0u);
}

// Who is leaving is on no list any more, and a checkout that has lost its link before its answer is delivered
// again: until the service has it for sure.
TEST_F(ReconnectTest, ACheckoutThatLosesItsLinkIsDeliveredAgain)
{
    Game().settings.nHeartbeatCycle = 1;
    Play({"alice", "bob"});
    auto checkout = Game().Later([&] { return Game().Checkout("bob"); });
    Service().Expect<XC2S_CheckOutReq>();
    for (int nConnection = 2; nConnection < 4; ++nConnection) {
        Service().Forget();
        Service().Drop();
        Service().WaitForConnection(nConnection);
        EXPECT_EQ(Pick(*Service().Expect<XC2S_FailedCheckOutReq>(), "strUserID"), "|bob");
        EXPECT_EQ(Pick(*Service().Expect<XC2S_UserListSyncReq>(), "strUserID"), "|alice");
    }
    checkout.get();
    while (FailedCheckOutVector().GetSentCount() != 0)
        std::this_thread::yield();
    Service().Drop();
    Service().WaitForConnection(4);
    Service().Expect<XC2S_UserListSyncReq>();
    Service().ExpectNothing();
    // With the link up, the next heartbeat brings it along.
    FailedCheckOutVector().AddFailedUser(User("carol"));
    EXPECT_EQ(Pick(*Service().Expect<XC2S_FailedCheckOutReq>(), "strUserID"), "|carol");
    EXPECT_EQ(Service().Connections(), 4);
}

// Its Req ID is the first link's; the second link may have given it to another order.
TEST_F(ReconnectTest, TheGamesAnswerGoesOutOnTheLinkOfItsRequestOrNotAtAll)
{
    Play({});
    Game().Hold<SpendGameMoney>();
    Service().Send(XS2C_SpendGameMoneyReq());
    Game().WaitFor<SpendGameMoney>();
    Service().Cut();
    Service().WaitForConnection(2);
    ASSERT_TRUE(Journal::WaitFor(Journal::Level::Info, "Reconnection to Velkar server."));
    Service().Ask(XS2C_QueryGameMoneyReq());
    Game().Release<SpendGameMoney>();
    ASSERT_TRUE(Journal::WaitFor(Journal::Level::Error, "Failed to send a 'XC2S_SpendGameMoneyAns' msg"));
    EXPECT_EQ(Service().Count<XC2S_SpendGameMoneyAns>(), 0);
}

TEST_F(ReconnectTest, EmptyListsSendNothingAndALinkOutOfStepIsGivenUp)
{
    Play({});
    Service().Forget();
    Service().SendRaw(std::string("\x7F\xFF\xFF\xFF\x01\x58\x65\xAA", 8));  // a body beyond all bounds
    Service().WaitForConnection(2);
    EXPECT_TRUE(Journal::WaitFor(Journal::Level::Error, "holds no msg of the protocol"));
    Service().Expect<XC2S_VelkarConnectReq>();
    Service().ExpectNothing();
}

TEST_F(ReconnectTest, AListThatCannotBeSentIsKept)
{
    Play({"alice"});
    FailedCheckOutVector().AddFailedUser(User("bob", "10.0.0.2"));
    Service().IgnoreRegistration();
    Service().Forget();
    SetSecond(std::chrono::milliseconds(500));  // the answer has to come within five of these
    Service().Drop();
    Service().WaitForConnection(2);
    Service().Expect<XC2S_VelkarConnectReq>();
    Fail(Op::LinkSend, kAlways);
    Service().Send(XS2C_VelkarConnectAns());
    ASSERT_TRUE(Journal::WaitFor(Journal::Level::Error, "Failed to send a 'XC2S_UserListSyncReq' msg."));
    EXPECT_EQ(FailedCheckOutVector().GetCount(), 1u);
}

TEST_F(ReconnectTest, ARefusalDropsTheLinkAndIsTriedAgain)
{
    Play({});
    Service().RefuseRegistration("nResult=3");
    Service().Drop();
    Service().WaitForConnection(3);
    Service().AcceptRegistration();
    Service().SayYes();
    while (Game().Checkin("abc").nResult != 0) {
    }
    EXPECT_GE(Service().Connections(), 3);
}

TEST_F(ReconnectTest, ASecondUnaskedAnswerHoldsNobody)
{
    Service().AnswerRegistrationTwice();
    Service().SayYes();
    ASSERT_TRUE(Game().Start());
    EXPECT_EQ(Game().Checkin("abc").nResult, 0);
    Service().Send<XS2C_VelkarConnectAns>("nResult=7");
    EXPECT_EQ(Game().Checkin("def").nResult, 0);
    EXPECT_EQ(Service().Connections(), 1);
}

TEST_F(ReconnectTest, AStreamThatFailsIsTriedAgainButNotForEver)
{
    Play({});
    Service().SayYes();
    Fail(Op::LockReadStream);  // costs one receive of two
    Service().Send(XS2C_ChargeAns());
    ASSERT_TRUE(Journal::WaitFor(Journal::Level::Error, "Failed to get a recv stream. [Error code: 4711]"));
    Fail(Op::StreamRemoveLeft, 2);  // the header cannot be taken off
    EXPECT_EQ(Game().Checkin("abc").nResult, 0);
    Fail(Op::StreamRemoveLeft, kAlways);
    Service().Send(XS2C_ChargeAns());
    ASSERT_TRUE(Journal::WaitFor(Journal::Level::Error, "holds no msg of the protocol"));
    Fail(Op::StreamRemoveLeft, 0);
    Service().WaitForConnection(2);
}

TEST_F(ReconnectTest, ALinkWithoutAReceiveIsClosed)
{
    Play({});
    Service().Ask(XS2C_QueryGameMoneyReq());
    Fail(Op::LockReadStream, 2);
    Service().SendRaw(std::string(4, '\0'));
    Service().SendRaw(std::string(4, '\0'));
    Service().WaitForConnection(2);
}

}  // namespace
