// Users whose checkout (or move) could not be sent, kept for the next accepted connection, where one
// XC2S_FailedCheckOutReq reports them all. In memory only: the end of the process, or UninitModule, loses
// them.
#pragma once

#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/KernovaXtl.h"
#include "session/UserInfo.h"
#include "wirova/messages/SessionMessages.h"

// Any thread. The lock comes behind CUserInfoMap's lock. A delivery is three steps of one thread:
// GetFailedCheckOutList fills the message and marks the users in it as listed, DumpFailedUsers logs the
// listed users, ClearFailedUsers removes them. A user who is stored between the first step and the last is
// not listed and goes out with the next connection.
class CFailedCheckOutVector {
public:
    virtual ~CFailedCheckOutVector() = default;

    // Stores a copy. Does nothing for a user without a key or an IP, and for a user whose key and IP are
    // stored already.
    void AddFailedUser(const CUserInfo& info);

    // Appends one record for each user to the list, in order of arrival; these users are now the listed ones.
    // False if there is no user or memory has run out, and then none is listed.
    bool GetFailedCheckOutList(Wirova::RecordVector<XCheckOutInfo>& list);
    // The listed users as a text for the log. False if no user is listed; out is then left as it is.
    bool DumpFailedUsers(std::string& out);
    // Removes the listed users.
    void ClearFailedUsers();

    // Gives all users up without telling the service.
    void RemoveAll();
    std::size_t GetCount();

private:
    Kernova::Threading::CriticalSection m_lock{Kernova::XTL::kSpinCount, Kernova::Threading::LockRank::Table};
    std::vector<CUserInfo> m_vecUsers GUARDED_BY(m_lock);  // only ever appended to, or cut at the front
    std::set<std::pair<std::string, std::string>> m_setKeyAndIP GUARDED_BY(m_lock);  // of m_vecUsers
    std::size_t m_nListed GUARDED_BY(m_lock) = 0;  // number of users at the front who are listed
};

// The one object of the process.
inline CFailedCheckOutVector& FailedCheckOutVector()
{
    return Kernova::XTL::Singleton<CFailedCheckOutVector>::Instance();
}
