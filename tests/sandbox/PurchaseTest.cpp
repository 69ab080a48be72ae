// Purchases: their price, what they are refused for, and where the goods go.
#include <gtest/gtest.h>

#include <functional>
#include <numeric>

#include "tests/sandbox/SandboxFixture.h"

using namespace SandboxTest;

namespace {

using Rows = std::vector<std::pair<std::string, std::string>>;

class PurchaseTest : public testing::Test {
protected:
    PurchaseTest() { m_client.Register(); }

    template <class Change>
    std::unique_ptr<XS2C_PurchaseProductAns> BuyWith(const std::string& strUserID,
                                                     const std::string& strProductID, const Change& change)
    {
        XC2S_PurchaseProductReq req;
        FillPurchase(req, strUserID, strProductID);
        change(req);
        return m_client.Ask<XS2C_PurchaseProductAns>(req);
    }
    static void Choose(XC2S_PurchaseProductReq& req, const Rows& coupons, const Rows& options)
    {
        for (const auto& [strFirst, strSecond] : coupons) {
            auto& row = req.vecUseCoupon.Add();
            row.strCouponUseID = strFirst;
            row.strCouponCode = strSecond;
        }
        for (const auto& [strFirst, strSecond] : options) {
            auto& row = req.vecUseOption.Add();
            row.strOptionCode = strFirst;
            row.strOptionValue = strSecond;
        }
    }
    std::size_t Orders() { return m_sandbox.Get("/orders").json["orders"].size(); }

    RunningSandbox m_sandbox;
    Client m_client{m_sandbox.Port()};
};

}  // namespace

TEST_F(PurchaseTest, GoodsAreInTheBoxAndThePriceIsTaken)
{
    const auto ans = BuyWith("alice", "SWORD", [](auto& req) {
        Choose(req, {}, {{"COLOUR", "BLUE"}, {"RUNE", "FROST"}});
        req.nCount = 2;
    });
    EXPECT_EQ(ans->nState, 0) << ans->strMessage;
    EXPECT_EQ(ans->nBuyPrice, 2200);
    EXPECT_EQ(m_client.CoinOf("alice"), 2800);
    const auto box = m_client.Box("alice");
    ASSERT_EQ(box->vecStorage.size(), 2u);
    const auto& sword = *box->vecStorage[0];
    EXPECT_EQ(sword.nOrderSeq, ans->nOrderSeq);
    EXPECT_EQ(sword.strItemID, "ITEM-SWORD");
    EXPECT_EQ(sword.strItemName, "Sword of the North");
    EXPECT_EQ(sword.strUserID, "alice");
    EXPECT_EQ(sword.strServerID, "s");
    EXPECT_EQ(sword.strCharacterID, "hero");
    EXPECT_EQ(sword.nCount, 2);
    EXPECT_EQ(sword.strOptionCode, "COLOUR,RUNE");
    EXPECT_EQ(sword.strOptionValue, "BLUE,FROST");
    EXPECT_TRUE(sword.bNew);
    EXPECT_FALSE(sword.bRead);
    const auto& stone = *box->vecStorage[1];
    EXPECT_EQ(stone.nCount, 6) << "three with each";
    EXPECT_TRUE(stone.bBonus);
    EXPECT_GT(stone.strValidDate, stone.strBuyDate);
    EXPECT_LT(stone.strValidDate, sword.strValidDate);
}

TEST_F(PurchaseTest, CouponsTakeOffWhatTheySayOnce)
{
    const auto both = [](auto& req) {
        Choose(req, {{"ALICE-10", "SPRING10"}, {"ALICE-SWORD", "SWORD200"}}, {});
    };
    EXPECT_EQ(BuyWith("alice", "SWORD", both)->nBuyPrice, 1100 - 110 - 200);
    EXPECT_EQ(m_client.CoinOf("alice"), 5000 - 790);
    EXPECT_EQ(BuyWith("alice", "SWORD", both)->nState, 41);
    EXPECT_EQ(m_client.CoinOf("alice"), 5000 - 790);
}

// A connector that is given both lists sends the coupons as both.
TEST_F(PurchaseTest, EqualListsAreCouponsOrOptions)
{
    const Rows kMixed = {{"ALICE-10", "SPRING10"}, {"COLOUR", "RED"}};
    const Rows kUnknown = {{"ALICE-10", "SPRING10"}, {"COLOUR", "GREEN"}};
    const Rows kOptions = {{"COLOUR", "RED"}};
    EXPECT_EQ(BuyWith("alice", "SWORD", [&](auto& req) { Choose(req, kUnknown, kUnknown); })->nState, 37);
    EXPECT_EQ(BuyWith("alice", "SWORD", [&](auto& req) { Choose(req, kMixed, kOptions); })->nState, 40)
        << "an option is no coupon when the lists differ";
    const auto ans = BuyWith("alice", "SWORD", [&](auto& req) { Choose(req, kMixed, kMixed); });
    EXPECT_EQ(ans->nState, 0) << ans->strMessage;
    EXPECT_EQ(ans->nBuyPrice, 990);
    EXPECT_EQ(m_client.Box("alice")->vecStorage[0]->strOptionCode, "COLOUR");
}

TEST_F(PurchaseTest, RefusalsChangeNothing)
{
    using Req = XC2S_PurchaseProductReq;
    const Rows kOld = {{"ALICE-OLD", "XMAS50"}}, kSword = {{"ALICE-SWORD", "SWORD200"}},
               kTen = {{"ALICE-10", "SPRING10"}}, kTwice = {kTen[0], kTen[0]};
    const struct {
        int nState;
        const char* pszUserID;
        const char* pszProductID;
        std::function<void(Req& req)> change;
    } kCases[] = {
        {20, "alice", "SWORD", [](Req& req) { req.strGameID = ""; }},
        {21, "alice", "NOTHING", [](Req&) {}},
        {2, "nobody", "SWORD", [](Req&) {}},
        {7, "", "SWORD", [](Req&) {}},
        {26, "alice", "SWORD", [](Req& req) { req.strRecvUserID = "nobody"; }},
        {27, "alice", "SWORD", [](Req& req) { req.strGiftMessage = std::string(201, 'x'); }},
        {27, "alice", "SWORD", [](Req& req) { req.strRecvServerID = std::string(21, 'x'); }},
        {28, "alice", "SWORD", [](Req& req) { Choose(req, Rows(21), {}); }},
        {30, "alice", "LANTERN", [](Req&) {}},
        {31, "alice", "SWORD", [](Req& req) { req.nCount = 0; }},
        {31, "alice", "SWORD", [](Req& req) { req.nCount = INT32_MIN; }},
        {32, "alice", "SWORD", [](Req& req) { req.nLevel = 9; }},
        {33, "alice", "SHIELD", [](Req& req) { req.nLevel = 61; }},
        {33, "alice", "TICKET", [](Req& req) { req.nLevel = 4; }},
        {34, "alice", "CROWN", [](Req& req) { req.strRecvUserID = "bob"; }},
        {35, "alice", "CROWN", [](Req& req) { req.nCount = 2; }},
        {36, "bob", "POTION", [](Req&) {}},
        {36, "bob", "POTION", [](Req& req) { req.strPassWD = "bobs-Secret"; }},
        {37, "alice", "SWORD",
         [](Req& req) {
             Choose(req, {}, {{"COLOUR", "GREEN"}});
         }},
        {67, "alice", "SWORD",
         [](Req& req) {
             Choose(req, {}, {{"COLOUR", "RED"}, {"COLOUR", "BLUE"}});
         }},
        {40, "alice", "SWORD",
         [](Req& req) {
             Choose(req, {{"ALICE-10", "WRONG"}}, {});
         }},
        {40, "dave", "SWORD", [&](Req& req) { Choose(req, kTen, {}); }},
        {42, "alice", "SWORD", [&](Req& req) { Choose(req, kOld, {}); }},
        {43, "alice", "POTION", [&](Req& req) { Choose(req, kSword, {}); }},
        {44, "alice", "CROWN", [&](Req& req) { Choose(req, kTen, {}); }},
        {67, "alice", "SWORD", [&](Req& req) { Choose(req, kTwice, {}); }},
        {50, "carol", "SWORD", [](Req&) {}},
        {51, "dave", "SWORD", [](Req& req) { req.nCount = INT32_MAX; }},
    };
    const auto before = m_sandbox.Get("/users").json;
    for (const auto& test : kCases) {
        const auto ans = BuyWith(test.pszUserID, test.pszProductID, test.change);
        EXPECT_EQ(ans->nState, test.nState) << test.pszProductID << ' ' << ans->strMessage;
        EXPECT_FALSE(ans->strMessage.empty());
        EXPECT_EQ(ans->nOrderSeq, 0);
    }
    EXPECT_EQ(Orders(), 0u);
    EXPECT_EQ(m_sandbox.Get("/users").json, before);
    EXPECT_EQ(BuyWith("bob", "POTION", [](Req& req) { req.strPassWD = "bobs-secret"; })->nState, 0);
}

TEST_F(PurchaseTest, WhatIsSoldOnceIsRefusedTheSecondTime)
{
    EXPECT_EQ(m_client.Buy("alice", "CROWN")->nState, 0);
    EXPECT_EQ(m_client.Buy("alice", "CROWN")->nState, 35);
    EXPECT_EQ(m_client.Buy("dave", "CROWN")->nState, 0);
}

TEST_F(PurchaseTest, AGiftIsAnnouncedWhereTheReceiverIs)
{
    Client other(m_sandbox.Port());
    other.Register("other");
    XC2S_CheckInReq checkin;
    checkin.strUserNo = "10005";
    EXPECT_EQ(other.Ask<XS2C_CheckInAns>(checkin)->nResult, 0);
    const auto ans = BuyWith("alice", "SWORD", [](auto& req) {
        req.strRecvUserID = "erin";
        req.strRecvCharacterID = "elf";
        req.strGiftMessage = "Take care.";
    });
    EXPECT_EQ(ans->nState, 0) << ans->strMessage;
    const auto notice = other.Receive<XS2C_NotifyStorageInfo>();
    EXPECT_EQ(notice->strUserID + notice->strUserNo, "10005") << "as her connector names her";
    EXPECT_EQ(notice->strCharacterID, "elf");
    EXPECT_EQ(notice->nItemCnt, 2);
    const auto box = m_client.Box("erin");
    ASSERT_EQ(box->vecStorage.size(), 2u);
    EXPECT_EQ(box->vecStorage[0]->strSenderUserID, "alice");
    EXPECT_EQ(box->vecStorage[0]->strGiftMessage, "Take care.");
    EXPECT_EQ(box->vecStorage[0]->strServerID, "") << "the buyer's server is not hers";
    EXPECT_EQ(m_client.Box("alice")->vecStorage.size(), 0u);
}

TEST_F(PurchaseTest, UsersAreNamedByNumberToo)
{
    const auto ans = BuyWith("", "POTION", [](auto& req) {
        req.strUserNo = "10001";
        req.strRecvUserNo = "10003";
    });
    EXPECT_EQ(ans->nState, 0) << ans->strMessage;
    EXPECT_EQ(m_client.CoinOf("alice"), 4990);
    XC2S_SearchStorageReq req;
    req.strGameID = kGame;
    req.strUserNo = "10003";
    const auto box = m_client.Ask<XS2C_SearchStorageAns>(req);
    ASSERT_EQ(box->vecStorage.size(), 1u);
    EXPECT_EQ(box->vecStorage[0]->strUserID + '/' + box->vecStorage[0]->strUserNo, "/10003");
    EXPECT_EQ(box->vecStorage[0]->strSenderUserID + '/' + box->vecStorage[0]->strSenderUserNo, "/10001");
}

TEST_F(PurchaseTest, TheGameSavesWhatTheProductSays)
{
    m_client.CheckIn("alice");
    const auto save = [&](int nState) {
        m_client.Buy("alice", "TICKET");
        const auto req = m_client.Receive<XS2C_SaveInventoryReq>();
        EXPECT_EQ(req->strUserID, "alice");
        EXPECT_EQ(req->nPrice, 50);
        EXPECT_EQ(req->vecInventory.size(), 1u);
        EXPECT_EQ(m_client.Box("alice")->vecStorage.size(), 0u) << "reserved until the game has answered";
        XC2S_SaveInventoryAns ans;
        ans.nReqID = req->nReqID;
        ans.nState = nState;
        ans.strMessage = "No room.";
        m_client.Send(ans);
        return m_client.Box("alice")->vecStorage.size();
    };
    EXPECT_EQ(save(0), 0u);
    EXPECT_EQ(save(-1), 1u) << "what was not saved waits in the box";
    EXPECT_TRUE(m_sandbox.Shows("No room."));
    const auto storage = m_sandbox.Get("/storage?user=alice").json["storage"];
    EXPECT_EQ(storage[0]["state"], "used");
    EXPECT_EQ(storage[1]["state"], "waiting");
}

TEST_F(PurchaseTest, ALostLinkLeavesTheGoodsInTheBox)
{
    RunningSandbox sandbox("", "demo", true);
    Client client(sandbox.Port());
    client.Register("buyer");
    {
        Client other(sandbox.Port());
        other.Register("receiver");
        other.CheckIn("erin");
        EXPECT_EQ(client.Buy("dave", "POTION", 1, "erin")->nState, 0);
        other.Receive<XS2C_SaveInventoryReq>();
    }
    EXPECT_TRUE(sandbox.Shows("waits in the storage box"));
    EXPECT_EQ(client.Box("erin")->vecStorage.size(), 1u);
}

TEST_F(PurchaseTest, MoneyAddsUpWhenManyBuyAtOnce)
{
    constexpr int kEach = 40;
    const auto total = [&] {
        long long nTotal = 0;
        const auto users = m_sandbox.Get("/users");
        for (const auto& user : users.json["users"])
            nTotal += user["ruvCoin"].get<int>();
        return nTotal;
    };
    const long long nBefore = total();
    std::vector<std::future<int>> vecBuyers;
    for (int i = 0; i < 4; ++i) {
        vecBuyers.push_back(std::async(std::launch::async, [this, i] {
            Client client(m_sandbox.Port());
            client.Register("buyer" + std::to_string(i));
            int nBought = 0;
            for (int j = 0; j < kEach; ++j)
                nBought += client.Buy("carol", "POTION")->nState == 0 ? 1 : 0;
            return nBought;
        }));
    }
    const int nBought = std::accumulate(vecBuyers.begin(), vecBuyers.end(), 0,
                                        [](int nSum, auto& buyer) { return nSum + buyer.get(); });
    EXPECT_EQ(nBought, 30) << "she has 300, one costs 10";
    EXPECT_EQ(Orders(), 30u);
    EXPECT_EQ(m_client.CoinOf("carol"), 0);
    EXPECT_EQ(total(), nBefore - 300);
    EXPECT_EQ(m_client.Box("carol")->vecStorage.size(), 30u);
}

TEST_F(PurchaseTest, ResetGivesEverythingBack)
{
    m_client.CheckIn("alice");
    const auto before = m_sandbox.Get("/users?user=dave").json;
    BuyWith("alice", "SWORD", [](auto& req) { Choose(req, {{"ALICE-10", "SPRING10"}}, {}); });
    m_client.Buy("dave", "CROWN", 1);
    EXPECT_EQ(m_sandbox.Post("/reset").nStatus, 200);
    EXPECT_EQ(Orders(), 0u);
    EXPECT_EQ(m_client.CoinOf("alice"), 5000);
    EXPECT_EQ(m_sandbox.Get("/users?user=dave").json, before);
    EXPECT_EQ(m_client.Box("alice")->vecStorage.size(), 0u);
    EXPECT_EQ(m_client.Box("dave")->vecStorage.size(), 25u);
    EXPECT_EQ(BuyWith("alice", "SWORD",
                      [](auto& req) {
                          Choose(req, {{"ALICE-10", "SPRING10"}}, {});
                      })
                  ->nState,
              0);
    EXPECT_EQ(m_client.Buy("dave", "CROWN")->nState, 0);
}
