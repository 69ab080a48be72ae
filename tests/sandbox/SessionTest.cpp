// Checkin, checkout, queries, moves and charges.
#include "sandbox/base/DateText.h"
#include "tests/sandbox/SandboxFixture.h"

using namespace SandboxTest;

namespace {

class SessionTest : public ClientTest {
protected:
    static std::string ChargeOf(const std::string& strProductID, const std::string& strUserID,
                                const std::string& strSeqNo = "")
    {
        return "Charge nPID=" + strProductID + " vecChargeInfo={strUserID=" + strUserID +
               " strUserIP=10.0.0.1 strSeqNo=" + strSeqNo + "}";
    }
    // The notice that the charge of a minute brings.
    std::string NoticeOfCharge(const std::string& strUserID)
    {
        m_client.Send(*MakeRequest(ChargeOf("1002", strUserID)));
        const auto notice = m_client.Receive<XS2C_BillingEventNotice>();
        m_client.Receive<XS2C_ChargeAns>();
        return Pick(*notice, "strUserID strUserNo strUserIP nEventCode nSpecificCode");
    }
    std::string MinutesOf(const std::string& strUserID)
    {
        return m_client.Ask("QueryBillingInfo strUserID=" + strUserID, "nRemainMinutes");
    }
};

}  // namespace

TEST_F(SessionTest, CheckinAnswersWithTheUsersBilling)
{
    const auto alice = m_client.CheckIn("alice");
    EXPECT_EQ(Pick(*alice, "strUserID strUserNo strUserIP nResult cFree nBillType nProductID strCRMCode"),
              "alice,,10.0.0.1,0,N,1,1001,CRM-1");
    const auto end = Sandbox::ParseDate(alice->strEndDate);
    ASSERT_TRUE(end) << alice->strEndDate;
    EXPECT_NEAR(static_cast<double>(*end - std::time(nullptr)), 30 * 86400, 7200)
        << "an hour, where clocks are put on";
    EXPECT_NEAR(static_cast<double>(alice->nRemainMinutes), 30 * 1440, 120);

    const auto carol = m_client.Ask<XS2C_CheckInExAns>("CheckInEx strUserID=carol");
    EXPECT_EQ(Pick(*carol, "nBillType nProductID nRemainMinutes").substr(0, 11), "3,1003,300|");
    ASSERT_EQ(carol->vecOtherBilling.size(), 2u);
    EXPECT_EQ(Pick(*carol->vecOtherBilling[1], "nProductID nRemainMinutes"), "1002,45");
    EXPECT_GT(std::stoll(carol->strSeqNo), std::stoll(alice->strSeqNo));
    EXPECT_LE(std::stoll(carol->strSeqNo), INT32_MAX) << "the game keeps 31 bits";
}

TEST_F(SessionTest, UsersMadeToFailDoWithTheirOwnCode)
{
    const std::pair<const char*, const char*> kCases[] = {
        {"nobody", "2"},    {"", "7"},          {"term-is-over", "4"},      {"no-minutes-left", "6"},
        {"refused-5", "5"}, {"refused-1", "1"}, {"refused-30006", "30006"}, {"refused-40000", "40000"}};
    for (const auto& [pszUserID, pszResult] : kCases) {
        const auto ans = m_client.CheckIn(pszUserID);
        EXPECT_EQ(Pick(*ans, "nResult nProductID strSeqNo"), pszResult + std::string(",0,")) << pszUserID;
        EXPECT_NE(ans->strErrorMsg, "") << pszUserID;
    }
    EXPECT_EQ(m_sandbox.Sessions(), "");
    EXPECT_EQ(m_client.Ask("CheckIn strUserID=warned-90006", "nResult strErrorMsg"), "90006,");
    EXPECT_EQ(m_sandbox.Sessions(), "warned-90006 on g/s/w");
    EXPECT_EQ(m_client.Ask("QueryBillingInfo strUserID=refused-30006", "nResult"), "30006");
}

TEST_F(SessionTest, CheckoutNeedsAUserWhoIsCheckedIn)
{
    const auto strFirst = m_client.CheckIn("alice")->strSeqNo,
               strSecond = m_client.CheckIn("alice")->strSeqNo;
    EXPECT_GT(std::stoll(strSecond), std::stoll(strFirst)) << "a second checkin replaces the first";
    EXPECT_FALSE(m_client.CheckOut("alice", strFirst)) << "that session is over";
    EXPECT_TRUE(m_client.CheckOut("alice", strSecond));
    EXPECT_FALSE(m_client.CheckOut("alice", strSecond));

    const auto strAlice = m_client.CheckIn("alice")->strSeqNo;
    m_client.CheckIn("bob");
    EXPECT_FALSE(m_client.CheckOut("bob", strAlice));
    for (const char* const pszSeqNo : {"0", "-1", "12x", "+1", "99999999999999999999"})
        EXPECT_FALSE(m_client.CheckOut("alice", pszSeqNo)) << pszSeqNo;
    EXPECT_FALSE(m_client.CheckOut("nobody"));
    EXPECT_EQ(m_sandbox.Sessions(), "alice on g/s/w, bob on g/s/w");
    EXPECT_TRUE(m_client.CheckOut("bob", "")) << "an empty Seq No means the user";
    EXPECT_EQ(m_sandbox.Sessions(), "alice on g/s/w");
}

TEST_F(SessionTest, QueriesAnswerWithoutACheckinAndUsersAreFoundByNumberToo)
{
    ExpectAnswers({{"QueryBillingInfo strUserID=pc-cafe", "nResult bPCCafe", "0,1"},
                   {"QueryBillingInfoEx strUserID=carol", "nBillType", "3|1|2"},
                   // Who may not check in may still ask.
                   {"QueryBillingInfo strUserID=no-minutes-left", "nRemainMinutes", "0"},
                   {"CheckOut strUserNo=10002", "bSuccess", "0"},
                   {"CheckIn strUserNo=10002", "nResult strUserID strUserNo nBillType", ",10002,0,2"},
                   {"CheckIn strUserID=10002", "nResult", "2"},
                   {"CheckOut strUserNo=10002", "bSuccess", "1"}});
}

TEST_F(SessionTest, ATermRunsFromTheCheckin)
{
    m_sandbox.Advance(19'000);  // the same user can be shown again and again
    const auto first = m_client.CheckIn("expires-in-20s");
    m_sandbox.Advance(10'000);
    EXPECT_EQ(m_client.Ask("QueryBillingInfo strUserID=expires-in-20s", "strEndDate"), first->strEndDate)
        << "a query does not prolong it";
    EXPECT_GT(m_client.CheckIn("expires-in-20s")->strEndDate, first->strEndDate);
}

TEST_F(SessionTest, AMoveTakesTheSessionToAnotherConnector)
{
    Client target(m_sandbox.Port(), "target");
    const auto strSeqNo = m_client.CheckIn("alice")->strSeqNo;
    EXPECT_FALSE(target.Move("From", "alice")) << "she has not left";
    EXPECT_FALSE(target.Move("To", "alice")) << "and is not here";
    EXPECT_TRUE(m_client.Move("To", "alice"));
    EXPECT_TRUE(target.Move("From", "alice"));
    EXPECT_TRUE(target.Move("From", "alice")) << "asked again after a lost answer";
    EXPECT_FALSE(m_client.CheckOut("alice", strSeqNo));
    EXPECT_TRUE(target.CheckOut("alice", strSeqNo)) << "under her Seq No";
    EXPECT_FALSE(target.Move("From", "alice"));
}

TEST_F(SessionTest, AMoveThatEndsNowhereIsACheckout)
{
    for (const char* const pszUserID : {"alice", "bob"})
        EXPECT_TRUE(m_client.CheckIn(pszUserID) && m_client.Move("To", pszUserID));
    Client target(m_sandbox.Port(), "target");
    EXPECT_EQ(target.CheckIn("bob")->nResult, 0) << "a checkin ends a move";
    m_sandbox.Advance(60'000);
    EXPECT_EQ(m_sandbox.Sessions(), "alice on g/s/w moving, bob on target/s/w");
    m_sandbox.Advance(1'000);
    EXPECT_EQ(m_sandbox.Sessions(), "bob on target/s/w");
}

TEST_F(SessionTest, ChargesTakeMinutesFromThoseWhoHaveThem)
{
    const auto strBob = m_client.CheckIn("bob")->strSeqNo, strAlice = m_client.CheckIn("alice")->strSeqNo;
    m_client.Ask(ChargeOf("1002", "bob", strBob));
    EXPECT_EQ(MinutesOf("bob"), "599");
    m_client.Ask(ChargeOf("1001", "bob", strBob));      // not his product
    m_client.Ask(ChargeOf("1002", "bob", strAlice));    // not his Seq No
    m_client.Ask(ChargeOf("1001", "alice", strAlice));  // a fixed term
    EXPECT_EQ(MinutesOf("bob"), "599");
    EXPECT_TRUE(m_sandbox.Shows("charge of product 1001: 0 charged, 1 not charged"));
}

TEST_F(SessionTest, TheLastMinutesBringNotices)
{
    const std::string strUserID = "two-minutes-left";
    m_client.CheckIn(strUserID);
    EXPECT_EQ(NoticeOfCharge(strUserID), strUserID + ",,10.0.0.1,1,1") << "one minute left";
    EXPECT_EQ(NoticeOfCharge(strUserID), strUserID + ",,10.0.0.1,0,0");
    EXPECT_EQ(m_sandbox.Sessions(), strUserID + " on g/s/w") << "the checkout is the game's part";
    EXPECT_EQ(NoticeOfCharge(strUserID), strUserID + ",,10.0.0.1,2,0") << "and now forced";
    EXPECT_EQ(m_sandbox.Sessions(), "");
    EXPECT_EQ(m_client.CheckIn(strUserID)->nResult, 6);
}

TEST_F(SessionTest, TimeThatIsOverIsEndedByTheServiceIfTheConnectorDoesNot)
{
    m_client.CheckIn("expires-in-20s");
    m_client.CheckIn("alice");
    m_sandbox.Advance(21'000);
    m_sandbox.Advance(180'000);
    EXPECT_EQ(m_sandbox.Sessions(), "expires-in-20s on g/s/w, alice on g/s/w") << "the connector still may";
    m_sandbox.Advance(1);
    EXPECT_EQ(Pick(*m_client.Receive<XS2C_BillingEventNotice>(), "strUserID nEventCode"), "expires-in-20s,2");
    EXPECT_EQ(m_sandbox.Sessions(), "alice on g/s/w");
}
