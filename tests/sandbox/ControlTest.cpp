// What the HTTP interface shows, what it resets, and whom it does not serve.
#include <gtest/gtest.h>

#include "sandbox/wire/MessageJson.h"
#include "tests/sandbox/SandboxFixture.h"
#include "wirova/messages/MessageCatalog.h"

using namespace SandboxTest;

namespace {

class ControlTest : public testing::Test {
protected:
    ControlTest() { m_client.Register("g", 1000); }
    // The classes of the messages that a query of the log finds.
    std::string Classes(const std::string& strQuery)
    {
        const HttpAnswer answer = m_sandbox.Get("/messages?" + strQuery);
        EXPECT_EQ(answer.nStatus, 200) << answer.strBody;
        std::string strClasses;
        for (const auto& message : answer.json["messages"])
            strClasses += (strClasses.empty() ? "" : " ") + message["class"].get<std::string>();
        return strClasses;
    }

    RunningSandbox m_sandbox;
    Client m_client{m_sandbox.Port()};
};

}  // namespace

TEST_F(ControlTest, ShowsConnectorsAndUsers)
{
    const auto alice = m_client.CheckIn("alice");
    const auto connectors = m_sandbox.Get("/connectors").json["connectors"];
    ASSERT_EQ(connectors.size(), 1u);
    EXPECT_EQ(connectors[0]["connector"], "g/s/w");
    EXPECT_EQ(connectors[0]["linked"], true);
    EXPECT_EQ(connectors[0]["users"], 1);

    const auto user = m_sandbox.Get("/users?user=alice").json["users"][0];
    EXPECT_EQ(user["session"]["connector"], "g/s/w");
    EXPECT_EQ(user["session"]["seqNo"], alice->strSeqNo);
    EXPECT_EQ(user["session"]["moving"], false);
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
    m_client.SendList<XC2S_UserListSyncReq>({{"bob", ""}});
    EXPECT_EQ(Classes("user=alice"), "XC2S_CheckInReq XS2C_CheckInAns");
    EXPECT_EQ(Classes("user=bob"), "XC2S_UserListSyncReq") << "in a record";
    EXPECT_EQ(Classes("class=XS2C_VelkarConnectAns"), "XS2C_VelkarConnectAns");
    EXPECT_EQ(Classes("limit=1"), "XS2C_QueryBillingInfoAns") << "the last ones";
    EXPECT_EQ(Classes("limit=1&since=" + std::to_string(nBefore)), "XC2S_UserListSyncReq") << "the next ones";
    EXPECT_EQ(Classes("connector=h/s/w"), "");

    const auto message = m_sandbox.Get("/messages?class=XS2C_CheckInAns").json["messages"][0];
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
    XC2S_PurchaseProductReq purchase;
    purchase.strPassWD = "open sesame";
    m_client.Ask<XS2C_PurchaseProductAns>(purchase);
    XC2S_UserListSyncReq list;
    list.vecCheckOutInfo.Add().strUserID = std::string(5000, 'x');
    for (int i = 1; i < 5000; ++i)
        list.vecCheckOutInfo.Add().strUserID = std::string(500, 'x');
    m_client.Send(list);
    m_client.Settle();
    const auto fields =
        m_sandbox.Get("/messages?class=XC2S_PurchaseProductReq").json["messages"][0]["fields"];
    EXPECT_EQ(fields["strPassWD"], "(blanked)");
    const HttpAnswer all = m_sandbox.Get("/messages");
    EXPECT_EQ(all.strBody.find("open sesame"), std::string::npos);
    EXPECT_LT(all.strBody.size(), 300'000u);
    EXPECT_NE(all.strBody.find("... (5000 elements)"), std::string::npos);
    EXPECT_NE(all.strBody.find("... (5000 bytes)"), std::string::npos);
}

TEST_F(ControlTest, EveryClassGoesToJsonAndBack)
{
    const Sandbox::JsonLimits limits{1 << 20, 1 << 20, 1 << 20};
    for (const Wirova::ClassInfo& info : Wirova::AllClasses()) {
        // All fields by their names as arguments; a list gets one record.
        const auto first = info.pfnMake(), second = info.pfnMake();
        Wirova::VisitMessage(*first, [](const char*, auto& field) {
            using Field = std::remove_cvref_t<decltype(field)>;
            if constexpr (std::is_base_of_v<Wirova::RecordList, Field>)
                field.Add();
            else if constexpr (std::is_same_v<Field, std::string>)
                field = "t\"\\\xE2\x82\xAC";
            else if constexpr (std::is_same_v<Field, char>)
                field = '\xFE';
            else if constexpr (std::is_same_v<Field, Wirova::boolean>)
                field = Wirova::boolean::FromByte(2);
            else if constexpr (requires { field = -2; })
                field = -2;
        });
        const auto json = Sandbox::FieldsToJson(*first, limits);
        const auto parsed = Sandbox::Json::parse(Sandbox::DumpJson(json));
        Sandbox::JsonObject object(parsed, info.pszName);
        Sandbox::FieldsFromJson(*second, object, Sandbox::Naming::Wire);
        object.Done();
        EXPECT_EQ(Sandbox::FieldsToJson(*second, limits), json) << info.pszName;
    }
    for (const auto& [strField, strArgument] : std::map<std::string, std::string>{{"strUserID", "userId"},
                                                                                  {"strCRMCode", "crmCode"},
                                                                                  {"bPCCafe", "pcCafe"},
                                                                                  {"nPID", "pid"},
                                                                                  {"nItemCnt", "itemCnt"},
                                                                                  {"strPassWD", "passWd"},
                                                                                  {"cFree", "free"}})
        EXPECT_EQ(Sandbox::ArgumentName(strField), strArgument);
}

TEST_F(ControlTest, ResetIsAsAfterTheSeed)
{
    const auto bob = m_client.CheckIn("bob");
    XC2S_ChargeReq charge;
    charge.nPID = 1002;
    charge.vecChargeInfo.Add().strUserID = "bob";
    m_client.Ask<XS2C_ChargeAns>(charge);
    m_sandbox.Post("/fault", R"({"class": "XS2C_CheckInAns", "kind": "drop"})");
    EXPECT_EQ(m_sandbox.Get("/users?user=bob").json["users"][0]["remainMinutes"], 599);
    const auto nLast = m_sandbox.Get("/messages").json["last"];

    EXPECT_EQ(m_sandbox.Post("/reset", R"({"all": true})").nStatus, 400);
    EXPECT_EQ(m_sandbox.Post("/reset").nStatus, 200);
    const auto user = m_sandbox.Get("/users?user=bob").json["users"][0];
    EXPECT_EQ(user["remainMinutes"], 600);
    EXPECT_TRUE(user["session"].is_null());
    EXPECT_EQ(m_sandbox.Get("/users?user=carol").json["users"][0]["otherBillings"].size(), 2u);
    EXPECT_EQ(m_sandbox.Get("/fault").json["faults"].size(), 0u);
    EXPECT_EQ(m_sandbox.Get("/messages").json["messages"].size(), 0u);
    EXPECT_EQ(m_sandbox.Get("/messages").json["last"], nLast) << "numbers go on";
    EXPECT_GT(std::stoll(m_client.CheckIn("bob")->strSeqNo), std::stoll(bob->strSeqNo));
}

TEST_F(ControlTest, WhatIsAskedWronglyIsSaid)
{
    const struct {
        const char* pszMethod;
        const char* pszPath;
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
        const HttpAnswer answer = Http(m_sandbox.Server().GetHttpPort(), test.pszMethod, test.pszPath);
        EXPECT_EQ(answer.nStatus, test.nStatus) << test.pszMethod << ' ' << test.pszPath;
        EXPECT_TRUE(answer.json.is_object() && answer.json.contains("error")) << answer.strBody;
    }
}

TEST_F(ControlTest, PagesAndOtherNamesAreNotServed)
{
    const struct {
        std::vector<std::string> vecHeaders;
        int nStatus;
    } kCases[] = {
        {{"Host: localhost"}, 200},
        {{"Host: 127.0.0.1:9"}, 200},
        {{"Host: [::1]:12001"}, 200},
        {{"Host: rebound.example"}, 403},
        {{"Host: localhost.rebound.example"}, 403},
        {{"Host: 10.0.0.1"}, 403},
        {{"Host: ["}, 403},
        {{"Origin: http://localhost"}, 403},
        {{"Origin: null"}, 403},
        {{"Content-Encoding: gzip"}, 415},
    };
    for (const auto& test : kCases) {
        EXPECT_EQ(Http(m_sandbox.Server().GetHttpPort(), "POST", "/reset", "{}", test.vecHeaders).nStatus,
                  test.nStatus)
            << test.vecHeaders[0];
    }
}

TEST_F(ControlTest, HostileRequestsAreNotTheEnd)
{
    const unsigned short nPort = m_sandbox.Server().GetHttpPort();
    const auto post = [](const std::string& strHeaders, const std::string& strBody) {
        return "POST /fault HTTP/1.1\r\nHost: localhost\r\n" + strHeaders + "\r\n" + strBody;
    };
    const std::string kRequests[] = {
        "\r\n\r\n",
        std::string(200'000, 'x'),
        "GET /" + std::string(200'000, 'a') + " HTTP/1.1\r\n\r\n",
        "GET / HTTP/1.1\r\nHost: localhost\r\n" + std::string(200'000, 'h'),
        "GET / HTTP/1.1\r\nHost: localhost\r\nRange: bytes=99999-,-5,3-1\r\n\r\n",
        post("Content-Length: 99999999999999999999\r\n", "{}"),
        post("Content-Length: -1\r\n", "{}"),
        post("Content-Length: 5000000\r\n", std::string(5'000'000, ' ')),
        post("Transfer-Encoding: chunked\r\n", "ffffffff\r\n{}"),
        post("Content-Type: multipart/form-data; boundary=\r\nContent-Length: 4\r\n", "----"),
    };
    for (const std::string& strRequest : kRequests) {
        Client client(nPort);
        client.SendBytes(strRequest);
        client.EndSending();
        EXPECT_TRUE(client.IsClosed()) << strRequest.substr(0, 60);
    }
    EXPECT_EQ(m_sandbox.Post("/fault", std::string(1'000'000, '[')).nStatus, 400);
    EXPECT_EQ(m_sandbox.Post("/fault", R"({"class": ")" + std::string(500'000, 'x') + "\"}").nStatus, 400);
    EXPECT_EQ(m_sandbox.Post("/fault", std::string(100'000, '\xFF')).nStatus, 400);
    EXPECT_EQ(m_sandbox.Get("/fault").nStatus, 200);
    EXPECT_EQ(m_client.CheckIn("alice")->nResult, 0);
}
