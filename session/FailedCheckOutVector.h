// Users whose checkout could not be sent, kept for the next accepted connection. In memory only.
#pragma once

#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/KernovaXtl.h"
#include "session/UserInfo.h"
#include "wirova/messages/SessionMessages.h"

// Any thread. A delivery is three steps of one thread: GetFailedCheckOutList, DumpFailedUsers,
// ClearFailedUsers. A user stored between the first and the last of them is neither dumped nor cleared:
// the user goes out with the next connection.
class CFailedCheckOutVector {
public:
    virtual ~CFailedCheckOutVector() = default;

    // Ignored without a key or an IP, and if a user of that key and IP is there already.
    void AddFailedUser(const CUserInfo& info);

    // One record for each user in order of arrival; these users are now the listed ones. False if there
    // is none or memory has run out, and then none is listed.
    bool GetFailedCheckOutList(Wirova::RecordVector<XCheckOutInfo>& list);
    // The listed users as a text for the log. False for an empty list, out is then left alone.
    bool DumpFailedUsers(std::string& out);
    // Removes the listed users.
    void ClearFailedUsers();

    void RemoveAll();
    std::size_t GetCount();

private:
    Kernova::Threading::CriticalSection m_lock{Kernova::XTL::kSpinCount, Kernova::Threading::LockRank::Table};
    std::vector<CUserInfo> m_vecUsers GUARDED_BY(m_lock);  // only ever appended to, or cut at the front
    std::set<std::pair<std::string, std::string>> m_setKeyAndIP GUARDED_BY(m_lock);  // of m_vecUsers
    std::size_t m_nListed GUARDED_BY(m_lock) = 0;  // so many at the front are the listed ones
};

// The one object of the process.
inline CFailedCheckOutVector& FailedCheckOutVector()
{
    return Kernova::XTL::Singleton<CFailedCheckOutVector>::Instance();
}
