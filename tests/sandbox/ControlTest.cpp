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
        return m_sandbox.Get("/messages" + strQuery).json["messages"];
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
    EXPECT_EQ(connectors.size(), 1u);
    EXPECT_TRUE(Contains(connectors.dump(), R"("wid":"w","linked":true,)"));
    EXPECT_EQ(connectors[0]["users"], 1);
    const auto session = m_sandbox.User("alice")["session"];
    EXPECT_TRUE(Contains(session.dump(), R"({"connector":"g/s/w","seqNo":")" + strSeqNo + "\""));
    EXPECT_EQ(session["moving"], false);
    const auto users = m_sandbox.Get("/users?limit=3").json["users"];
    ASSERT_EQ(users.size(), 3u);
    EXPECT_EQ(users[2]["userId"], "carol");
    EXPECT_EQ(users[2]["otherBillings"].size(), 2u);
    EXPECT_TRUE(users[2]["session"].is_null());
    EXPECT_TRUE(Contains(m_sandbox.Get("/routes").strBody, "/trigger/query-character"));
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
    EXPECT_TRUE(Contains(message["fields"].dump(), R"("cFree":"N","nBillType":1,)"));
}

// A reader that is too slow loses messages, and what it gets afterwards says how many.
TEST_F(ControlTest, TheStreamIsFilteredAndBounded)
{
    asio::io_context context;
    asio::ip::tcp::socket slow(context);
    slow.connect({asio::ip::address_v4::loopback(), m_sandbox.HttpPort()});
    asio::write(slow,
                asio::buffer(std::string("GET /events?user=alice HTTP/1.1\r\nHost: localhost\r\n\r\n")));
    std::string strRead;
    asio::read_until(slow, asio::dynamic_buffer(strRead), "text/event-stream");
    m_client.CheckIn("bob");
    m_client.CheckIn("alice");
    asio::read_until(slow, asio::dynamic_buffer(strRead), R"("class":"XS2C_CheckInAns","users":["alice")");
    EXPECT_FALSE(Contains(strRead, "bob"));
    Sandbox::EventQueue queue;
    for (std::size_t i = 0; i < Sandbox::EventQueue::kMaxEvents + 7; ++i)
        queue.Push("{}");
    EXPECT_TRUE(Contains(queue.Take({}), "event: lost\ndata: {\"lost\": 7}\n\n"));
    queue.Push(std::string(Sandbox::EventQueue::kMaxBytes + 1, 'x'));
    EXPECT_TRUE(Contains(queue.Take({}), "{\"lost\": 1}"));
    EXPECT_TRUE(
        Contains(m_sandbox.Get("/metrics").strBody, "{class=\"XC2S_CheckInReq\",direction=\"in\"} 2\n"));
    EXPECT_EQ(m_sandbox.Get("/health").json["status"], "ok");
    EXPECT_EQ(m_sandbox.Get("/openapi.json").json["paths"]["/fault"].size(), 3u);
}

TEST_F(ControlTest, SecretsAndSizesStayOutOfTheLog)
{
    m_client.Buy("alice", "SWORD", "strPassWD=open-sesame");
    std::vector<std::pair<std::string, std::string>> vecUsers(5000, {std::string(500, 'x'), ""});
    vecUsers[0].first = std::string(5000, 'x');
    m_client.SendList("UserListSync", vecUsers);
    EXPECT_EQ(Messages("?class=XC2S_PurchaseProductReq")[0]["fields"]["strPassWD"], "(blanked)");
    const HttpAnswer all = m_sandbox.Get("/messages");
    EXPECT_FALSE(Contains(all.strBody + m_sandbox.Lines(), "open-sesame"));
    EXPECT_LT(all.strBody.size(), 300'000u);
    EXPECT_TRUE(Contains(all.strBody, "... (5000 elements)"));
    EXPECT_TRUE(Contains(all.strBody, "... (5000 bytes)"));
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

// A crown is sold once to each, a coupon taken once, a seed's box filled once.
TEST_F(ControlTest, ResetIsAsAfterTheSeed)
{
    const auto before = m_sandbox.Get("/users").json;
    const std::string strCoupon = "vecUseCoupon={strCouponUseID=ALICE-10 strCouponCode=SPRING10}";
    std::string strSeqNo = "0";
    for (const int nBoxOfDave : {27, 27}) {
        const auto strLast = m_client.CheckIn("bob")->strSeqNo;
        EXPECT_GT(std::stoll(strLast), std::stoll(std::exchange(strSeqNo, strLast))) << "numbers go on";
        m_client.Ask("Charge nPID=1002 vecChargeInfo={strUserID=bob}");
        EXPECT_EQ(m_sandbox.User("bob")["remainMinutes"], 599);
        m_sandbox.Post("/fault", R"({"class": "XS2C_ChargeAns", "kind": "drop"})");
        EXPECT_EQ(m_client.Buy("alice", "SWORD", strCoupon), "0,990");
        EXPECT_EQ(m_client.Buy("dave", "CROWN"), "0,100");
        EXPECT_EQ(m_client.Buy("dave", "CROWN"), "35,0");
        EXPECT_EQ(m_client.Buy("dave", "POTION"), "0,10");
        EXPECT_EQ(m_client.Box("dave"), nBoxOfDave);
        const auto nLast = m_sandbox.Get("/messages").json["last"];
        EXPECT_EQ(m_sandbox.Post("/reset", R"({"all": true})").nStatus, 400);
        EXPECT_EQ(m_sandbox.Post("/reset").nStatus, 200);
        EXPECT_EQ(m_sandbox.Get("/users").json, before);
        EXPECT_EQ(m_sandbox.Get("/messages").json["last"], nLast);
        for (const std::string strList : {"fault", "messages", "orders"})
            EXPECT_EQ(m_sandbox.Get('/' + strList).json.back().size(), 0u) << strList;
    }
}

TEST_F(ControlTest, WhatIsAskedWronglyOrByAPageIsRefused)
{
    const std::tuple<std::string, int, const char*> kCases[] = {
        {"GET /nothing", 404, ""},
        {"PUT /fault", 405, ""},
        {"GET /messages?limit=0", 400, ""},
        {"GET /messages?limit=501", 400, ""},
        {"GET /messages?since=x", 400, ""},
        {"GET /messages?clas=XC2S_Heartbeat", 400, ""},
        {"GET /messages?class=X", 400, ""},
        {"GET /users?user=nobody", 404, ""},
        {"GET /trigger/storage-info", 405, ""},
        {"POST /reset", 200, "Host: localhost"},
        {"POST /reset", 200, "Host: 127.0.0.1:9"},
        {"POST /reset", 200, "Host: [::1]:12001"},
        {"POST /reset", 403, "Host: rebound.example"},
        {"POST /reset", 403, "Host: localhost.rebound.example"},
        {"POST /reset", 403, "Host: ["},
        {"POST /reset", 403, "Origin: http://localhost"},
        {"POST /reset", 200, "Origin: http://127.0.0.1:PORT"},
        {"POST /reset", 403, "Sec-Fetch-Site: cross-site"},
        {"POST /reset", 415, "Content-Encoding: gzip"},
    };
    for (const auto& [strCase, nStatus, pszHeader] : kCases) {
        const std::size_t nBlank = strCase.find(' ');
        std::string strHeader = pszHeader;
        if (const std::size_t nPort = strHeader.find("PORT"); nPort != std::string::npos)
            strHeader.replace(nPort, 4, std::to_string(m_sandbox.HttpPort()));
        const auto answer = Http(m_sandbox.HttpPort(), strCase.substr(0, nBlank), strCase.substr(nBlank + 1),
                                 nBlank == 4 ? "{}" : "", strHeader);
        EXPECT_EQ(answer.nStatus, nStatus) << strCase << pszHeader;
        EXPECT_EQ(answer.json.is_object() && answer.json.contains("error"), nStatus != 200) << answer.strBody;
    }
}

TEST_F(ControlTest, RequestsAreReadByTheGrammarOfHttp)
{
    const std::string strHost = " HTTP/1.1\r\nHost: localhost\r\n";
    const std::pair<std::string, const char*> kCases[] = {
        {"GET /users?user=%61lic%65" + strHost + "\r\n", "200 OK"},
        {"GET /users?user=alice&limit=%31&" + strHost + "\r\n", "200 OK"},
        {"GET /users?user=alic%6" + strHost + "\r\n", "404 Not Found"},
        {"POST /reset" + strHost + "Expect: 100-continue\r\nContent-Length: 2\r\n\r\n{}", "100 Continue"},
        {"POST /reset" + strHost + "Transfer-Encoding: chunked\r\n\r\n2\r\n{}\r\n0\r\n\r\n", "411 Length"},
        {"POST /reset" + strHost + "Content-Length: 1048577\r\n\r\n", "413 Payload"},
        {"POST /reset" + strHost + "Content-Length: 2\r\nContent-Length: 3\r\n\r\n{}", "400 Bad"},
        {"GET /" + strHost + "Host: localhost\r\n\r\n", "403 Forbidden"},
        {"GET /" + strHost + "Name: " + std::string(100'000, 'x') + "\r\n\r\n", "400 Bad"},
        {"nonsense\r\n\r\n", "400 Bad"},
    };
    for (const auto& [strBytes, pszAnswer] : kCases) {
        Client client(m_sandbox.HttpPort());
        client.SendBytes(strBytes);
        const std::string strAnswer = client.ReadUntilClosed();
        EXPECT_TRUE(strAnswer.starts_with(std::string("HTTP/1.1 ") + pszAnswer)) << strBytes.substr(0, 99);
    }
    Client client(m_sandbox.HttpPort());
    client.SendBytes("HEAD /" + strHost + "\r\n");
    EXPECT_TRUE(client.ReadUntilClosed().ends_with("\r\n\r\n"));
}

TEST_F(ControlTest, HugeRequestsAreNotTheEnd)
{
    for (const std::string& strBody : {std::string(1'000'000, '['), std::string(100'000, '\xFF')})
        EXPECT_EQ(m_sandbox.Post("/fault", strBody).nStatus, 400);
    EXPECT_NE(m_sandbox.Post("/reset", "{}" + std::string(5'000'000, ' ')).nStatus, 200);
    EXPECT_EQ(m_sandbox.Get("/fault").nStatus, 200);
}
