// The builders of the messages that name one user for a checkout, that report lists of users, and that
// register this connector.
#include "comm/out/Builders.h"

#include <cstdio>

#include "VelkarConnector.h"
#include "base/Logger.h"
#include "platform/Host.h"
#include "session/FailedCheckOutVector.h"
#include "session/UserInfoMap.h"

Built Build(XC2S_CheckOutReq& msg, const _USER_SEND& record)
{
    const std::string strKey(FieldText(record.szUserKey));
    // A user who is not in the map, as after a late checkin, leaves info empty and goes out without a Seq No.
    CUserInfo info;
    UserInfoMap().FindUserInfo(strKey, info);
    msg.nReqID = record.nReqID;
    PutUserKey(msg, strKey);
    msg.strSeqNo = info.GetSeqNo();
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
