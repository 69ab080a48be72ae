// The list of failed checkouts; comm/in/ConnectAnswer.cpp delivers it after an accepted registration.
#include "session/FailedCheckOutVector.h"

#include <new>

#include "session/UserInfoMap.h"

using Kernova::XTL::ScopedLock;

void CFailedCheckOutVector::AddFailedUser(const CUserInfo& info)
{
    if (info.GetKey().empty() || info.GetUserIP().empty())
        return;
    const ScopedLock lock(m_lock);
    const auto [it, bNew] = m_setKeyAndIP.emplace(info.GetKey(), info.GetUserIP());
    if (!bNew)
        return;
    // The set finds a double entry without a walk over the list. Both have to name the same users, so the set
    // gives its entry back if the list cannot grow.
    try {
        m_vecUsers.push_back(info);
    } catch (...) {
        m_setKeyAndIP.erase(it);
        throw;
    }
}

bool CFailedCheckOutVector::GetFailedCheckOutList(Wirova::RecordVector<XCheckOutInfo>& list)
try {
    const ScopedLock lock(m_lock);
    // Counted at the end only: if memory runs out on the way, no user is listed and none will be cleared
    // unsent.
    m_nListed = 0;
    for (const CUserInfo& info : m_vecUsers)
        FillCheckOutInfo(list.Add(), info);
    m_nListed = m_vecUsers.size();
    return m_nListed > 0;
} catch (const std::bad_alloc&) {
    return false;
}

bool CFailedCheckOutVector::DumpFailedUsers(std::string& out)
{
    const ScopedLock lock(m_lock);
    if (m_nListed == 0)
        return false;
    out = "[Failed Checkout Vector] Failed checkout user list start.\r\n";
    for (std::size_t i = 0; i < m_nListed; ++i) {
        out +=
            "\tUser ID: " + m_vecUsers[i].GetKey() + "\r\n\tUser IP: " + m_vecUsers[i].GetUserIP() + "\r\n";
    }
    out += "[Failed Checkout Vector] Failed checkout user list end.";
    return true;
}

// Only the listed users at the front go; a user who was added meanwhile stands behind them and stays.
void CFailedCheckOutVector::ClearFailedUsers()
{
    const ScopedLock lock(m_lock);
    const auto itEnd = m_vecUsers.begin() + static_cast<std::ptrdiff_t>(m_nListed);
    for (auto it = m_vecUsers.begin(); it != itEnd; ++it)
        m_setKeyAndIP.erase({it->GetKey(), it->GetUserIP()});
    m_vecUsers.erase(m_vecUsers.begin(), itEnd);
    m_nListed = 0;
}

void CFailedCheckOutVector::RemoveAll()
{
    const ScopedLock lock(m_lock);
    m_vecUsers.clear();
    m_setKeyAndIP.clear();
    m_nListed = 0;
}

std::size_t CFailedCheckOutVector::GetCount()
{
    const ScopedLock lock(m_lock);
    return m_vecUsers.size();
}
