// The builders: one overload of Build for each outgoing message fills the message from what its sender hands
// over. SendMessage of CCommHandler calls the builder with the active link list locked, then writes the
// message to the link. What a builder throws goes on to the sender, and nothing is sent. Several builders
// read the data pool, the user map or the list of failed checkouts, whose locks stand behind the active link
// list in the order of locks.
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

// Fills the lists of a request from the data handles of its record. This general version is for the requests
// without a list.
template <class M, class Record>
Built PutLists(M&, const Record&)
{
    return Built::Ready;
}
Built PutLists(XC2S_RequestUseStorageReq& msg, const _STORAGE_USE_REQ& record);
Built PutLists(XC2S_ConfirmUseStorageReq& msg, const _STORAGE_USE_REQ& record);
Built PutLists(XC2S_CancelUseStorageReq& msg, const _STORAGE_USE_REQ& record);
// Throws std::invalid_argument for an option handle without a coupon handle: the options are read from the
// coupon handle, and the export then reports an exception to the game.
Built PutLists(XC2S_PurchaseProductReq& msg, const _PURCHASE_REQ& record);

// The user requests that consist of Req ID, user and address: both checkins, both billing queries, both
// moves.
template <class M>
    requires requires(M& msg) { msg.nReqID, msg.strUserID, msg.strUserNo, msg.strUserIP; }
Built Build(M& msg, const _USER_SEND& record)
{
    msg.nReqID = record.nReqID;
    PutUserKey(msg, FieldText(record.szUserKey));
    msg.strUserIP = FieldText(record.szUserIP);
    return Built::Ready;
}

// A checkout carries no address. In its place stands the Seq No of the session that ends. The Seq No of a
// session that has never been in the user map is left empty, unless the user is in with another session or is
// being checked in: then a checkout without a Seq No would end the wrong session. Built::Nothing if even the
// own Seq No would name the session of the user map.
Built Build(XC2S_CheckOutReq& msg, const _CHECKOUT_SEND& record);

// The two lists that follow an accepted registration. Built::Nothing for an empty list, also when memory has
// run out while the list was made.
Built Build(XC2S_FailedCheckOutReq& msg);
Built Build(XC2S_UserListSyncReq& msg);
// The registration: who this connector is, its heartbeat cycle and the time of sending.
Built Build(XC2S_VelkarConnectReq& msg, const _CONNECTOR_ID& id);

// The requests of the shop and the storage box. All fields whose names message and record share are copied;
// buyer and receiver are put into the id or the number field, as USE_USER_NUMBER says. Lists are read from
// the data handles of the record, and a handle without a list makes the send fail.
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

// The game's answers to requests of the service. The service recognises a failed spend by the game money of
// -1, because the state of that answer is 0 in any case; the other answers report a failure with the state
// -1.
Built Build(XC2S_QueryGameMoneyAns& msg, const _MONEY_SEND& record);
Built Build(XC2S_SpendGameMoneyAns& msg, const _MONEY_SEND& record);
Built Build(XC2S_SaveInventoryAns& msg, const _SAVE_SEND& record);
Built Build(XC2S_QueryInventoryAns& msg, const _LIST_SEND& record);
Built Build(XC2S_QueryCharacterAns& msg, const _LIST_SEND& record);

// A heartbeat has no field.
inline Built Build(XC2S_Heartbeat&) { return Built::Ready; }
