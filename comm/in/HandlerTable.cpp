// The table of all messages that arrive: which class a message id stands for, and which function handles it.
// A new message of the service needs one row here, a class in wirova/messages and a declaration in
// Handlers.h.
#include "comm/in/HandlerTable.h"

#include <algorithm>
#include <cstddef>
#include <type_traits>

#include "base/Logger.h"
#include "comm/in/Handlers.h"
#include "comm/in/MsgBody.h"
#include "wirova/messages/BaseMessages.h"
#include "wirova/messages/GameServiceMessages.h"
#include "wirova/messages/SessionMessages.h"
#include "wirova/messages/ShopMessages.h"
#include "wirova/messages/StorageMessages.h"

namespace {

// A text as a template argument: the handler's name, which the line about an exception shows.
template <std::size_t N>
struct Name {
    char sz[N];
    constexpr Name(const char (&text)[N]) { std::copy_n(text, N, sz); }
};

// Writes the Req ID of a message behind the handler's own lines, once the message has been loaded.
template <class Message>
struct ReqIDLine {
    explicit ReqIDLine(const Message& m) : msg(m) {}
    ~ReqIDLine()
    {
        if constexpr (requires { msg.nReqID; })
            Log::DebugFmt("[Comm Handler] '%s' msg is handled. [Req ID: %d]", msg.GetMsgName(), msg.nReqID);
    }
    ReqIDLine(const ReqIDLine&) = delete;
    ReqIDLine& operator=(const ReqIDLine&) = delete;

    const Message& msg;
};

// The common part of all handlers: the line with the message's name, loading, and the guard that keeps an
// exception of one message from ending the receive loop. pfnBody is the handler's own work. A handler of a
// message with lists takes the body, too, and loads the message itself, because it has the lists.
template <class Message, Name kHandler, auto pfnBody>
bool Handle(Wirova::Stream* pStream, void*, void* pLink)
{
    try {
        Message msg;
        Log::InfoFmt("[Comm Handler] Type of the msg from a Velkar server is '%s'.", msg.GetMsgName());
        MsgBody body(pStream);
        const ReqIDLine<Message> line(msg);
        if constexpr (std::is_invocable_v<decltype(pfnBody), Message&, MsgBody&>)
            return pfnBody(msg, body);
        else if constexpr (std::is_invocable_v<decltype(pfnBody), Message&, MsgBody&, Link>)
            return pfnBody(msg, body, static_cast<Link>(pLink));
        else if constexpr (std::is_invocable_v<decltype(pfnBody), Message&, Link>)
            return body.Load(msg) && pfnBody(msg, static_cast<Link>(pLink));
        else
            return body.Load(msg) && pfnBody(msg);
    } catch (...) {
        Log::ErrorFmt("[Comm Handler] There is an exception in %s func.", kHandler.sz);
        return false;
    }
}

// The body of a handler that only takes its message off the stream. The answer to a charge is such a message:
// nothing in the connector waits for it.
template <class Message>
bool Drop(const Message&)
{
    return true;
}

// One row of the table: the message id and the function that the dispatch calls for it.
struct Row {
    Wirova::int32 nMsgID;
    Wirova::MsgHandler pfnHandler;
};
template <class Message, Name kHandler, auto pfnBody = &Drop<Message>>
constexpr Row kRow{Message::kMsgID, &Handle<Message, kHandler, pfnBody>};

// The handlers' names are those of the log lines; OnQeury... is spelled as the lines spell it.
constexpr Row kTable[] = {
    kRow<XS2C_VelkarConnectAns, "OnVelkarAddConnctorAns", &OnVelkarAddConnctorAns>,
    kRow<XS2C_BillingEventNotice, "OnBillingEventNotice", &OnBillingEventNotice>,
    kRow<XS2C_NotifyStorageInfo, "OnStorageInfoNotice", &OnStorageInfoNotice>,
    kRow<XS2C_CheckInAns, "OnCheckinRes", &OnCheckinRes>,
    kRow<XS2C_CheckInExAns, "OnCheckInExAns", &OnCheckInExAns>,
    kRow<XS2C_CheckOutAns, "OnCheckOutRes", &OnCheckOutRes>,
    kRow<XS2C_ChargeAns, "OnChargeRes">,
    kRow<XS2C_QueryBillingInfoAns, "OnQueryBillingInfoRes", &OnQueryBillingInfoRes>,
    kRow<XS2C_QueryBillingInfoExAns, "OnQueryBillingInfoExAns", &OnQueryBillingInfoExAns>,
    kRow<XS2C_UserMoveToAns, "OnUserMoveToRes", &OnUserMoveToRes>,
    kRow<XS2C_UserMoveFromAns, "OnUserMoveFromRes", &OnUserMoveFromRes>,
    kRow<XS2C_QueryMenuListAns, "OnQueryMenuListAns", &OnQueryMenuListAns>,
    kRow<XS2C_QueryProductListAns, "OnQueryProductListAns", &OnQueryProductListAns>,
    kRow<XS2C_QueryProductDetailAns, "OnQueryProductDetailInfoAns", &OnQueryProductDetailInfoAns>,
    kRow<XS2C_QueryDiscountAns, "OnQueryDiscountListAns", &OnQueryDiscountListAns>,
    kRow<XS2C_QueryCoupontAns, "OnSearchCouponAns", &OnSearchCouponAns>,
    kRow<XS2C_QueryTagAns, "OnQueryTagListAns", &OnQueryTagListAns>,
    kRow<XS2C_QuerySpecialProductListAns, "OnSearchSpecialProductListAns", &OnSearchSpecialProductListAns>,
    kRow<XS2C_QuerySpecialProductAns, "OnSearchSpecialProductInfoAns", &OnSearchSpecialProductInfoAns>,
    kRow<XS2C_SearchStorageAns, "OnSearchStorageAns", &OnSearchStorageAns>,
    kRow<XS2C_ConfirmReadStorageAns, "OnReadStorageAns", &OnReadStorageAns>,
    kRow<XC2S_RequestUseStorageAns, "OnUseStorageAns", &OnUseStorageAns>,
    kRow<XS2C_ConfirmUseStorageAns, "OnConfirmUseStorageAns", &OnConfirmUseStorageAns>,
    kRow<XS2C_CancelUseStorageAns, "OnCancelUseStorageAns", &OnCancelUseStorageAns>,
    kRow<XS2C_PurchaseProductAns, "OnPurchaseProductAns", &OnPurchaseProductAns>,
    kRow<XS2C_QueryRuvcoinAns, "OnQueryRuvCoinInfoAns", &OnQueryRuvCoinInfoAns>,
    kRow<XS2C_QueryGameMoneyReq, "OnQueryGameMoneyInfoReq", &OnQueryGameMoneyInfoReq>,
    kRow<XS2C_SpendGameMoneyReq, "OnReduceGameMoneyReq", &OnReduceGameMoneyReq>,
    kRow<XS2C_QueryInventoryReq, "OnQeuryInventoryInfoReq", &OnQeuryInventoryInfoReq>,
    kRow<XS2C_SaveInventoryReq, "OnSaveInventoryReq", &OnSaveInventoryReq>,
    kRow<XS2C_QueryCharacterReq, "OnQeuryCharacterInfoReq", &OnQeuryCharacterInfoReq>,
};
static_assert(std::size(kTable) == 31);

}  // namespace

void RegisterHandlers(Wirova::CMsgHandlerTable& table)
{
    for (const Row& row : kTable)
        table.RegisterHandler(row.nMsgID, row.pfnHandler, nullptr);
}
