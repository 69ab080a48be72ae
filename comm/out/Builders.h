// How each outgoing message is filled from what its sender takes: one overload of Build for each
// message. A builder runs with the active link list locked.
#pragma once

#include "base/TextField.h"
#include "comm/out/FieldCopy.h"
#include "comm/out/SendRecords.h"
#include "session/UserKey.h"
#include "wirova/messages/BaseMessages.h"
#include "wirova/messages/GameServiceMessages.h"
#include "wirova/messages/SessionMessages.h"
#include "wirova/messages/ShopMessages.h"
#include "wirova/messages/StorageMessages.h"

struct _CONNECTOR_ID;

// The lists of a request; most have none.
template <class M, class Record>
Built PutLists(M&, const Record&)
{
    return Built::Ready;
}
Built PutLists(XC2S_RequestUseStorageReq& msg, const _STORAGE_USE_REQ& record);
Built PutLists(XC2S_ConfirmUseStorageReq& msg, const _STORAGE_USE_REQ& record);
Built PutLists(XC2S_CancelUseStorageReq& msg, const _STORAGE_USE_REQ& record);
// Throws for an option handle without a coupon handle.
Built PutLists(XC2S_PurchaseProductReq& msg, const _PURCHASE_REQ& record);

// Five user requests have the same fields.
template <class M>
    requires requires(M& msg) { msg.nReqID, msg.strUserID, msg.strUserNo, msg.strUserIP; }
Built Build(M& msg, const _USER_SEND& record)
{
    msg.nReqID = record.nReqID;
    PutUserKey(msg, FieldText(record.szUserKey));
    msg.strUserIP = FieldText(record.szUserIP);
    return Built::Ready;
}

// The address has no place in a checkout: the Seq No of the user's checkin stands there, empty if the
// user is not in the map.
Built Build(XC2S_CheckOutReq& msg, const _USER_SEND& record);

Built Build(XC2S_FailedCheckOutReq& msg);
Built Build(XC2S_UserListSyncReq& msg);
Built Build(XC2S_VelkarConnectReq& msg, const _CONNECTOR_ID& id);

// The shop's and the storage box's requests: the fields that message and record have in common, and the users
// by USE_USER_NUMBER. Lists are read from the handles of the record; a handle without a list fails the send.
template <class M, class Record>
Built Build(M& msg, const RecordSend<Record>& send)
{
    msg.nReqID = send.nReqID;
    CopySameNames(msg, send.record);
    if constexpr (requires { send.record.szUserID; })
        PutUserKey(msg, CutText(send.record.szUserID));
    if constexpr (requires { send.record.szRecvUserID; })
        PutKey(msg.strRecvUserID, msg.strRecvUserNo, CutText(send.record.szRecvUserID));
    return PutLists(msg, send.record);
}

// The game's answers. A failed spend is told by its money of -1; its state stays 0.
Built Build(XC2S_QueryGameMoneyAns& msg, const _MONEY_SEND& record);
Built Build(XC2S_SpendGameMoneyAns& msg, const _MONEY_SEND& record);
Built Build(XC2S_SaveInventoryAns& msg, const _SAVE_SEND& record);
Built Build(XC2S_QueryInventoryAns& msg, const _LIST_SEND& record);
Built Build(XC2S_QueryCharacterAns& msg, const _LIST_SEND& record);

inline Built Build(XC2S_Heartbeat&) { return Built::Ready; }
