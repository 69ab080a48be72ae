// The single operations of the user map; the walks of the charge are in ChargeScan.cpp.
#include "session/UserInfoMap.h"

#include <algorithm>
#include <new>
#include <utility>

#include "session/UserKey.h"

using Kernova::XTL::ScopedLock;

bool CUserInfoMap::AddUserInfo(std::string strKey, const CUserInfo& info)
{
    return Enter(MakePlace(std::move(strKey), info));
}

CUserInfoMap::Place CUserInfoMap::MakePlace(std::string strKey, const CUserInfo& info)
{
    if (strKey.empty() || !IsValidUserInfo(info))
        return {};
    Users one;
    const auto it = one.try_emplace(std::move(strKey), std::make_unique<CUserInfo>(info)).first;
    return one.extract(it);
}

bool CUserInfoMap::Enter(Place place, int nReqID)
{
    const ScopedLock lock(m_lock);
    return EnterLocked(place, nReqID);
}

// A replaced record goes with the caller's place, after the lock is given back.
bool CUserInfoMap::EnterLocked(Place& place, int nReqID)
{
    if (place.empty() || place.mapped()->GetLife() != ModuleLife::Current())
        return false;
    const UnderWay* const pUnderWay = FindUnderWay(place.key(), nReqID);
    const bool bSent = pUnderWay != nullptr && pUnderWay->nRecordNo != 0;
    place.mapped()->SetRecordNo(bSent ? pUnderWay->nRecordNo : ++m_nLastRecordNo);
    const auto it = m_mapUsers.find(place.key());
    if (it != m_mapUsers.end() && it->second->GetRecordNo() > place.mapped()->GetRecordNo())
        return false;
    if (it == m_mapUsers.end())
        m_mapUsers.insert(std::move(place));
    else
        it->second.swap(place.mapped());
    return true;
}

bool CUserInfoMap::RemoveUserInfo(std::string strKey)
{
    Place removed;  // declared before the lock, so destroyed after it is released
    const ScopedLock lock(m_lock);
    removed = m_mapUsers.extract(strKey);
    return !removed.empty();
}

CUserInfoMap::Users::iterator CUserInfoMap::Find(std::string_view key, std::uint64_t nRecordNo)
{
    const auto it = m_mapUsers.find(key);
    const bool bFound = it != m_mapUsers.end() && it->second->GetRecordNo() == nRecordNo;
    return bFound ? it : m_mapUsers.end();
}

bool CUserInfoMap::RemoveRecord(std::string_view key, std::uint64_t nRecordNo)
{
    Place removed;
    const ScopedLock lock(m_lock);
    const auto it = Find(key, nRecordNo);
    if (it != m_mapUsers.end())
        removed = m_mapUsers.extract(it);
    return !removed.empty();
}

void CUserInfoMap::SetLeaving(std::string_view key, std::uint64_t nRecordNo)
{
    const ScopedLock lock(m_lock);
    const auto it = Find(key, nRecordNo);
    if (it != m_mapUsers.end())
        it->second->SetLeaving();
}

bool CUserInfoMap::FindUserInfo(std::string strKey, CUserInfo& out)
{
    const ScopedLock lock(m_lock);
    const auto it = m_mapUsers.find(strKey);
    if (it == m_mapUsers.end())
        return false;
    out = *it->second;
    return true;
}

bool CUserInfoMap::HasUserInfo(std::string strKey)
{
    const ScopedLock lock(m_lock);
    return m_mapUsers.contains(strKey);
}

bool CUserInfoMap::IsValidUserInfo(const CUserInfo& info)
{
    return !info.GetKey().empty() || !info.GetUserIP().empty();
}

void CUserInfoMap::RemoveAllUserInfo()
{
    const ScopedLock lock(m_lock);
    m_mapUsers.clear();
}

std::size_t CUserInfoMap::GetCount()
{
    const ScopedLock lock(m_lock);
    return m_mapUsers.size();
}

CUserInfoMap::CheckinScope::CheckinScope(CUserInfoMap& map, std::string_view key, int nReqID) : m_map(map)
{
    std::string strKey(key);
    const ScopedLock lock(m_map.m_lock);
    m_it = m_map.m_mapCheckins.emplace(std::move(strKey), UnderWay{nReqID});
}

CUserInfoMap::CheckinScope::~CheckinScope()
{
    const ScopedLock lock(m_map.m_lock);
    m_map.m_mapCheckins.erase(m_it);
}

CUserInfoMap::UnderWay* CUserInfoMap::FindUnderWay(std::string_view key, int nReqID)
{
    const auto [itBegin, itEnd] = m_mapCheckins.equal_range(key);
    const auto it =
        std::find_if(itBegin, itEnd, [nReqID](const auto& entry) { return entry.second.nReqID == nReqID; });
    return it != itEnd ? &it->second : nullptr;
}

void CUserInfoMap::SetSent(std::string_view key, int nReqID)
{
    const ScopedLock lock(m_lock);
    if (UnderWay* const pUnderWay = FindUnderWay(key, nReqID))
        pUnderWay->nRecordNo = ++m_nLastRecordNo;
}

CUserInfoMap::Other CUserInfoMap::LookForOther(std::string_view key, std::string_view seqNo)
{
    const ScopedLock lock(m_lock);
    const auto it = m_mapUsers.find(key);
    if (it != m_mapUsers.end())
        return it->second->GetSeqNo() == seqNo ? Other::Same : Other::Some;
    return m_mapCheckins.contains(key) ? Other::Some : Other::None;
}

// Out of memory counts as an empty list: the message is then not sent, which is no failure of the send.
bool CUserInfoMap::GetUserCheckOutList(Wirova::RecordVector<XCheckOutInfo>& list)
try {
    const ScopedLock lock(m_lock);
    for (const auto& [strKey, pInfo] : m_mapUsers) {
        if (!pInfo->IsLeaving())
            FillCheckOutInfo(list.Add(), *pInfo);
    }
    return !list.empty();
} catch (const std::bad_alloc&) {
    return false;
}

void FillCheckOutInfo(XCheckOutInfo& record, const CUserInfo& info)
{
    PutUserKey(record, info.GetKey());
    record.strUserIP = info.GetUserIP();
    record.cFree = info.GetFree();
    record.nProductID = info.GetProductID();
    record.strCRMCode = info.GetCRMCode();
    record.strSeqNo = info.GetSeqNo();
}
