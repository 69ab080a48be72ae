// The users who are checked in on this game server. A user enters with a successful checkin or move, and
// leaves with a checkout, a move away, the end of the term, or an order of the service. In memory only. A
// loss of the connection does not change the map; after the next one the service is sent the whole list.
#pragma once

#include <array>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/KernovaXtl.h"
#include "session/UserInfo.h"
#include "wirova/messages/SessionMessages.h"

// A user whose term has ended: what the game is told, and which record is removed afterwards.
struct ExpiredUser {
    std::string strKey;
    std::string strUserIP;
    std::uint64_t nRecordNo;
};

// Any thread. Every operation takes the lock once. The lock comes behind the active link list and before the
// lock of CFailedCheckOutVector. Keys are the texts by which the game names its users. A key names a user; a
// record is one session of the user and has a number of its own. Whoever has found a record and comes back to
// it later goes by the number, because the user may have checked in again meanwhile. Numbers follow the order
// in which the link has accepted the requests: of two checkins of a user the service keeps the later session.
class CUserInfoMap {
    using Users = std::map<std::string, std::unique_ptr<CUserInfo>, std::less<>>;

public:
    // Enters a copy of the record and replaces a record of the same key. False for an empty key, an invalid
    // record, or a record of an earlier life of the library.
    bool AddUserInfo(std::string strKey, const CUserInfo& info);
    bool RemoveUserInfo(std::string strKey);                // true if a record was removed
    bool FindUserInfo(std::string strKey, CUserInfo& out);  // copies into out on true only
    bool HasUserInfo(std::string strKey);
    static bool IsValidUserInfo(const CUserInfo& info);  // false if key and IP are both empty
    void RemoveAllUserInfo();
    std::size_t GetCount();

    // Removes the record of that number. A later record of the user stays. Takes no memory.
    bool RemoveRecord(std::string_view key, std::uint64_t nRecordNo);
    // Marks the record of that number as leaving: it is on no list and in no charge message any more, and
    // stays to be found by its key until it is removed. Takes no memory.
    void SetLeaving(std::string_view key, std::uint64_t nRecordNo);

    // A record with its place in the map, made in advance so that Enter cannot fail for want of memory. Empty
    // for an empty key or an invalid record, and then Enter does nothing.
    using Place = Users::node_type;
    static Place MakePlace(std::string strKey, const CUserInfo& info);
    // Enters the session of the request of that Req ID; 0 for a session without a CheckinScope. False, with
    // nothing changed, if the map holds a session of the user that was asked for later: the service has
    // ended this one.
    bool Enter(Place place, int nReqID = 0);

    // Runs complete(), which wakes the caller of a checkin and returns whether there was one. If there was
    // one, enters the user. Both happen under one hold of the lock: a Checkout that the woken caller makes at
    // once finds the user. Returns the result of complete().
    template <class Complete>
    bool CompleteAndEnter(Place place, int nReqID, Complete complete)
    {
        const Kernova::XTL::ScopedLock lock(m_lock);
        if (!complete())
            return false;
        EnterLocked(place, nReqID);
        return true;
    }

    // For the length of a checkin, or of a move that takes a user over. The key is the caller's. Takes no
    // memory: the scopes are chained through themselves.
    class CheckinScope {
    public:
        CheckinScope(CUserInfoMap& map, std::string_view key, int nReqID);
        ~CheckinScope();
        CheckinScope(const CheckinScope&) = delete;
        CheckinScope& operator=(const CheckinScope&) = delete;

    private:
        friend class CUserInfoMap;
        CUserInfoMap& m_map;
        const std::string_view m_key;
        const int m_nReqID;
        CheckinScope* m_pNext = nullptr;
        std::uint64_t m_nRecordNo = 0;  // of the session to come; 0 until the link has accepted the request
    };
    // The link has accepted the request of that scope. With the active link list locked. Takes no memory.
    void SetSent(int nReqID);
    // What there is of the user beside the session of that Seq No.
    enum class Other {
        None,  // nothing: the user is not in the map and no checkin is under way
        Same,  // the map's session is that very session
        Some,  // another session, or a checkin that may become one
    };
    Other LookForOther(std::string_view key, std::string_view seqNo);

    // One step of the walk that finds the users whose term has ended, of any product. The step begins behind
    // the key strAfter, which it moves on, and ends after nMost expired users or at the end of the map.
    // checkOut(info) is called for each with the map's lock held; the record is then marked as leaving and
    // appended to the list. The caller tells the game and removes these records afterwards. False at the end
    // of the map. An exception leaves what has been appended in the list.
    bool FindExpired(std::string& strAfter, const Host::LocalTime& now, std::size_t nMost,
                     std::vector<ExpiredUser>& vecExpired,
                     const std::function<void(const CUserInfo&)>& checkOut);

    // Appends the users of the product who are to be charged; they lose their first mark. Who is leaving is
    // left out, and so is whose term has ended at that time. False when memory has run out; what was appended
    // stays.
    bool ScanUsersForCharge(Wirova::RecordVector<XChargeInfo>& list, int nProductId,
                            const Host::LocalTime& now);

    // One record for each user who is not leaving, in ascending order of the key. False for an empty list or
    // when memory has run out; what was appended stays.
    bool GetUserCheckOutList(Wirova::RecordVector<XCheckOutInfo>& list);

private:
    Users::iterator Find(std::string_view key, std::uint64_t nRecordNo) REQUIRES(m_lock);  // or the end
    // Where the scope of that Req ID is pointed to, or the end of its chain.
    CheckinScope*& FindScope(int nReqID) REQUIRES(m_lock);
    bool EnterLocked(Place& place, int nReqID) REQUIRES(m_lock);
    void CountUsers() const REQUIRES(m_lock);

    Kernova::Threading::CriticalSection m_lock{Kernova::XTL::kSpinCount,
                                               Kernova::Threading::LockRank::UserInfoMap};
    Users m_mapUsers GUARDED_BY(m_lock);
    std::uint64_t m_nLastRecordNo GUARDED_BY(m_lock) = 0;  // never starts again
    std::array<CheckinScope*, 64> m_arrScopes GUARDED_BY(m_lock){};
};

// The one object of the process.
inline CUserInfoMap& UserInfoMap() { return Kernova::XTL::Singleton<CUserInfoMap>::Instance(); }

// Fills the wire record of one user, which the list of failed checkouts and the list of checked-in users
// share.
void FillCheckOutInfo(XCheckOutInfo& record, const CUserInfo& info);
