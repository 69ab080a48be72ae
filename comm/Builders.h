// How each outgoing message is filled from what its sender takes: one overload of Build for each
// message. A builder runs with the active link list locked.
#pragma once

#include "comm/SendRecords.h"
#include "connector/TextField.h"
#include "session/UserKey.h"
#include "wirova/messages/BaseMessages.h"
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
inline Built Build(XC2S_Heartbeat&) { return Built::Ready; }
