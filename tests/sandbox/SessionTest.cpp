// Checkin, checkout, queries, moves and charges.
#include <gtest/gtest.h>

#include "sandbox/base/DateText.h"
#include "tests/sandbox/SandboxFixture.h"

using namespace SandboxTest;

namespace {

class SessionTest : public testing::Test {
protected:
    SessionTest() { m_client.Register(); }

    template <class Ans, class Req>
    std::unique_ptr<Ans> AskFor(const std::string& strUserID)
    {
        Req req;
        req.strUserID = strUserID;
        return m_client.Ask<Ans>(req);
    }
    void Charge(int nProductID, const std::string& strUserID, const std::string& strSeqNo)
    {
        XC2S_ChargeReq req;
        req.nPID = nProductID;
        XChargeInfo& info = req.vecChargeInfo.Add();
        info.strUserID = strUserID;
        info.strUserIP = "10.0.0.1";
        info.strSeqNo = strSeqNo;
        m_client.Send(req);
    }
    std::int64_t MinutesOf(const std::string& strUserID)
    {
        return AskFor<XS2C_QueryBillingInfoAns, XC2S_QueryBillingInfoReq>(strUserID)->nRemainMinutes;
    }

    RunningSandbox m_sandbox;
    Client m_client{m_sandbox.Port()};
};

}  // namespace

TEST_F(SessionTest, CheckinAnswersWithTheUsersBilling)
{
    const auto alice = m_client.CheckIn("alice");
    EXPECT_EQ(alice->nResult, 0) << alice->strErrorMsg;
    EXPECT_EQ(alice->strUserID, "alice");
    EXPECT_EQ(alice->strUserNo, "");
    EXPECT_EQ(alice->strUserIP, "10.0.0.1");
    EXPECT_EQ(alice->cFree, 'N');
    EXPECT_EQ(alice->nBillType, 1);
    EXPECT_EQ(alice->nProductID, 1001);
    EXPECT_EQ(alice->strCRMCode, "CRM-1");
    EXPECT_EQ(alice->strErrorMsg, "");
    const auto end = Sandbox::ParseDate(alice->strEndDate);
    ASSERT_TRUE(end) << alice->strEndDate;
    EXPECT_NEAR(static_cast<double>(*end - std::time(nullptr)), 30 * 86400, 7200)
        << "an hour, where clocks are put on";
    EXPECT_NEAR(static_cast<double>(alice->nRemainMinutes), 30 * 1440, 120);

    const auto carol = AskFor<XS2C_CheckInExAns, XC2S_CheckInExReq>("carol");
    EXPECT_EQ(carol->nBillType, 3);
    EXPECT_EQ(carol->nRemainMinutes, 300);
    ASSERT_EQ(carol->vecOtherBilling.size(), 2u);
    EXPECT_EQ(carol->vecOtherBilling[1]->nProductID, 1002);
    EXPECT_EQ(carol->vecOtherBilling[1]->nRemainMinutes, 45);
    EXPECT_GT(std::stoll(carol->strSeqNo), std::stoll(alice->strSeqNo));
    EXPECT_LE(std::stoll(carol->strSeqNo), INT32_MAX) << "the game keeps 31 bits";
}

TEST_F(SessionTest, UsersAreFoundByNumberToo)
{
    XC2S_CheckInReq req;
    req.strUserNo = "10002";
    const auto bob = m_client.Ask<XS2C_CheckInAns>(req);
    EXPECT_EQ(bob->nResult, 0);
    EXPECT_EQ(bob->strUserID, "");
    EXPECT_EQ(bob->strUserNo, "10002");
    EXPECT_EQ(bob->nBillType, 2);
    EXPECT_EQ(m_client.CheckIn("10002")->nResult, 2) << "a number is no id";
    XC2S_CheckOutReq out;
    out.strUserNo = "10002";
    out.strSeqNo = bob->strSeqNo;
    EXPECT_EQ(m_client.Ask<XS2C_CheckOutAns>(out)->bSuccess.nByte, 1);
}

TEST_F(SessionTest, UsersMadeToFailDoWithTheirOwnCode)
{
    const struct {
        const char* pszUserID;
        int nResult;
    } kCases[] = {{"nobody", 2},
                  {"", 7},
                  {"term-is-over", 4},
                  {"no-minutes-left", 6},
                  {"refused-30006", 30006},
                  {"refused-5", 5},
                  {"refused-1", 1},
                  {"refused-40000", 40000}};
    for (const auto& test : kCases) {
        const auto ans = m_client.CheckIn(test.pszUserID);
        EXPECT_EQ(ans->nResult, test.nResult) << test.pszUserID;
        EXPECT_FALSE(ans->strErrorMsg.empty()) << test.pszUserID;
        EXPECT_TRUE(ans->strSeqNo.empty()) << test.pszUserID;
        EXPECT_EQ(ans->nProductID, 0) << test.pszUserID;
    }
    EXPECT_TRUE(m_sandbox.Sessions().empty());
    const auto warned = m_client.CheckIn("warned-90006");
    EXPECT_EQ(warned->nResult, 90006);
    EXPECT_EQ(warned->strErrorMsg, "");
    EXPECT_EQ(m_sandbox.Sessions().size(), 1u);
    EXPECT_EQ((AskFor<XS2C_QueryBillingInfoAns, XC2S_QueryBillingInfoReq>("refused-30006")->nResult), 30006);
}

TEST_F(SessionTest, ASecondCheckinReplacesTheFirst)
{
    const auto first = m_client.CheckIn("alice");
    const auto second = m_client.CheckIn("alice");
    EXPECT_EQ(second->nResult, 0);
    EXPECT_GT(std::stoll(second->strSeqNo), std::stoll(first->strSeqNo));
    EXPECT_EQ(m_client.CheckOut("alice", first->strSeqNo)->bSuccess.nByte, 0) << "that session is over";
    EXPECT_EQ(m_client.CheckOut("alice", second->strSeqNo)->bSuccess.nByte, 1);
    EXPECT_EQ(m_client.CheckOut("alice", second->strSeqNo)->bSuccess.nByte, 0);
}

TEST_F(SessionTest, CheckoutNeedsAUserWhoIsCheckedIn)
{
    const auto alice = m_client.CheckIn("alice");
    m_client.CheckIn("bob");
    EXPECT_EQ(m_client.CheckOut("bob", alice->strSeqNo)->bSuccess.nByte, 0) << "alice's Seq No";
    for (const char* const pszSeqNo : {"0", "-1", "12x", " 1", "99999999999999999999"})
        EXPECT_EQ(m_client.CheckOut("alice", pszSeqNo)->bSuccess.nByte, 0) << pszSeqNo;
    EXPECT_EQ(m_client.CheckOut("nobody")->bSuccess.nByte, 0);
    EXPECT_EQ(m_client.CheckOut("")->bSuccess.nByte, 0);
    EXPECT_EQ(m_sandbox.Sessions().size(), 2u);
    EXPECT_EQ(m_client.CheckOut("bob", "")->bSuccess.nByte, 1) << "an empty Seq No means the user";
    EXPECT_EQ(m_sandbox.Sessions(), std::vector<std::string>{"alice on g/s/w"});
}

TEST_F(SessionTest, QueriesAnswerWithoutACheckin)
{
    const auto cafe = AskFor<XS2C_QueryBillingInfoAns, XC2S_QueryBillingInfoReq>("pc-cafe");
    EXPECT_EQ(cafe->nResult, 0);
    EXPECT_EQ(cafe->bPCCafe.nByte, 1);
    const auto carol = AskFor<XS2C_QueryBillingInfoExAns, XC2S_QueryBillingInfoExReq>("carol");
    EXPECT_EQ(carol->nBillType, 3);
    EXPECT_EQ(carol->vecOtherBilling.size(), 2u);
    EXPECT_EQ(MinutesOf("no-minutes-left"), 0) << "who may not check in may still ask";
    EXPECT_TRUE(m_sandbox.Sessions().empty());
}

TEST_F(SessionTest, ATermRunsFromTheCheckin)
{
    m_sandbox.Advance(19'000);  // the same user can be shown again and again
    m_client.Heartbeat();
    const auto first = m_client.CheckIn("expires-in-20s");
    EXPECT_EQ(first->nResult, 0);
    m_sandbox.Advance(10'000);
    const auto asked = AskFor<XS2C_QueryBillingInfoAns, XC2S_QueryBillingInfoReq>("expires-in-20s");
    EXPECT_EQ(asked->strEndDate, first->strEndDate) << "a query does not prolong it";
    EXPECT_GT(m_client.CheckIn("expires-in-20s")->strEndDate, first->strEndDate);
}

TEST_F(SessionTest, AMoveTakesTheSessionToAnotherConnector)
{
    Client target(m_sandbox.Port());
    target.Register("target");
    const auto alice = m_client.CheckIn("alice");
    EXPECT_EQ(target.MoveFrom("alice")->bSuccess.nByte, 0) << "she has not left";
    EXPECT_EQ(target.MoveTo("alice")->bSuccess.nByte, 0) << "and is not here";
    EXPECT_EQ(m_client.MoveTo("alice")->bSuccess.nByte, 1);
    EXPECT_EQ(target.MoveFrom("alice")->bSuccess.nByte, 1);
    EXPECT_EQ(target.MoveFrom("alice")->bSuccess.nByte, 1) << "asked again after a lost answer";
    EXPECT_EQ(m_client.CheckOut("alice", alice->strSeqNo)->bSuccess.nByte, 0);
    EXPECT_EQ(target.CheckOut("alice", alice->strSeqNo)->bSuccess.nByte, 1) << "under her Seq No";
    EXPECT_EQ(target.MoveFrom("alice")->bSuccess.nByte, 0);
}

TEST_F(SessionTest, AMoveThatEndsNowhereIsACheckout)
{
    m_client.CheckIn("alice");
    m_client.CheckIn("bob");
    m_client.MoveTo("alice");
    m_client.MoveTo("bob");
    Client target(m_sandbox.Port());
    target.Register("target", 1000);
    EXPECT_EQ(target.CheckIn("bob")->nResult, 0) << "a checkin ends a move";
    for (int i = 0; i < 3; ++i) {
        m_client.Heartbeat();
        m_sandbox.Advance(20'000);
    }
    EXPECT_EQ(m_sandbox.Sessions(), (std::vector<std::string>{"alice on g/s/w moving", "bob on target/s/w"}));
    m_sandbox.Advance(1'000);
    EXPECT_EQ(m_sandbox.Sessions(), std::vector<std::string>{"bob on target/s/w"});
}

TEST_F(SessionTest, ChargesTakeMinutesFromThoseWhoHaveThem)
{
    const auto bob = m_client.CheckIn("bob");
    const auto alice = m_client.CheckIn("alice");
    Charge(1002, "bob", bob->strSeqNo);
    m_client.Receive<XS2C_ChargeAns>();
    EXPECT_EQ(MinutesOf("bob"), 599);
    Charge(1001, "bob", bob->strSeqNo);  // not his product
    m_client.Receive<XS2C_ChargeAns>();
    Charge(1002, "bob", alice->strSeqNo);  // not his Seq No
    m_client.Receive<XS2C_ChargeAns>();
    Charge(1001, "alice", alice->strSeqNo);  // a fixed term
    m_client.Receive<XS2C_ChargeAns>();
    EXPECT_EQ(MinutesOf("bob"), 599);
    EXPECT_TRUE(m_sandbox.Shows("charge of product 1001: 0 charged, 1 not charged"));
}

TEST_F(SessionTest, TheLastMinuteBringsANotice)
{
    const auto user = m_client.CheckIn("two-minutes-left");
    Charge(1002, "two-minutes-left", user->strSeqNo);
    const auto warning = m_client.Receive<XS2C_BillingEventNotice>();
    EXPECT_EQ(warning->nEventCode, 1);
    EXPECT_EQ(warning->nSpecificCode, 1) << "minutes left";
    m_client.Receive<XS2C_ChargeAns>();
    Charge(1002, "two-minutes-left", user->strSeqNo);
    const auto notice = m_client.Receive<XS2C_BillingEventNotice>();
    EXPECT_EQ(notice->strUserID, "two-minutes-left");
    EXPECT_EQ(notice->strUserNo, "");
    EXPECT_EQ(notice->strUserIP, "10.0.0.1");
    EXPECT_EQ(notice->nEventCode, 0);
    m_client.Receive<XS2C_ChargeAns>();
    EXPECT_EQ(m_client.CheckOut("two-minutes-left", user->strSeqNo)->bSuccess.nByte, 1) << "the game's part";
    EXPECT_EQ(m_client.CheckIn("two-minutes-left")->nResult, 6);
}

TEST_F(SessionTest, WhoIsChargedWithoutAMinuteLeftIsForcedOut)
{
    const auto user = m_client.CheckIn("two-minutes-left");
    for (int i = 0; i < 2; ++i) {
        Charge(1002, "two-minutes-left", user->strSeqNo);
        m_client.Receive<XS2C_BillingEventNotice>();
        m_client.Receive<XS2C_ChargeAns>();
    }
    Charge(1002, "two-minutes-left", user->strSeqNo);
    EXPECT_EQ(m_client.Receive<XS2C_BillingEventNotice>()->nEventCode, 2);
    m_client.Receive<XS2C_ChargeAns>();
    EXPECT_TRUE(m_sandbox.Sessions().empty());
    EXPECT_EQ(MinutesOf("two-minutes-left"), 0);
}

TEST_F(SessionTest, TimeThatIsOverIsEndedByTheServiceIfTheConnectorDoesNot)
{
    const auto stay = [this](std::int64_t ms) {
        m_client.Heartbeat();
        m_sandbox.Advance(ms);
    };
    m_client.CheckIn("expires-in-20s");
    m_client.CheckIn("alice");
    for (int i = 0; i < 10; ++i)
        stay(20'000);
    EXPECT_EQ(m_sandbox.Sessions().size(), 2u) << "the connector still may";
    stay(21'000);
    const auto notice = m_client.Receive<XS2C_BillingEventNotice>();
    EXPECT_EQ(notice->strUserID, "expires-in-20s");
    EXPECT_EQ(notice->nEventCode, 2);
    EXPECT_EQ(m_sandbox.Sessions(), std::vector<std::string>{"alice on g/s/w"});
}
