// What the answers of the shop and the storage box become in the caller's hands.
#include "comm/ResponseLists.h"
#include "datapool/DataPool.h"
#include "tests/connector/NamedValues.h"
#include "tests/fakeplatform/LogicTest.h"

namespace {

std::size_t Lists() { return DataPool().GetCount(); }

template <class Record>
using Get = bool (*)(const _DATA_HANDLE*, std::size_t, Record*, char*, std::size_t);

class ShopAnswersTest : public StartedTest {
protected:
    // Asks, is answered with two rows, and reads the second one.
    template <class RequestMessage, class Request, class Response, class Record>
    void Reads(void (*pfnCall)(const Request*, Response*), Get<Record> pfnGet)
    {
        Service().On<RequestMessage>([](const auto&, auto& ans) {
            Named::Fill(ans);  // the numbers of the whole list
            std::remove_reference_t<decltype(ans)>::ForEachField(ans, [](const char*, auto& field) {
                if constexpr (requires { field.Add(); }) {
                    field.Add();
                    Named::Fill(field.Add());
                }
                return true;
            });
        });
        const Response res = Game().Call(pfnCall, Request{});
        EXPECT_EQ(GetDataSize(res.hData, nullptr, 0), 2u);
        constexpr bool kHasPrice = requires(AnswerTo<RequestMessage> ans) { ans.nPrice; };
        Named::ExpectIn(res, {"szError", kHasPrice ? "" : "nPrice"});
        Named::ExpectIn(RowOf(res.hData, pfnGet, 1));
        EXPECT_EQ(Lists(), 0u);
    }
    // Takes the row out, and the list with it.
    template <class Record>
    static Record RowOf(_DATA_HANDLE* pHandle, Get<Record> pfnGet, std::size_t nIndex = 0)
    {
        Record record{};
        char szError[64] = "";
        EXPECT_TRUE(pfnGet(pHandle, nIndex, &record, szError, sizeof(szError))) << szError;
        DestroyHandle(pHandle);
        return record;
    }
    // An empty list is a failure with its own text.
    template <class Request, class Response>
    void FindsNo(const char* pszWhat, const char* pszMessage, void (*pfnCall)(const Request*, Response*))
    {
        const Response res = Game().Call(pfnCall, Request{});
        EXPECT_EQ(Named::Pick(res, "bSuccess szError"),
                  std::string("0,There is no ") + pszWhat + " in '" + pszMessage + "' msg.");
        ForEachList(res, [](const _DATA_HANDLE* pHandle) { EXPECT_EQ(pHandle, nullptr); });
    }
};

TEST_F(ShopAnswersTest, EveryFieldOfARowArrives)
{
    Reads<XC2S_QueryMenuListReq>(&QueryMenuList, &GetMenuData);
    Reads<XC2S_QueryProductListReq>(&QueryProductList, &GetProductData);
    Reads<XC2S_QueryDiscountReq>(&QueryDiscountList, &GetDiscountData);
    Reads<XC2S_QueryCoupontReq>(&QueryCouponList, &GetCouponData);
    Reads<XC2S_QuerySpecialProductListReq>(&QuerySpecialProductList, &GetSpecialProductData);
    Reads<XC2S_QuerySpecialProductReq>(&QuerySpecialProductInfo, &GetSpecialProductDetailData);
    Reads<XC2S_SearchStorageReq>(&QueryStorageInfo, &GetStorageItemData);
}

TEST_F(ShopAnswersTest, TagsAreBareTexts)
{
    Service().On<XC2S_QueryTagReq>([](const auto&, auto& ans) {
        ans.vecTag = {"new", std::string(200, 't')};
    });
    const auto tag = RowOf(Game().Call(&QueryTagList, _GAME_REQ{}).hData, &GetTagData, 1);
    EXPECT_EQ(std::string(tag.szTag), std::string(100, 't'));
}

TEST_F(ShopAnswersTest, AProductsDetailHasThreeLists)
{
    for (const bool bAll : {true, false}) {
        Service().On<XC2S_QueryProductDetailReq>([bAll](const auto&, auto& ans) {
            Named::Fill(ans);
            Named::Fill(ans.vecChildProduct.Add());
            if (bAll) {
                Named::Fill(ans.vecCondition.Add());
                Named::Fill(ans.vecOption.Add());
            }
        });
        const auto res = Game().Call(&QueryProductDetailInfo, _PRODUCT_DETAIL_REQ{});
        EXPECT_STREQ(res.szError, "");
        Named::ExpectIn(res, {"szError"});
        EXPECT_EQ(Lists(), bAll ? 3u : 1u);
        Named::ExpectIn(RowOf(res.hChildProduct, &GetChildProductData));
        if (bAll) {
            Named::ExpectIn(RowOf(res.hCondition, &GetConditionData));
            Named::ExpectIn(RowOf(res.hOption, &GetOptionData));
        } else {
            EXPECT_TRUE(res.hCondition == nullptr && res.hOption == nullptr);
        }
        EXPECT_EQ(Lists(), 0u);
    }
}

TEST_F(ShopAnswersTest, EmptyListsAndRefusals)
{
    Service().SayYes();
    FindsNo("menu list info", "XS2C_QueryMenuListAns", &QueryMenuList);
    FindsNo("product list info", "XS2C_QueryProductListAns", &QueryProductList);
    FindsNo("product list info", "queryProductDetailInfoAnsMsg", &QueryProductDetailInfo);
    FindsNo("discount info", "XS2C_QueryDiscountAns", &QueryDiscountList);
    FindsNo("tag info", "XS2C_QueryTagAns", &QueryTagList);
    FindsNo("coupon list info", "XS2C_QueryCoupontAns", &QueryCouponList);
    FindsNo("special product list info", "XS2C_QuerySpecialProductListAns", &QuerySpecialProductList);
    FindsNo("special product info", "XS2C_QuerySpecialProductAns", &QuerySpecialProductInfo);
    FindsNo("item info", "XS2C_SearchStorageAns", &QueryStorageInfo);
    // A refusal brings the service's text, and its rows are ignored.
    Service().On<XC2S_QueryMenuListReq>([](const auto&, auto& ans) {
        Assign(ans, "nState=3 vecMenu={} strMessage=" + std::string(2000, 'm'));
    });
    const auto res = Game().Call(&QueryMenuList, _GAME_REQ{});
    EXPECT_EQ(Named::Pick(res, "bSuccess szError"), "0," + std::string(1024, 'm'));
    EXPECT_TRUE(res.hData == nullptr && Lists() == 0);
}

TEST_F(ShopAnswersTest, Balances)
{
    for (const auto& [pszAnswer, strRecord] : {std::pair("nState=0 nRuvCoin=500", "1,,500"),
                                               {"nState=0 nRuvCoin=0", "1,,0"},
                                               {"nState=0 nRuvCoin=-1", "0,text,-1"},
                                               {"nState=1 nRuvCoin=500", "0,text,500"}}) {
        Service().On<XC2S_QueryRuvcoinReq>([pszText = pszAnswer](const auto&, auto& ans) {
            Assign(ans, std::string("strMessage=text ") + pszText);
        });
        EXPECT_EQ(Named::Pick(Game().Call(&QueryRuvCoinInfo, _RUVCOIN_REQ{}), "bSuccess szError nRuvCoin"),
                  strRecord);
    }
}

// Numbers arrive whatever the state, and the text even on success.
TEST_F(ShopAnswersTest, StatesAndNumbersOfTheAnswerItself)
{
    for (const int nState : {0, 1, -1}) {
        const auto answer = [nState](const auto&, auto& ans) {
            Named::Fill(ans);
            ans.nState = nState, ans.strMessage = "text";
        };
        Service().On<XC2S_ConfirmReadStorageReq>(answer);
        Service().On<XC2S_PurchaseProductReq>(answer);
        const std::string strHead = nState == 0 ? "1,text" : "0,text";
        EXPECT_EQ(Named::Pick(Game().Call(&ReadStorageInfo, _STORAGE_READ_REQ{}), "bSuccess szError"),
                  strHead);
        const auto bought = Game().Call(&PurchaseProduct, _PURCHASE_REQ{});
        EXPECT_EQ(Named::Pick(bought, "bSuccess szError"), strHead);
        Named::ExpectIn(bought, {"bSuccess", "szError"});
    }
}

}  // namespace
