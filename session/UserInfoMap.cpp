// The single operations of the user map; the walks of the charge are in ChargeScan.cpp.
#include "session/UserInfoMap.h"

#include <new>
#include <utility>

#include "base/Gauges.h"
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
    const CheckinScope* const pScope = nReqID != 0 ? FindScope(nReqID) : nullptr;
    const bool bSent = pScope != nullptr && pScope->m_nRecordNo != 0 && pScope->m_key == place.key();
    place.mapped()->SetRecordNo(bSent ? pScope->m_nRecordNo : ++m_nLastRecordNo);
    auto [it, bInserted, rest] = m_mapUsers.insert(std::move(place));
    CountUsers();
    if (bInserted)
        return true;
    place = std::move(rest);
    if (it->second->GetRecordNo() > place.mapped()->GetRecordNo())
        return false;
    it->second.swap(place.mapped());
    return true;
}

void CUserInfoMap::CountUsers() const { ConnectorGauges::Set(Gauges().nUsers, m_mapUsers.size()); }

bool CUserInfoMap::RemoveUserInfo(std::string strKey)
{
    Place removed;  // declared before the lock, so destroyed after it is released
    const ScopedLock lock(m_lock);
    removed = m_mapUsers.extract(strKey);
    CountUsers();
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
    CountUsers();
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
    CountUsers();
}

std::size_t CUserInfoMap::GetCount()
{
    const ScopedLock lock(m_lock);
    return m_mapUsers.size();
}

CUserInfoMap::CheckinScope::CheckinScope(CUserInfoMap& map, std::string_view key, int nReqID)
    : m_map(map), m_key(key), m_nReqID(nReqID)
{
    const ScopedLock lock(m_map.m_lock);
    CheckinScope*& pPlace = m_map.FindScope(m_nReqID);
    m_pNext = pPlace;
    pPlace = this;
}

CUserInfoMap::CheckinScope::~CheckinScope()
{
    const ScopedLock lock(m_map.m_lock);
    CheckinScope** ppThis = &m_map.FindScope(m_nReqID);
    while (*ppThis != this)
        ppThis = &(*ppThis)->m_pNext;
    *ppThis = m_pNext;
}

CUserInfoMap::CheckinScope*& CUserInfoMap::FindScope(int nReqID)
{
    CheckinScope** ppScope = &m_arrScopes[static_cast<unsigned int>(nReqID) % m_arrScopes.size()];
    while (*ppScope != nullptr && (*ppScope)->m_nReqID != nReqID)
        ppScope = &(*ppScope)->m_pNext;
    return *ppScope;
}

void CUserInfoMap::SetSent(int nReqID)
{
    const ScopedLock lock(m_lock);
    if (CheckinScope* const pScope = FindScope(nReqID))
        pScope->m_nRecordNo = ++m_nLastRecordNo;
}

CUserInfoMap::Other CUserInfoMap::LookForOther(std::string_view key, std::string_view seqNo)
{
    const ScopedLock lock(m_lock);
    const auto it = m_mapUsers.find(key);
    if (it != m_mapUsers.end())
        return it->second->GetSeqNo() == seqNo ? Other::Same : Other::Some;
    for (const CheckinScope* pScope : m_arrScopes) {
        for (; pScope != nullptr; pScope = pScope->m_pNext) {
            if (pScope->m_key == key)
                return Other::Some;
        }
    }
    return Other::None;
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
