// Answers of the storage box and of the purchase. They bring a state (0 is success), a text and no list; the
// search of the storage box, which brings a list, is in ShopAnswers.cpp.
#include "VelkarConnector.h"
#include "base/Logger.h"
#include "comm/ResWaiter.h"
#include "comm/in/Handlers.h"
#include "comm/out/FieldCopy.h"

namespace {

// Wakes the caller with the state and the text. If nobody waits any more, nothing is left to free.
template <class Response, class Message>
void CompleteState(const Message& msg)
{
    Response res{};
    CopySameNames(res, msg);  // order number and price of a purchase, also when the service has refused
    res.bSuccess = msg.nState == 0;
    CopyText(res.szError, msg.strMessage);
    ResWaiterMap().CompleteWaiter<Message>(msg.nReqID, res);
}

// The whole handler of the four answers that differ in the call's name alone.
template <class Message>
bool OnState(const Message& msg, const char* pszFormat)
{
    CompleteState<_RESULT_RES>(msg);
    Log::DebugFmt(pszFormat, msg.nReqID, msg.nState, msg.strMessage.c_str());
    return true;
}

}  // namespace

// The end of all log lines of this file, behind the call's name.
#define STATE "(Req ID: %d)' msg contents.\r\n\tState: %d\r\n\tMessage: %s"

bool OnReadStorageAns(const XS2C_ConfirmReadStorageAns& msg)
{
    return OnState(msg, "[Comm Handler] ReadStorage" STATE);
}
bool OnUseStorageAns(const XC2S_RequestUseStorageAns& msg)
{
    return OnState(msg, "[Comm Handler] UseStorage" STATE);
}
bool OnConfirmUseStorageAns(const XS2C_ConfirmUseStorageAns& msg)
{
    return OnState(msg, "[Comm Handler] ConfirmUseStorage" STATE);
}
bool OnCancelUseStorageAns(const XS2C_CancelUseStorageAns& msg)
{
    return OnState(msg, "[Comm Handler] CancelUseStorage" STATE);
}

bool OnPurchaseProductAns(const XS2C_PurchaseProductAns& msg)
{
    CompleteState<_PURCHASE_RES>(msg);
    Log::DebugFmt("[Comm Handler] PurchaseProduct" STATE "\r\n\tOrder seq: %d\r\n\tBuy price: %d", msg.nReqID,
                  msg.nState, msg.strMessage.c_str(), msg.nOrderSeq, msg.nBuyPrice);
    return true;
}
