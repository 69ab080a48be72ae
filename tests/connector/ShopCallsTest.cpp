// The shop's and the storage box's calls: the exact bytes that leave, and one answer in the caller's record.
#include <functional>
#include <memory>

#include "datapool/DataPool.h"
#include "tests/fakeplatform/LogicTest.h"

namespace {

// A body as it has to look, written field by field.
class Body {
public:
    Body& Int(std::uint32_t n)
    {
        for (const int nShift : {24, 16, 8, 0})
            m_str += static_cast<char>(n >> nShift & 0xFF);
        return *this;
    }
    Body& Byte(char c)
    {
        m_str += c;
        return *this;
    }
    Body& Text(const std::string& str)
    {
        Int(static_cast<std::uint32_t>(str.size()));
        m_str += str;
        return *this;
    }
    Body& Text(char c, std::size_t nCount) { return Text(std::string(nCount, c)); }
    // The user's id and number, one of them empty.
    Body& User(char c, bool bNumber) { return bNumber ? Text("").Text(c, 22) : Text(c, 22).Text(""); }
    const std::string& Str() const { return m_str; }

private:
    std::string m_str;
};

// A record whose texts have no NUL: each field full of its own letter, each number of its own.
template <class Record>
Record Full()
{
    Record r{};
    const auto fill = [](auto& field, char c) { std::memset(field, c, sizeof(field)); };
    if constexpr (requires { r.szGameID; })
        fill(r.szGameID, 'g');
    if constexpr (requires { r.szServerID; })
        fill(r.szServerID, 's');
    if constexpr (requires { r.szUserID; })
        fill(r.szUserID, 'u');
    if constexpr (requires { r.szUserIP; })
        fill(r.szUserIP, 'i');
    if constexpr (requires { r.szCharacterID; })
        fill(r.szCharacterID, 'c');
    if constexpr (requires { r.szProductID; })
        fill(r.szProductID, 'p');
    if constexpr (requires { r.szBranchID; })
        fill(r.szBranchID, 'b');
    if constexpr (requires { r.szExposeCode; })
        fill(r.szExposeCode, 'e');
    if constexpr (requires { r.szSearchValue; })
        fill(r.szSearchValue, 'v');
    if constexpr (requires { r.cSearchType; })
        r.cSearchType = 'T';
    if constexpr (requires { r.nRow; })
        r.nRow = 20, r.nPage = -3;
    if constexpr (requires { r.nLevel; })
        r.nLevel = 7;
    if constexpr (requires { r.nStorageSeq; })
        r.nStorageSeq = 11, r.bDelete = 1;
    if constexpr (requires { r.szRecvUserID; }) {
        fill(r.szRecvUserID, 'U'), fill(r.szRecvServerID, 'S'), fill(r.szRecvCharacterID, 'C');
        fill(r.szGiftMessage, 'm'), fill(r.szPassWD, 'w');
        r.nCount = 3;
    }
    return r;
}

class ShopCallsTest : public LogicTest {
protected:
    using Handle = std::unique_ptr<_DATA_HANDLE, decltype(&DestroyHandle)>;
    static Handle Own(_DATA_HANDLE* p) { return {p, &DestroyHandle}; }
    static std::size_t Lists() { return DataPool().GetCount(); }

    // Calls with both settings of USE_USER_NUMBER and compares what leaves behind the message's id and Req
    // ID.
    template <class Message, class Request, class Response>
    void Sends(void (*pfnCall)(const Request*, Response*), const Request& req,
               const std::function<void(Body&, bool bNumber)>& rest)
    {
        for (const bool bNumber : {false, true}) {
            Game().settings.bUseUserNumber = bNumber;
            Service().SayYes();
            ASSERT_TRUE(Game().Start());
            Game().Call(pfnCall, req);
            const auto sent = Service().Expect<Message>();
            Body body;
            body.Int(static_cast<std::uint32_t>(Message::kMsgID))
                .Int(static_cast<std::uint32_t>(sent->nReqID));
            rest(body, bNumber);
            std::string strReceived;
            for (const auto& frame : Service().Received())
                strReceived = frame.nMsgID == Message::kMsgID ? frame.strBody : strReceived;
            EXPECT_EQ(strReceived, body.Str()) << sent->GetMsgName();
            Service().SayNothing();
            Service().Forget();
            Game().Stop();
        }
    }
};

TEST_F(ShopCallsTest, WhatTheQueriesSend)
{
    const auto game = [](Body& b, bool) { b.Text('g', 20); };
    Sends<XC2S_QueryMenuListReq>(&QueryMenuList, Full<_GAME_REQ>(), game);
    Sends<XC2S_QueryTagReq>(&QueryTagList, Full<_GAME_REQ>(), game);
    Sends<XC2S_QuerySpecialProductListReq>(&QuerySpecialProductList, Full<_GAME_REQ>(), game);
    Sends<XC2S_QueryProductListReq>(&QueryProductList, Full<_PRODUCT_LIST_REQ>(), [](Body& b, bool) {
        b.Text('g', 20).Text('b', 20).Byte('T').Text('v', 22).Int(20).Int(static_cast<std::uint32_t>(-3));
    });
    Sends<XC2S_QueryProductDetailReq>(&QueryProductDetailInfo, Full<_PRODUCT_DETAIL_REQ>(),
                                      [](Body& b, bool) { b.Text('g', 20).Text('p', 20); });
    const auto userProduct = [](Body& b, bool bNumber) {
        b.Text('g', 20).Text('s', 20).User('u', bNumber).Text('i', 15).Text('c', 20).Text('p', 20).Int(7);
    };
    Sends<XC2S_QueryDiscountReq>(&QueryDiscountList, Full<_USER_PRODUCT_REQ>(), userProduct);
    Sends<XC2S_QueryCoupontReq>(&QueryCouponList, Full<_USER_PRODUCT_REQ>(), userProduct);
    Sends<XC2S_QuerySpecialProductReq>(&QuerySpecialProductInfo, Full<_SPECIAL_PRODUCT_REQ>(),
                                       [](Body& b, bool) { b.Text('g', 20).Text('e', 20); });
    Sends<XC2S_QueryRuvcoinReq>(&QueryRuvCoinInfo, Full<_RUVCOIN_REQ>(),
                                [](Body& b, bool bNumber) { b.User('u', bNumber); });
    Sends<XC2S_SearchStorageReq>(&QueryStorageInfo, Full<_STORAGE_SEARCH_REQ>(), [](Body& b, bool bNumber) {
        b.Text('g', 20).Text('s', 20).User('u', bNumber).Text('c', 20).Byte('T').Text('v', 22);
    });
    Sends<XC2S_ConfirmReadStorageReq>(&ReadStorageInfo, Full<_STORAGE_READ_REQ>(), [](Body& b, bool bNumber) {
        b.Text('g', 20).Text('s', 20).User('u', bNumber).Text('c', 20).Int(11).Byte(1);
    });
    EXPECT_EQ(Lists(), 0u);
}

TEST_F(ShopCallsTest, WhatTheStepsOfAMoveSend)
{
    Service().SayYes();
    Game().settings.bUseUserNumber = true;
    ASSERT_TRUE(Game().Start());
    const Handle use = Own(GetHandleForUseStorageItemInfo(nullptr, 0));
    const Handle confirm = Own(GetHandleForConfirmUseStorageItemInfo(nullptr, 0));
    const Handle cancel = Own(GetHandleForCancelUseStorageItemInfo(nullptr, 0));
    _USE_STORAGE_INFO info{5, 6, {}};
    std::memset(info.szItemID, 'x', sizeof(info.szItemID));
    SetUseStorageItemData(use.get(), info, nullptr, 0);
    for (const int n : {8, 9}) {
        SetConfirmUseStorageItemData(confirm.get(), n, nullptr, 0);
        SetCancelUseStorageItemData(cancel.get(), n, nullptr, 0);
    }
    auto req = Full<_STORAGE_USE_REQ>();
    req.hUseStorage = use.get();
    EXPECT_EQ(Game().Call(&StorageToInventory, req).bSuccess, 1);
    req.hUseStorage = confirm.get();
    EXPECT_EQ(Game().Call(&ConfirmStorageToInventory, req).bSuccess, 1);
    req.hUseStorage = cancel.get();
    EXPECT_EQ(Game().Call(&CancelStorageToInventory, req).bSuccess, 1);
    Body head;
    head.Text('g', 20).Text('s', 20).User('u', true).Text('c', 20);
    Body items = head, rest = head;
    items.Int(1).Int(5).Int(6).Text('x', 20);
    rest.Int(2).Int(8).Int(9);
    EXPECT_EQ(BodyOf(*Service().Expect<XC2S_RequestUseStorageReq>()).substr(8), items.Str());
    EXPECT_EQ(BodyOf(*Service().Expect<XC2S_ConfirmUseStorageReq>()).substr(8), rest.Str());
    EXPECT_EQ(BodyOf(*Service().Expect<XC2S_CancelUseStorageReq>()).substr(8), rest.Str());
}

TEST_F(ShopCallsTest, HandlesOfAMoveAreLookedAtBeforeAnythingIsSent)
{
    Service().SayYes();
    ASSERT_TRUE(Game().Start());
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
        auto req = Full<_STORAGE_USE_REQ>();
        EXPECT_STREQ(Game().Call(row.pfnCall, req).szError, row.pszNull);
        const Handle other = Own(row.pfnOther(nullptr, 0));
        req.hUseStorage = other.get();
        EXPECT_EQ(std::string(Game().Call(row.pfnCall, req).szError),
                  std::string("Data handle type doesn't refer to ") + row.pszVerb);
        const Handle gone = Own(row.pfnMake(nullptr, 0));
        DataPool().Erase(gone->nHandleID);
        req.hUseStorage = gone.get();
        EXPECT_EQ(std::string(Game().Call(row.pfnCall, req).szError),
                  std::string("There is no data about ") + row.pszVerb);
    }
    Service().ExpectNothing();
}

TEST_F(ShopCallsTest, WhatAPurchaseSends)
{
    const auto head = [](Body& b, bool bNumber) -> Body& {
        return b.Text('g', 20)
            .Text('p', 20)
            .User('u', bNumber)
            .Text('s', 20)
            .Text('c', 20)
            .User('U', bNumber)
            .Text('S', 20)
            .Text('C', 20)
            .Int(3)
            .Int(7)
            .Text('m', 200)
            .Text('i', 15)
            .Text('w', 20);
    };
    Sends<XC2S_PurchaseProductReq>(&PurchaseProduct, Full<_PURCHASE_REQ>(),
                                   [&](Body& b, bool bNumber) { head(b, bNumber).Int(0).Int(0); });

    Service().SayYes();
    Game().settings.bUseUserNumber = false;
    ASSERT_TRUE(Game().Start());
    const Handle coupons = Own(GetHandleForUseCouponInfo(nullptr, 0));
    const Handle options = Own(GetHandleForUseOptionInfo(nullptr, 0));
    SetUseCouponData(coupons.get(), {"U1", "C1"}, nullptr, 0);
    SetUseOptionData(options.get(), {"CODE", "VALUE"}, nullptr, 0);
    auto req = Full<_PURCHASE_REQ>();
    const auto expect = [&](const std::function<void(Body&)>& lists) {
        EXPECT_EQ(Game().Call(&PurchaseProduct, req).bSuccess, 1);
        Body body;
        head(body, false);
        lists(body);
        EXPECT_EQ(BodyOf(*Service().Expect<XC2S_PurchaseProductReq>()).substr(8), body.Str());
    };
    req.hUseCoupon = coupons.get();
    expect([](Body& b) { b.Int(1).Text("U1").Text("C1").Int(0); });
    req.hUseOption = options.get();  // the options come from the coupons' list, too
    expect([](Body& b) { b.Int(1).Text("U1").Text("C1").Int(1).Text("U1").Text("C1"); });
    req.hUseCoupon = options.get();
    expect([](Body& b) { b.Int(1).Text("CODE").Text("VALUE").Int(1).Text("CODE").Text("VALUE"); });

    req.hUseCoupon = nullptr;
    EXPECT_STREQ(Game().Call(&PurchaseProduct, req).szError,
                 "There is an exception because of some reasons.");
    const Handle wrong = Own(GetHandleForUseStorageItemInfo(nullptr, 0));
    req.hUseCoupon = wrong.get();
    EXPECT_STREQ(Game().Call(&PurchaseProduct, req).szError,
                 "Failed to send a 'XC2S_PurchaseProductReq' msg.");
    Service().ExpectNothing();
    EXPECT_TRUE(Journal::Logged(Journal::Level::Info, "\r\n\tPass WD: ****"));
    EXPECT_FALSE(Journal::Logged(Journal::Level::Info, std::string(20, 'w')));
}

TEST_F(ShopCallsTest, TheFramesFailures)
{
    const auto req = Full<_GAME_REQ>();
    EXPECT_STREQ(Game().Call(&QueryMenuList, req).szError, "Velkar Connector is not initialized.");
    ASSERT_TRUE(Game().Start());
    SetSecond(std::chrono::milliseconds(100));
    _LIST_RES res;
    std::memset(&res, 0x5A, sizeof(res));
    QueryMenuList(nullptr, &res);
    EXPECT_STREQ(res.szError, "Request or response arg is NULL.");
    EXPECT_EQ(res.hData, nullptr);
    EXPECT_TRUE(Journal::Logged(Journal::Level::Error,
                                "[Velkar Connector] QueryMenuList request or response arg is NULL."));
    EXPECT_STREQ(Game().Call(&QueryCouponList, Full<_USER_PRODUCT_REQ>()).szError,
                 "Failed to receive a 'XS2C_QueryCoupontAns' msg because of timeout.");
    FailSend();
    EXPECT_STREQ(Game().Call(&QueryStorageInfo, Full<_STORAGE_SEARCH_REQ>()).szError,
                 "Failed to send a 'XC2S_SearchStorageReq' msg.");
    EXPECT_TRUE(Journal::Logged(Journal::Level::Info,
                                "[Velkar Connector] SearchStorage request.\r\n-Contents-\r\n\tReq ID: "));
}

}  // namespace
