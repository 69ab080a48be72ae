// VelkarConnector.hpp: the library for C++17, as a thin layer over VelkarConnector.h, whose conventions hold
// here too. Header only; link the same library.
//
//  - Connector starts the library and stops it with its end. A process has one at a time.
//  - Each request of the C header is a function of the same name here. It takes the request record and
//  returns a
//    Result, which the compiler does not let you ignore: true after a success, with Code, Text and the
//    record.
//  - Lists come as List objects, which free themselves and are read with a range-for.
//  - Callbacks are std::function objects with the records of the C header.
//
// Of the standard library's exceptions std::bad_alloc alone leaves this header. Functions of the C header
// that are missing here, such as GetBillingName, are used as they are.
//
//     Velkar::Connector connector;
//     if (const auto started = connector.Start(id, {}); !started)
//         fail(started.Text());
//     if (const auto checkin = Velkar::Checkin(req))
//         play(checkin->nRemainMinutes);
#ifndef VELKAR_CONNECTOR_HPP
#define VELKAR_CONNECTOR_HPP

#include <algorithm>
#include <cstddef>
#include <exception>
#include <functional>
#include <iterator>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "VelkarConnector.h"

namespace Velkar {

// ---- texts ----

// Puts a text into a field of a record. False if the text is longer than the field and has been cut.
template <std::size_t N>
bool Put(char (&szField)[N], std::string_view text)
{
    const std::size_t nLength = std::min(text.size(), N - 1);
    std::fill(std::copy_n(text.data(), nLength, szField), szField + N, '\0');
    return nLength == text.size();
}

// ---- results ----

// The outcome of a call that brings no record.
class [[nodiscard]] Status {
public:
    Status(bool bSuccess, std::string strText) : m_bSuccess(bSuccess), m_strText(std::move(strText)) {}
    explicit operator bool() const { return m_bSuccess; }
    const char* Text() const { return m_strText.c_str(); }

private:
    bool m_bSuccess;
    std::string m_strText;
};

namespace Detail {

template <class Record, class = void>
struct HasResult : std::false_type {
};
template <class Record>
struct HasResult<Record, std::void_t<decltype(std::declval<Record&>().nResult)>> : std::true_type {
};

// Calls a function that may leave a text behind in a buffer.
template <class Function>
Status Told(Function function)
{
    char szText[1025] = "";
    const bool bSuccess = function(szText, sizeof(szText));
    return {bSuccess, szText};
}

}  // namespace Detail

// The outcome of a request with its response record. The record's handles are null here: the lists are in the
// result.
template <class Record>
class [[nodiscard]] Result {
public:
    Result() = default;
    explicit operator bool() const { return Code() == 0; }
    // nResult of the record; of a record without it 0 for bSuccess 1 and -1 for everything else.
    int Code() const
    {
        if constexpr (Detail::HasResult<Record>::value)
            return m_record.nResult;
        else
            return m_record.bSuccess == 1 ? 0 : -1;
    }
    const char* Text() const { return m_record.szError; }
    const Record& operator*() const { return m_record; }
    const Record* operator->() const { return &m_record; }
    Record* Get() { return &m_record; }  // for the call that fills it

private:
    Record m_record{};
};

// ---- lists ----

// How rows of a list are read: one specialisation for each record that a Get function reads.
template <class Row>
struct RowReader;

#define VELKAR_ROW_READER(Row, Function)                                            \
    template <>                                                                     \
    struct RowReader<Row> {                                                         \
        static bool Read(const _DATA_HANDLE* pHandle, std::size_t nIndex, Row& row) \
        {                                                                           \
            return Function(pHandle, nIndex, &row, nullptr, 0);                     \
        }                                                                           \
    }
VELKAR_ROW_READER(_BILL_INFO, GetBillingData);
VELKAR_ROW_READER(_MENU_INFO, GetMenuData);
VELKAR_ROW_READER(_PROD_LIST_INFO, GetProductData);
VELKAR_ROW_READER(_CHILDPROD_INFO, GetChildProductData);
VELKAR_ROW_READER(_CONDITION_INFO, GetConditionData);
VELKAR_ROW_READER(_OPTION_INFO, GetOptionData);
VELKAR_ROW_READER(_DISCOUNT_INFO, GetDiscountData);
VELKAR_ROW_READER(_TAG_INFO, GetTagData);
VELKAR_ROW_READER(_COUPON_INFO, GetCouponData);
VELKAR_ROW_READER(_SPECIAL_PRODUCT_LIST_INFO, GetSpecialProductData);
VELKAR_ROW_READER(_SPECIAL_PRODUCT_INFO, GetSpecialProductDetailData);
VELKAR_ROW_READER(_STORAGE_INFO, GetStorageItemData);
VELKAR_ROW_READER(_INVENTORY_ITEM_INFO, GetSaveItemData);
#undef VELKAR_ROW_READER

// The rows behind a handle that somebody else owns, such as pHandle of _SAVE_INVENTORY_REQ inside the
// callback. A null handle and a list that UninitModule has emptied have no rows.
template <class Row>
class ListView {
public:
    // Holds a copy of its row. A reference to the row is good until the iterator moves on.
    class Iterator {
    public:
        using iterator_category = std::input_iterator_tag;
        using value_type = Row;
        using difference_type = std::ptrdiff_t;
        using pointer = const Row*;
        using reference = const Row&;

        Iterator() = default;
        explicit Iterator(const _DATA_HANDLE* pHandle) : m_pHandle(pHandle) { Read(); }
        reference operator*() const { return m_row; }
        pointer operator->() const { return &m_row; }
        Iterator& operator++()
        {
            ++m_nIndex;
            Read();
            return *this;
        }
        Iterator operator++(int)
        {
            Iterator old = *this;
            ++*this;
            return old;
        }
        friend bool operator==(const Iterator& left, const Iterator& right)
        {
            return left.m_pHandle == right.m_pHandle && left.m_nIndex == right.m_nIndex;
        }
        friend bool operator!=(const Iterator& left, const Iterator& right) { return !(left == right); }

    private:
        // Behind the last row the iterator becomes the end.
        void Read()
        {
            if (m_pHandle != nullptr && RowReader<Row>::Read(m_pHandle, m_nIndex, m_row))
                return;
            m_pHandle = nullptr;
            m_nIndex = 0;
        }

        const _DATA_HANDLE* m_pHandle = nullptr;
        std::size_t m_nIndex = 0;
        Row m_row{};
    };

    explicit ListView(const _DATA_HANDLE* pHandle) : m_pHandle(pHandle) {}
    Iterator begin() const { return Iterator(m_pHandle); }
    Iterator end() const { return {}; }
    std::size_t size() const { return m_pHandle == nullptr ? 0 : GetDataSize(m_pHandle, nullptr, 0); }
    bool empty() const { return size() == 0; }
    // The row at that index from 0; none past the end.
    std::optional<Row> At(std::size_t nIndex) const
    {
        Row row{};
        return m_pHandle != nullptr && RowReader<Row>::Read(m_pHandle, nIndex, row) ? std::optional<Row>(row)
                                                                                    : std::nullopt;
    }

private:
    const _DATA_HANDLE* m_pHandle;
};

namespace Detail {

struct HandleDestroyer {
    void operator()(_DATA_HANDLE* pHandle) const { DestroyHandle(pHandle); }
};
using OwnedHandle = std::unique_ptr<_DATA_HANDLE, HandleDestroyer>;

}  // namespace Detail

// A list of an answer, freed with this object. One thread at a time. A list that has been moved away is
// empty.
template <class Row>
class List {
public:
    using Iterator = typename ListView<Row>::Iterator;

    List() = default;
    // Takes the handle out of a response record.
    explicit List(_DATA_HANDLE*& pHandle) : m_handle(std::exchange(pHandle, nullptr)) {}
    Iterator begin() const { return View().begin(); }
    Iterator end() const { return View().end(); }
    std::size_t size() const { return View().size(); }
    bool empty() const { return View().empty(); }
    std::optional<Row> At(std::size_t nIndex) const { return View().At(nIndex); }

private:
    ListView<Row> View() const { return ListView<Row>(m_handle.get()); }

    Detail::OwnedHandle m_handle;
};

// A list that a request takes. Its handle goes into the request record, and the list has to outlive the call.
//     Velkar::UseCoupons coupons;
//     req.hUseCoupon = coupons.Handle();
template <class Row, _DATA_HANDLE* (*pfnMake)(char*, std::size_t),
          bool (*pfnAdd)(const _DATA_HANDLE*, const Row&, char*, std::size_t)>
class RequestList {
public:
    RequestList() : m_handle(pfnMake(nullptr, 0)) {}
    // Null if memory has run out, and after a move: do not make the request then.
    _DATA_HANDLE* Handle() const { return m_handle.get(); }
    Status Add(const Row& row)
    {
        return Detail::Told(
            [&](char* pszText, std::size_t nSize) { return pfnAdd(m_handle.get(), row, pszText, nSize); });
    }

private:
    Detail::OwnedHandle m_handle;
};

namespace Detail {

// The functions of a library are no constants on every system, functions of this header are.
#define VELKAR_REQUEST_LIST(Name, Row, MakeFunction, AddFunction)                                  \
    inline _DATA_HANDLE* Make##Name(char* pszText, std::size_t nSize)                              \
    {                                                                                              \
        return MakeFunction(pszText, nSize);                                                       \
    }                                                                                              \
    inline bool Add##Name(const _DATA_HANDLE* p, const Row& row, char* pszText, std::size_t nSize) \
    {                                                                                              \
        return AddFunction(p, row, pszText, nSize);                                                \
    }
VELKAR_REQUEST_LIST(Coupon, _USE_COUPON_INFO, GetHandleForUseCouponInfo, SetUseCouponData)
VELKAR_REQUEST_LIST(Option, _USE_OPTION_INFO, GetHandleForUseOptionInfo, SetUseOptionData)
VELKAR_REQUEST_LIST(Use, _USE_STORAGE_INFO, GetHandleForUseStorageItemInfo, SetUseStorageItemData)
VELKAR_REQUEST_LIST(Confirm, int, GetHandleForConfirmUseStorageItemInfo, SetConfirmUseStorageItemData)
VELKAR_REQUEST_LIST(Cancel, int, GetHandleForCancelUseStorageItemInfo, SetCancelUseStorageItemData)
#undef VELKAR_REQUEST_LIST

}  // namespace Detail

using UseCoupons = RequestList<_USE_COUPON_INFO, &Detail::MakeCoupon, &Detail::AddCoupon>;
using UseOptions = RequestList<_USE_OPTION_INFO, &Detail::MakeOption, &Detail::AddOption>;
using UseStorageItems = RequestList<_USE_STORAGE_INFO, &Detail::MakeUse, &Detail::AddUse>;
using ConfirmStorageItems = RequestList<int, &Detail::MakeConfirm, &Detail::AddConfirm>;  // of nStorageSeq
using CancelStorageItems = RequestList<int, &Detail::MakeCancel, &Detail::AddCancel>;     // of nStorageSeq

// Adds a row to the list that the callbacks onQueryInventory and onQueryCharacter have to fill.
inline Status Add(const _GAME_DATA_RES& res, const _INVENTORY_ITEM_INFO& row)
{
    return Detail::Told([&](char* pszText, std::size_t nSize) {
        return SetInventoryItemData(res.pHandle, row, pszText, nSize);
    });
}
inline Status Add(const _GAME_DATA_RES& res, const _CHARACTER_INFO& row)
{
    return Detail::Told(
        [&](char* pszText, std::size_t nSize) { return SetCharacterData(res.pHandle, row, pszText, nSize); });
}

// ---- requests: each blocks as its function of the C header does ----

// The outcome of a request that brings one list.
template <class Row, class Record = _LIST_RES>
class [[nodiscard]] ListResult : public Result<Record> {
public:
    List<Row> rows;
};

class [[nodiscard]] CheckinExResult : public Result<_CHECKIN_EX_RES> {
public:
    List<_BILL_INFO> billings;
};

class [[nodiscard]] ProductDetailResult : public Result<_PRODUCT_DETAIL_RES> {
public:
    List<_CHILDPROD_INFO> children;
    List<_CONDITION_INFO> conditions;
    List<_OPTION_INFO> options;
};

namespace Detail {

template <class Outcome, class Request, class Record>
Outcome Ask(void (*pfnRequest)(const Request*, Record*), const Request& req)
{
    Outcome outcome;
    pfnRequest(&req, outcome.Get());
    return outcome;
}

template <class Row, class Request, class Record>
ListResult<Row, Record> AskList(void (*pfnRequest)(const Request*, Record*), const Request& req)
{
    auto outcome = Ask<ListResult<Row, Record>>(pfnRequest, req);
    outcome.rows = List<Row>(outcome.Get()->hData);
    return outcome;
}

inline CheckinExResult AskBillings(void (*pfnRequest)(const _USER_REQ*, _CHECKIN_EX_RES*),
                                   const _USER_REQ& req)
{
    auto outcome = Ask<CheckinExResult>(pfnRequest, req);
    outcome.billings = List<_BILL_INFO>(outcome.Get()->hBillingData);
    return outcome;
}

}  // namespace Detail

// clang-format off: the requests read as a table.
#define VELKAR_REQUEST(Function, Request, Record)             \
    inline Result<Record> Function(const Request& req)        \
    {                                                         \
        return Detail::Ask<Result<Record>>(&::Function, req); \
    }
#define VELKAR_LIST_REQUEST(Function, Request, Record, Row)     \
    inline ListResult<Row, Record> Function(const Request& req) \
    {                                                           \
        return Detail::AskList<Row>(&::Function, req);          \
    }
VELKAR_REQUEST(Checkin, _USER_REQ, _CHECKIN_RES)
VELKAR_REQUEST(QueryBillingInfo, _USER_REQ, _CHECKIN_RES)
VELKAR_REQUEST(Checkout, _USER_REQ, _RESULT_RES)
VELKAR_REQUEST(UserMoveTo, _USER_REQ, _RESULT_RES)
VELKAR_REQUEST(QueryRuvCoinInfo, _RUVCOIN_REQ, _RUVCOIN_RES)
VELKAR_REQUEST(ReadStorageInfo, _STORAGE_READ_REQ, _RESULT_RES)
VELKAR_REQUEST(StorageToInventory, _STORAGE_USE_REQ, _RESULT_RES)
VELKAR_REQUEST(ConfirmStorageToInventory, _STORAGE_USE_REQ, _RESULT_RES)
VELKAR_REQUEST(CancelStorageToInventory, _STORAGE_USE_REQ, _RESULT_RES)
VELKAR_REQUEST(PurchaseProduct, _PURCHASE_REQ, _PURCHASE_RES)
VELKAR_LIST_REQUEST(QueryMenuList, _GAME_REQ, _LIST_RES, _MENU_INFO)
VELKAR_LIST_REQUEST(QueryProductList, _PRODUCT_LIST_REQ, _PRODUCT_LIST_RES, _PROD_LIST_INFO)
VELKAR_LIST_REQUEST(QueryDiscountList, _USER_PRODUCT_REQ, _LIST_RES, _DISCOUNT_INFO)
VELKAR_LIST_REQUEST(QueryTagList, _GAME_REQ, _LIST_RES, _TAG_INFO)
VELKAR_LIST_REQUEST(QueryCouponList, _USER_PRODUCT_REQ, _LIST_RES, _COUPON_INFO)
VELKAR_LIST_REQUEST(QuerySpecialProductList, _GAME_REQ, _LIST_RES, _SPECIAL_PRODUCT_LIST_INFO)
VELKAR_LIST_REQUEST(QuerySpecialProductInfo, _SPECIAL_PRODUCT_REQ, _LIST_RES, _SPECIAL_PRODUCT_INFO)
VELKAR_LIST_REQUEST(QueryStorageInfo, _STORAGE_SEARCH_REQ, _LIST_RES, _STORAGE_INFO)
#undef VELKAR_REQUEST
#undef VELKAR_LIST_REQUEST
// clang-format on

inline CheckinExResult CheckinEx(const _USER_REQ& req) { return Detail::AskBillings(&::CheckinEx, req); }
inline CheckinExResult QueryBillingInfoEx(const _USER_REQ& req)
{
    return Detail::AskBillings(&::QueryBillingInfoEx, req);
}
inline Result<_RESULT_RES> UserMoveFrom(const _USER_REQ& req, const _USER_MOVE_INFO& info)
{
    Result<_RESULT_RES> outcome;
    ::UserMoveFrom(&req, &info, outcome.Get());
    return outcome;
}
// None if the user is not known here.
[[nodiscard]] inline std::optional<_USER_MOVE_INFO> GetBillingInfoForUserMove(const std::string& strUserKey)
{
    std::optional<_USER_MOVE_INFO> info(std::in_place);
    if (!::GetBillingInfoForUserMove(strUserKey.c_str(), &*info))
        info.reset();
    return info;
}
inline Result<_RESULT_RES> Charge()
{
    Result<_RESULT_RES> outcome;
    ::Charge(outcome.Get());
    return outcome;
}
inline ProductDetailResult QueryProductDetailInfo(const _PRODUCT_DETAIL_REQ& req)
{
    auto outcome = Detail::Ask<ProductDetailResult>(&::QueryProductDetailInfo, req);
    outcome.children = List<_CHILDPROD_INFO>(outcome.Get()->hChildProduct);
    outcome.conditions = List<_CONDITION_INFO>(outcome.Get()->hCondition);
    outcome.options = List<_OPTION_INFO>(outcome.Get()->hOption);
    return outcome;
}

// ---- callbacks ----

// The game's side; conventions 8 and 9 of the C header hold. An empty function is a null entry of
// _CONNECTOR_CALLBACKS. An exception ends at this layer: a callback that has to answer then answers with a
// failure and the exception's text, and onException hears of it. onException runs on the callback's thread.
struct Callbacks {
    std::function<void(const _BILLING_NOTI_INFO&)> onBillingEvent;
    std::function<void(const _STORAGE_NOTI_INFO&)> onNotifyStorageInfo;
    std::function<void(const _GAME_USER_REQ&, _GAME_MONEY_RES&)> onQueryGameMoney;
    std::function<void(const _SPEND_GAME_MONEY_REQ&, _GAME_MONEY_RES&)> onSpendGameMoney;
    std::function<void(const _GAME_USER_REQ&, _GAME_DATA_RES&)> onQueryInventory;
    std::function<void(const _SAVE_INVENTORY_REQ&, _RESULT_RES&)> onSaveInventory;
    std::function<void(const _QUERY_CHARACTER_REQ&, _GAME_DATA_RES&)> onQueryCharacter;
    std::function<void(const char* pszText)> onException;
};

namespace Detail {

// The C callbacks carry no pointer of the game, and a process has one connection: so this is the one place
// where they find their functions. A callback holds them while it runs, so the end of a Connector takes
// nothing from under it.
class CallbackSlot {
public:
    // Never destroyed: a process may exit while the library's threads run.
    static CallbackSlot& Get()
    {
        static CallbackSlot* const s_pSlot = new CallbackSlot;
        return *s_pSlot;
    }
    // False if another Connector has the slot.
    bool Take(std::shared_ptr<const Callbacks> callbacks)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_callbacks)
            return false;
        m_callbacks = std::move(callbacks);
        return true;
    }
    std::shared_ptr<const Callbacks> Hold() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_callbacks;
    }
    void Empty()
    {
        std::shared_ptr<const Callbacks> old;  // destroyed without the lock: its functions may own anything
        const std::lock_guard<std::mutex> lock(m_mutex);
        old.swap(m_callbacks);
    }

private:
    mutable std::mutex m_mutex;
    std::shared_ptr<const Callbacks> m_callbacks;
};

inline void PutFailure(_GAME_MONEY_RES& res, const char* pszText) { Put(res.szMessage, pszText); }
inline void PutFailure(_GAME_DATA_RES& res, const char* pszText) { Put(res.szMessage, pszText); }
inline void PutFailure(_RESULT_RES& res, const char* pszText) { Put(res.szError, pszText); }

inline void TellException(const Callbacks& callbacks, const char* pszText) noexcept
{
    try {
        if (callbacks.onException)
            callbacks.onException(pszText);
    } catch (...) {  // there is nobody left to tell
    }
}

// Runs one function of the slot. pszText tells of an exception; null if there was none.
template <class Function, class Report, class... Args>
void RunGuarded(Function Callbacks::*pFunction, Report report, Args&... args) noexcept
{
    const auto callbacks = CallbackSlot::Get().Hold();
    if (!callbacks || !((*callbacks).*pFunction))
        return;
    try {
        ((*callbacks).*pFunction)(args...);
    } catch (const std::exception& exception) {
        report(exception.what());
        TellException(*callbacks, exception.what());
    } catch (...) {
        report("unknown exception");
        TellException(*callbacks, "unknown exception");
    }
}

// What the library calls for a notice and for a request of the service.
template <class Record, std::function<void(const Record&)> Callbacks::*pFunction>
void OnNotice(const Record* pRecord)
{
    RunGuarded(
        pFunction, [](const char*) {}, *pRecord);
}
template <class Record, class Answer, std::function<void(const Record&, Answer&)> Callbacks::*pFunction>
void OnRequest(const Record* pRecord, Answer* pAnswer)
{
    const auto fail = [pAnswer](const char* pszText) {
        pAnswer->bSuccess = 0;
        PutFailure(*pAnswer, pszText);
    };
    RunGuarded(pFunction, fail, *pRecord, *pAnswer);
}

inline _CONNECTOR_CALLBACKS MakeTable(const Callbacks& callbacks)
{
    _CONNECTOR_CALLBACKS table{};
    if (callbacks.onBillingEvent)
        table.pfnBillingEvent = &OnNotice<_BILLING_NOTI_INFO, &Callbacks::onBillingEvent>;
    if (callbacks.onNotifyStorageInfo)
        table.pfnNotifyStorageInfo = &OnNotice<_STORAGE_NOTI_INFO, &Callbacks::onNotifyStorageInfo>;
    if (callbacks.onQueryGameMoney)
        table.pfnQueryGameMoney = &OnRequest<_GAME_USER_REQ, _GAME_MONEY_RES, &Callbacks::onQueryGameMoney>;
    if (callbacks.onSpendGameMoney)
        table.pfnSpendGameMoney =
            &OnRequest<_SPEND_GAME_MONEY_REQ, _GAME_MONEY_RES, &Callbacks::onSpendGameMoney>;
    if (callbacks.onQueryInventory)
        table.pfnQueryInventory = &OnRequest<_GAME_USER_REQ, _GAME_DATA_RES, &Callbacks::onQueryInventory>;
    if (callbacks.onSaveInventory)
        table.pfnSaveInventory = &OnRequest<_SAVE_INVENTORY_REQ, _RESULT_RES, &Callbacks::onSaveInventory>;
    if (callbacks.onQueryCharacter)
        table.pfnQueryCharacter =
            &OnRequest<_QUERY_CHARACTER_REQ, _GAME_DATA_RES, &Callbacks::onQueryCharacter>;
    return table;
}

}  // namespace Detail

// ---- start and stop ----

// The running library. One thread at a time uses the object; the requests above are for any thread. Do not
// end it inside a callback: the library then keeps running, without the callbacks, until somebody calls
// UninitModule.
class Connector {
public:
    Connector() = default;
    ~Connector() { Stop(); }
    Connector(const Connector&) = delete;
    Connector& operator=(const Connector&) = delete;

    // InitModule. The text of a success is empty or "Failed to initialize a logger.". Besides the failures of
    // InitModule there is "Velkar Connector is already initialized.": somebody else has started the library,
    // and these callbacks are not in use.
    Status Start(const _CONNECTOR_ID& id, Callbacks callbacks)
    {
        const auto held = std::make_shared<const Callbacks>(std::move(callbacks));
        const _CONNECTOR_CALLBACKS table = Detail::MakeTable(*held);
        constexpr const char* kAlready = "Velkar Connector is already initialized.";
        if (m_bStarted || !Detail::CallbackSlot::Get().Take(held))
            return {false, kAlready};
        char szText[1025] = "";
        m_bStarted = InitModule(&id, &table, szText, sizeof(szText)) && szText != std::string_view(kAlready);
        if (!m_bStarted)
            Detail::CallbackSlot::Get().Empty();
        return {m_bStarted, szText};
    }
    // UninitModule. Waits for a callback that is running; no callback starts afterwards.
    void Stop()
    {
        if (!std::exchange(m_bStarted, false))
            return;
        UninitModule();
        Detail::CallbackSlot::Get().Empty();
    }

private:
    bool m_bStarted = false;
};

}  // namespace Velkar

#endif  // VELKAR_CONNECTOR_HPP
