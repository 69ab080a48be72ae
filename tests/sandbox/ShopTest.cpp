// What the shop says of itself: menu, lists, details, discounts, coupons, tags, groups, balances.
#include "tests/sandbox/SandboxFixture.h"

using namespace SandboxTest;

using ShopTest = ClientTest;

TEST_F(ShopTest, QueriesShowTheSeed)
{
    ExpectAnswers({
        // What is not on sale now does not count.
        {"QueryMenuList", "strBranchID strSuperBranchID nBranchDepth nProductCount",
         "|GEAR,,1,3|SUPPLIES,,1,2|WEAPONS,GEAR,2,1|ARMOUR,GEAR,2,2"},
        {"QueryTag", "vecTag", "new sale steel"},
        {"QuerySpecialProductList", "strExposeCode strExposeName",
         "|HOT,Hot this week|FIRST,For your first day"},
        {"QuerySpecialProduct strExposeCode=HOT", "strExposeCode strProductID", "|HOT,SWORD|HOT,POTION"},
        {"QueryProductDetail strProductID=SWORD", "strBranchID strMovieURL cCouponUseType cDiscountType",
         "WEAPONS,http://shop.invalid/sword.mp4,Y,Y|||||"},
        {"QueryProductDetail strProductID=SWORD", "strChildProductID nValidTerm",
         "|ITEM-SWORD,0|ITEM-WHETSTONE,30|||"},
        {"QueryProductDetail strProductID=SWORD", "strOptionName", "|||Blue hilt|Red hilt|Rune of frost"},
        {"QueryProductDetail strProductID=SHIELD", "cConditionType strConditionValue",
         "||H,60|T,Only as long as stocks last"},
        // The best discount makes the price.
        {"QueryDiscount strUserNo=10001 strProductID=SWORD nLevel=19", "nPrice bUse", "1200|0|0"},
        {"QueryDiscount strUserNo=10001 strProductID=SWORD nLevel=20", "nPrice bUse", "1100|0|1"},
        {"QueryDiscount strUserNo=10001 strProductID=SWORD nLevel=49", "nPrice bUse", "1100|0|1"},
        {"QueryDiscount strUserNo=10001 strProductID=SWORD nLevel=50", "nPrice bUse", "960|1|0"},
        {"QueryDiscount strUserNo=10001 strProductID=CROWN nLevel=1", "nPrice bUse", "100"},
        // Coupons are those that could be used; the crown takes none.
        {"QueryCoupont strUserID=alice strProductID=SWORD", "strCouponUseID", "|ALICE-10|ALICE-SWORD"},
        {"QueryCoupont strUserID=alice strProductID=POTION", "strCouponUseID", "|ALICE-10"},
        {"QueryCoupont strUserID=alice strProductID=CROWN", "strCouponUseID", ""},
    });
}

TEST_F(ShopTest, ListsAreSearchedAndPaged)
{
    const std::pair<const char*, const char*> kCases[] = {
        {"cSearchType=A nRow=100 nPage=1", "5,1,1|SWORD|SHIELD|CROWN|POTION|TICKET"},
        {"strSearchValue=ignored nRow=100 nPage=1", "5,1,1|SWORD|SHIELD|CROWN|POTION|TICKET"},
        {"strBranchID=ARMOUR cSearchType=A nRow=100 nPage=1", "2,1,1|SHIELD|CROWN"},
        {"cSearchType=A nRow=2 nPage=1", "5,3,1|SWORD|SHIELD"},
        {"cSearchType=A nRow=2 nPage=3", "5,3,3|TICKET"},
        {"cSearchType=A nRow=2 nPage=4", "5,3,4"},
        {"cSearchType=A nRow=1000 nPage=2147483647", "5,1,2147483647"},
        {"cSearchType=N strSearchValue=sHiElD nRow=10 nPage=1", "1,1,1|SHIELD"},
        {"cSearchType=N strSearchValue='OR'1'='1 nRow=10 nPage=1", "0,0,1"},
        {"cSearchType=I strSearchValue=POTION nRow=10 nPage=1", "1,1,1|POTION"},
        {"strBranchID=SUPPLIES cSearchType=I strSearchValue=SWORD nRow=10 nPage=1", "0,0,1"},
        {"cSearchType=T strSearchValue=new nRow=10 nPage=1", "2,1,1|SWORD|CROWN"},
    };
    for (const auto& [pszFields, pszExpected] : kCases) {
        EXPECT_EQ(m_client.Ask(std::string("QueryProductList ") + pszFields,
                               "nListValue1 nListValue2 nListValue3 strProductID"),
                  pszExpected)
            << pszFields;
    }
}

TEST_F(ShopTest, WhatIsSoldIsCounted)
{
    ExpectAnswers({{Purchase("dave", "POTION", "nCount=7"), "nState", "0"},
                   {Purchase("dave", "POTION", "nCount=2"), "nState", "0"},
                   {"QueryProductList strBranchID=SUPPLIES nRow=9 nPage=1", "nTotalSellingCount", "|9|0"}});
}

TEST_F(ShopTest, RefusalsHaveACodeAndAText)
{
    const std::pair<const char*, const char*> kCases[] = {
        {"QueryMenuList strGameID=OTHER", "20"},
        {"QueryTag strGameID=OTHER", "20"},
        {"QuerySpecialProductList strGameID=OTHER", "20"},
        {"QueryProductDetail", "21"},
        {"QuerySpecialProduct", "23"},
        {"QueryProductList strBranchID=NOWHERE cSearchType=A nRow=100 nPage=1", "22"},
        {"QueryProductList cSearchType=? nRow=100 nPage=1", "24"},
        {"QueryProductList cSearchType=A nRow=0 nPage=1", "25"},
        {"QueryProductList cSearchType=A nRow=1001 nPage=1", "25"},
        {"QueryRuvcoin", "7"},
        {"QueryRuvcoin strUserID=nobody", "2"},
        {"QueryCoupont strProductID=SWORD strUserID=nobody", "2"},
    };
    for (const auto& [pszRequest, pszState] : kCases) {
        const auto ans = m_client.Ask(pszRequest);
        EXPECT_EQ(Pick(*ans, "nState"), pszState) << pszRequest;
        EXPECT_NE(Pick(*ans, "strMessage"), "") << pszRequest;
    }
}
