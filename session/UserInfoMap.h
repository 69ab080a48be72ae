// Who is checked in on this game server. In memory only; it stays as it is through a disconnection.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>

#include "platform/KernovaXtl.h"
#include "session/UserInfo.h"
#include "wirova/messages/SessionMessages.h"

// Any thread; every operation is one hold of the lock unless it says otherwise. Keys are the texts by
// which the game names its users.
class CUserInfoMap {
public:
    // Replaces a record of the same key. False for an empty key, an invalid record, or when another
    // thread has entered the key between the removal and the insertion (two holds).
    bool AddUserInfo(std::string strKey, const CUserInfo& info);
    bool RemoveUserInfo(std::string strKey);                // true if a record was removed
    bool FindUserInfo(std::string strKey, CUserInfo& out);  // copies into out on true only
    bool HasUserInfo(std::string strKey);
    static bool IsValidUserInfo(const CUserInfo& info);  // a key or an IP is there
    void RemoveAllUserInfo();
    std::size_t GetCount();

    // Runs complete(), which wakes the caller of a checkin and says whether there was one, and adds the
    // user if so and if bAdd is set, all in one hold: the woken caller cannot look the user up before
    // the user is there. Returns what complete() said.
    template <class Complete>
    bool CompleteAndAdd(const CUserInfo& info, bool bAdd, Complete complete)
    {
        const Kernova::XTL::ScopedLock lock(m_lock);
        if (!complete())
            return false;
        if (bAdd)
            AddUserInfo(info.GetKey(), info);
        return true;
    }

    // One walk over all users for the charge of one product. onExpired(info) is called for each user of any
    // product whose term has ended, with the map's lock held; the caller removes these users afterwards. The
    // users of this product who are to be charged are appended to the list, and are not first any more. False
    // when memory has run out; what was appended stays.
    bool ScanUsersForCharge(Wirova::RecordVector<XChargeInfo>& list, int nProductId,
                            const std::function<void(const CUserInfo&)>& onExpired);

    // One record for each user, in ascending order of the key. False for an empty map or when memory
    // has run out; what was appended stays.
    bool GetUserCheckOutList(Wirova::RecordVector<XCheckOutInfo>& list);

private:
    Kernova::Threading::CriticalSection m_lock{Kernova::XTL::kSpinCount,
                                               Kernova::Threading::LockRank::UserInfoMap};
    std::map<std::string, std::unique_ptr<CUserInfo>> m_mapUsers GUARDED_BY(m_lock);
};

// The one object of the process.
inline CUserInfoMap& UserInfoMap() { return Kernova::XTL::Singleton<CUserInfoMap>::Instance(); }

// The wire's record of one user, as both lists carry it.
void FillCheckOutInfo(XCheckOutInfo& record, const CUserInfo& info);
