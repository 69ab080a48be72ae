// What the service asks of the game, and what it hears.
#include "datapool/DataPool.h"
#include "tests/fakeplatform/LogicTest.h"

namespace {

constexpr const char* kNoCallback = "Failed to load function pointer for call back operation.";

class ServiceRequestTest : public LogicTest {
protected:
    template <class Request>
    static void Fill(Request& req, int nReqID)
    {
        req.nReqID = nReqID;
        if constexpr (requires { req.strUserNo; }) {
            req.strGameID = std::string(30, 'g');
            req.strServerID = "server";
            req.strUserNo = "555";
            req.strCharacterID = "hero";
        }
    }
    template <class Request>
    auto Ask(int nReqID)
    {
        Request req;
        Fill(req, nReqID);
        return Service().Ask(req);
    }
};

TEST_F(ServiceRequestTest, Money)
{
    ASSERT_TRUE(Game().Start());
    Game().On<QueryGameMoney>([](const auto& req, auto& res) {
        EXPECT_EQ(std::string(req.szGameID), std::string(20, 'g'));
        EXPECT_STREQ(req.szServerID, "server");
        EXPECT_STREQ(req.szUserKey, "555");
        EXPECT_STREQ(req.szCharacterID, "hero");
        res.nGameMoney = 1000;
    });
    Game().On<SpendGameMoney>([](const auto& req, auto& res) { res.nGameMoney = 1000 - req.nGameMoney; });
    const auto query = Ask<XS2C_QueryGameMoneyReq>(41);
    EXPECT_EQ(query->nReqID, 41);
    EXPECT_EQ(query->nState, 0);
    EXPECT_EQ(query->strMessage, "Success to search user's game money.");
    EXPECT_EQ(query->nGameMoney, 1000);
    XS2C_SpendGameMoneyReq req;
    Fill(req, 42);
    req.nGameMoney = 300;
    const auto spend = Service().Ask(req);
    EXPECT_EQ(spend->nState, 0);
    EXPECT_EQ(spend->strMessage, "Success to reduce user's game money.");
    EXPECT_EQ(spend->nGameMoney, 700);
}

// A failed spend is told by its money alone. A success byte of 2 is neither failure nor success.
TEST_F(ServiceRequestTest, MoneyThatTheGameRefuses)
{
    ASSERT_TRUE(Game().Start());
    for (const unsigned char bSuccess : {0, 2}) {
        const auto refuse = [bSuccess](const auto&, auto& res) {
            res.bSuccess = bSuccess;
            res.nGameMoney = 77;
            std::memset(res.szMessage, 'm', sizeof(res.szMessage));  // no NUL
        };
        Game().On<QueryGameMoney>(refuse);
        Game().On<SpendGameMoney>(refuse);
        const auto query = Ask<XS2C_QueryGameMoneyReq>(1);
        EXPECT_EQ(query->nState, -1);
        EXPECT_EQ(query->nGameMoney, -1);
        EXPECT_EQ(query->strMessage, std::string(1024, 'm'));
        const auto spend = Ask<XS2C_SpendGameMoneyReq>(2);
        EXPECT_EQ(spend->nState, 0);
        EXPECT_EQ(spend->nGameMoney, -1);
    }
}

TEST_F(ServiceRequestTest, ListsThatTheGameFills)
{
    ASSERT_TRUE(Game().Start());
    Game().On<QueryInventory>([](const auto& req, auto& res) {
        EXPECT_STREQ(req.szCharacterID, "hero");
        _INVENTORY_ITEM_INFO item{};
        Put(item.szItemID, "sword");
        item.nCount = 2;
        item.nUseCount = 3;
        item.nPeriod = 4;
        item.nPossibleLevel = 5;
        Put(item.szValidTerm, "20300101000000");
        item.cUseStatus = 'U';
        std::memset(item.szOptionCode, 'o', sizeof(item.szOptionCode));  // no NUL
        Put(item.szOptionValue, "red");
        EXPECT_TRUE(SetInventoryItemData(res.pHandle, item, nullptr, 0));
        EXPECT_TRUE(SetInventoryItemData(res.pHandle, item, nullptr, 0));
    });
    const auto inventory = Ask<XS2C_QueryInventoryReq>(5);
    EXPECT_EQ(inventory->nState, 0);
    EXPECT_EQ(inventory->strMessage, "Success to search user's inventory item info.");
    ASSERT_EQ(inventory->vecInventory.size(), 2u);
    const XInventory& row = *inventory->vecInventory[1];
    EXPECT_EQ(row.strItemID, "sword");
    EXPECT_EQ(row.nCount * 1000 + row.nUseCount * 100 + row.nPeriod * 10 + row.nPossibleLevel, 2345);
    EXPECT_EQ(row.strValidTerm, "20300101000000");
    EXPECT_EQ(row.cUseStatus, 'U');
    EXPECT_EQ(row.strOptionCode, std::string(100, 'o'));
    EXPECT_EQ(row.strOptionValue, "red");

    for (const bool bNumber : {false, true}) {
        Game().Stop();
        Game().settings.bUseUserNumber = bNumber;
        ASSERT_TRUE(Game().Start());
        Game().On<QueryCharacter>([](const auto& req, auto& res) {
            EXPECT_EQ(req.cSearchType, 'C');
            EXPECT_STREQ(req.szSearchValue, "hero");
            _CHARACTER_INFO info{};
            Put(info.szUserID, "abc");
            Put(info.szCharacterID, "hero");
            info.nCharacterValue = -9;
            EXPECT_TRUE(SetCharacterData(res.pHandle, info, nullptr, 0));
        });
        XS2C_QueryCharacterReq req;
        Fill(req, 6);
        req.cSearchType = 'C';
        req.strSearchValue = "hero";
        const auto characters = Service().Ask(req);
        ASSERT_EQ(characters->vecCharacter.size(), 1u);
        EXPECT_EQ(characters->vecCharacter[0]->strUserID, bNumber ? "" : "abc");
        EXPECT_EQ(characters->vecCharacter[0]->strUserNo, bNumber ? "abc" : "");
        EXPECT_EQ(characters->vecCharacter[0]->nCharacterValue, -9);
    }
}

TEST_F(ServiceRequestTest, EmptyListsAndRefusedOnes)
{
    ASSERT_TRUE(Game().Start());
    EXPECT_EQ(Ask<XS2C_QueryInventoryReq>(1)->strMessage, "There is no inventory item info.");
    const auto none = Ask<XS2C_QueryCharacterReq>(2);
    EXPECT_EQ(none->strMessage, "There is no character info.");
    EXPECT_EQ(none->nState, 0);
    _DATA_HANDLE kept(0);
    Game().On<QueryInventory>([&kept](const auto&, auto& res) {
        kept = *res.pHandle;
        SetInventoryItemData(res.pHandle, {}, nullptr, 0);
        res.bSuccess = 0;
        Put(res.szMessage, "no such hero");
    });
    const auto refused = Ask<XS2C_QueryInventoryReq>(3);
    EXPECT_EQ(refused->nState, -1);
    EXPECT_EQ(refused->strMessage, "no such hero");
    EXPECT_TRUE(refused->vecInventory.empty());
    Ask<XS2C_QueryGameMoneyReq>(4);  // the handler before has ended
    EXPECT_EQ(GetDataSize(&kept, nullptr, 0), 0u);
    EXPECT_EQ(DataPool().GetCount(), 0u);
}

TEST_F(ServiceRequestTest, ItemsToSave)
{
    ASSERT_TRUE(Game().Start());
    XS2C_SaveInventoryReq req;
    Fill(req, 7);
    req.nOrderSeq = 12;
    req.nPrice = 500;
    req.strRecvUserNo = "777";
    req.strGiftMessage = std::string(300, 'm');
    std::string strFailure;
    Game().On<SaveInventory>([&](const auto& save, auto& res) {
        EXPECT_STREQ(save.szUserKey, "555");
        EXPECT_STREQ(save.szRecvUserKey, "777");
        EXPECT_EQ(save.nOrderSeq, 12);
        EXPECT_EQ(save.nPrice, 500);
        EXPECT_EQ(std::strlen(save.szGiftMessage), 200u);
        res.bSuccess = strFailure.empty();
        std::memset(res.szError, 'f', sizeof(res.szError));
        _INVENTORY_ITEM_INFO item;
        if (!GetSaveItemData(save.pHandle, 0, &item, nullptr, 0))
            return;
        EXPECT_STREQ(item.szItemID, "sword");
        EXPECT_EQ(item.nCount * 1000 + item.nUseCount * 100 + item.nPeriod * 10 + item.nPossibleLevel, 2345);
        EXPECT_STREQ(item.szOptionValue, "red");
        EXPECT_EQ(item.cUseStatus, '\0');
    });
    EXPECT_EQ(Service().Ask(req)->nState, 0);  // no items: the game is asked nevertheless
    XInventory& item = req.vecInventory.Add();
    item.strItemID = "sword";
    item.nCount = 2, item.nUseCount = 3, item.nPeriod = 4, item.nPossibleLevel = 5;
    item.strOptionValue = "red";
    item.cUseStatus = 'U';
    EXPECT_EQ(Service().Ask(req)->strMessage, "Success to save user's item in inventory.");
    strFailure = "full";
    const auto failed = Service().Ask(req);
    EXPECT_EQ(failed->nState, -1);
    EXPECT_EQ(failed->strMessage, std::string(1024, 'f'));
    EXPECT_EQ(Game().Got<SaveInventory>().size(), 3u);
}

TEST_F(ServiceRequestTest, AGameWithoutCallbacksIsAnswered)
{
    Game().callbacks = {};
    ASSERT_TRUE(Game().Start());
    const auto query = Ask<XS2C_QueryGameMoneyReq>(1);
    EXPECT_EQ(query->nState, -1);
    EXPECT_EQ(query->nGameMoney, -1);
    EXPECT_EQ(query->strMessage, kNoCallback);
    const auto spend = Ask<XS2C_SpendGameMoneyReq>(2);
    EXPECT_EQ(spend->nState, 0);
    EXPECT_EQ(spend->nGameMoney, -1);
    EXPECT_EQ(spend->strMessage, kNoCallback);
    EXPECT_EQ(Ask<XS2C_QueryInventoryReq>(3)->strMessage, kNoCallback);
    EXPECT_EQ(Ask<XS2C_QueryCharacterReq>(4)->nState, -1);
    EXPECT_EQ(Ask<XS2C_SaveInventoryReq>(5)->strMessage, kNoCallback);
}

TEST_F(ServiceRequestTest, AGameThatThrowsHurtsOnlyItsOwnRequest)
{
    ASSERT_TRUE(Game().Start());
    const auto fail = [](const auto&, auto&) { throw std::runtime_error("of the game"); };
    Game().On<QueryInventory>(fail);
    Game().On<SpendGameMoney>(fail);
    XS2C_QueryInventoryReq inventory;
    XS2C_SpendGameMoneyReq spend;
    XS2C_QueryGameMoneyReq query;
    Service().Send(inventory, spend, query);
    Service().Expect<XC2S_QueryGameMoneyAns>();
    EXPECT_TRUE(Journal::Logged(Journal::Level::Error,
                                "[Comm Handler] There is an exception in OnQeuryInventoryInfoReq func."));
    EXPECT_EQ(Service().Count<XC2S_SpendGameMoneyAns>(), 0);
    EXPECT_EQ(DataPool().GetCount(), 0u);
}

TEST_F(ServiceRequestTest, AnAnswerThatCannotBeSentIsLogged)
{
    ASSERT_TRUE(Game().Start());
    Game().On<QueryInventory>([](const auto&, auto&) { FailSend(); });
    XS2C_QueryInventoryReq req;
    Service().Send(req);
    EXPECT_TRUE(
        Journal::WaitFor(Journal::Level::Error, "Failed to send a 'XC2S_QueryInventoryAns' msg(Req ID: d)."));
}

// The link's reader is inside the callback: an answer cannot come meanwhile.
TEST_F(ServiceRequestTest, ACallInsideACallbackOnlyRunsIntoItsTimeout)
{
    Service().SayYes();
    ASSERT_TRUE(Game().Start());
    SetSecond(std::chrono::milliseconds(100));
    std::string strText;
    Game().On<QueryGameMoney>([&](const auto&, auto&) { strText = Game().Checkin("abc").szError; });
    Ask<XS2C_QueryGameMoneyReq>(1);
    EXPECT_EQ(strText, "Failed to receive a 'XS2C_CheckInAns' msg because of timeout.");
    Service().Expect<XC2S_CheckOutReq>([](const auto& req) { return req.nReqID == -1; });
}

}  // namespace
