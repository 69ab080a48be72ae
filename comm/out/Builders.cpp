// The builders of the messages that name one user for a checkout, that report lists of users, and that
// register this connector.
#include "comm/out/Builders.h"

#include <cstdio>

#include "VelkarConnector.h"
#include "base/Logger.h"
#include "platform/Host.h"
#include "session/FailedCheckOutVector.h"
#include "session/UserInfoMap.h"

// The user map is asked with the active link list locked: a checkin that begins later is sent later, too, so
// its session is not there yet when the service reads this checkout.
Built Build(XC2S_CheckOutReq& msg, const _CHECKOUT_SEND& record)
{
    const std::string_view key = FieldText(record.szUserKey);
    msg.nReqID = record.nReqID;
    PutUserKey(msg, key);
    if (record.bNotInMap) {
        const auto other = UserInfoMap().LookForOther(key, record.seqNo);
        if (other == CUserInfoMap::Other::None)
            return Built::Ready;
        if (other == CUserInfoMap::Other::Same || record.seqNo.empty())
            return Built::Nothing;
    }
    msg.strSeqNo = record.seqNo;
    return Built::Ready;
}

Built Build(XC2S_FailedCheckOutReq& msg)
{
    const bool bAny = FailedCheckOutVector().GetFailedCheckOutList(msg.vecCheckOutInfo);
    return bAny ? Built::Ready : Built::Nothing;
}

Built Build(XC2S_UserListSyncReq& msg)
{
    const bool bAny = UserInfoMap().GetUserCheckOutList(msg.vecCheckOutInfo);
    return bAny ? Built::Ready : Built::Nothing;
}

Built Build(XC2S_VelkarConnectReq& msg, const _CONNECTOR_ID& id)
{
    msg.strGID = FieldText(id.GID);
    msg.strSID = FieldText(id.SID);
    msg.strWID = FieldText(id.WID);
    msg.nHeartbeatCycle = ConfigReader().GetHeartbeatCycle();
    const Host::LocalTime now = Host::GetLocalTime();
    char szTime[64];  // local time of the game server, with milliseconds
    std::snprintf(szTime, sizeof(szTime), "%04d/%02d/%02d %02d:%02d:%02d.%03d", now.nYear, now.nMonth,
                  now.nDay, now.nHour, now.nMinute, now.nSecond, now.nMillisecond);
    msg.strConnectTime = szTime;
    return Built::Ready;
}
