// The exact bytes of the calls that leave, and what is refused before.
#include <functional>
#include <memory>

#include "comm/ResponseLists.h"
#include "datapool/DataPool.h"
#include "tests/connector/NamedValues.h"
#include "tests/fakeplatform/LogicTest.h"

namespace {

const std::string kPurchase =
    "GameID:20 ProductID:20 @UserID:22 ServerID:20 CharacterID:20 @RecvUserID:22 RecvServerID:20 "
    "RecvCharacterID:20 nCount nLevel GiftMessage:200 UserIP:15 PassWD:20 ";

class ShopCallsTest : public LogicTest {
protected:
    using Handle = std::unique_ptr<_DATA_HANDLE, decltype(&DestroyHandle)>;
    static Handle Own(_DATA_HANDLE* p) { return {p, &DestroyHandle}; }

    void Start(bool bNumber)
    {
        Game().Stop();
        Game().settings.bUseUserNumber = bNumber;
        Service().SayYes();
        ASSERT_TRUE(Game().Start());
    }
    template <class Message, class Request, class Response>
    void Sends(void (*pfnCall)(const Request*, Response*), const std::string& strWords,
               const Request& req = Named::Full<Request>())
    {
        Response res = Game().Call(pfnCall, req);
        DestroyLists(res);
        if constexpr (std::is_same_v<Response, _RESULT_RES>) {
            EXPECT_EQ(res.bSuccess, 1) << res.szError;
        }
        const auto sent = Service().Expect<Message>();
        EXPECT_EQ(BodyOf(*sent).substr(8), Named::Bytes(strWords, Game().settings.bUseUserNumber))
            << sent->GetMsgName();
    }
};

TEST_F(ShopCallsTest, WhatTravels)
{
    const std::string strUserProduct =
        "GameID:20 ServerID:20 @UserID:22 UserIP:15 CharacterID:20 ProductID:20 nLevel";
    for (const bool bNumber : {false, true}) {
        Start(bNumber);
        Sends<XC2S_CheckInReq>(&Checkin, "@UserID:22 UserIP:15");
        Sends<XC2S_CheckInExReq>(&CheckinEx, "@UserID:22 UserIP:15");
        Sends<XC2S_QueryBillingInfoReq>(&QueryBillingInfo, "@UserID:22 UserIP:15");
        Sends<XC2S_QueryBillingInfoExReq>(&QueryBillingInfoEx, "@UserID:22 UserIP:15");
        Sends<XC2S_QueryMenuListReq>(&QueryMenuList, "GameID:20");
        Sends<XC2S_QueryTagReq>(&QueryTagList, "GameID:20");
        Sends<XC2S_QuerySpecialProductListReq>(&QuerySpecialProductList, "GameID:20");
        Sends<XC2S_QueryProductListReq>(&QueryProductList,
                                        "GameID:20 BranchID:20 cSearchType SearchValue:22 nRow nPage");
        Sends<XC2S_QueryProductDetailReq>(&QueryProductDetailInfo, "GameID:20 ProductID:20");
        Sends<XC2S_QueryDiscountReq>(&QueryDiscountList, strUserProduct);
        Sends<XC2S_QueryCoupontReq>(&QueryCouponList, strUserProduct);
        Sends<XC2S_QuerySpecialProductReq>(&QuerySpecialProductInfo, "GameID:20 ExposeCode:20");
        Sends<XC2S_QueryRuvcoinReq>(&QueryRuvCoinInfo, "@UserID:22");
        Sends<XC2S_SearchStorageReq>(
            &QueryStorageInfo, "GameID:20 ServerID:20 @UserID:22 CharacterID:20 cSearchType SearchValue:22");
        Sends<XC2S_ConfirmReadStorageReq>(
            &ReadStorageInfo, "GameID:20 ServerID:20 @UserID:22 CharacterID:20 nStorageSeq bDelete");
        Sends<XC2S_PurchaseProductReq>(&PurchaseProduct, kPurchase + "0 0");
        Game().Checkin("abc");
        Game().Checkout("abc");
        const auto checkout = Service().Expect<XC2S_CheckOutReq>();
        EXPECT_EQ(bNumber ? checkout->strUserNo : checkout->strUserID, "abc");
        Service().Forget();
    }
    EXPECT_TRUE(Journal::Logged(Journal::Level::Info, "\r\n\tPass WD: ****"));
    EXPECT_FALSE(Journal::Logged(Journal::Level::Info, Named::Text("szPassWD", 20)));
    EXPECT_EQ(DataPool().GetCount(), 0u);
}

TEST_F(ShopCallsTest, WhatTheStepsOfAMoveSend)
{
    Start(true);
    const Handle use = Own(GetHandleForUseStorageItemInfo(nullptr, 0));
    const Handle confirm = Own(GetHandleForConfirmUseStorageItemInfo(nullptr, 0));
    const Handle cancel = Own(GetHandleForCancelUseStorageItemInfo(nullptr, 0));
    SetUseStorageItemData(use.get(), Named::Full<_USE_STORAGE_INFO>(), nullptr, 0);
    for (const int n : {8, 9}) {
        SetConfirmUseStorageItemData(confirm.get(), n, nullptr, 0);
        SetCancelUseStorageItemData(cancel.get(), n, nullptr, 0);
    }
    const std::string strHead = "GameID:20 ServerID:20 @UserID:22 CharacterID:20 ";
    auto req = Named::Full<_STORAGE_USE_REQ>();
    req.hUseStorage = use.get();
    Sends<XC2S_RequestUseStorageReq>(&StorageToInventory, strHead + "1 nStorageSeq nOrderSeq ItemID:20", req);
    req.hUseStorage = confirm.get();
    Sends<XC2S_ConfirmUseStorageReq>(&ConfirmStorageToInventory, strHead + "2 8 9", req);
    req.hUseStorage = cancel.get();
    Sends<XC2S_CancelUseStorageReq>(&CancelStorageToInventory, strHead + "2 8 9", req);
}

TEST_F(ShopCallsTest, HandlesOfAMoveAreLookedAtBeforeAnythingIsSent)
{
    Start(false);
    const struct {
        void (*pfnCall)(const _STORAGE_USE_REQ*, _RESULT_RES*);
        _DATA_HANDLE* (*pfnMake)(char*, std::size_t);
        _DATA_HANDLE* (*pfnOther)(char*, std::size_t);
        const char *pszNull, *pszVerb;
    } kRows[] = {
        {&StorageToInventory, &GetHandleForUseStorageItemInfo, &GetHandleForConfirmUseStorageItemInfo,
         "Handle for using storage items is NULL.", "using storage items info."},
        {&ConfirmStorageToInventory, &GetHandleForConfirmUseStorageItemInfo,
         &GetHandleForCancelUseStorageItemInfo, "Handle for confirmming to use storage items is NULL.",
         "confirmming to use storage items info."},
        {&CancelStorageToInventory, &GetHandleForCancelUseStorageItemInfo, &GetHandleForUseStorageItemInfo,
         "Handle for canceling to use storage items is NULL.", "canceling to use storage items info."}};
    for (const auto& row : kRows) {
        const auto refused = [&](_DATA_HANDLE* pHandle) {
            auto req = Named::Full<_STORAGE_USE_REQ>();
            req.hUseStorage = pHandle;
            return std::string(Game().Call(row.pfnCall, req).szError);
        };
        const Handle other = Own(row.pfnOther(nullptr, 0)), gone = Own(row.pfnMake(nullptr, 0));
        DataPool().Erase(gone->nHandleID);
        EXPECT_EQ(refused(nullptr), row.pszNull);
        EXPECT_EQ(refused(other.get()), std::string("Data handle type doesn't refer to ") + row.pszVerb);
        EXPECT_EQ(refused(gone.get()), std::string("There is no data about ") + row.pszVerb);
    }
    Service().ExpectNothing();
}

TEST_F(ShopCallsTest, TheListsOfAPurchase)
{
    Start(false);
    const Handle coupons = Own(GetHandleForUseCouponInfo(nullptr, 0));
    const Handle options = Own(GetHandleForUseOptionInfo(nullptr, 0));
    const Handle wrong = Own(GetHandleForUseStorageItemInfo(nullptr, 0));
    SetUseCouponData(coupons.get(), {"U1", "C1"}, nullptr, 0);
    SetUseOptionData(options.get(), {"CODE", "VALUE"}, nullptr, 0);
    const auto with = [](const Handle* pCoupon, const Handle* pOption) {
        auto req = Named::Full<_PURCHASE_REQ>();
        req.hUseCoupon = pCoupon ? pCoupon->get() : nullptr;
        req.hUseOption = pOption ? pOption->get() : nullptr;
        return req;
    };
    const auto sends = [&](const _PURCHASE_REQ& req, const std::string& strLists) {
        Sends<XC2S_PurchaseProductReq>(&PurchaseProduct, kPurchase + strLists, req);
    };
    sends(with(&coupons, nullptr), "1 'U1' 'C1' 0");
    // The options come from the coupons' list, too.
    sends(with(&coupons, &options), "1 'U1' 'C1' 1 'U1' 'C1'");
    sends(with(&options, &options), "1 'CODE' 'VALUE' 1 'CODE' 'VALUE'");
    EXPECT_STREQ(Game().Call(&PurchaseProduct, with(nullptr, &options)).szError,
                 "There is an exception because of some reasons.");
    EXPECT_STREQ(Game().Call(&PurchaseProduct, with(&wrong, &options)).szError,
                 "Failed to send a 'XC2S_PurchaseProductReq' msg.");
    Service().ExpectNothing();
}

TEST_F(ShopCallsTest, TheFramesFailures)
{
    EXPECT_STREQ(Game().Call(&QueryMenuList, _GAME_REQ{}).szError, "Velkar Connector is not initialized.");
    ASSERT_TRUE(Game().Start());
    SetSecond(std::chrono::milliseconds(100));
    _LIST_RES res;
    std::memset(&res, 0x5A, sizeof(res));
    QueryMenuList(nullptr, &res);
    EXPECT_STREQ(res.szError, "Request or response arg is NULL.");
    EXPECT_EQ(res.hData, nullptr);
    EXPECT_STREQ(Game().Call(&QueryCouponList, _USER_PRODUCT_REQ{}).szError,
                 "Failed to receive a 'XS2C_QueryCoupontAns' msg because of timeout.");
    FailSend();
    EXPECT_STREQ(Game().Call(&QueryStorageInfo, _STORAGE_SEARCH_REQ{}).szError,
                 "Failed to send a 'XC2S_SearchStorageReq' msg.");
    EXPECT_TRUE(Journal::Logged(Journal::Level::Error, "QueryMenuList request or response arg is NULL."));
    EXPECT_TRUE(Journal::Logged(Journal::Level::Info,
                                "[Velkar Connector] SearchStorage request.\r\n-Contents-\r\n\tReq ID: "));
}

}  // namespace
