// Faults on order, each kind seen from the connector.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/sandbox/SandboxFixture.h"

using namespace SandboxTest;

namespace {

// A checkin and a query sent together; what comes back, and what has become of the user.
struct Case {
    const char* pszFault;
    void (*check)(Client& client);
    bool bCheckedIn;
};

void Both(Client& client)
{
    EXPECT_EQ(client.Receive<XS2C_CheckInAns>()->nResult, 0);
    client.Receive<XS2C_QueryBillingInfoAns>();
}

void QueryFirst(Client& client)
{
    client.Receive<XS2C_QueryBillingInfoAns>();
    EXPECT_EQ(client.Receive<XS2C_CheckInAns>()->nResult, 0);
}

void QueryAlone(Client& client)
{
    client.Receive<XS2C_QueryBillingInfoAns>();
    client.Settle();
}

void Refused(Client& client)
{
    const auto ans = client.Receive<XS2C_CheckInAns>();
    EXPECT_EQ(ans->nReqID, 1001);
    EXPECT_EQ(ans->strUserID, "alice");
    EXPECT_EQ(ans->nResult, 77);
    EXPECT_EQ(ans->strErrorMsg, "No.");
    client.Receive<XS2C_QueryBillingInfoAns>();
}

const Case kCases[] = {
    {R"({"class": "XS2C_CheckInAns", "kind": "delay", "ms": 1000})", QueryFirst, true},
    {R"({"class": "XC2S_CheckInReq", "kind": "delay", "ms": 1000})", QueryFirst, true},
    {R"({"class": "XS2C_CheckInAns", "kind": "drop"})", QueryAlone, true},
    {R"({"class": "XC2S_CheckInReq", "kind": "drop"})", QueryAlone, false},
    {R"({"class": "XS2C_CheckInAns", "kind": "duplicate"})",
     [](Client& client) {
         EXPECT_EQ(client.Receive<XS2C_CheckInAns>()->nResult, 0);
         Both(client);
     },
     true},
    {R"({"class": "XS2C_CheckInAns", "kind": "refuse", "code": 77, "text": "No."})", Refused, true},
    {R"({"class": "XC2S_CheckInReq", "kind": "refuse", "code": 77, "text": "No."})", Refused, false},
    {R"({"class": "XS2C_CheckInAns", "kind": "cut", "bytes": 4})",
     [](Client& client) {
         const auto rest = client.ReadUntilClosed();
         ASSERT_TRUE(rest);
         EXPECT_EQ(rest->size(), 4u);
     },
     true},
    {R"({"class": "XS2C_CheckInAns", "kind": "split", "bytes": 1})", Both, true},
    {R"({"class": "XS2C_CheckInAns", "kind": "coalesce", "ms": 600000})",
     [](Client& client) {
         client.ReceiveBytes();  // both in one read: what comes now is the next answer
         client.Settle();
     },
     true},
    {R"({"class": "XS2C_CheckInAns", "kind": "reqId", "reqId": -5})",
     [](Client& client) {
         EXPECT_EQ(client.Receive<XS2C_CheckInAns>()->nReqID, -5);
         client.Receive<XS2C_QueryBillingInfoAns>();
     },
     true},
};

class FaultTest : public testing::Test {
protected:
    void Order(const std::string& strFault)
    {
        const HttpAnswer answer = m_sandbox.Post("/fault", strFault);
        ASSERT_EQ(answer.nStatus, 200) << answer.strBody;
    }
    // 'x' for each of n queries that was refused, '.' for the others.
    std::string Refusals(int n)
    {
        std::string strSeries;
        XC2S_QueryBillingInfoReq req;
        req.strUserID = "alice";
        while (n-- > 0)
            strSeries += m_client.Ask<XS2C_QueryBillingInfoAns>(req)->nResult == 9 ? 'x' : '.';
        return strSeries;
    }

    RunningSandbox m_sandbox;
    Client m_client{m_sandbox.Port()};
};

}  // namespace

TEST_F(FaultTest, EachKindDoesWhatItSays)
{
    for (const Case& test : kCases) {
        SCOPED_TRACE(test.pszFault);
        m_sandbox.Post("/reset");
        Order(test.pszFault);
        Client client(m_sandbox.Port());
        client.Register("g", 1000);
        XC2S_CheckInReq checkIn;
        checkIn.nReqID = 1001;
        checkIn.strUserID = "alice";
        XC2S_QueryBillingInfoReq query;
        query.strUserID = "carol";
        client.SendBytes(Sandbox::FrameOf(checkIn) + Sandbox::FrameOf(query));
        test.check(client);
        EXPECT_EQ(m_sandbox.Sessions().size(), test.bCheckedIn ? 1u : 0u);
        EXPECT_EQ(m_sandbox.Get("/fault").json["faults"].size(), 0u) << "used up";
    }
}

TEST_F(FaultTest, PiecesArriveOneByOne)
{
    // A reader that is late finds several pieces at once.
    bool bAlone = false;
    for (int i = 0; i < 100 && !bAlone; ++i) {
        Client client(m_sandbox.Port());
        client.Register();
        Order(R"({"class": "XS2C_CheckInAns", "kind": "split", "bytes": 3})");
        client.Send(XC2S_CheckInReq());
        bAlone = client.ReceiveBytes() == 3;
    }
    EXPECT_TRUE(bAlone);
}

TEST_F(FaultTest, AHeldFrameThatNothingFollowsLeavesAlone)
{
    m_client.Register();
    Order(R"({"class": "XS2C_CheckInAns", "kind": "coalesce", "ms": 10})");
    EXPECT_EQ(m_client.CheckIn("alice")->nResult, 0);
}

TEST_F(FaultTest, CountProbabilityAndConnectorLimitIt)
{
    m_client.Register("g", 1000);
    Order(R"({"class": "XS2C_QueryBillingInfoAns", "kind": "refuse", "code": 9, "count": 2})");
    EXPECT_EQ(Refusals(4), "xx..");
    Order(R"({"class": "XS2C_QueryBillingInfoAns", "kind": "refuse", "code": 9, "connector": "other/s/w"})");
    EXPECT_EQ(Refusals(2), "..");

    const std::string strHalf = R"({"class": "XS2C_QueryBillingInfoAns", "kind": "refuse", "code": 9,
                                    "count": 0, "probability": 0.5, "seed": 42})";
    Order(strHalf);
    const std::string strSeries = Refusals(32);
    EXPECT_NE(strSeries.find('x'), std::string::npos);
    EXPECT_NE(strSeries.find('.'), std::string::npos);
    const HttpAnswer list = m_sandbox.Get("/fault");
    ASSERT_EQ(list.json["faults"].size(), 2u);
    EXPECT_EQ(list.json["faults"][1]["hits"], std::count(strSeries.begin(), strSeries.end(), 'x'));
    EXPECT_EQ(m_sandbox.Delete("/fault").json["removed"], 2);
    EXPECT_EQ(Refusals(8), "........");
    Order(strHalf);
    EXPECT_EQ(Refusals(32), strSeries) << "the same seed, the same series";
}

TEST_F(FaultTest, WhatMakesNoSenseIsRefused)
{
    const struct {
        const char* pszFault;
        const char* pszError;
    } kMistakes[] = {
        {"{}", "'class': is missing"},
        {R"({"class": "XS2C_Nothing", "kind": "drop"})", "there is no message"},
        {R"({"class": "XInventory", "kind": "drop"})", "there is no message"},
        {R"({"class": "XS2C_CheckInAns", "kind": "explode"})", "'kind': delay, drop"},
        {R"({"class": "XS2C_CheckInAns", "kind": "delay"})", "'ms': is missing"},
        {R"({"class": "XS2C_CheckInAns", "kind": "split", "bytes": 0})", "'bytes': a whole number from 1"},
        {R"({"class": "XS2C_CheckInAns", "kind": "drop", "ms": 5})", "'ms': is not a known key"},
        {R"({"class": "XS2C_CheckInAns", "kind": "drop", "count": -1})", "'count': a whole number"},
        {R"({"class": "XS2C_CheckInAns", "kind": "drop", "probability": 1.5})", "'probability': a number"},
        {R"({"class": "XS2C_CheckInAns", "kind": "drop", "connector": "g"})", "GID/SID/WID"},
        {R"({"class": "XC2S_CheckInReq", "kind": "cut", "bytes": 1})", "comes from the connector"},
        {R"({"class": "XS2C_ChargeAns", "kind": "reqId", "reqId": 1})", "has no Req ID"},
        {R"({"class": "XS2C_BillingEventNotice", "kind": "refuse", "code": 1})", "cannot be refused"},
        {R"({"class": "XC2S_ChargeReq", "kind": "refuse", "code": 1})", "cannot be refused"},
        {R"({"class": "XC2S_Heartbeat", "kind": "refuse", "code": 1})", "cannot be refused"},
    };
    for (const auto& test : kMistakes) {
        const HttpAnswer answer = m_sandbox.Post("/fault", test.pszFault);
        EXPECT_EQ(answer.nStatus, 400) << test.pszFault;
        EXPECT_NE(answer.strBody.find(test.pszError), std::string::npos) << test.pszFault << answer.strBody;
    }
    EXPECT_EQ(m_sandbox.Get("/fault").json["faults"].size(), 0u);
    // An answer that a connector sends is not the sandbox's own.
    Order(R"({"class": "XS2C_CheckInAns", "kind": "refuse", "code": 1})");
    m_client.Register();
    m_client.Send(XS2C_CheckInAns());
    m_client.Settle();
    EXPECT_EQ(m_sandbox.Get("/fault").json["faults"].size(), 1u);
}
