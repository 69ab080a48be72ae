// The calls of the storage box and the purchase. Items get from the box into a character's inventory in two
// steps, which the game drives: StorageToInventory reserves them, ConfirmStorageToInventory or
// CancelStorageToInventory ends the reservation. The library remembers nothing between the steps.
#include "VelkarConnector.h"
#include "connector/RecordCall.h"
#include "datapool/DataPool.h"

// The head of the log line of a request, and the part that names a character.
#define REQUEST "[Velkar Connector] %s request.\r\n-Contents-\r\n\tReq ID: %d\r\n\tGame ID: %s"
#define CHARACTER "\r\n\tServer ID: %s\r\n\tUser ID: %s\r\n\tCharacter ID: %s"

namespace {

// The log line of a request that shows the character alone.
template <class Record>
void LogCharacter(const char* pszLabel, const RecordSend<Record>& send)
{
    const auto& r = send.record;
    Log::InfoFmt(REQUEST CHARACTER, pszLabel, send.nReqID, r.szGameID, r.szServerID, r.szUserID,
                 r.szCharacterID);
}

}  // namespace

template <>
void LogFields(const char* pszLabel, const RecordSend<_STORAGE_SEARCH_REQ>& send)
{
    LogCharacter(pszLabel, send);
}
template <>
void LogFields(const char* pszLabel, const RecordSend<_STORAGE_USE_REQ>& send)
{
    LogCharacter(pszLabel, send);
}
template <>
void LogFields(const char* pszLabel, const RecordSend<_STORAGE_READ_REQ>& send)
{
    const auto& r = send.record;
    Log::InfoFmt(REQUEST CHARACTER "\r\n\tStorage Req: %d\r\n\tDelete: %s", pszLabel, send.nReqID, r.szGameID,
                 r.szServerID, r.szUserID, r.szCharacterID, r.nStorageSeq, r.bDelete != 0 ? "Y" : "N");
}
// The line shows stars in place of the buyer's pass word, and nothing if there is no pass word.
template <>
void LogFields(const char* pszLabel, const RecordSend<_PURCHASE_REQ>& send)
{
    const auto& r = send.record;
    Log::InfoFmt(REQUEST
                 "\r\n\tProduct ID: %s\r\n\tUser ID: %s\r\n\tServer ID: %s\r\n\tCharacter ID: %s\r\n"
                 "\tRecv user ID: %s\r\n\tRecv server ID: %s\r\n\tRecv character ID: %s\r\n\tLevel: %d\r\n"
                 "\tCount: %d\r\n\tGift message: %s\r\n\tUser IP: %s\r\n\tPass WD: %s",
                 pszLabel, send.nReqID, r.szGameID, r.szProductID, r.szUserID, r.szServerID, r.szCharacterID,
                 r.szRecvUserID, r.szRecvServerID, r.szRecvCharacterID, r.nLevel, r.nCount, r.szGiftMessage,
                 r.szUserIP, r.szPassWD[0] == '\0' ? "" : "****");
}

namespace {

// The texts with which a step of the move refuses a handle: none given, one of another kind, one without a
// list.
struct UseWords {
    const char* pszNull;
    const char* pszWrongType;
    const char* pszNoData;
};

// A step of the move into the inventory: before anything is sent, its handle has to have a list of records T
// and the kind kTag. The list itself is read while the message is built.
template <class Base, class T, std::uint32_t kTag, const UseWords& kUse>
struct UseCall : Base {
    using Base::Base;
    const char* Refuse() const
    {
        const _DATA_HANDLE* const pHandle = this->pReq->hUseStorage;
        if (pHandle == nullptr)
            return kUse.pszNull;
        if (pHandle->nType != kTag)
            return kUse.pszWrongType;
        const auto pNode = DataPool().FindListOf<T>(pHandle->nHandleID);
        return pNode == nullptr ? kUse.pszNoData : nullptr;
    }
};

}  // namespace

// Defines the frame's view of an export: the export's name, the request record, the two messages, and the
// name of the call in the log line of the request, which is not always the export's.
#define STORAGE_CALL(function, record, request, answer, requestLabel)                          \
    static constexpr CallWords k##function##Words = {                                          \
        #function, requestLabel, "Failed to receive a '" #answer "' msg because of timeout."}; \
    using function##Call = RecordCall<record, request, answer, k##function##Words>;
STORAGE_CALL(QueryStorageInfo, _STORAGE_SEARCH_REQ, XC2S_SearchStorageReq, XS2C_SearchStorageAns,
             "SearchStorage")
STORAGE_CALL(ReadStorageInfo, _STORAGE_READ_REQ, XC2S_ConfirmReadStorageReq, XS2C_ConfirmReadStorageAns,
             "ReadStorage")
STORAGE_CALL(StorageToInventory, _STORAGE_USE_REQ, XC2S_RequestUseStorageReq, XC2S_RequestUseStorageAns,
             "StorageToInventory")
STORAGE_CALL(ConfirmStorageToInventory, _STORAGE_USE_REQ, XC2S_ConfirmUseStorageReq,
             XS2C_ConfirmUseStorageAns, "ConfirmStorageToInventory")
STORAGE_CALL(CancelStorageToInventory, _STORAGE_USE_REQ, XC2S_CancelUseStorageReq, XS2C_CancelUseStorageAns,
             "CanceLStorageToInventory")
STORAGE_CALL(PurchaseProduct, _PURCHASE_REQ, XC2S_PurchaseProductReq, XS2C_PurchaseProductAns,
             "PurchaseProduct")
#undef STORAGE_CALL

// The texts stand as the game gets them, spelling included.
static constexpr UseWords kUse = {"Handle for using storage items is NULL.",
                                  "Data handle type doesn't refer to using storage items info.",
                                  "There is no data about using storage items info."};
static constexpr UseWords kConfirm = {
    "Handle for confirmming to use storage items is NULL.",
    "Data handle type doesn't refer to confirmming to use storage items info.",
    "There is no data about confirmming to use storage items info."};
static constexpr UseWords kCancel = {"Handle for canceling to use storage items is NULL.",
                                     "Data handle type doesn't refer to canceling to use storage items info.",
                                     "There is no data about canceling to use storage items info."};

void QueryStorageInfo(const _STORAGE_SEARCH_REQ* pReq, _LIST_RES* pRes)
{
    RunRequest(QueryStorageInfoCall(pReq), pRes);
}
void ReadStorageInfo(const _STORAGE_READ_REQ* pReq, _RESULT_RES* pRes)
{
    RunRequest(ReadStorageInfoCall(pReq), pRes);
}
void PurchaseProduct(const _PURCHASE_REQ* pReq, _PURCHASE_RES* pRes)
{
    RunRequest(PurchaseProductCall(pReq), pRes);
}

void StorageToInventory(const _STORAGE_USE_REQ* pReq, _RESULT_RES* pRes)
{
    RunRequest(UseCall<StorageToInventoryCall, _USE_STORAGE_INFO, DataTag::kUseStorage, kUse>(pReq), pRes);
}
void ConfirmStorageToInventory(const _STORAGE_USE_REQ* pReq, _RESULT_RES* pRes)
{
    RunRequest(UseCall<ConfirmStorageToInventoryCall, _CONFIRM_USE_STORAGE_INFO, DataTag::kConfirmUseStorage,
                       kConfirm>(pReq),
               pRes);
}
void CancelStorageToInventory(const _STORAGE_USE_REQ* pReq, _RESULT_RES* pRes)
{
    RunRequest(
        UseCall<CancelStorageToInventoryCall, _CONFIRM_USE_STORAGE_INFO, DataTag::kCancelUseStorage, kCancel>(
            pReq),
        pRes);
}
