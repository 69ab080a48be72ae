// Answers of the storage box and the purchase that bring a state and a text.
#include "VelkarConnector.h"
#include "base/Logger.h"
#include "comm/ResWaiter.h"
#include "comm/in/Handlers.h"
#include "comm/out/FieldCopy.h"

namespace {

template <class Response, class Message>
void CompleteState(const Message& msg)
{
    Response res{};
    CopySameNames(res, msg);  // the order's numbers, whatever the state
    res.bSuccess = msg.nState == 0;
    CopyText(res.szError, msg.strMessage);
    ResWaiterMap().CompleteWaiter<Message>(msg.nReqID, res);
}

template <class Message>
bool OnState(const Message& msg, const char* pszFormat)
{
    CompleteState<_RESULT_RES>(msg);
    Log::DebugFmt(pszFormat, msg.nReqID, msg.nState, msg.strMessage.c_str());
    return true;
}

}  // namespace

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
