// The walk over all checked-in users that fills one charge message. The caller, the builder in
// comm/ChargePass.cpp, holds the active link list.
#include <new>

#include "session/UserInfoMap.h"
#include "session/UserKey.h"

using Kernova::XTL::ScopedLock;

namespace {

// Appends the user to the message. The first mark goes with the user's first charge message, whether that
// message then leaves or not.
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
    // One time for the whole walk: the local time of the game server, in which end dates are written.
    const Host::LocalTime now = Host::GetLocalTime();
    const ScopedLock lock(m_lock);
    // Expired users of every product are found here, whichever product is charged: the first pass of a cycle
    // finds them all.
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
