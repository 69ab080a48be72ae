// What the HTTP interface shows, what it resets, and whom it does not serve.
#include "sandbox/wire/MessageJson.h"
#include "tests/sandbox/SandboxFixture.h"
#include "tests/wirova/Filling.h"

using namespace SandboxTest;

namespace {

class ControlTest : public ClientTest {
protected:
    Sandbox::Json Messages(const std::string& strQuery)
    {
        const HttpAnswer answer = m_sandbox.Get("/messages" + strQuery);
        EXPECT_EQ(answer.nStatus, 200) << answer.strBody;
        return answer.json["messages"];
    }
    // The classes of the messages that a query of the log finds.
    std::string Classes(const std::string& strQuery)
    {
        std::string strClasses;
        for (const auto& message : Messages(strQuery))
            strClasses += (strClasses.empty() ? "" : " ") + message["class"].get<std::string>();
        return strClasses;
    }
};

}  // namespace

TEST_F(ControlTest, ShowsConnectorsAndUsers)
{
    const auto strSeqNo = m_client.CheckIn("alice")->strSeqNo;
    const auto connectors = m_sandbox.Get("/connectors").json["connectors"];
    ASSERT_EQ(connectors.size(), 1u);
    EXPECT_EQ(connectors[0]["connector"], "g/s/w");
    EXPECT_EQ(connectors[0]["linked"], true);
    EXPECT_EQ(connectors[0]["users"], 1);

    const auto session = m_sandbox.User("alice")["session"];
    EXPECT_EQ(session["connector"], "g/s/w");
    EXPECT_EQ(session["seqNo"], strSeqNo);
    EXPECT_EQ(session["moving"], false);
    const auto all = m_sandbox.Get("/users").json["users"];
    ASSERT_GT(all.size(), 10u);
    EXPECT_EQ(all[2]["userId"], "carol");
    EXPECT_EQ(all[2]["otherBillings"].size(), 2u);
    EXPECT_TRUE(all[2]["session"].is_null());
    EXPECT_EQ(m_sandbox.Get("/users?limit=3").json["users"].size(), 3u);
    const std::string strIndex = m_sandbox.Get("/").strBody;
    for (const char* const pszRoute : {"GET /messages", "POST /trigger/query-character", "DELETE /fault"})
        EXPECT_NE(strIndex.find(pszRoute), std::string::npos) << pszRoute;
}

TEST_F(ControlTest, MessagesAreDecodedAndFiltered)
{
    m_client.CheckIn("alice");
    const auto nBefore = m_sandbox.Get("/messages").json["last"].get<int>();
    m_client.SendList("UserListSync", {{"bob", ""}});
    EXPECT_EQ(Classes("?user=alice"), "XC2S_CheckInReq XS2C_CheckInAns");
    EXPECT_EQ(Classes("?user=bob"), "XC2S_UserListSyncReq") << "in a record";
    EXPECT_EQ(Classes("?class=XS2C_VelkarConnectAns"), "XS2C_VelkarConnectAns");
    EXPECT_EQ(Classes("?limit=1"), "XS2C_QueryBillingInfoAns") << "the last ones";
    EXPECT_EQ(Classes("?limit=1&since=" + std::to_string(nBefore)), "XC2S_UserListSyncReq")
        << "the next ones";
    EXPECT_EQ(Classes("?connector=h/s/w"), "");

    const auto message = Messages("?class=XS2C_CheckInAns")[0];
    EXPECT_EQ(message["number"], nBefore);
    EXPECT_EQ(message["connector"], "g/s/w");
    EXPECT_EQ(message["direction"], "out");
    EXPECT_EQ(message["time"].get<std::string>().size(), 24u) << message["time"];
    EXPECT_EQ(message["fields"]["strUserID"], "alice");
    EXPECT_EQ(message["fields"]["nBillType"], 1);
    EXPECT_EQ(message["fields"]["cFree"], "N");
}

TEST_F(ControlTest, SecretsAndSizesStayOutOfTheLog)
{
    m_client.Buy("alice", "SWORD", "strPassWD=open-sesame");
    std::vector<std::pair<std::string, std::string>> vecUsers(5000, {std::string(500, 'x'), ""});
    vecUsers[0].first = std::string(5000, 'x');
    m_client.SendList("UserListSync", vecUsers);
    EXPECT_EQ(Messages("?class=XC2S_PurchaseProductReq")[0]["fields"]["strPassWD"], "(blanked)");
    const HttpAnswer all = m_sandbox.Get("/messages");
    EXPECT_EQ(all.strBody.find("open-sesame"), std::string::npos);
    EXPECT_LT(all.strBody.size(), 300'000u);
    EXPECT_NE(all.strBody.find("... (5000 elements)"), std::string::npos);
    EXPECT_NE(all.strBody.find("... (5000 bytes)"), std::string::npos);
    EXPECT_LT(m_sandbox.Lines().size(), 100'000u);
}

TEST_F(ControlTest, EveryClassGoesToJsonAndBack)
{
    for (const Wirova::ClassInfo& info : Wirova::AllClasses()) {
        const auto first = MakeFilled(info), second = info.pfnMake();
        const auto json = Sandbox::FieldsToJson(*first, {1 << 20, 1 << 20, 1 << 20});
        const auto parsed = Sandbox::Json::parse(Sandbox::DumpJson(json));
        Sandbox::JsonObject object(parsed, info.pszName);
        Sandbox::FieldsFromJson(*second, object, Sandbox::Naming::Wire);
        object.Done();
        EXPECT_EQ(DescribeMessage(*second), DescribeMessage(*first));
    }
    const std::pair<const char*, const char*> kNames[] = {
        {"strUserID", "userId"}, {"strCRMCode", "crmCode"}, {"bPCCafe", "pcCafe"}, {"nPID", "pid"},
        {"nItemCnt", "itemCnt"}, {"strPassWD", "passWd"},   {"cFree", "free"}};
    for (const auto& [pszField, pszArgument] : kNames)
        EXPECT_EQ(Sandbox::ArgumentName(pszField), pszArgument);
}

TEST_F(ControlTest, ResetIsAsAfterTheSeed)
{
    const auto nSeqNo = std::stoll(m_client.CheckIn("bob")->strSeqNo);
    m_client.Ask("Charge nPID=1002 vecChargeInfo={strUserID=bob}");
    m_sandbox.Post("/fault", R"({"class": "XS2C_CheckInAns", "kind": "drop"})");
    EXPECT_EQ(m_sandbox.User("bob")["remainMinutes"], 599);
    const auto nLast = m_sandbox.Get("/messages").json["last"];

    EXPECT_EQ(m_sandbox.Post("/reset", R"({"all": true})").nStatus, 400);
    EXPECT_EQ(m_sandbox.Post("/reset").nStatus, 200);
    EXPECT_EQ(m_sandbox.User("bob")["remainMinutes"], 600);
    EXPECT_TRUE(m_sandbox.User("bob")["session"].is_null());
    EXPECT_EQ(m_sandbox.User("carol")["otherBillings"].size(), 2u);
    EXPECT_EQ(m_sandbox.Get("/fault").json["faults"].size(), 0u);
    EXPECT_EQ(Messages("").size(), 0u);
    EXPECT_EQ(m_sandbox.Get("/messages").json["last"], nLast) << "numbers go on";
    EXPECT_GT(std::stoll(m_client.CheckIn("bob")->strSeqNo), nSeqNo);
}

TEST_F(ControlTest, WhatIsAskedWronglyIsSaid)
{
    const struct {
        const char *pszMethod, *pszPath;
        int nStatus;
    } kCases[] = {
        {"GET", "/nothing", 404},
        {"POST", "/nothing", 404},
        {"PUT", "/fault", 405},
        {"POST", "/users", 405},
        {"GET", "/messages?limit=0", 400},
        {"GET", "/messages?limit=501", 400},
        {"GET", "/messages?since=x", 400},
        {"GET", "/messages?clas=XC2S_Heartbeat", 400},
        {"GET", "/messages?class=X", 400},
        {"GET", "/users?user=nobody", 404},
        {"GET", "/trigger/storage-info", 405},
        {"DELETE", "/", 405},
    };
    for (const auto& test : kCases) {
        const HttpAnswer answer = Http(m_sandbox.HttpPort(), test.pszMethod, test.pszPath);
        EXPECT_EQ(answer.nStatus, test.nStatus) << test.pszMethod << ' ' << test.pszPath;
        EXPECT_TRUE(answer.json.is_object() && answer.json.contains("error")) << answer.strBody;
    }
}

TEST_F(ControlTest, PagesAndOtherNamesAreNotServed)
{
    const std::pair<const char*, int> kCases[] = {
        {"Host: localhost", 200},
        {"Host: 127.0.0.1:9", 200},
        {"Host: [::1]:12001", 200},
        {"Host: rebound.example", 403},
        {"Host: localhost.rebound.example", 403},
        {"Host: 10.0.0.1", 403},
        {"Host: [", 403},
        {"Origin: http://localhost", 403},
        {"Origin: null", 403},
        {"Content-Encoding: gzip", 415},
    };
    for (const auto& [pszHeader, nStatus] : kCases)
        EXPECT_EQ(Http(m_sandbox.HttpPort(), "POST", "/reset", "{}", {pszHeader}).nStatus, nStatus)
            << pszHeader;
}

TEST_F(ControlTest, HostileRequestsAreNotTheEnd)
{
    const std::string strPost = "POST /fault HTTP/1.1\r\nHost: localhost\r\n";
    const std::string kRequests[] = {
        "\r\n\r\n",
        std::string(200'000, 'x'),
        "GET /" + std::string(200'000, 'a') + " HTTP/1.1\r\n\r\n",
        "GET / HTTP/1.1\r\nHost: localhost\r\n" + std::string(200'000, 'h'),
        "GET / HTTP/1.1\r\nHost: localhost\r\nRange: bytes=99999-,-5,3-1\r\n\r\n",
        strPost + "Content-Length: 99999999999999999999\r\n\r\n{}",
        strPost + "Content-Length: -1\r\n\r\n{}",
        strPost + "Content-Length: 5000000\r\n\r\n" + std::string(5'000'000, ' '),
        strPost + "Transfer-Encoding: chunked\r\n\r\nffffffff\r\n{}",
        strPost + "Content-Type: multipart/form-data; boundary=\r\nContent-Length: 4\r\n\r\n----",
    };
    for (const std::string& strRequest : kRequests) {
        SCOPED_TRACE(strRequest.substr(0, 60));
        Client client(m_sandbox.HttpPort());
        client.SendBytes(strRequest);
        client.EndSending();
        client.ReadUntilClosed();
    }
    for (const std::string& strBody : {std::string(1'000'000, '['), std::string(100'000, '\xFF'),
                                       R"({"class": ")" + std::string(500'000, 'x') + "\"}"})
        EXPECT_EQ(m_sandbox.Post("/fault", strBody).nStatus, 400);
    EXPECT_EQ(m_sandbox.Get("/fault").nStatus, 200);
    EXPECT_EQ(m_client.CheckIn("alice")->nResult, 0);
}
