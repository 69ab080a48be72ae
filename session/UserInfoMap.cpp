// The single operations of the user map; the walk of the charge is in ChargeScan.cpp.
#include "session/UserInfoMap.h"

#include <new>

#include "session/UserKey.h"

using Kernova::XTL::ScopedLock;

bool CUserInfoMap::AddUserInfo(std::string strKey, const CUserInfo& info)
{
    if (strKey.empty() || !IsValidUserInfo(info))
        return false;
    // A new checkin of the same user replaces the old record. The lock is not held from here to the
    // insertion, so another thread can enter the key in between; try_emplace then fails and the other
    // thread's record stays.
    if (HasUserInfo(strKey) && !RemoveUserInfo(strKey))
        return false;
    auto pCopy = std::make_unique<CUserInfo>(info);
    const ScopedLock lock(m_lock);
    return m_mapUsers.try_emplace(std::move(strKey), std::move(pCopy)).second;
}

bool CUserInfoMap::RemoveUserInfo(std::string strKey)
{
    std::unique_ptr<CUserInfo> pRemoved;  // declared before the lock, so destroyed after it is released
    const ScopedLock lock(m_lock);
    const auto it = m_mapUsers.find(strKey);
    if (it == m_mapUsers.end())
        return false;
    pRemoved = std::move(it->second);
    m_mapUsers.erase(it);
    return true;
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

// Out of memory counts as an empty list: the message is then not sent, which is no failure of the send.
bool CUserInfoMap::GetUserCheckOutList(Wirova::RecordVector<XCheckOutInfo>& list)
try {
    const ScopedLock lock(m_lock);
    for (const auto& [strKey, pInfo] : m_mapUsers)
        FillCheckOutInfo(list.Add(), *pInfo);
    return !m_mapUsers.empty();
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
