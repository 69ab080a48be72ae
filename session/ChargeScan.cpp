// The two walks of a charge pass over all checked-in users: whose term has ended, and who is charged. The
// caller in comm/ChargePass.cpp holds the active link list.
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

bool CUserInfoMap::FindExpired(std::string& strAfter, const Host::LocalTime& now, std::size_t nMost,
                               std::vector<ExpiredUser>& vecExpired,
                               const std::function<void(const CUserInfo&)>& checkOut)
{
    const ScopedLock lock(m_lock);
    std::size_t nFound = 0;
    for (auto it = m_mapUsers.upper_bound(strAfter); it != m_mapUsers.end(); ++it) {
        CUserInfo& info = *it->second;
        if (info.IsLeaving() || info.GetChargeState(now) != ChargeState::Expired)
            continue;
        // Whatever takes memory comes before the checkout. A user who has not been noted, or whose checkout
        // has failed by an exception, is found again by the next pass.
        vecExpired.push_back({it->first, info.GetUserIP(), info.GetRecordNo()});
        try {
            checkOut(info);
        } catch (...) {
            vecExpired.pop_back();
            throw;
        }
        info.SetLeaving();
        if (++nFound == nMost) {
            strAfter = it->first;
            return true;
        }
    }
    return false;
}

bool CUserInfoMap::ScanUsersForCharge(Wirova::RecordVector<XChargeInfo>& list, int nProductId,
                                      const Host::LocalTime& now)
try {
    const ScopedLock lock(m_lock);
    for (const auto& [strKey, pInfo] : m_mapUsers) {
        if (pInfo->GetProductID() == nProductId && !pInfo->IsLeaving() &&
            pInfo->GetChargeState(now) == ChargeState::Charge)
            AddCharge(list, *pInfo);
    }
    return true;
} catch (const std::bad_alloc&) {
    return false;
}
