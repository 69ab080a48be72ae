// The lists of the storage and purchase requests. The game has filled them row by row behind a data handle;
// here, during the send, their records become rows of the message. The handle stays the game's.
#include <stdexcept>

#include "comm/out/Builders.h"
#include "datapool/DataPool.h"

namespace {

// The list of records T behind the handle; null for a null handle, a destroyed one, or a list of other
// records.
template <class T>
std::shared_ptr<CDataNode<T>> ListOf(const _DATA_HANDLE* pHandle)
{
    return pHandle == nullptr ? nullptr : DataPool().FindListOf<T>(pHandle->nHandleID);
}

// Appends one row for each record. Rows is a vector of storage numbers or a vector of wire records. A handle
// without a list fails the send.
template <class T, class Rows>
Built PutRows(Rows& rows, const _DATA_HANDLE* pHandle)
{
    const auto pNode = ListOf<T>(pHandle);
    if (pNode == nullptr)
        return Built::Failed;
    pNode->ForEach([&](const T& record) {
        if constexpr (std::is_same_v<typename Rows::value_type, Wirova::int32>)
            rows.push_back(record.nStorageSeq);
        else
            CopySameNames(rows.Add(), record);
    });
    return Built::Ready;
}

// The two texts of a row: a coupon's use id and code, or an option's code and value.
struct Pair {
    std::string_view first, second;
};
Pair PairOf(const _USE_COUPON_INFO& row) { return {CutText(row.szCouponUseID), CutText(row.szCouponCode)}; }
Pair PairOf(const _USE_OPTION_INFO& row) { return {CutText(row.szOptionCode), CutText(row.szOptionValue)}; }

// Calls put() for each row behind the handle, which may hold coupons or options: both have two texts of the
// same width, and a purchase accepts either kind in its coupon handle. False if the handle has neither.
template <class Put>
bool ForEachPair(const _DATA_HANDLE* pHandle, Put put)
{
    const auto putAll = [&](const auto& pNode) {
        if (pNode == nullptr)
            return false;
        pNode->ForEach([&](const auto& row) { put(PairOf(row)); });
        return true;
    };
    return putAll(ListOf<_USE_COUPON_INFO>(pHandle)) || putAll(ListOf<_USE_OPTION_INFO>(pHandle));
}

}  // namespace

Built PutLists(XC2S_RequestUseStorageReq& msg, const _STORAGE_USE_REQ& record)
{
    return PutRows<_USE_STORAGE_INFO>(msg.vecStorageUse, record.hUseStorage);
}
Built PutLists(XC2S_ConfirmUseStorageReq& msg, const _STORAGE_USE_REQ& record)
{
    return PutRows<_CONFIRM_USE_STORAGE_INFO>(msg.vecStorageSeq, record.hUseStorage);
}
Built PutLists(XC2S_CancelUseStorageReq& msg, const _STORAGE_USE_REQ& record)
{
    return PutRows<_CONFIRM_USE_STORAGE_INFO>(msg.vecStorageSeq, record.hUseStorage);
}

Built PutLists(XC2S_PurchaseProductReq& msg, const _PURCHASE_REQ& record)
{
    if (record.hUseOption != nullptr && record.hUseCoupon == nullptr)
        throw std::invalid_argument("an option handle without a coupon handle");
    if (record.hUseCoupon == nullptr)
        return Built::Ready;
    const bool bPut = ForEachPair(record.hUseCoupon, [&](const Pair& pair) {
        auto& coupon = msg.vecUseCoupon.Add();
        coupon.strCouponUseID = pair.first;
        coupon.strCouponCode = pair.second;
        // The option handle only says whether there is an option list. The rows of that list are the rows of
        // the coupon handle; the list behind the option handle itself is not read.
        if (record.hUseOption != nullptr) {
            auto& option = msg.vecUseOption.Add();
            option.strOptionCode = pair.first;
            option.strOptionValue = pair.second;
        }
    });
    return bPut ? Built::Ready : Built::Failed;
}
