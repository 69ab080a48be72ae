// The walk over the users at each charge.
#include <new>

#include "session/UserInfoMap.h"
#include "session/UserKey.h"

using Kernova::XTL::ScopedLock;

namespace {

void AddCharge(Wirova::RecordVector<XChargeInfo>& list, CUserInfo& info)
{
    XChargeInfo& record = list.Add();
    PutUserKey(record, info.GetKey());
    record.strUserIP = info.GetUserIP();
    record.strSeqNo = info.GetSeqNo();
    record.bFirst = info.IsFirst();
    info.SetFirst(false);
}

}  // namespace

bool CUserInfoMap::ScanUsersForCharge(Wirova::RecordVector<XChargeInfo>& list, int nProductId,
                                      const std::function<void(const CUserInfo&)>& onExpired)
try {
    const Host::LocalTime now = Host::GetLocalTime();
    const ScopedLock lock(m_lock);
    for (const auto& [strKey, pInfo] : m_mapUsers) {
        const ChargeState state = pInfo->GetChargeState(now);
        if (state == ChargeState::Expired)
            onExpired(*pInfo);
        else if (state == ChargeState::Charge && pInfo->GetProductID() == nProductId)
            AddCharge(list, *pInfo);
    }
    return true;
} catch (const std::bad_alloc&) {
    return false;
}
