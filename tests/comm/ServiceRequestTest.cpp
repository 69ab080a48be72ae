// What the service asks of the game, and what it hears.
#include "datapool/DataPool.h"
#include "tests/connector/NamedValues.h"
#include "tests/fakeplatform/LogicTest.h"

namespace {

const std::string kHead = "nState strMessage";

class ServiceRequestTest : public StartedTest {
protected:
    // The user is named by a number.
    template <class Request>
    static void Fill(Request& req, int nReqID)
    {
        Named::Fill(req);
        req.nReqID = nReqID;
        if constexpr (requires { req.strUserID; })
            req.strUserID.clear(), req.strUserNo = "555";
        if constexpr (requires { req.strRecvUserID; })
            req.strRecvUserID.clear(), req.strRecvUserNo = "777";
    }
    template <class Request>
    auto Ask(int nReqID)
    {
        Request req;
        Fill(req, nReqID);
        auto pAnswer = Service().Ask(req);
        EXPECT_EQ(pAnswer->nReqID, nReqID);
        return pAnswer;
    }
};

TEST_F(ServiceRequestTest, Money)
{
    const auto answer = [](const auto& req, auto& res) {
        Named::ExpectIn(req, {"szUserKey"});
        EXPECT_STREQ(req.szUserKey, "555");
        res.nGameMoney = 1000;
    };
    Game().On<QueryGameMoney>(answer);
    Game().On<SpendGameMoney>(answer);
    EXPECT_EQ(Pick(*Ask<XS2C_QueryGameMoneyReq>(41), kHead + " nGameMoney"),
              "0,Success to search user's game money.,1000");
    EXPECT_EQ(Pick(*Ask<XS2C_SpendGameMoneyReq>(42), kHead + " nGameMoney"),
              "0,Success to reduce user's game money.,1000");
}

// A failed spend is told by its money alone. A success byte of 2 is neither failure nor success.
TEST_F(ServiceRequestTest, MoneyThatTheGameRefuses)
{
    for (const unsigned char bSuccess : {0, 2}) {
        const auto refuse = [bSuccess](const auto&, auto& res) {
            res.bSuccess = bSuccess;
            res.nGameMoney = 77;
            std::memset(res.szMessage, 'm', sizeof(res.szMessage));  // no NUL
        };
        Game().On<QueryGameMoney>(refuse);
        Game().On<SpendGameMoney>(refuse);
        EXPECT_EQ(Pick(*Ask<XS2C_QueryGameMoneyReq>(1), kHead + " nGameMoney"),
                  "-1," + std::string(1024, 'm') + ",-1");
        EXPECT_EQ(Pick(*Ask<XS2C_SpendGameMoneyReq>(2), "nState nGameMoney"), "0,-1");
    }
}

TEST_F(ServiceRequestTest, AnInventory)
{
    Game().On<QueryInventory>([](const auto& req, auto& res) {
        Named::ExpectIn(req, {"szUserKey"});
        EXPECT_TRUE(SetInventoryItemData(res.pHandle, {}, nullptr, 0));
        EXPECT_TRUE(SetInventoryItemData(res.pHandle, Named::Full<_INVENTORY_ITEM_INFO>(), nullptr, 0));
    });
    const auto inventory = Ask<XS2C_QueryInventoryReq>(5);
    EXPECT_EQ(Pick(*inventory, kHead), "0,Success to search user's inventory item info.||");
    EXPECT_EQ(BodyOf(*inventory->vecInventory[1]).substr(4),
              Named::Bytes("ItemID:20 nCount nUseCount nPeriod nPossibleLevel ValidTerm:14 cUseStatus "
                           "OptionCode:100 OptionValue:100"));
}

TEST_F(ServiceRequestTest, CharactersAndHowTheirUserIsNamed)
{
    for (const bool bNumber : {false, true}) {
        Game().Stop();
        Game().settings.bUseUserNumber = bNumber;
        ASSERT_TRUE(Game().Start());
        Game().On<QueryCharacter>([](const auto& req, auto& res) {
            Named::ExpectIn(req);
            EXPECT_TRUE(SetCharacterData(res.pHandle, Named::Full<_CHARACTER_INFO>(), nullptr, 0));
        });
        const auto characters = Ask<XS2C_QueryCharacterReq>(6);
        ASSERT_EQ(characters->vecCharacter.size(), 1u);
        EXPECT_EQ(BodyOf(*characters->vecCharacter[0]).substr(4),
                  Named::Bytes("@UserID:22 ServerID:20 CharacterID:20 nCharacterValue", bNumber));
    }
}

TEST_F(ServiceRequestTest, EmptyListsAndRefusedOnes)
{
    EXPECT_EQ(Pick(*Ask<XS2C_QueryInventoryReq>(1), kHead), "0,There is no inventory item info.");
    EXPECT_EQ(Pick(*Ask<XS2C_QueryCharacterReq>(2), kHead), "0,There is no character info.");
    Game().On<QueryInventory>([](const auto&, auto& res) {
        SetInventoryItemData(res.pHandle, {}, nullptr, 0);
        res.bSuccess = 0;
        Put(res.szMessage, "no such hero");
    });
    EXPECT_EQ(Pick(*Ask<XS2C_QueryInventoryReq>(3), kHead), "-1,no such hero");
    Ask<XS2C_QueryGameMoneyReq>(4);  // the handler before has ended
    EXPECT_EQ(DataPool().GetCount(), 0u);
}

TEST_F(ServiceRequestTest, ItemsToSave)
{
    XS2C_SaveInventoryReq req;
    Fill(req, 7);
    Game().On<SaveInventory>([&](const auto& save, auto& res) {
        Named::ExpectIn(save, {"szUserKey", "szRecvUserKey"});
        EXPECT_EQ(Named::Pick(save, "szUserKey szRecvUserKey"), "555,777");
        _INVENTORY_ITEM_INFO item;
        if (!GetSaveItemData(save.pHandle, 0, &item, nullptr, 0))
            return;
        Named::ExpectIn(item, {"cUseStatus"});
        EXPECT_EQ(item.cUseStatus, '\0');
        res.bSuccess = GetDataSize(save.pHandle, nullptr, 0) == 1;
        std::memset(res.szError, 'f', sizeof(res.szError));
    });
    EXPECT_EQ(Service().Ask(req)->nState, 0);  // no items: the game is asked nevertheless
    Named::Fill(req.vecInventory.Add());
    EXPECT_EQ(Service().Ask(req)->strMessage, "Success to save user's item in inventory.");
    Named::Fill(req.vecInventory.Add());
    EXPECT_EQ(Pick(*Service().Ask(req), kHead), "-1," + std::string(1024, 'f'));
    EXPECT_EQ(Game().Got<SaveInventory>().size(), 3u);
}

TEST_F(ServiceRequestTest, AGameWithoutCallbacksIsAnswered)
{
    Game().Stop();
    Game().callbacks = {};
    ASSERT_TRUE(Game().Start());
    const std::string strFailed = "-1,Failed to load function pointer for call back operation.";
    EXPECT_EQ(Pick(*Ask<XS2C_QueryGameMoneyReq>(1), kHead + " nGameMoney"), strFailed + ",-1");
    EXPECT_EQ(Pick(*Ask<XS2C_SpendGameMoneyReq>(2), kHead + " nGameMoney"),
              "0" + strFailed.substr(2) + ",-1");
    EXPECT_EQ(Pick(*Ask<XS2C_QueryInventoryReq>(3), kHead), strFailed);
    EXPECT_EQ(Pick(*Ask<XS2C_QueryCharacterReq>(4), kHead), strFailed);
    EXPECT_EQ(Pick(*Ask<XS2C_SaveInventoryReq>(5), kHead), strFailed);
}

TEST_F(ServiceRequestTest, AGameThatThrowsHurtsOnlyItsOwnRequest)
{
    const auto fail = [](const auto&, auto&) { throw std::runtime_error("of the game"); };
    Game().On<QueryInventory>(fail);
    Game().On<SpendGameMoney>(fail);
    Service().Send(XS2C_QueryInventoryReq(), XS2C_SpendGameMoneyReq(), XS2C_QueryGameMoneyReq());
    Service().Expect<XC2S_QueryGameMoneyAns>();
    EXPECT_TRUE(Journal::Logged(Journal::Level::Error,
                                "[Comm Handler] There is an exception in OnQeuryInventoryInfoReq func."));
    EXPECT_EQ(Service().Count<XC2S_SpendGameMoneyAns>(), 0);
    EXPECT_EQ(DataPool().GetCount(), 0u);
}

TEST_F(ServiceRequestTest, AnAnswerThatCannotBeSentIsLogged)
{
    Game().On<QueryInventory>([](const auto&, auto&) { FailSend(); });
    Service().Send(XS2C_QueryInventoryReq());
    EXPECT_TRUE(
        Journal::WaitFor(Journal::Level::Error, "Failed to send a 'XC2S_QueryInventoryAns' msg(Req ID: d)."));
}

// The link's reader is inside the callback: an answer cannot come meanwhile.
TEST_F(ServiceRequestTest, ACallInsideACallbackOnlyRunsIntoItsTimeout)
{
    Service().SayYes();
    SetSecond(std::chrono::milliseconds(100));
    std::string strText;
    Game().On<QueryGameMoney>([&](const auto&, auto&) { strText = Game().Checkin("abc").szError; });
    Ask<XS2C_QueryGameMoneyReq>(1);
    EXPECT_EQ(strText, "Failed to receive a 'XS2C_CheckInAns' msg because of timeout.");
    Service().Expect<XC2S_CheckOutReq>([](const auto& req) { return req.nReqID == -1; });
}

}  // namespace
