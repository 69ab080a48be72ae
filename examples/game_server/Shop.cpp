#include "Shop.h"

#include <utility>

#include "List.h"
#include "Text.h"

namespace {

// The level that the shop is told for every character, high enough for the demo's products. A real game sends
// the character's own.
constexpr int kShopLevel = 30;

// Prints why a request has failed and returns false. The text is the service's or the library's own; the
// service may have sent none.
template <class Response>
bool Refused(const Response& res, const char* pszWhat)
{
    std::printf("%s: %s\n", pszWhat, res.szError[0] != '\0' ? res.szError : "refused");
    return false;
}

// The two halves of "A:B"; without a colon the second one is empty.
std::pair<std::string, std::string> SplitPair(const std::string& str)
{
    const std::size_t nColon = str.find(':');
    return {str.substr(0, nColon), nColon == std::string::npos ? "" : str.substr(nColon + 1)};
}

const char* YesOrNo(unsigned char b) { return b != 0 ? "yes" : "no"; }

}  // namespace

Shop::Shop(Game& game, std::string strGameID, std::string strServerID)
    : m_game(game), m_strGameID(std::move(strGameID)), m_strServerID(std::move(strServerID))
{
}

// A request with the fields that most requests have, filled in for the user's first character.
template <class Request>
Request Shop::MakeReq(const std::string& strUser) const
{
    Request req{};
    Put(req.szGameID, m_strGameID);
    if constexpr (sizeof(Request) > sizeof(_GAME_REQ)) {
        Character character;
        m_game.CopyCharacter(strUser, "", character);
        Put(req.szServerID, m_strServerID);
        Put(req.szUserID, strUser);
        Put(req.szCharacterID, character.strName);
    }
    return req;
}

_USER_PRODUCT_REQ Shop::MakeUserProduct(const std::string& strUser, const std::string& strProduct) const
{
    auto req = MakeReq<_USER_PRODUCT_REQ>(strUser);
    Put(req.szUserIP, m_game.GetAddress(strUser));
    Put(req.szProductID, strProduct);
    req.nLevel = kShopLevel;
    return req;
}

// One piece of a product. Receiver, coupons and options are still empty: the buyer gets it at its plain
// price.
_PURCHASE_REQ Shop::MakePurchase(const std::string& strUser, const std::string& strProduct,
                                 const std::string& strPassWord) const
{
    auto req = MakeReq<_PURCHASE_REQ>(strUser);
    Put(req.szProductID, strProduct);
    Put(req.szUserIP, m_game.GetAddress(strUser));
    Put(req.szPassWD, strPassWord == "-" ? "" : strPassWord);
    req.nLevel = kShopLevel;
    req.nCount = 1;
    return req;
}

bool Shop::ShowMenu()
{
    const auto req = MakeReq<_GAME_REQ>();
    _LIST_RES res{};
    QueryMenuList(&req, &res);
    const List list(res.hData);
    if (res.bSuccess != 1)
        return Refused(res, "menu");
    std::printf("  %-28s %-12s %s\n", "menu", "branch", "products");
    return ForEachRecord(list, &GetMenuData, [](const _MENU_INFO& menu) {
        const int nIndent = menu.nBranchDepth > 1 ? 2 * (menu.nBranchDepth - 1) : 0;
        std::printf("  %*s%-*s %-12s %8d\n", nIndent, "", 28 - nIndent, menu.szBranchName, menu.szBranchID,
                    menu.nProductCount);
    });
}

bool Shop::ShowProducts(const std::string& strBranch, int nPage)
{
    _PRODUCT_LIST_REQ req{};
    Put(req.szGameID, m_strGameID);
    Put(req.szBranchID, strBranch);
    req.cSearchType = 'A';  // all; game and service agree on the letters
    req.nRow = 10;
    req.nPage = nPage;
    _PRODUCT_LIST_RES res{};
    QueryProductList(&req, &res);
    const List list(res.hData);
    if (res.bSuccess != 1)
        return Refused(res, "products");
    std::printf("  %-12s %-28s %6s %9s %5s\n", "product", "name", "price", "discount", "gift");
    return ForEachRecord(list, &GetProductData, [](const _PROD_LIST_INFO& product) {
        std::printf("  %-12s %-28s %6d %8d%% %5s\n", product.szProductID, product.szProductName,
                    product.nPrice, product.nDiscountRate, YesOrNo(product.bGift));
    });
}

bool Shop::ShowDetail(const std::string& strProduct)
{
    _PRODUCT_DETAIL_REQ req{};
    Put(req.szGameID, m_strGameID);
    Put(req.szProductID, strProduct);
    _PRODUCT_DETAIL_RES res{};
    QueryProductDetailInfo(&req, &res);
    const List children(res.hChildProduct), conditions(res.hCondition), options(res.hOption);
    if (res.bSuccess != 1)
        return Refused(res, strProduct.c_str());
    std::printf("  %s, %s: %s\n", res.szProductID, res.szProductName, res.szProductDetailDesc);
    return ForEachRecord(children, &GetChildProductData,
                         [](const _CHILDPROD_INFO& child) {
                             std::printf("    holds      %-16s %s, price %d\n", child.szChildProductID,
                                         child.szUnitName, child.nPrice);
                         }) &&
           ForEachRecord(conditions, &GetConditionData,
                         [](const _CONDITION_INFO& condition) {
                             std::printf("    condition  %c %s\n", condition.cConditionType,
                                         condition.szConditionValue);
                         }) &&
           ForEachRecord(options, &GetOptionData, [](const _OPTION_INFO& option) {
               std::printf("    option     %s:%s (%s)\n", option.szOptionCode, option.szOptionValue,
                           option.szOptionName);
           });
}

bool Shop::ShowDiscounts(const std::string& strUser, const std::string& strProduct)
{
    const auto req = MakeUserProduct(strUser, strProduct);
    _LIST_RES res{};
    QueryDiscountList(&req, &res);
    const List list(res.hData);
    if (res.bSuccess != 1)
        return Refused(res, "discounts");
    std::printf("  %s costs %d\n", strProduct.c_str(), res.nPrice);
    return ForEachRecord(list, &GetDiscountData, [](const _DISCOUNT_INFO& discount) {
        std::printf("    %-24s %3d%% or %d off, in use: %s\n", discount.szCondition, discount.nDiscountRate,
                    discount.nDiscountAmt, YesOrNo(discount.bUse));
    });
}

bool Shop::ShowCoupons(const std::string& strUser, const std::string& strProduct)
{
    const auto req = MakeUserProduct(strUser, strProduct);
    _LIST_RES res{};
    QueryCouponList(&req, &res);
    const List list(res.hData);
    if (res.bSuccess != 1)
        return Refused(res, "coupons");
    return ForEachRecord(list, &GetCouponData, [](const _COUPON_INFO& coupon) {
        std::printf("  coupon %s:%s  %s, %d%% or %d off, until %s\n", coupon.szCouponUseID,
                    coupon.szCouponCode, coupon.szCouponName, coupon.nDiscountRate, coupon.nDiscountAmt,
                    coupon.szUseEndDate);
    });
}

bool Shop::ShowTags()
{
    const auto req = MakeReq<_GAME_REQ>();
    _LIST_RES res{};
    QueryTagList(&req, &res);
    const List list(res.hData);
    if (res.bSuccess != 1)
        return Refused(res, "tags");
    std::printf("  tags:");
    const bool bRead =
        ForEachRecord(list, &GetTagData, [](const _TAG_INFO& tag) { std::printf(" %s", tag.szTag); });
    std::printf("\n");
    return bRead;
}

bool Shop::ShowSpecials()
{
    const auto req = MakeReq<_GAME_REQ>();
    _LIST_RES res{};
    QuerySpecialProductList(&req, &res);
    const List groups(res.hData);
    if (res.bSuccess != 1)
        return Refused(res, "special products");
    bool bRead = true;
    return ForEachRecord(groups, &GetSpecialProductData,
                         [&](const _SPECIAL_PRODUCT_LIST_INFO& group) {
                             _SPECIAL_PRODUCT_REQ groupReq{};
                             Put(groupReq.szGameID, m_strGameID);
                             Put(groupReq.szExposeCode, group.szExposeCode);
                             _LIST_RES groupRes{};
                             QuerySpecialProductInfo(&groupReq, &groupRes);
                             const List products(groupRes.hData);
                             std::printf("  %s:", group.szExposeName);
                             bRead = bRead && groupRes.bSuccess == 1 &&
                                     ForEachRecord(products, &GetSpecialProductDetailData,
                                                   [](const _SPECIAL_PRODUCT_INFO& product) {
                                                       std::printf(" %s", product.szProductID);
                                                   });
                             std::printf("\n");
                         }) &&
           bRead;
}

bool Shop::ShowBalance(const std::string& strUser)
{
    _RUVCOIN_REQ req{};
    Put(req.szUserID, strUser);
    _RUVCOIN_RES res{};
    QueryRuvCoinInfo(&req, &res);
    if (res.bSuccess != 1)
        return Refused(res, "balance");
    std::printf("%s has %d Ruv coin\n", strUser.c_str(), res.nRuvCoin);
    return true;
}

bool Shop::Purchase(const _PURCHASE_REQ& req, const std::string& strWhat)
{
    _PURCHASE_RES res{};
    PurchaseProduct(&req, &res);
    if (res.bSuccess == 1) {
        std::printf("%s: order %d, paid %d\n", strWhat.c_str(), res.nOrderSeq, res.nBuyPrice);
        return true;
    }
    // After a timeout the purchase may have been made. The player has to look at the balance and into the
    // storage box before trying again, or may pay twice.
    if (IsTimeout(res.szError))
        std::printf("%s: no answer; look into the storage box before you try again\n", strWhat.c_str());
    else
        Refused(res, strWhat.c_str());
    return false;
}

bool Shop::Buy(const std::string& strUser, const std::string& strProduct, const std::string& strPassWord,
               const std::string& strCoupon, const std::string& strOption)
{
    auto req = MakePurchase(strUser, strProduct, strPassWord);
    const List coupons(strCoupon == "-" && strOption == "-" ? nullptr
                                                            : GetHandleForUseCouponInfo(nullptr, 0));
    const List options(strOption == "-" ? nullptr : GetHandleForUseOptionInfo(nullptr, 0));
    // If a request has both handles, the library reads the options from the coupons' list too. So coupons and
    // options both go into that list, each pair as one record.
    for (const std::string& strPair : {strCoupon, strOption}) {
        if (strPair == "-")
            continue;
        const auto [strFirst, strSecond] = SplitPair(strPair);
        _USE_COUPON_INFO info{};
        Put(info.szCouponUseID, strFirst);
        Put(info.szCouponCode, strSecond);
        char szError[256];
        if (!SetUseCouponData(coupons.pHandle, info, szError, sizeof(szError))) {
            std::printf("%s\n", szError);
            return false;
        }
    }
    req.hUseCoupon = coupons.pHandle;
    req.hUseOption = options.pHandle;
    return Purchase(req, strUser + " buys " + strProduct);
}

bool Shop::Give(const std::string& strUser, const std::string& strReceiver, const std::string& strProduct,
                const std::string& strPassWord)
{
    auto req = MakePurchase(strUser, strProduct, strPassWord);
    Put(req.szRecvUserID, strReceiver);
    Put(req.szRecvServerID, m_strServerID);
    Put(req.szGiftMessage, "With the best wishes of " + strUser);
    return Purchase(req, strUser + " gives " + strProduct + " to " + strReceiver);
}

bool Shop::ShowBox(const std::string& strUser)
{
    auto req = MakeReq<_STORAGE_SEARCH_REQ>(strUser);
    req.cSearchType = 'A';
    _LIST_RES res{};
    QueryStorageInfo(&req, &res);
    const List list(res.hData);
    if (res.bSuccess != 1)
        return Refused(res, "storage box");
    std::printf("  %5s %6s %-16s %-24s %5s %-10s %-4s %s\n", "entry", "order", "item", "name", "left", "from",
                "read", "message");
    return ForEachRecord(list, &GetStorageItemData, [](const _STORAGE_INFO& entry) {
        std::printf("  %5d %6d %-16s %-24s %5d %-10s %-4s %s\n", entry.nStorageSeq, entry.nOrderSeq,
                    entry.szItemID, entry.szItemName, entry.nRemainCount, entry.szSenderUserID,
                    YesOrNo(entry.bRead), entry.szGiftMessage);
    });
}

bool Shop::MarkRead(const std::string& strUser, int nStorageSeq)
{
    auto req = MakeReq<_STORAGE_READ_REQ>(strUser);
    req.nStorageSeq = nStorageSeq;
    _RESULT_RES res{};
    ReadStorageInfo(&req, &res);
    if (res.bSuccess != 1)
        return Refused(res, "read");
    std::printf("%s has read entry %d\n", strUser.c_str(), nStorageSeq);
    return true;
}

bool Shop::FindEntry(const std::string& strUser, int nStorageSeq, _STORAGE_INFO& entry)
{
    auto req = MakeReq<_STORAGE_SEARCH_REQ>(strUser);
    req.cSearchType = 'A';
    _LIST_RES res{};
    QueryStorageInfo(&req, &res);
    const List list(res.hData);
    bool bFound = false;
    ForEachRecord(list, &GetStorageItemData, [&](const _STORAGE_INFO& info) {
        if (info.nStorageSeq == nStorageSeq) {
            entry = info;
            bFound = true;
        }
    });
    if (!bFound)
        std::printf("%s has no entry %d in the box\n", strUser.c_str(), nStorageSeq);
    return bFound;
}

bool Shop::Reserve(const std::string& strUser, int nStorageSeq, _STORAGE_INFO& entry)
{
    if (!FindEntry(strUser, nStorageSeq, entry))
        return false;
    const List list(GetHandleForUseStorageItemInfo(nullptr, 0));
    _USE_STORAGE_INFO use{entry.nStorageSeq, entry.nOrderSeq, {}};
    Put(use.szItemID, entry.szItemID);
    char szError[256];
    if (!SetUseStorageItemData(list.pHandle, use, szError, sizeof(szError))) {
        std::printf("%s\n", szError);
        return false;
    }
    auto req = MakeReq<_STORAGE_USE_REQ>(strUser);
    req.hUseStorage = list.pHandle;
    _RESULT_RES res{};
    StorageToInventory(&req, &res);
    if (res.bSuccess == 1)
        return true;
    // After a timeout the entry may be reserved. The game has nothing to do: the service ends a reservation
    // by itself if it is neither confirmed nor cancelled.
    return Refused(res, "reserve");
}

bool Shop::End(const std::string& strUser, int nStorageSeq, bool bConfirm)
{
    const List list(bConfirm ? GetHandleForConfirmUseStorageItemInfo(nullptr, 0)
                             : GetHandleForCancelUseStorageItemInfo(nullptr, 0));
    const auto set = bConfirm ? &SetConfirmUseStorageItemData : &SetCancelUseStorageItemData;
    char szError[256];
    if (!set(list.pHandle, nStorageSeq, szError, sizeof(szError))) {
        std::printf("%s\n", szError);
        return false;
    }
    auto req = MakeReq<_STORAGE_USE_REQ>(strUser);
    req.hUseStorage = list.pHandle;
    _RESULT_RES res{};
    (bConfirm ? &ConfirmStorageToInventory : &CancelStorageToInventory)(&req, &res);
    return res.bSuccess == 1 || Refused(res, bConfirm ? "confirm" : "give back");
}

bool Shop::Take(const std::string& strUser, int nStorageSeq)
{
    _STORAGE_INFO entry{};
    if (!Reserve(strUser, nStorageSeq, entry))
        return false;
    Item item{};
    Put(item.szItemID, entry.szItemID);
    item.nCount = entry.nRemainCount;
    item.nUseCount = entry.nUseCount;
    item.nPeriod = entry.nPeriod;
    Put(item.szOptionCode, entry.szOptionCode);
    Put(item.szOptionValue, entry.szOptionValue);
    // The entry's number, below 0 so that it is no order's, lets Deliver notice a repetition: if the
    // confirmation is lost and the player takes the entry again, the item is not given twice.
    const std::string strError = m_game.Deliver(strUser, "", -entry.nStorageSeq, {item});
    if (!strError.empty()) {
        std::printf("%s\n", strError.c_str());
        End(strUser, nStorageSeq, false);
        return false;
    }
    if (!End(strUser, nStorageSeq, true))
        return false;
    std::printf("%s has taken entry %d: %d %s\n", strUser.c_str(), nStorageSeq, item.nCount, item.szItemID);
    return true;
}

bool Shop::TakeAndGiveBack(const std::string& strUser, int nStorageSeq)
{
    _STORAGE_INFO entry{};
    if (!Reserve(strUser, nStorageSeq, entry) || !End(strUser, nStorageSeq, false))
        return false;
    std::printf("%s has thought again: entry %d stays in the box\n", strUser.c_str(), nStorageSeq);
    return true;
}
