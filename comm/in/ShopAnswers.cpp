// Answers of the shop, and the search of the storage box, which works in the same way. Most of them bring one
// list and are stated as one line of data; the product detail brings three lists, the Ruv coin balance none.
#include "comm/in/Handlers.h"
#include "comm/in/ListAnswer.h"

// Defines the handler of an answer with one list:
//   handler, message   the function and the wire class that it takes
//   list, tag, record  the message's list, its kind in the data pool, the public record of a row
//   response           the public record of the answer
//   call               the call's name in the log lines
//   empty              the text for the game when there are no rows; the message's name follows it
//   refusedTail        the end of the log line of a refusal
//   contentsTail       the end of the log line of the answer
#define LIST_ANSWER(handler, message, list, tag, record, response, call, empty, refusedTail, contentsTail) \
    bool handler(message& msg, MsgBody& body)                                                              \
    {                                                                                                      \
        return CompleteList<tag, record, decltype(msg.list)::value_type, response>(                        \
            msg, body,                                                                                     \
            {"[Comm Handler] '" call "(Req ID: %d)' request failed." refusedTail,                          \
             empty " in '" #message "' msg.",                                                              \
             "[Comm Handler] " call "(Req ID: %d)' msg contents." contentsTail});                          \
    }
LIST_ANSWER(OnQueryMenuListAns, XS2C_QueryMenuListAns, vecMenu, DataTag::kMenu, _MENU_INFO, _LIST_RES,
            "QueryMenuList", "There is no menu list info", "", "")
LIST_ANSWER(OnQueryProductListAns, XS2C_QueryProductListAns, vecProduct, DataTag::kProductList,
            _PROD_LIST_INFO, _PRODUCT_LIST_RES, "QueryProductList", "There is no product list info",
            " State: %d Count: %d Msg: %s", "")
LIST_ANSWER(OnQueryDiscountListAns, XS2C_QueryDiscountAns, vecDiscount, DataTag::kDiscount, _DISCOUNT_INFO,
            _LIST_RES, "QueryDiscountList", "There is no discount info", "", "\r\n\tPrice: %d")
LIST_ANSWER(OnQueryTagListAns, XS2C_QueryTagAns, vecTag, DataTag::kTag, _TAG_INFO, _LIST_RES, "QueryTagList",
            "There is no tag info", "", "")
LIST_ANSWER(OnSearchCouponAns, XS2C_QueryCoupontAns, vecCoupon, DataTag::kCoupon, _COUPON_INFO, _LIST_RES,
            "QueryCouponList", "There is no coupon list info", "", "")
LIST_ANSWER(OnSearchSpecialProductListAns, XS2C_QuerySpecialProductListAns, vecSpecialProductList,
            DataTag::kSpecialProductList, _SPECIAL_PRODUCT_LIST_INFO, _LIST_RES, "QuerySpecialProductList",
            "There is no special product list info", "", "")
LIST_ANSWER(OnSearchSpecialProductInfoAns, XS2C_QuerySpecialProductAns, vecSpecialProduct,
            DataTag::kSpecialProduct, _SPECIAL_PRODUCT_INFO, _LIST_RES, "QuerySpecialProductInfo",
            "There is no special product info", "", "")
LIST_ANSWER(OnSearchStorageAns, XS2C_SearchStorageAns, vecStorage, DataTag::kStorage, _STORAGE_INFO,
            _LIST_RES, "SearchStorage", "There is no item info", "", "")

namespace {

// The product's own fields; its three lists are logged row by row.
void LogDetail(const XS2C_QueryProductDetailAns& msg, const _PRODUCT_DETAIL_RES& res)
{
    Log::DebugFmt(
        "[Comm Handler] QueryProductDetailInfo(Req ID: %d)' msg contents.\r\n\tBranch ID: %s\r\n"
        "\tProduct ID: %s\r\n\tProduct Name: %s\r\n\tProduct detail desc: %s\r\n\tImage URL: %s\r\n"
        "\tMovie URL: %s\r\n\tDirection: %s\r\n\tCoupon use type: %c\r\n\tDiscount type: %c",
        msg.nReqID, res.szBranchID, res.szProductID, res.szProductName, res.szProductDetailDesc,
        res.szImageURL, res.szMovieURL, res.szDirection, res.cCouponUseType, res.cDiscountType);
}

// The handle of a list that has rows, which the destroyer then no longer frees. Null for an empty list, whose
// handle the destroyer frees at the end of the handler.
_DATA_HANDLE* HandOver(CDataAutoDestroyer& list, const CDataBaseNode& node)
{
    if (node.GetSize() == 0)
        return nullptr;
    list.Disarm();
    return list.GetHandle();
}

}  // namespace

// The handler with three lists. Only the child products are compulsory; conditions and options may be missing
// and then have a null handle. Unlike the other handlers, this one disarms its destroyers before it knows
// whether anybody waits. The lists of a late answer therefore stay in the data pool, and UninitModule frees
// them together with their handles.
bool OnQueryProductDetailInfoAns(XS2C_QueryProductDetailAns& msg, MsgBody& body)
{
    CDataAutoDestroyer children, conditions, options;
    auto* const pChildren = children.Make<_CHILDPROD_INFO>(DataTag::kChildProduct);
    auto* const pConditions = conditions.Make<_CONDITION_INFO>(DataTag::kCondition);
    auto* const pOptions = options.Make<_OPTION_INFO>(DataTag::kOption);
    if (pChildren == nullptr || pConditions == nullptr || pOptions == nullptr)
        return false;
    if (!body.Load(msg, RowsInto<XChildProduct, _CHILDPROD_INFO>{*pChildren},
                   RowsInto<XProductCondition, _CONDITION_INFO>{*pConditions},
                   RowsInto<XProductOption, _OPTION_INFO>{*pOptions}))
        return false;
    if (msg.nState != 0 || pChildren->GetSize() == 0) {
        Log::DebugFmt("[Comm Handler] 'QueryProductDetailInfo(Req ID: %d)' request failed.", msg.nReqID);
        return CompleteRefused<_PRODUCT_DETAIL_RES>(
            msg, "There is no product list info in 'queryProductDetailInfoAnsMsg' msg.");
    }
    _PRODUCT_DETAIL_RES res{};
    CopySameNames(res, msg);
    LogDetail(msg, res);
    FileRows(children, *pChildren);
    FileRows(conditions, *pConditions);
    FileRows(options, *pOptions);
    res.bSuccess = 1;
    res.hChildProduct = HandOver(children, *pChildren);
    res.hCondition = HandOver(conditions, *pConditions);
    res.hOption = HandOver(options, *pOptions);
    if (ResWaiterMap().CompleteWaiter<XS2C_QueryProductDetailAns>(msg.nReqID, res))
        return true;
    ForEachList(res, [](_DATA_HANDLE* pHandle) {
        if (pHandle != nullptr)
            DataPool().KeepOrphan(pHandle);
    });
    return false;
}

// A negative balance is a failure even if the service reports success. The balance is copied in any case.
bool OnQueryRuvCoinInfoAns(const XS2C_QueryRuvcoinAns& msg)
{
    _RUVCOIN_RES res{};
    res.bSuccess = msg.nState == 0 && msg.nRuvCoin >= 0;
    if (res.bSuccess == 0)
        CopyText(res.szError, msg.strMessage);
    res.nRuvCoin = msg.nRuvCoin;
    ResWaiterMap().CompleteWaiter<XS2C_QueryRuvcoinAns>(msg.nReqID, res);
    Log::DebugFmt("[Comm Handler] QueryRuvCoinInfo(Req ID: %d)' msg contents.\r\n\tRuv coin: %d", msg.nReqID,
                  msg.nRuvCoin);
    return true;
}
