// What the shop says of itself: menu, lists, details, discounts, coupons, tags, groups, balances.
#include <gtest/gtest.h>

#include "tests/sandbox/SandboxFixture.h"

using namespace SandboxTest;

namespace {

class ShopTest : public testing::Test {
protected:
    ShopTest() { m_client.Register(); }

    // The answer to a query of the demo's game, which fill completes.
    template <class Ans, class Req, class Fill>
    std::unique_ptr<Ans> Query(const Fill& fill)
    {
        Req req;
        if constexpr (requires { req.strGameID; })
            req.strGameID = kGame;
        fill(req);
        return m_client.Ask<Ans>(req);
    }
    std::unique_ptr<XS2C_QueryProductListAns> List(const std::string& strBranchID, char cType,
                                                   const std::string& strValue, int nRow = 100, int nPage = 1)
    {
        return Query<XS2C_QueryProductListAns, XC2S_QueryProductListReq>([&](auto& req) {
            req.strBranchID = strBranchID;
            req.cSearchType = cType;
            req.strSearchValue = strValue;
            req.nRow = nRow;
            req.nPage = nPage;
        });
    }
    static std::string IDs(const XS2C_QueryProductListAns& ans)
    {
        std::string strIDs;
        for (const auto* const pProduct : ans.vecProduct)
            strIDs += pProduct->strProductID + ' ';
        return strIDs;
    }

    RunningSandbox m_sandbox;
    Client m_client{m_sandbox.Port()};
};

}  // namespace

TEST_F(ShopTest, TheMenuIsATreeAndCountsWhatIsBelow)
{
    const auto ans = Query<XS2C_QueryMenuListAns, XC2S_QueryMenuListReq>([](auto&) {});
    std::string strMenu;
    for (const auto* const p : ans->vecMenu) {
        strMenu += p->strSuperBranchID + '/' + p->strBranchID + ' ' + std::to_string(p->nBranchDepth) + ' ' +
                   std::to_string(p->nProductCount) + '\n';
    }
    EXPECT_EQ(strMenu, "/GEAR 1 3\n/SUPPLIES 1 2\nGEAR/WEAPONS 2 1\nGEAR/ARMOUR 2 2\n")
        << "what is not on sale now does not count";
}

TEST_F(ShopTest, ListsAreSearchedAndPaged)
{
    const struct {
        const char* pszBranchID;
        char cType;
        const char* pszValue;
        int nRow, nPage;
        const char* pszIDs;
        int nTotal, nPages;
    } kCases[] = {
        {"", 'A', "", 100, 1, "SWORD SHIELD CROWN POTION TICKET ", 5, 1},
        {"", '\0', "ignored", 100, 1, "SWORD SHIELD CROWN POTION TICKET ", 5, 1},
        {"GEAR", 'A', "", 100, 1, "SWORD SHIELD CROWN ", 3, 1},
        {"ARMOUR", 'A', "", 100, 1, "SHIELD CROWN ", 2, 1},
        {"", 'A', "", 2, 1, "SWORD SHIELD ", 5, 3},
        {"", 'A', "", 2, 3, "TICKET ", 5, 3},
        {"", 'A', "", 2, 4, "", 5, 3},
        {"", 'A', "", 1000, INT32_MAX, "", 5, 1},
        {"", 'N', "sHiElD", 10, 1, "SHIELD ", 1, 1},
        {"", 'N', "' OR 1=1 --", 10, 1, "", 0, 0},
        {"", 'I', "POTION", 10, 1, "POTION ", 1, 1},
        {"SUPPLIES", 'I', "SWORD", 10, 1, "", 0, 0},
        {"", 'T', "new", 10, 1, "SWORD CROWN ", 2, 1},
    };
    for (const auto& test : kCases) {
        const auto ans = List(test.pszBranchID, test.cType, test.pszValue, test.nRow, test.nPage);
        EXPECT_EQ(ans->nState, 0) << ans->strMessage;
        EXPECT_EQ(IDs(*ans), test.pszIDs) << test.cType << ' ' << test.pszValue;
        EXPECT_EQ(ans->nListValue1, test.nTotal) << test.cType << ' ' << test.pszValue;
        EXPECT_EQ(ans->nListValue2, test.nPages) << test.cType << ' ' << test.pszValue;
        EXPECT_EQ(ans->nListValue3, test.nPage);
    }
}

TEST_F(ShopTest, WhatIsSoldIsCounted)
{
    EXPECT_EQ(m_client.Buy("dave", "POTION", 7)->nState, 0);
    EXPECT_EQ(m_client.Buy("dave", "POTION", 2)->nState, 0);
    EXPECT_EQ(List("", 'I', "POTION")->vecProduct[0]->nTotalSellingCount, 9);
    EXPECT_EQ(List("", 'I', "SWORD")->vecProduct[0]->nTotalSellingCount, 0);
}

TEST_F(ShopTest, ADetailHasItsThreeLists)
{
    const auto ans = Query<XS2C_QueryProductDetailAns, XC2S_QueryProductDetailReq>(
        [](auto& req) { req.strProductID = "SWORD"; });
    EXPECT_EQ(ans->strBranchID, "WEAPONS");
    EXPECT_EQ(ans->strMovieURL, "http://shop.invalid/sword.mp4");
    EXPECT_EQ(ans->cCouponUseType, 'Y');
    EXPECT_EQ(ans->cDiscountType, 'Y');
    ASSERT_EQ(ans->vecChildProduct.size(), 2u);
    EXPECT_EQ(ans->vecChildProduct[1]->strChildProductID, "ITEM-WHETSTONE");
    EXPECT_EQ(ans->vecChildProduct[1]->nValidTerm, 30);
    ASSERT_EQ(ans->vecOption.size(), 3u);
    EXPECT_EQ(ans->vecOption[2]->strOptionName, "Rune of frost");
    const auto shield = Query<XS2C_QueryProductDetailAns, XC2S_QueryProductDetailReq>(
        [](auto& req) { req.strProductID = "SHIELD"; });
    ASSERT_EQ(shield->vecCondition.size(), 2u);
    EXPECT_EQ(shield->vecCondition[0]->cConditionType, 'H');
    EXPECT_EQ(shield->vecCondition[0]->strConditionValue, "60");
}

TEST_F(ShopTest, ThePriceFollowsTheBestDiscount)
{
    const struct {
        const char* pszProductID;
        int nLevel;
        int nPrice;
        const char* pszUsed;  // a letter a discount
    } kCases[] = {{"SWORD", 19, 1200, "NN"}, {"SWORD", 20, 1100, "NY"}, {"SWORD", 49, 1100, "NY"},
                  {"SWORD", 50, 960, "YN"},  {"SHIELD", 1, 600, ""},    {"CROWN", 1, 100, ""}};
    for (const auto& test : kCases) {
        const auto ans = Query<XS2C_QueryDiscountAns, XC2S_QueryDiscountReq>([&](auto& req) {
            req.strUserNo = "10001";
            req.strProductID = test.pszProductID;
            req.nLevel = test.nLevel;
        });
        std::string strUsed;
        for (const auto* const p : ans->vecDiscount)
            strUsed += p->bUse ? 'Y' : 'N';
        EXPECT_EQ(ans->nPrice, test.nPrice) << test.pszProductID << ' ' << test.nLevel;
        EXPECT_EQ(strUsed, test.pszUsed) << test.pszProductID << ' ' << test.nLevel;
    }
}

TEST_F(ShopTest, CouponsAreThoseThatCouldBeUsed)
{
    const auto coupons = [&](const std::string& strUserID, const std::string& strProductID) {
        const auto ans = Query<XS2C_QueryCoupontAns, XC2S_QueryCoupontReq>([&](auto& req) {
            req.strUserID = strUserID;
            req.strProductID = strProductID;
        });
        std::string strIDs;
        for (const auto* const p : ans->vecCoupon)
            strIDs += p->strCouponUseID + ' ';
        return strIDs;
    };
    EXPECT_EQ(coupons("alice", "SWORD"), "ALICE-10 ALICE-SWORD ");
    EXPECT_EQ(coupons("alice", "POTION"), "ALICE-10 ");
    EXPECT_EQ(coupons("alice", "CROWN"), "") << "it takes none";
    EXPECT_EQ(coupons("bob", "SWORD"), "");
}

TEST_F(ShopTest, TagsGroupsAndBalances)
{
    EXPECT_EQ((Query<XS2C_QueryTagAns, XC2S_QueryTagReq>([](auto&) {})->vecTag),
              (std::vector<std::string>{"new", "sale", "steel"}));
    const auto groups = Query<XS2C_QuerySpecialProductListAns, XC2S_QuerySpecialProductListReq>([](auto&) {});
    ASSERT_EQ(groups->vecSpecialProductList.size(), 2u);
    EXPECT_EQ(groups->vecSpecialProductList[0]->strExposeName, "Hot this week");
    const auto hot = Query<XS2C_QuerySpecialProductAns, XC2S_QuerySpecialProductReq>(
        [](auto& req) { req.strExposeCode = "HOT"; });
    ASSERT_EQ(hot->vecSpecialProduct.size(), 2u);
    EXPECT_EQ(hot->vecSpecialProduct[1]->strProductID, "POTION");
    EXPECT_EQ(hot->vecSpecialProduct[1]->strExposeCode, "HOT");
    EXPECT_EQ(m_client.CoinOf("alice"), 5000);
    EXPECT_EQ(m_client.CoinOf("erin"), 0);
}

TEST_F(ShopTest, RefusalsHaveACodeAndAText)
{
    const auto check = [](int nExpected, const auto& ans) {
        EXPECT_EQ(ans->nState, nExpected) << ans->GetMsgName() << ' ' << ans->strMessage;
        EXPECT_FALSE(ans->strMessage.empty());
    };
    const auto otherGame = [](auto& req) { req.strGameID = "OTHER"; };
    check(20, Query<XS2C_QueryMenuListAns, XC2S_QueryMenuListReq>(otherGame));
    check(20, Query<XS2C_QueryTagAns, XC2S_QueryTagReq>(otherGame));
    check(20, Query<XS2C_QuerySpecialProductListAns, XC2S_QuerySpecialProductListReq>(otherGame));
    check(21, Query<XS2C_QueryProductDetailAns, XC2S_QueryProductDetailReq>([](auto&) {}));
    check(23, Query<XS2C_QuerySpecialProductAns, XC2S_QuerySpecialProductReq>([](auto&) {}));
    check(22, List("NOWHERE", 'A', ""));
    check(24, List("", '?', ""));
    check(25, List("", 'A', "", 0, 1));
    check(25, List("", 'A', "", 1001, 1));
    check(25, List("", 'A', "", 10, 0));
    check(7, Query<XS2C_QueryRuvcoinAns, XC2S_QueryRuvcoinReq>([](auto&) {}));
    check(2, Query<XS2C_QueryRuvcoinAns, XC2S_QueryRuvcoinReq>([](auto& req) { req.strUserID = "nobody"; }));
    check(2, Query<XS2C_QueryCoupontAns, XC2S_QueryCoupontReq>([](auto& req) {
              req.strProductID = "SWORD";
              req.strUserID = "nobody";
          }));
}
