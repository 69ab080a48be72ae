// What game servers have met, seen from the connector that meets it.
#include <set>

#include "sandbox/service/Coverage.h"
#include "sandbox/wire/AnyMessage.h"
#include "tests/sandbox/SandboxFixture.h"

using namespace SandboxTest;

namespace {

class CoverageTest : public ClientTest {
protected:
    // Of those ids the ones that have been met since the last call, with how often: "Checkin 2, slow 1".
    std::string Met(const std::string& strOf = "")
    {
        const auto json = m_sandbox.Get("/coverage" + strOf).json;
        std::string strMet;
        for (const auto& item : json["coverage"]) {
            if (item["met"] != 0)
                strMet +=
                    (strMet.empty() ? "" : ", ") + item["id"].get<std::string>() + ' ' + item["met"].dump();
        }
        Http(m_sandbox.HttpPort(), "DELETE", "/coverage");
        return strMet;
    }
    void Order(const std::string& strPath, const std::string& strBody)
    {
        EXPECT_EQ(m_sandbox.Post(strPath, strBody).nStatus, 200) << strBody;
    }
};

}  // namespace

// A new request class or result has to get its row: whatever the connector may ask and the service may
// answer.
TEST_F(CoverageTest, KnowsEveryMessageOfTheProtocol)
{
    std::set<Wirova::int32> setKnown = {XC2S_VelkarConnectReq::kMsgID};
    for (const auto& item : Sandbox::CoverageItems()) {
        setKnown.insert(item.nMsgID);
        EXPECT_TRUE(item.strNext.ends_with('.')) << item.strID;
    }
    for (const auto& info : Wirova::AllClasses()) {
        if (info.bRecord || info.nMsgID == XC2S_Heartbeat::kMsgID)
            continue;
        const auto* const pAnswer = Sandbox::AnswerOf(info);
        const std::string strName = info.pszName;
        const bool bList = strName.ends_with("SyncReq") || strName.ends_with("FailedCheckOutReq");
        EXPECT_TRUE(bList || setKnown.contains(pAnswer != nullptr ? pAnswer->nMsgID : info.nMsgID))
            << strName;
    }
    EXPECT_EQ(Met(), "registered 1");
}

// The sentence that says what to do next says what helps: each fault is ordered as it stands there.
TEST_F(CoverageTest, EachFaultThatIsNamedHelps)
{
    int nTried = 0;
    for (const auto& item : Sandbox::CoverageItems()) {
        const std::size_t nFault = item.strNext.find("POST /fault {"), nEnd = item.strNext.find('}') + 1;
        if (nFault == std::string::npos || item.strGroup == "sessions" || item.strGroup == "links")
            continue;
        const std::string strFault = item.strNext.substr(nFault + 12, nEnd - nFault - 12);
        Order("/fault", strFault);
        std::string strName = Sandbox::Json::parse(strFault)["class"].get<std::string>().substr(5);
        strName.resize(strName.size() - 3);
        Client client(m_sandbox.Port(), "g");
        client.Send(*MakeRequest(strName + " nReqID=1"));
        for (int i = 0; i < 2000 && !m_sandbox.Get("/fault").json["faults"].empty(); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        ++nTried;
    }
    EXPECT_GT(nTried, 150);
    std::string strMissing;
    for (const std::string strGroup : {"refusals", "unanswered"}) {
        const auto items = m_sandbox.Get("/coverage?group=" + strGroup).json["coverage"];
        for (const auto& item : items)
            strMissing += item["met"] == 0 ? item["id"].get<std::string>() + ' ' : "";
    }
    EXPECT_EQ(strMissing, "Checkin/extra CheckinEx/extra ");
}

TEST_F(CoverageTest, CallsRefusalsAndFaultsAreTold)
{
    Met();
    m_client.CheckIn("alice");
    m_client.CheckIn("nobody");
    Client other(m_sandbox.Port(), "h");
    other.CheckIn("alice");
    EXPECT_EQ(Met("?connector=g/s/w"), "Checkin 1, Checkin/refused/2 1");
    other.CheckIn("bob");
    Order("/fault", R"({"class": "XS2C_QueryTagAns", "kind": "refuse", "code": 20})");
    m_client.Ask("QueryTag");
    m_client.CheckOut("bob");
    Order("/fault", R"({"class": "XS2C_PurchaseProductAns", "kind": "drop"})");
    m_client.Send(*MakeRequest(Purchase("alice", "POTION")));
    m_client.Box("alice");
    Order("/fault", R"({"class": "XC2S_CheckInReq", "kind": "delay", "ms": 6000})");
    m_client.Send(*MakeRequest("CheckIn nReqID=1 strUserID=carol"));
    m_client.Settle();
    EXPECT_EQ(Met("?connector=g/s/w"),
              "QueryStorageInfo 1, Checkout/refused 1, QueryBillingInfo/refused/7 1, QueryTagList/refused/20 "
              "1, Checkin/late 1, "
              "PurchaseProduct/timeout 1, box-after-purchase 1");
    EXPECT_EQ(m_sandbox.Get("/coverage?connector=x/y/z").nStatus, 404);
}

TEST_F(CoverageTest, WhatTheServiceStartsIsTold)
{
    Met();
    m_client.CheckIn("alice");
    m_client.CheckIn("alice");
    for (const int nEvent : {0, 1}) {
        Order("/trigger/billing-event", R"({"user": "alice", "eventCode": )" + std::to_string(nEvent) + "}");
        m_client.ReceiveAny();
    }
    EXPECT_TRUE(m_client.CheckOut("alice"));  // with a Req ID: by the game
    EXPECT_EQ(Met(), "Checkin 2, Checkout 1, pfnBillingEvent/0 1, pfnBillingEvent/1 1, checked-in-twice 1");
    for (const char* const pszOver : {"alice", "bob"}) {
        m_client.CheckIn(pszOver);
        m_client.Send(*MakeRequest(std::string("CheckOut nReqID=-1 strUserID=") + pszOver));
        m_client.ReceiveAny();
    }
    EXPECT_EQ(Met(), "Checkin 2, Checkout 2, own-expiry 1, time-over 1");
    for (const int nMoney : {5, -1}) {
        auto answer =
            m_sandbox.PostLater("/trigger/spend-game-money", R"({"connector": "g/s/w", "gameMoney": 5})");
        XC2S_SpendGameMoneyAns ans;
        ans.nReqID = m_client.Receive<XS2C_SpendGameMoneyReq>()->nReqID;
        ans.nGameMoney = nMoney;
        m_client.Send(ans);
        EXPECT_EQ(answer.get().nStatus, 200);
    }
    EXPECT_EQ(Met("?group=callbacks"), "pfnSpendGameMoney 1, pfnSpendGameMoney/refused 1");
}

TEST_F(CoverageTest, WhatBecomesOfLinksIsTold)
{
    m_client.CheckIn("alice");
    Met();
    Order("/fault", R"({"class": "XS2C_CheckOutAns", "kind": "drop"})");
    m_client.Send(*MakeRequest("CheckOut nReqID=7 strUserID=alice"));
    m_client.Settle();
    const auto nRefuse = m_sandbox.Post("/outage", R"({"kind": "refuse"})").json["id"].dump();
    Order("/outage", R"({"kind": "cut"})");
    m_client.ReadUntilClosed();
    Http(m_sandbox.HttpPort(), "DELETE", "/outage?id=" + nRefuse);
    Client again(m_sandbox.Port(), "g");
    again.SendList("UserListSync", {});
    again.SendList("FailedCheckOut", {{"alice", ""}});
    again.Settle();
    EXPECT_EQ(
        Met(),
        "QueryBillingInfo/refused/7 4, Checkout/timeout 1, Checkout/cut 1, reconnected 1, service-back 1, "
        "failed-checkouts 1, "
        "registered 1");
}
