// The walk over the users at each charge.
#include <new>

#include "comm/CommHandler.h"
#include "connector/CallGame.h"
#include "connector/Logger.h"
#include "session/FailedCheckOutVector.h"
#include "session/UserInfoMap.h"
#include "session/UserKey.h"

using Kernova::XTL::ScopedLock;
using Kernova::XTL::Singleton;

namespace {

// Tells the service that the user's term has ended. A checkout that cannot be sent is kept.
void CheckOutExpired(const CUserInfo& info)
{
    const std::string strKey = info.GetKey();
    const std::string strUserIP = info.GetUserIP();
    if (Singleton<CCommHandler>::Instance().SendMessage<XC2S_CheckOutReq>(UnaskedCheckout(strKey))) {
        Log::InfoFmt(
            "[User Info Map] A 'XC2S_CheckOutReq' msg will be sent because of 'BILLING_EXPIRE' event.\r\n"
            "\tUser ID: %s\r\n\tUser IP: %s",
            strKey.c_str(), strUserIP.c_str());
        return;
    }
    Log::ErrorFmt(
        "[Comm Handler] Failed to send a 'XC2S_CheckOutReq' msg for 'BILLING_EXPIRE' event.\r\n"
        "\tUser ID: %s\r\n\tUser IP: %s",
        strKey.c_str(), strUserIP.c_str());
    Singleton<CFailedCheckOutVector>::Instance().AddFailedUser(info);
}

}  // namespace

void CUserInfoMap::ScanUser(CUserInfo& info, ChargeState state, int nProductId,
                            Wirova::RecordVector<XChargeInfo>& list,
                            std::vector<_BILLING_NOTI_INFO>& vecNotiInfos)
{
    if (state == ChargeState::Expired) {
        auto& noti = vecNotiInfos.emplace_back();  // event and specific code 0, no parameter
        CopyText(noti.szUserKey, info.GetKey());
        CopyText(noti.szUserIP, info.GetUserIP());
        CheckOutExpired(info);
    } else if (state == ChargeState::Charge && info.GetProductID() == nProductId) {
        XChargeInfo& record = list.Add();
        PutUserKey(record, info.GetKey());
        record.strUserIP = info.GetUserIP();
        record.strSeqNo = info.GetSeqNo();
        record.bFirst = info.IsFirst();
        info.SetFirst(false);
    }
}

int CUserInfoMap::ScanUsersForCharge(Wirova::RecordVector<XChargeInfo>& list, int nProductId)
{
    std::vector<_BILLING_NOTI_INFO> vecNotiInfos;
    try {
        const Host::LocalTime now = Host::GetLocalTime();
        const ScopedLock lock(m_lock);
        for (const auto& [strKey, pInfo] : m_mapUsers)
            ScanUser(*pInfo, pInfo->GetChargeState(now), nProductId, list, vecNotiInfos);
    } catch (const std::bad_alloc&) {
        return 0;
    }
    const auto pfnBillingEvent =
        Singleton<CCommHandler>::Instance().GetCallback<&_CONNECTOR_CALLBACKS::pfnBillingEvent>();
    for (const _BILLING_NOTI_INFO& noti : vecNotiInfos) {
        TellGame(pfnBillingEvent, noti);
        RemoveUserInfo(std::string(FieldText(noti.szUserKey)));
    }
    return static_cast<int>(list.size());
}
