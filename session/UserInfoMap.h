// The users who are checked in on this game server. A user enters with a successful checkin or move, and
// leaves with a checkout, a move away, the end of the term, or an order of the service. In memory only. A
// loss of the connection does not change the map; after the next one the service is sent the whole list.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>

#include "platform/KernovaXtl.h"
#include "session/UserInfo.h"
#include "wirova/messages/SessionMessages.h"

// Any thread. Every operation takes the lock once, unless its comment says otherwise. The lock comes behind
// the active link list and before the lock of CFailedCheckOutVector. Keys are the texts by which the game
// names its users.
class CUserInfoMap {
public:
    // Enters a copy of the record and replaces a record of the same key. False for an empty key or an invalid
    // record. Removal and insertion take the lock separately: false also if another thread enters the key in
    // between.
    bool AddUserInfo(std::string strKey, const CUserInfo& info);
    bool RemoveUserInfo(std::string strKey);                // true if a record was removed
    bool FindUserInfo(std::string strKey, CUserInfo& out);  // copies into out on true only
    bool HasUserInfo(std::string strKey);
    static bool IsValidUserInfo(const CUserInfo& info);  // false if key and IP are both empty
    void RemoveAllUserInfo();
    std::size_t GetCount();

    // Runs complete(), which wakes the caller of a checkin and returns whether there was one. If there was
    // one and bAdd is set, adds the user. Both happen under one hold of the lock: a Checkout that the woken
    // caller makes at once finds the user. Returns the result of complete().
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

    // One walk over all users for the charge of one product. onExpired(info) is called, with the map's lock
    // held, for each user of any product whose term has ended; the caller of the scan removes these users
    // afterwards. The users of this product who are to be charged are appended to the list and lose their
    // first mark. False when memory has run out; what was appended stays.
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

// Fills the wire record of one user, which the list of failed checkouts and the list of checked-in users
// share.
void FillCheckOutInfo(XCheckOutInfo& record, const CUserInfo& info);
