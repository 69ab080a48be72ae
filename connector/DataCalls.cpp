// The data calls: how the game reads a result list, makes a handle for a request and adds records to it.
// There are three families (Get...Data, GetHandleFor..., Set...Data). Each family's work is a template; each
// export is one line with its record, its kind of list and its texts. None of these calls asks whether the
// library is initialised, and none blocks: they only use the data pool.
#include <initializer_list>
#include <string_view>

#include "VelkarConnector.h"
#include "connector/CallerText.h"
#include "connector/ExceptionGuard.h"
#include "datapool/DataPool.h"

namespace {

constexpr const char* kException = "There is an exception because of some reasons.";

// Copies one record out of the list. The order of the checks decides which text the game gets: null
// arguments, then the kind of the handle, then the list, then the index. pRecord is only written on success.
template <class T>
bool GetRecord(const _DATA_HANDLE* pHandle, std::size_t nIndex, T* pRecord, const CallerText& error,
               std::initializer_list<std::uint32_t> tags, const char* pszNull,
               const char* pszWrongType) noexcept
{
    if (pHandle == nullptr || pRecord == nullptr)
        return error.Refuse(pszNull);
    bool bRefersToT = false;
    for (const std::uint32_t nTag : tags)
        bRefersToT = bRefersToT || pHandle->nType == nTag;
    if (!bRefersToT)
        return error.Refuse(pszWrongType);
    bool bDone = false;
    Guarded(
        [&] {
            const auto pNode = DataPool().FindListOf<T>(pHandle->nHandleID);
            if (pNode == nullptr)
                return error.Put("Failed to find a data node for getting data.");
            bDone = pNode->Get(*pRecord, nIndex);
            if (!bDone)
                error.Put("The index number is not valid.");
        },
        [&] { error.Put(kException); });
    return bDone;
}

// Makes a handle with an empty list of records T. Null when memory has run out, or when the list could not be
// entered into the pool. The handle belongs to the game, which ends it with DestroyHandle.
template <class T>
_DATA_HANDLE* MakeHandle(std::uint32_t nTag, const CallerText& error) noexcept
{
    _DATA_HANDLE* pMade = nullptr;
    Guarded(
        [&] {
            CDataAutoDestroyer autoDestroyer;
            if (autoDestroyer.Make<T>(nTag) == nullptr)
                return;
            if (!autoDestroyer.InsertNode())
                return error.Put("Failed to insert a data node to the velkar's data pool.");
            autoDestroyer.Disarm();
            pMade = autoDestroyer.GetHandle();
        },
        [&] { error.Put(kException); });
    return pMade;
}

// Adds a copy of the record to the list behind the handle. nTag is the only kind of list that the export
// accepts.
template <class T>
bool SetRecord(const _DATA_HANDLE* pHandle, const T* pRecord, const CallerText& error, std::uint32_t nTag,
               const char* pszWrongType) noexcept
{
    if (pHandle == nullptr)
        return error.Refuse("Data handle is NULL.");
    if (pHandle->nType != nTag)
        return error.Refuse(pszWrongType);
    if (pRecord == nullptr)
        return error.Refuse("Data record is NULL.");
    bool bDone = false;
    Guarded(
        [&] {
            const auto pNode = DataPool().FindListOf<T>(pHandle->nHandleID);
            if (pNode == nullptr)
                return error.Put("Failed to find a data node for setting data.");
            pNode->Add(*pRecord);
            bDone = true;
        },
        [&] { error.Put(kException); });
    return bDone;
}

}  // namespace

// An empty list, a destroyed one and a null handle all give 0, with a text each.
std::size_t GetDataSize(const _DATA_HANDLE* handle, char* errorText, std::size_t errorSize)
{
    const CallerText error{errorText, errorSize};
    if (handle == nullptr) {
        error.Put("Data handle is NULL.");
        return 0;
    }
    std::size_t nSize = 0;
    Guarded(
        [&] {
            nSize = DataPool().GetDataSizeOf(handle->nHandleID);
            if (nSize == 0)
                error.Put("There is no data.");
        },
        [&] { error.Put(kException); });
    return nSize;
}

void DestroyHandle(_DATA_HANDLE* handle) { FreeHandle(handle); }

// ---- reading: export, record, names of record and list in the error texts, accepted kinds of list ----
#define GET_DATA(function, record, recordName, listName, ...)                                      \
    bool function(const _DATA_HANDLE* handle, std::size_t index, record* pRecord, char* errorText, \
                  std::size_t errorSize)                                                           \
    {                                                                                              \
        return GetRecord(handle, index, pRecord, {errorText, errorSize}, {__VA_ARGS__},            \
                         "Data handle or " recordName " arg is NULL.",                             \
                         "Data handle type doesn't refer to " listName ".");                       \
    }
GET_DATA(GetBillingData, _BILL_INFO, "BILL_INFO", "billing info", DataTag::kCheckinBilling,
         DataTag::kQueryBilling)
GET_DATA(GetMenuData, _MENU_INFO, "MENU_INFO", "menu info", DataTag::kMenu)
GET_DATA(GetProductData, _PROD_LIST_INFO, "PROD_LIST_INFO", "product list info", DataTag::kProductList)
GET_DATA(GetChildProductData, _CHILDPROD_INFO, "CHILDPROD_INFO", "child product info", DataTag::kChildProduct)
GET_DATA(GetConditionData, _CONDITION_INFO, "CONDITION_INFO", "condition info", DataTag::kCondition)
GET_DATA(GetOptionData, _OPTION_INFO, "OPTION_INFO", "child product info", DataTag::kOption)
GET_DATA(GetDiscountData, _DISCOUNT_INFO, "DISCOUNT_INFO", "discount info", DataTag::kDiscount)
GET_DATA(GetTagData, _TAG_INFO, "TAG_INFO", "tag info", DataTag::kTag)
GET_DATA(GetCouponData, _COUPON_INFO, "COUPON_INFO", "coupon list info", DataTag::kCoupon)
GET_DATA(GetSpecialProductData, _SPECIAL_PRODUCT_LIST_INFO, "SPECIAL_PRODUCT_LIST_INFO",
         "special product list info", DataTag::kSpecialProductList)
GET_DATA(GetSpecialProductDetailData, _SPECIAL_PRODUCT_INFO, "SPECIAL_PRODUCT_INFO", "special product info",
         DataTag::kSpecialProduct)
GET_DATA(GetStorageItemData, _STORAGE_INFO, "STORAGE_INFO", "storage item info", DataTag::kStorage)
GET_DATA(GetSaveItemData, _INVENTORY_ITEM_INFO, "SAVE_ITEM_INFO", "item info for saving to inventory",
         DataTag::kSaveInventory)
#undef GET_DATA

// ---- making: export, record, kind of list ----
#define MAKE_HANDLE(function, record, tag)                         \
    _DATA_HANDLE* function(char* errorText, std::size_t errorSize) \
    {                                                              \
        return MakeHandle<record>(tag, {errorText, errorSize});    \
    }
MAKE_HANDLE(GetHandleForUseCouponInfo, _USE_COUPON_INFO, DataTag::kUseCoupon)
MAKE_HANDLE(GetHandleForUseOptionInfo, _USE_OPTION_INFO, DataTag::kUseOption)
MAKE_HANDLE(GetHandleForUseStorageItemInfo, _USE_STORAGE_INFO, DataTag::kUseStorage)
MAKE_HANDLE(GetHandleForConfirmUseStorageItemInfo, _CONFIRM_USE_STORAGE_INFO, DataTag::kConfirmUseStorage)
MAKE_HANDLE(GetHandleForCancelUseStorageItemInfo, _CONFIRM_USE_STORAGE_INFO, DataTag::kCancelUseStorage)
#undef MAKE_HANDLE

// ---- adding: export, its parameter, pointer to the record, kind of list, list's name in the error text ----
#define SET_DATA(function, parameter, pRecord, tag, listName)                                    \
    bool function(const _DATA_HANDLE* handle, parameter, char* errorText, std::size_t errorSize) \
    {                                                                                            \
        return SetRecord(handle, pRecord, {errorText, errorSize}, tag,                           \
                         "Data handle type doesn't refer to " listName ".");                     \
    }
SET_DATA(SetInventoryItemData, const _INVENTORY_ITEM_INFO* p, p, DataTag::kInventory, "inventory item info")
SET_DATA(SetCharacterData, const _CHARACTER_INFO* p, p, DataTag::kCharacter, "character info")
SET_DATA(SetUseCouponData, const _USE_COUPON_INFO* p, p, DataTag::kUseCoupon, "use coupon info")
SET_DATA(SetUseOptionData, const _USE_OPTION_INFO* p, p, DataTag::kUseOption, "use option info")
SET_DATA(SetUseStorageItemData, const _USE_STORAGE_INFO* p, p, DataTag::kUseStorage, "storage use item info")
#undef SET_DATA

namespace {

// Confirming and cancelling take the storage number itself in place of a record. Both use the text about
// confirming when the handle is of another kind.
bool SetStorageSeq(const _DATA_HANDLE* pHandle, int nStorageSeq, const CallerText& error, std::uint32_t nTag)
{
    const _CONFIRM_USE_STORAGE_INFO record{nStorageSeq};
    return SetRecord(pHandle, &record, error, nTag,
                     "Data handle type doesn't refer to storage confirm use item info.");
}

}  // namespace

bool SetConfirmUseStorageItemData(const _DATA_HANDLE* handle, int nStorageSeq, char* errorText,
                                  std::size_t errorSize)
{
    return SetStorageSeq(handle, nStorageSeq, {errorText, errorSize}, DataTag::kConfirmUseStorage);
}

bool SetCancelUseStorageItemData(const _DATA_HANDLE* handle, int nStorageSeq, char* errorText,
                                 std::size_t errorSize)
{
    return SetStorageSeq(handle, nStorageSeq, {errorText, errorSize}, DataTag::kCancelUseStorage);
}
