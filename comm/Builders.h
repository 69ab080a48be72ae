// How each outgoing message is filled from what its sender takes: one overload of Build for each
// message. A builder runs with the active link list locked.
#pragma once

#include "comm/SendRecords.h"
#include "connector/TextField.h"
#include "session/UserKey.h"
#include "wirova/messages/BaseMessages.h"
#include "wirova/messages/GameServiceMessages.h"
#include "wirova/messages/SessionMessages.h"

enum class Built {
    Ready = 1,    // the message goes out
    Nothing = 0,  // there is nothing to send, which is no failure
    Failed = -1,
};

struct _CONNECTOR_ID;

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

// All users of one product who are to be charged. Filling it checks users out whose term has ended, tells the
// game, and marks who is in it as charged before, sent or not.
Built Build(XC2S_ChargeReq& msg, const int& nProductId);

// The game's answers. A failed spend is told by its money of -1; its state stays 0.
Built Build(XC2S_QueryGameMoneyAns& msg, const _MONEY_SEND& record);
Built Build(XC2S_SpendGameMoneyAns& msg, const _MONEY_SEND& record);
Built Build(XC2S_SaveInventoryAns& msg, const _SAVE_SEND& record);
Built Build(XC2S_QueryInventoryAns& msg, const _LIST_SEND& record);
Built Build(XC2S_QueryCharacterAns& msg, const _LIST_SEND& record);

inline Built Build(XC2S_Heartbeat&) { return Built::Ready; }
