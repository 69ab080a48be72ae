// What the answers of the shop and the storage box become in the caller's hands.
#include "datapool/DataPool.h"
#include "tests/fakeplatform/LogicTest.h"

namespace {

std::size_t Lists() { return DataPool().GetCount(); }

// Every field of a wire record gets a value of its own: texts an over-long one.
template <class Row>
void FillRow(Row& row)
{
    int n = 0;
    Row::ForEachField(row, [&](const char* pszName, auto& field) {
        ++n;
        if constexpr (requires { field.size(); })
            field = pszName + std::string(3000, '.');
        else if constexpr (requires { field.nByte; })
            field = true;
        else if constexpr (sizeof(field) == 1)
            field = static_cast<char>('A' + n);
        else
            field = n;
        return true;
    });
}

// The same value in the game's record: width less one of it.
template <std::size_t N>
testing::AssertionResult Holds(const char (&szField)[N], const char* pszWireName)
{
    const std::string strExpected = (pszWireName + std::string(3000, '.')).substr(0, N - 1);
    if (std::string(szField) == strExpected)
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << pszWireName << " has become '" << std::string(szField) << "'";
}

class ShopAnswersTest : public LogicTest {
protected:
    void SetUp() override
    {
        LogicTest::SetUp();
        ASSERT_TRUE(Game().Start());
    }
    // Asks, is answered with two rows, and gives the second one.
    template <class RequestMessage, class Record, class Request, class Response, class Get>
    Record Second(void (*pfnCall)(const Request*, Response*), Get pfnGet, const Request& req = {})
    {
        Service().template On<RequestMessage>([](const auto&, auto& ans) {
            using Answer = std::remove_reference_t<decltype(ans)>;
            Answer::ForEachField(ans, [](const char*, auto& field) {
                if constexpr (requires { field.Add(); }) {
                    field.Add();
                    FillRow(field.Add());
                }
                return true;
            });
        });
        const Response res = Game().Call(pfnCall, req);
        EXPECT_EQ(res.bSuccess, 1);
        char szError[64] = "";
        EXPECT_EQ(GetDataSize(res.hData, szError, sizeof(szError)), 2u);
        Record record;
        EXPECT_TRUE(pfnGet(res.hData, 1, &record, szError, sizeof(szError))) << szError;
        DestroyHandle(res.hData);
        EXPECT_EQ(Lists(), 0u);
        return record;
    }
};

TEST_F(ShopAnswersTest, Menus)
{
    const auto r = Second<XC2S_QueryMenuListReq, _MENU_INFO>(&QueryMenuList, &GetMenuData);
    EXPECT_TRUE(Holds(r.szBranchID, "strBranchID"));
    EXPECT_TRUE(Holds(r.szBranchName, "strBranchName"));
    EXPECT_TRUE(Holds(r.szSuperBranchID, "strSuperBranchID"));
    EXPECT_EQ(r.nBranchDepth * 100 + r.nSortOrder * 10 + r.nProductCount, 456);
}

TEST_F(ShopAnswersTest, Products)
{
    const auto r = Second<XC2S_QueryProductListReq, _PROD_LIST_INFO>(&QueryProductList, &GetProductData);
    EXPECT_TRUE(Holds(r.szBranchID, "strBranchID"));
    EXPECT_TRUE(Holds(r.szProductID, "strProductID"));
    EXPECT_TRUE(Holds(r.szProductName, "strProductName"));
    EXPECT_TRUE(Holds(r.szMoneyCode, "strMoneyCode"));
    EXPECT_EQ(r.nPrice, 5);
    EXPECT_EQ(r.nDiscountRate, 6);
    EXPECT_TRUE(Holds(r.szRegDate, "strRegDate"));
    EXPECT_TRUE(Holds(r.szStartDate, "strStartDate"));
    EXPECT_TRUE(Holds(r.szEndDate, "strEndDate"));
    EXPECT_TRUE(Holds(r.szProductDesc, "strProductDesc"));
    EXPECT_EQ(r.bGift, 1);
    EXPECT_TRUE(Holds(r.szImageURL, "strImageURL"));
    EXPECT_EQ(r.nTotalSellingCount, 13);
    EXPECT_EQ(r.nLevel, 14);
    EXPECT_EQ(r.bDuplicateSell, 1);
    EXPECT_TRUE(Holds(r.szUnitName, "strUnitName"));
    EXPECT_TRUE(Holds(r.szIconImageURL, "strIconImageURL"));
    EXPECT_EQ(r.nDisplayOrder, 18);
    EXPECT_TRUE(Holds(r.szDiscountInfo, "strDiscountInfo"));
    EXPECT_TRUE(Holds(r.szClassName, "strClassName"));
}

TEST_F(ShopAnswersTest, ListValuesAndPrices)
{
    Service().On<XC2S_QueryProductListReq>([](const auto&, auto& ans) {
        ans.nListValue1 = 1, ans.nListValue2 = 2, ans.nListValue3 = 3;
        ans.vecProduct.Add();
    });
    const auto products = Game().Call(&QueryProductList, _PRODUCT_LIST_REQ{});
    EXPECT_EQ(products.nListValue1 * 100 + products.nListValue2 * 10 + products.nListValue3, 123);
    DestroyHandle(products.hData);
    Service().On<XC2S_QueryDiscountReq>([](const auto&, auto& ans) {
        ans.nPrice = 990;
        ans.vecDiscount.Add();
    });
    const auto discounts = Game().Call(&QueryDiscountList, _USER_PRODUCT_REQ{});
    EXPECT_EQ(discounts.nPrice, 990);
    DestroyHandle(discounts.hData);
}

TEST_F(ShopAnswersTest, DiscountsCouponsAndSpecialProducts)
{
    const auto d = Second<XC2S_QueryDiscountReq, _DISCOUNT_INFO>(&QueryDiscountList, &GetDiscountData);
    EXPECT_TRUE(Holds(d.szCondition, "strCondition"));
    EXPECT_EQ(d.nDiscountRate * 100 + d.nDiscountAmt * 10 + d.bUse, 231);
    const auto c = Second<XC2S_QueryCoupontReq, _COUPON_INFO>(&QueryCouponList, &GetCouponData);
    EXPECT_TRUE(Holds(c.szCouponUseID, "strCouponUseID"));
    EXPECT_TRUE(Holds(c.szCouponCode, "strCouponCode"));
    EXPECT_TRUE(Holds(c.szCouponName, "strCouponName"));
    EXPECT_EQ(c.nDiscountRate * 10 + c.nDiscountAmt, 45);
    EXPECT_TRUE(Holds(c.szUseEndDate, "strUseEndDate"));
    const auto l = Second<XC2S_QuerySpecialProductListReq, _SPECIAL_PRODUCT_LIST_INFO>(
        &QuerySpecialProductList, &GetSpecialProductData);
    EXPECT_TRUE(Holds(l.szExposeCode, "strExposeCode"));
    EXPECT_TRUE(Holds(l.szExposeName, "strExposeName"));
    EXPECT_TRUE(Holds(l.szIconUrl, "strIconUrl"));
    EXPECT_TRUE(Holds(l.szBannerUrl, "strBannerUrl"));
    const auto s = Second<XC2S_QuerySpecialProductReq, _SPECIAL_PRODUCT_INFO>(&QuerySpecialProductInfo,
                                                                              &GetSpecialProductDetailData);
    EXPECT_TRUE(Holds(s.szExposeCode, "strExposeCode"));
    EXPECT_TRUE(Holds(s.szProductID, "strProductID"));
    EXPECT_TRUE(Holds(s.szImageUrl, "strImageUrl"));
    EXPECT_EQ(s.nSortOrder, 4);
}

TEST_F(ShopAnswersTest, StorageEntries)
{
    const auto r = Second<XC2S_SearchStorageReq, _STORAGE_INFO>(&QueryStorageInfo, &GetStorageItemData);
    EXPECT_EQ(r.nStorageSeq * 10 + r.nOrderSeq, 12);
    EXPECT_TRUE(Holds(r.szItemID, "strItemID"));
    EXPECT_TRUE(Holds(r.szItemName, "strItemName"));
    EXPECT_EQ(r.bBonus + r.bRead + r.bNew, 3);
    EXPECT_TRUE(Holds(r.szSenderUserID, "strSenderUserID"));
    EXPECT_TRUE(Holds(r.szUserID, "strUserID"));
    EXPECT_TRUE(Holds(r.szServerID, "strServerID"));
    EXPECT_TRUE(Holds(r.szCharacterID, "strCharacterID"));
    EXPECT_TRUE(Holds(r.szGiftMessage, "strGiftMessage"));
    EXPECT_EQ(r.nCount * 100 + r.nRemainCount, 1314);
    EXPECT_TRUE(Holds(r.szValidTerm, "strValidTerm"));
    EXPECT_EQ(r.nPossibleLevel * 10000 + r.nUseCount * 100 + r.nPeriod, 161718);
    EXPECT_TRUE(Holds(r.szOptionCode, "strOptionCode"));
    EXPECT_TRUE(Holds(r.szOptionValue, "strOptionValue"));
    EXPECT_TRUE(Holds(r.szUseStartDate, "strUseStartDate"));
    EXPECT_TRUE(Holds(r.szValidDate, "strValidDate"));
    EXPECT_TRUE(Holds(r.szBuyDate, "strBuyDate"));
    EXPECT_TRUE(Holds(r.szSetName, "strSetName"));
    EXPECT_TRUE(Holds(r.szListImageUrl, "strListImageUrl"));
    EXPECT_TRUE(Holds(r.szIconImageUrl, "strIconImageUrl"));
    EXPECT_TRUE(Holds(r.szDirection, "strDirection"));

    // Users without an id are named by their number.
    Service().On<XC2S_SearchStorageReq>([](const auto&, auto& ans) {
        auto& row = ans.vecStorage.Add();
        row.strSenderUserNo = "501";
        row.strUserNo = "502";
    });
    const auto res = Game().Call(&QueryStorageInfo, _STORAGE_SEARCH_REQ{});
    _STORAGE_INFO info;
    ASSERT_TRUE(GetStorageItemData(res.hData, 0, &info, nullptr, 0));
    EXPECT_STREQ(info.szSenderUserID, "501");
    EXPECT_STREQ(info.szUserID, "502");
    DestroyHandle(res.hData);
}

TEST_F(ShopAnswersTest, TagsAreBareTexts)
{
    Service().On<XC2S_QueryTagReq>([](const auto&, auto& ans) {
        ans.vecTag = {"new", std::string(200, 't')};
    });
    const auto res = Game().Call(&QueryTagList, _GAME_REQ{});
    _TAG_INFO tag;
    ASSERT_TRUE(GetTagData(res.hData, 1, &tag, nullptr, 0));
    EXPECT_EQ(std::string(tag.szTag), std::string(100, 't'));
    DestroyHandle(res.hData);
}

TEST_F(ShopAnswersTest, AProductsDetailHasThreeLists)
{
    for (const bool bAll : {true, false}) {
        Service().On<XC2S_QueryProductDetailReq>([bAll](const auto&, auto& ans) {
            FillRow(ans.vecChildProduct.Add());
            if (bAll) {
                FillRow(ans.vecCondition.Add());
                FillRow(ans.vecOption.Add());
            }
            ans.strProductDetailDesc = "strProductDetailDesc" + std::string(3000, '.');
            ans.strMovieURL = "strMovieURL" + std::string(3000, '.');
            ans.cCouponUseType = 'U', ans.cDiscountType = 'D';
        });
        const auto res = Game().Call(&QueryProductDetailInfo, _PRODUCT_DETAIL_REQ{});
        ASSERT_EQ(res.bSuccess, 1);
        EXPECT_TRUE(Holds(res.szProductDetailDesc, "strProductDetailDesc"));
        EXPECT_TRUE(Holds(res.szMovieURL, "strMovieURL"));
        EXPECT_EQ(res.cCouponUseType, 'U');
        EXPECT_EQ(res.cDiscountType, 'D');
        _CHILDPROD_INFO child;
        ASSERT_TRUE(GetChildProductData(res.hChildProduct, 0, &child, nullptr, 0));
        EXPECT_TRUE(Holds(child.szChildProductID, "strChildProductID"));
        EXPECT_TRUE(Holds(child.szUnitName, "strUnitName"));
        EXPECT_TRUE(Holds(child.szClassName, "strClassName"));
        EXPECT_EQ(child.nPrice + child.nValidTerm + child.nPossibleLevel + child.nUseCount + child.nPeriod +
                      child.nRuvCoinPrice + child.nGameMoneyPrice,
                  2 + 4 + 5 + 6 + 7 + 8 + 9);
        EXPECT_EQ(Lists(), bAll ? 3u : 1u);
        EXPECT_EQ(res.hCondition != nullptr, bAll);
        EXPECT_EQ(res.hOption != nullptr, bAll);
        if (bAll) {
            _CONDITION_INFO condition;
            ASSERT_TRUE(GetConditionData(res.hCondition, 0, &condition, nullptr, 0));
            EXPECT_EQ(condition.cConditionType, 'B');
            EXPECT_TRUE(Holds(condition.szConditionValue, "strConditionValue"));
            _OPTION_INFO option;
            ASSERT_TRUE(GetOptionData(res.hOption, 0, &option, nullptr, 0));
            EXPECT_TRUE(Holds(option.szOptionCode, "strOptionCode"));
            EXPECT_TRUE(Holds(option.szOptionValue, "strOptionValue"));
            EXPECT_TRUE(Holds(option.szOptionName, "strOptionName"));
        }
        for (_DATA_HANDLE* pHandle : {res.hChildProduct, res.hCondition, res.hOption})
            DestroyHandle(pHandle);
        EXPECT_EQ(Lists(), 0u);
    }
}

template <class Response>
void ExpectRefused(const Response& res, const std::string& strText)
{
    EXPECT_EQ(res.bSuccess, 0);
    EXPECT_EQ(std::string(res.szError), strText);
    if constexpr (requires { res.hData; }) {
        EXPECT_EQ(res.hData, nullptr);
    }
}

// An empty list is a failure with its own text; a refusal brings the service's, and its rows are ignored.
TEST_F(ShopAnswersTest, EmptyListsAndRefusals)
{
    Service().SayYes();
    const auto none = [](const char* pszWhat, const char* pszMessage) {
        return std::string("There is no ") + pszWhat + " in '" + pszMessage + "' msg.";
    };
    ExpectRefused(Game().Call(&QueryMenuList, _GAME_REQ{}), none("menu list info", "XS2C_QueryMenuListAns"));
    ExpectRefused(Game().Call(&QueryProductList, _PRODUCT_LIST_REQ{}),
                  none("product list info", "XS2C_QueryProductListAns"));
    ExpectRefused(Game().Call(&QueryProductDetailInfo, _PRODUCT_DETAIL_REQ{}),
                  none("product list info", "queryProductDetailInfoAnsMsg"));
    ExpectRefused(Game().Call(&QueryDiscountList, _USER_PRODUCT_REQ{}),
                  none("discount info", "XS2C_QueryDiscountAns"));
    ExpectRefused(Game().Call(&QueryTagList, _GAME_REQ{}), none("tag info", "XS2C_QueryTagAns"));
    ExpectRefused(Game().Call(&QueryCouponList, _USER_PRODUCT_REQ{}),
                  none("coupon list info", "XS2C_QueryCoupontAns"));
    ExpectRefused(Game().Call(&QuerySpecialProductList, _GAME_REQ{}),
                  none("special product list info", "XS2C_QuerySpecialProductListAns"));
    ExpectRefused(Game().Call(&QuerySpecialProductInfo, _SPECIAL_PRODUCT_REQ{}),
                  none("special product info", "XS2C_QuerySpecialProductAns"));
    ExpectRefused(Game().Call(&QueryStorageInfo, _STORAGE_SEARCH_REQ{}),
                  none("item info", "XS2C_SearchStorageAns"));
    Service().On<XC2S_QueryMenuListReq>([](const auto&, auto& ans) {
        ans.nState = 3;
        ans.strMessage = std::string(2000, 'm');
        ans.vecMenu.Add();
    });
    ExpectRefused(Game().Call(&QueryMenuList, _GAME_REQ{}), std::string(1024, 'm'));
    EXPECT_EQ(Lists(), 0u);
}

TEST_F(ShopAnswersTest, Balances)
{
    const struct {
        int nState, nRuvCoin;
        bool bSuccess;
    } kRows[] = {{0, 500, true}, {0, 0, true}, {0, -1, false}, {1, 500, false}};
    for (const auto& row : kRows) {
        Service().On<XC2S_QueryRuvcoinReq>([&row](const auto&, auto& ans) {
            ans.nState = row.nState;
            ans.nRuvCoin = row.nRuvCoin;
            ans.strMessage = "text";
        });
        const auto res = Game().Call(&QueryRuvCoinInfo, _RUVCOIN_REQ{});
        EXPECT_EQ(res.bSuccess, row.bSuccess ? 1 : 0);
        EXPECT_STREQ(res.szError, row.bSuccess ? "" : "text");
        EXPECT_EQ(res.nRuvCoin, row.nRuvCoin);
    }
}

TEST_F(ShopAnswersTest, StatesAndOrders)
{
    for (const int nState : {0, 1, -1}) {
        const auto answer = [nState](const auto&, auto& ans) {
            ans.nState = nState;
            ans.strMessage = "text";
            if constexpr (requires { ans.nOrderSeq; })
                ans.nOrderSeq = 77, ans.nBuyPrice = 900;
        };
        Service().On<XC2S_ConfirmReadStorageReq>(answer);
        Service().On<XC2S_PurchaseProductReq>(answer);
        const auto read = Game().Call(&ReadStorageInfo, _STORAGE_READ_REQ{});
        EXPECT_EQ(read.bSuccess, nState == 0 ? 1 : 0);
        EXPECT_STREQ(read.szError, "text");  // on success, too
        const auto bought = Game().Call(&PurchaseProduct, _PURCHASE_REQ{});
        EXPECT_EQ(bought.bSuccess, nState == 0 ? 1 : 0);
        EXPECT_EQ(bought.nOrderSeq, 77);
        EXPECT_EQ(bought.nBuyPrice, 900);
    }
}

TEST_F(ShopAnswersTest, LateListsLeaveNothingButThoseOfADetail)
{
    SetSecond(std::chrono::milliseconds(100));
    Game().Call(&QueryMenuList, _GAME_REQ{});
    Game().Call(&QueryProductDetailInfo, _PRODUCT_DETAIL_REQ{});
    Service().Reply(*Service().Expect<XC2S_QueryMenuListReq>(), [](auto& ans) { ans.vecMenu.Add(); });
    Service().Reply(*Service().Expect<XC2S_QueryProductDetailReq>(),
                    [](auto& ans) { ans.vecChildProduct.Add(); });
    XS2C_QueryGameMoneyReq behind;
    Service().Ask(behind);
    EXPECT_EQ(Lists(), 1u);
    Game().Stop();
    EXPECT_EQ(Lists(), 0u);
}

}  // namespace
