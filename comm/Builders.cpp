#include "comm/Builders.h"

#include <cstdio>

#include "connector/Logger.h"
#include "connector/VelkarConnector.h"
#include "platform/Host.h"
#include "session/FailedCheckOutVector.h"
#include "session/UserInfoMap.h"

using Kernova::XTL::Singleton;

Built Build(XC2S_CheckOutReq& msg, const _USER_SEND& record)
{
    const std::string strKey(FieldText(record.szUserKey));
    CUserInfo info;
    Singleton<CUserInfoMap>::Instance().FindUserInfo(strKey, info);
    msg.nReqID = record.nReqID;
    PutUserKey(msg, strKey);
    msg.strSeqNo = info.GetSeqNo();
    return Built::Ready;
}

Built Build(XC2S_FailedCheckOutReq& msg)
{
    const bool bAny = Singleton<CFailedCheckOutVector>::Instance().GetFailedCheckOutList(msg.vecCheckOutInfo);
    return bAny ? Built::Ready : Built::Nothing;
}

Built Build(XC2S_UserListSyncReq& msg)
{
    const bool bAny = Singleton<CUserInfoMap>::Instance().GetUserCheckOutList(msg.vecCheckOutInfo);
    return bAny ? Built::Ready : Built::Nothing;
}

Built Build(XC2S_ChargeReq& msg, const int& nProductId)
{
    const int nCount = Singleton<CUserInfoMap>::Instance().ScanUsersForCharge(msg.vecChargeInfo, nProductId);
    if (nCount < 1) {
        Log::InfoFmt("[Comm Handler] There is no user list for PID: %d charge.", nProductId);
        return Built::Nothing;
    }
    msg.nPID = nProductId;
    Log::InfoFmt("[Comm Handler] There is(are) %d user(s) for PID: %d charge.", nCount, nProductId);
    return Built::Ready;
}

Built Build(XC2S_VelkarConnectReq& msg, const _CONNECTOR_ID& id)
{
    msg.strGID = FieldText(id.GID);
    msg.strSID = FieldText(id.SID);
    msg.strWID = FieldText(id.WID);
    msg.nHeartbeatCycle = Singleton<CConfigReader>::Instance().GetHeartbeatCycle();
    const Host::LocalTime now = Host::GetLocalTime();
    char szTime[64];
    std::snprintf(szTime, sizeof(szTime), "%04d/%02d/%02d %02d:%02d:%02d.%03d", now.nYear, now.nMonth,
                  now.nDay, now.nHour, now.nMinute, now.nSecond, now.nMillisecond);
    msg.strConnectTime = szTime;
    return Built::Ready;
}
