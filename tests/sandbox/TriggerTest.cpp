// What the service starts by itself: notices, and requests that the game answers.
#include "sandbox/wire/AnyMessage.h"
#include "tests/sandbox/SandboxFixture.h"

using namespace SandboxTest;

using TriggerTest = ClientTest;

TEST_F(TriggerTest, NoticesReachTheConnectorOfTheUser)
{
    Client other(m_sandbox.Port(), "other");
    other.CheckIn("alice");
    m_client.Ask("CheckIn strUserNo=10002");

    const auto answer = m_sandbox.Post(
        "/trigger/billing-event", R"({"user": "alice", "eventCode": 3, "specificCode": -7, "param": "Hi"})");
    EXPECT_TRUE(Contains(answer.strBody, "other/s/w"));
    EXPECT_EQ(Pick(*other.Receive<XS2C_BillingEventNotice>(),
                   "strUserID strUserIP nEventCode nSpecificCode strParam"),
              "alice,10.0.0.1,3,-7,Hi");

    m_sandbox.Post("/trigger/storage-info", R"({"user": "bob", "characterId": "Bo", "itemCnt": 4})");
    EXPECT_EQ(Pick(*m_client.Receive<XS2C_NotifyStorageInfo>(),
                   "strGameID strUserID strUserNo strCharacterID nItemCnt"),
              "g,,10002,Bo,4")
        << "as his connector names him";
    for (const std::string strCode : {"0", "2"}) {
        m_sandbox.Post("/trigger/billing-event", R"({"user": "bob", "eventCode": )" + strCode + "}");
        m_client.Receive<XS2C_BillingEventNotice>();
        EXPECT_EQ(m_sandbox.Sessions(),
                  strCode == "2" ? "alice on other/s/w" : "alice on other/s/w, bob on g/s/w");
    }
}

TEST_F(TriggerTest, TheGamesAnswerComesBackAsJson)
{
    m_client.CheckIn("alice");
    auto saved =
        m_sandbox.PostLater("/trigger/save-inventory",
                            R"({"user": "alice", "orderSeq": 9, "recvUserId": "bob", "serverId": "s2",
                                         "inventory": [{"itemId": "sword", "count": 2, "useStatus": "U"},
                                                       {"itemId": "bow", "useStatus": 1}]})");
    const auto req = m_client.Receive<XS2C_SaveInventoryReq>();
    EXPECT_EQ(
        Pick(*req, "nOrderSeq strUserID strRecvUserID strGameID strServerID strItemID nCount cUseStatus"),
        "g,9,alice,s2,bob|sword,2,U|bow,0,\1")
        << "given ones stand before the connector's own";
    XC2S_SaveInventoryAns ans;
    ans.nReqID = req->nReqID + 1;
    m_client.Send(ans);  // another one's
    m_client.Settle();
    ans.nReqID = req->nReqID;
    ans.nState = -1;
    ans.strMessage = "No \xFF room";
    m_client.Send(ans);
    const HttpAnswer answer = saved.get();
    EXPECT_EQ(answer.nStatus, 200);
    EXPECT_EQ(answer.json["fields"]["nState"], -1) << answer.strBody;
    EXPECT_EQ(answer.json["fields"]["strMessage"], "No \xEF\xBF\xBD room") << "JSON whatever the bytes";
}

TEST_F(TriggerTest, EveryRequestFindsItsAnswer)
{
    const std::tuple<const char*, const char*, const char*> kCases[] = {
        {"query-game-money", "", "XC2S_QueryGameMoneyAns"},
        {"spend-game-money", R"(, "gameMoney": 5)", "XC2S_SpendGameMoneyAns"},
        {"query-inventory", R"(, "userNo": "1", "characterId": "x")", "XC2S_QueryInventoryAns"},
        {"save-inventory", R"(, "inventory": [])", "XC2S_SaveInventoryAns"},
        {"query-character", R"(, "searchType": "I", "searchValue": "alice")", "XC2S_QueryCharacterAns"},
    };
    for (const auto& [pszTrigger, pszArguments, pszAnswer] : kCases) {
        auto asked = m_sandbox.PostLater(std::string("/trigger/") + pszTrigger,
                                         R"({"connector": "g/s/w")" + std::string(pszArguments) + "}");
        const auto req = m_client.ReceiveAny();
        const auto ans = Sandbox::FindClassByName(pszAnswer)->pfnMake();
        Sandbox::EchoFields(*req, *ans);
        m_client.Send(*ans);
        EXPECT_EQ(asked.get().json["class"], pszAnswer);
    }
}

TEST_F(TriggerTest, AGameThatDoesNotAnswerIsNotWaitedForEndlessly)
{
    const HttpAnswer late =
        m_sandbox.Post("/trigger/query-game-money", R"({"connector": "g/s/w", "timeoutMs": 20})");
    EXPECT_EQ(late.nStatus, 504);
    EXPECT_EQ(late.json["error"], "The game has sent no XC2S_QueryGameMoneyAns within 20 ms.");
    m_client.Receive<XS2C_QueryGameMoneyReq>();
    m_client.Send(XC2S_QueryGameMoneyAns());
    EXPECT_TRUE(m_sandbox.Shows("g/s/w: nobody waits for this XC2S_QueryGameMoneyAns"));

    auto client = std::make_unique<Client>(m_sandbox.Port(), "leaves");
    auto asked = m_sandbox.PostLater("/trigger/query-game-money", R"({"connector": "leaves/s/w"})");
    client->Receive<XS2C_QueryGameMoneyReq>();
    client.reset();
    EXPECT_EQ(asked.get().nStatus, 502);
}

TEST_F(TriggerTest, WhatCannotBeDoneIsSaid)
{
    m_client.CheckIn("bob");
    m_client.Move("To", "bob");
    m_client.CheckIn("erin");
    Client(m_sandbox.Port(), "gone").CheckIn("dave");
    ASSERT_TRUE(m_sandbox.Shows("gone/s/w: closed"));
    m_sandbox.ExpectRefused(
        "/trigger/billing-event",
        {{R"({"eventCode": 1})", 400, "either 'user' or 'connector' is expected"},
         {R"({"eventCode": 1, "user": "erin", "userNo": "10005"})", 400, "names the user already"},
         {R"({"eventCode": 1, "user": "nobody"})", 404, "There is no user 'nobody'."},
         {R"({"eventCode": 1, "user": "alice"})", 409, "'alice' is not checked in."},
         {R"({"eventCode": 1, "user": "bob"})", 409, "'bob' is on the move"},
         {R"({"eventCode": 1, "user": "dave"})", 409, "The connector gone/s/w has no link."},
         {R"({"eventCode": 1, "connector": "g/s/x"})", 404, "There is no connector 'g/s/x'."},
         {R"({"user": "erin"})", 400, "'eventCode': is missing"},
         {R"({"user": "erin", "eventCode": 1, "reqId": 5})", 400, "'reqId': is not a known key"},
         {R"({"user": "erin", "eventCode": 1, "timeoutMs": 5})", 400, "'timeoutMs': is not a known key"},
         {"{", 400, "not JSON"}});
    m_sandbox.ExpectRefused("/trigger/save-inventory",
                            {{R"({"connector": "g/s/w", "inventory": [{}, {"itemId": "a", "size": 1}]})", 400,
                              "inventory[1] 'size': is not a known key"}});
    m_client.Settle();  // the first frame is its answer: nothing has been sent
}
