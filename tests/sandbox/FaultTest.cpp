// Faults on order, each kind seen from the connector.
#include <algorithm>

#include "sandbox/wire/Frames.h"
#include "tests/sandbox/SandboxFixture.h"

using namespace SandboxTest;

namespace {

class FaultTest : public testing::Test {
protected:
    void Order(const std::string& strFault)
    {
        const HttpAnswer answer = m_sandbox.Post("/fault", strFault);
        ASSERT_EQ(answer.nStatus, 200) << answer.strBody;
    }
    std::size_t Ordered() { return m_sandbox.Get("/fault").json["faults"].size(); }
    // Orders the fault, and sends a checkin and a query together.
    std::unique_ptr<Client> SendBoth(const std::string& strFault)
    {
        m_sandbox.Post("/reset");
        Order(strFault);
        auto pClient = std::make_unique<Client>(m_sandbox.Port(), "g");
        pClient->SendBytes(Sandbox::FrameOf(*MakeRequest("CheckIn nReqID=1001 strUserID=alice")) +
                           Sandbox::FrameOf(*MakeRequest("QueryBillingInfo nReqID=1002 strUserID=carol")));
        return pClient;
    }
    // 'x' for each of n queries that was refused, '.' for the others.
    std::string Refusals(Client& client, int n)
    {
        std::string strSeries;
        while (n-- > 0)
            strSeries += client.Ask("QueryBillingInfo strUserID=alice", "nResult") == "9" ? 'x' : '.';
        return strSeries;
    }

    RunningSandbox m_sandbox;
};

}  // namespace

TEST_F(FaultTest, EachKindDoesWhatItSays)
{
    const std::string kCheckIn = "1001,alice,0, ", kRefused = "1001,alice,77,No. ", kQuery = "1002,carol,0, ";
    const std::tuple<std::string, std::string, bool> kCases[] = {
        {R"("XS2C_CheckInAns", "kind": "delay", "ms": 1000)", kQuery + kCheckIn, true},
        {R"("XC2S_CheckInReq", "kind": "delay", "ms": 1000)", kQuery + kCheckIn, true},
        {R"("XS2C_CheckInAns", "kind": "drop")", kQuery, true},
        {R"("XC2S_CheckInReq", "kind": "drop")", kQuery, false},
        {R"("XS2C_CheckInAns", "kind": "duplicate")", kCheckIn + kCheckIn + kQuery, true},
        {R"("XS2C_CheckInAns", "kind": "refuse", "code": 77, "text": "No.")", kRefused + kQuery, true},
        {R"("XC2S_CheckInReq", "kind": "refuse", "code": 77, "text": "No.")", kRefused + kQuery, false},
        {R"("XS2C_CheckInAns", "kind": "split", "bytes": 1)", kCheckIn + kQuery, true},
        {R"("XS2C_CheckInAns", "kind": "reqId", "reqId": -5)", "-5,alice,0, " + kQuery, true},
    };
    for (const auto& [strFault, strExpected, bCheckedIn] : kCases) {
        SCOPED_TRACE(strFault);
        const auto pClient = SendBoth("{\"class\": " + strFault + "}");
        std::string strAnswers;
        while (strAnswers.size() < strExpected.size())
            strAnswers += Pick(*pClient->ReceiveAny(), "nReqID strUserID nResult strErrorMsg") + ' ';
        EXPECT_EQ(strAnswers, strExpected);
        pClient->Settle();
        EXPECT_EQ(m_sandbox.Sessions(), bCheckedIn ? "alice on g/s/w" : "");
        EXPECT_EQ(Ordered(), 0u) << "used up";
    }
}

TEST_F(FaultTest, FramesAreCutHeldAndSplit)
{
    EXPECT_EQ(
        SendBoth(R"({"class": "XS2C_CheckInAns", "kind": "cut", "bytes": 4})")->ReadUntilClosed().size(), 4u);
    EXPECT_EQ(m_sandbox.Sessions(), "alice on g/s/w");
    const auto pClient = SendBoth(R"({"class": "XS2C_CheckInAns", "kind": "coalesce", "ms": 600000})");
    pClient->Read(4096);  // both in one read: what comes now is the next answer
    pClient->Settle();
    Order(R"({"class": "XS2C_CheckInAns", "kind": "coalesce", "ms": 10})");
    EXPECT_EQ(pClient->CheckIn("bob")->nResult, 0) << "leaves alone when nothing follows";
    const std::string strSplit = R"({"class": "XS2C_CheckInAns", "kind": "split", "bytes": 3})";
    bool bAlone = false;  // a reader that is late finds several pieces at once
    for (int i = 0; i < 100 && !bAlone; ++i)
        bAlone = SendBoth(strSplit)->Read(4096).size() == 3;
    EXPECT_TRUE(bAlone);
}

TEST_F(FaultTest, CountProbabilityAndConnectorLimitIt)
{
    Client client(m_sandbox.Port(), "g");
    const std::string strRefuse = R"({"class": "XS2C_QueryBillingInfoAns", "kind": "refuse", "code": 9, )";
    Order(strRefuse + R"("count": 2})");
    EXPECT_EQ(Refusals(client, 4), "xx..");
    Order(strRefuse + R"("connector": "other/s/w"})");
    EXPECT_EQ(Refusals(client, 2), "..");

    const std::string strHalf = strRefuse + R"("count": 0, "probability": 0.5, "seed": 42})";
    Order(strHalf);
    const std::string strSeries = Refusals(client, 32);
    EXPECT_TRUE(Contains(strSeries, "x.") && Contains(strSeries, ".x"));
    const auto faults = m_sandbox.Get("/fault").json["faults"];
    EXPECT_EQ(faults[1]["hits"], std::count(strSeries.begin(), strSeries.end(), 'x'));
    EXPECT_EQ(Http(m_sandbox.HttpPort(), "DELETE", "/fault").json["removed"], 2);
    EXPECT_EQ(Refusals(client, 8), "........");
    Order(strHalf);
    EXPECT_EQ(Refusals(client, 32), strSeries) << "the same seed, the same series";
}

// A purchase's answer names no user: the one of its request counts, and a user is known by both names.
TEST_F(FaultTest, UserAndAllClassesAndRemovalOfOne)
{
    Client client(m_sandbox.Port(), "g");
    Order(R"({"class": "XS2C_PurchaseProductAns", "kind": "refuse", "code": 5, "count": 0, "user": "dave"})");
    Order(R"({"class": "*", "kind": "refuse", "code": 6, "count": 0, "user": "bob"})");
    EXPECT_EQ(client.Buy("alice", "POTION"), "0,10");
    EXPECT_EQ(client.Ask("PurchaseProduct strUserNo=10004 strProductID=POTION nCount=1", "nState"), "5");
    EXPECT_EQ(client.Ask("CheckIn strUserID=bob", "nResult"), "6");
    EXPECT_EQ(client.Ask("QueryRuvcoin strUserNo=10002", "nState"), "6");
    EXPECT_EQ(client.CheckIn("dave")->nResult, 0);
    for (const int nStatus : {200, 404})
        EXPECT_EQ(Http(m_sandbox.HttpPort(), "DELETE", "/fault?id=2").nStatus, nStatus);
    EXPECT_EQ(client.CheckIn("bob")->nResult, 0);
    EXPECT_EQ(m_sandbox.Get("/fault").json["faults"][0]["hits"], 1);
}

TEST_F(FaultTest, OutagesOfLinksAndConnections)
{
    auto pClient = std::make_unique<Client>(m_sandbox.Port(), "g");
    Client other(m_sandbox.Port(), "other");
    const auto begin = [&](const std::string& strKind, const std::string& strMore = "") {
        return m_sandbox.Post("/outage", R"({"kind": ")" + strKind + '"' + strMore + "}").json["id"];
    };
    const auto end = [&] { return Http(m_sandbox.HttpPort(), "DELETE", "/outage").json["removed"]; };
    const auto linked = [&] { return m_sandbox.Get("/connectors").json["connectors"][0]["linked"]; };

    begin("freeze", R"(, "connector": "g/s/w")");
    pClient->Send(*MakeRequest("CheckIn strUserID=alice"));
    other.CheckIn("bob");
    m_sandbox.Advance(3'000'001);
    EXPECT_EQ(m_sandbox.Sessions(), "bob on other/s/w") << "and a frozen link is not silent";
    EXPECT_EQ(end(), 1);
    pClient->Receive<XS2C_CheckInAns>();

    begin("half-open", R"(, "connector": "g/s/w")");
    EXPECT_EQ(linked(), false);
    EXPECT_TRUE(pClient->SendBytes(Sandbox::FrameOf(*MakeRequest("CheckOut strUserID=alice"))));
    end();
    EXPECT_EQ(pClient->ReadUntilClosed(), "");

    begin("refuse");
    EXPECT_ANY_THROW(Client(m_sandbox.Port()));
    end();
    pClient = std::make_unique<Client>(m_sandbox.Port(), "g");
    EXPECT_TRUE(Contains(m_sandbox.Sessions(), "alice on g/s/w")) << "not reached by the checkout";
    begin("slow", R"(, "bytesPerSecond": 1000)");
    const auto start = std::chrono::steady_clock::now();
    pClient->Ask("QueryProductDetail strProductID=SWORD");
    EXPECT_GT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(300));
    end();
    begin("cut");
    EXPECT_EQ(pClient->ReadUntilClosed(), "");
    EXPECT_EQ(end(), 0);
    m_sandbox.ExpectRefused("/outage", {{R"({"kind": "slow"})", 400, "'bytesPerSecond': is for"},
                                        {R"({"kind": "refuse", "connector": "a/b/c"})", 400, "'connector'"}});
}

TEST_F(FaultTest, WhatMakesNoSenseIsRefused)
{
    m_sandbox.ExpectRefused(
        "/fault",
        {{"{}", 400, "'class': is missing"},
         {R"({"class": "XInventory", "kind": "drop"})", 400, "there is no such one"},
         {R"({"class": "XS2C_CheckInAns", "kind": "explode"})", 400, "'kind': delay, drop"},
         {R"({"class": "XS2C_CheckInAns", "kind": "delay"})", 400, "'ms': is missing"},
         {R"({"class": "XS2C_CheckInAns", "kind": "split", "bytes": 0})", 400, "'bytes': a whole"},
         {R"({"class": "XS2C_CheckInAns", "kind": "drop", "connector": "g"})", 400, "GID/SID/WID"},
         {R"({"class": "XC2S_CheckInReq", "kind": "cut", "bytes": 1})", 400, "comes from the connector"},
         {R"({"class": "XS2C_ChargeAns", "kind": "reqId", "reqId": 1})", 400, "has no Req ID"},
         {R"({"class": "XS2C_BillingEventNotice", "kind": "refuse", "code": 1})", 400, "cannot be refused"},
         {R"({"class": "XC2S_Heartbeat", "kind": "refuse", "code": 1})", 400, "cannot be refused"}});
    EXPECT_EQ(Ordered(), 0u);
    // An answer that a connector sends is not the sandbox's own.
    Order(R"({"class": "XS2C_CheckInAns", "kind": "refuse", "code": 1})");
    Client client(m_sandbox.Port(), "g");
    client.Send(XS2C_CheckInAns());
    client.Settle();
    EXPECT_EQ(Ordered(), 1u);
}
