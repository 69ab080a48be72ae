// The calls of the shop: menu, products, discounts, tags, coupons, special products and the Ruv coin balance.
// Each call is one line of data for the request frame; the log lines of the requests stand above them, one a
// record.
#include "VelkarConnector.h"
#include "connector/RecordCall.h"

// The head of the log line of a request.
#define REQUEST "[Velkar Connector] %s request.\r\n-Contents-\r\n\tReq ID: %d\r\n\tGame ID: %s"

template <>
void LogFields(const char* pszLabel, const RecordSend<_GAME_REQ>& send)
{
    Log::InfoFmt(REQUEST, pszLabel, send.nReqID, send.record.szGameID);
}
// The record's search type and search value are no part of this line.
template <>
void LogFields(const char* pszLabel, const RecordSend<_PRODUCT_LIST_REQ>& send)
{
    const auto& r = send.record;
    Log::InfoFmt(REQUEST "\r\n\tBranch ID: %s\r\n\tRow: %d\r\n\tPage: %d", pszLabel, send.nReqID, r.szGameID,
                 r.szBranchID, r.nRow, r.nPage);
}
template <>
void LogFields(const char* pszLabel, const RecordSend<_PRODUCT_DETAIL_REQ>& send)
{
    Log::InfoFmt(REQUEST "\r\n\tProduct ID: %s", pszLabel, send.nReqID, send.record.szGameID,
                 send.record.szProductID);
}
template <>
void LogFields(const char* pszLabel, const RecordSend<_USER_PRODUCT_REQ>& send)
{
    const auto& r = send.record;
    Log::InfoFmt(REQUEST
                 "\r\n\tServer ID: %s\r\n\tUser ID: %s\r\n\tUser IP: %s\r\n\tCharacter ID: %s\r\n"
                 "\tProduct ID: %s\r\n\tLevel: %d",
                 pszLabel, send.nReqID, r.szGameID, r.szServerID, r.szUserID, r.szUserIP, r.szCharacterID,
                 r.szProductID, r.nLevel);
}
template <>
void LogFields(const char* pszLabel, const RecordSend<_SPECIAL_PRODUCT_REQ>& send)
{
    Log::InfoFmt(REQUEST "\r\n\tExpose Code: %s", pszLabel, send.nReqID, send.record.szGameID,
                 send.record.szExposeCode);
}
template <>
void LogFields(const char* pszLabel, const RecordSend<_RUVCOIN_REQ>& send)
{
    Log::InfoFmt("[Velkar Connector] %s request.\r\n-Contents-\r\n\tReq ID: %d\r\n\tUser ID: %s", pszLabel,
                 send.nReqID, send.record.szUserID);
}

// Defines an export of the shop: the export's name, which is also its name in the log, the request record,
// the response record, and the name that its two wire classes have between prefix and suffix.
#define SHOP_CALL(function, record, response, message)                                                     \
    static constexpr CallWords k##function##Words = {                                                      \
        #function, #function, "Failed to receive a 'XS2C_" #message "Ans' msg because of timeout."};       \
    void function(const record* pReq, response* pRes)                                                      \
    {                                                                                                      \
        RunRequest(RecordCall<record, XC2S_##message##Req, XS2C_##message##Ans, k##function##Words>(pReq), \
                   pRes);                                                                                  \
    }
SHOP_CALL(QueryMenuList, _GAME_REQ, _LIST_RES, QueryMenuList)
SHOP_CALL(QueryProductList, _PRODUCT_LIST_REQ, _PRODUCT_LIST_RES, QueryProductList)
SHOP_CALL(QueryProductDetailInfo, _PRODUCT_DETAIL_REQ, _PRODUCT_DETAIL_RES, QueryProductDetail)
SHOP_CALL(QueryDiscountList, _USER_PRODUCT_REQ, _LIST_RES, QueryDiscount)
SHOP_CALL(QueryTagList, _GAME_REQ, _LIST_RES, QueryTag)
SHOP_CALL(QueryCouponList, _USER_PRODUCT_REQ, _LIST_RES, QueryCoupont)
SHOP_CALL(QuerySpecialProductList, _GAME_REQ, _LIST_RES, QuerySpecialProductList)
SHOP_CALL(QuerySpecialProductInfo, _SPECIAL_PRODUCT_REQ, _LIST_RES, QuerySpecialProduct)
SHOP_CALL(QueryRuvCoinInfo, _RUVCOIN_REQ, _RUVCOIN_RES, QueryRuvcoin)
