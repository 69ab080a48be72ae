// Checkouts that have to reach the service: those that could not be sent, kept for the next accepted
// connection, where one XC2S_FailedCheckOutReq reports them all, and those that a link has accepted and that
// may yet be lost with it. In memory only: the end of the process, or UninitModule, loses them.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "platform/KernovaXtl.h"
#include "session/UserInfo.h"
#include "wirova/messages/SessionMessages.h"

// Any thread. The lock comes behind CUserInfoMap's lock.
//
// A checkout waits here until a link accepts it. Then it counts as sent, until the service has answered it or
// the link has lived on for a whole heartbeat cycle after the checkout's bytes had left; a link that is lost
// before gives its checkouts back, and they wait again. So a checkout may be delivered twice, which does no
// harm because it names its Seq No, but is never lost.
//
// A delivery is three steps of one thread: GetFailedCheckOutList fills the message and marks the waiting
// users as listed, DumpFailedUsers gives them as a text, ClearFailedUsers makes them sent. A user who is
// stored between the first step and the last is not listed and goes out with the next delivery.
class CFailedCheckOutVector {
    struct Entry {
        CUserInfo info;
        std::uint64_t nOrder = 0;  // of arrival
        int nReqID = 0;            // of a checkout that was sent by itself; 0 for one of a list
        int nBeats = 0;            // heartbeats that the link has outlived since
    };
    using Entries = std::multimap<std::string, Entry, std::less<>>;

public:
    virtual ~CFailedCheckOutVector() = default;

    // Stores a copy. Does nothing for a user without a key or an IP, for a user whose key, IP and Seq No wait
    // here already, and for a record of an earlier life of the library.
    void AddFailedUser(const CUserInfo& info) { AddFailed(MakePlace(info, 0)); }
    // A checkout with its place here, made before it is sent, so that neither AddFailed nor AddSent can fail
    // for want of memory. Empty for a user without a key or an IP.
    using Place = Entries::node_type;
    static Place MakePlace(const CUserInfo& info, int nReqID);
    void AddFailed(Place place);
    // The active link has accepted the checkout. With the active link list locked.
    void AddSent(Place place);

    // The service has answered the checkout. For a Req ID of -1, which many have, the user's oldest one.
    void OnAnswer(std::string_view key, int nReqID);
    // A heartbeat goes out. bAllLeft: no byte waits to be written to the link any more.
    void OnHeartbeat(bool bAllLeft);
    // The link has been lost, and no other thread can still send on it. Takes no memory.
    void OnLinkLost();

    // Appends one record for each waiting user to the list, in order of arrival; these users are now the
    // listed ones. False if there is no user or memory has run out, and then none is listed.
    bool GetFailedCheckOutList(Wirova::RecordVector<XCheckOutInfo>& list);
    // The listed users as a text for the log. False if no user is listed; out is then left as it is.
    bool DumpFailedUsers(std::string& out);
    // The listed users wait no more. Takes no memory.
    void ClearFailedUsers();

    // Gives all users up without telling the service.
    void RemoveAll();
    std::size_t GetCount();  // of those who wait
    std::size_t GetSentCount();

private:
    void Wait(Place place) REQUIRES(m_lock);
    void CountWaiting() const REQUIRES(m_lock);
    std::vector<const Entry*> InOrder(std::uint64_t nUpTo) REQUIRES(m_lock);

    Kernova::Threading::CriticalSection m_lock{Kernova::XTL::kSpinCount, Kernova::Threading::LockRank::Table};
    Entries m_mapWaiting GUARDED_BY(m_lock);
    Entries m_mapSent GUARDED_BY(m_lock);
    std::uint64_t m_nLastOrder GUARDED_BY(m_lock) = 0;
    std::uint64_t m_nListedUpTo GUARDED_BY(m_lock) = 0;  // waiting users of this order and below are listed
};

// The one object of the process.
inline CFailedCheckOutVector& FailedCheckOutVector()
{
    return Kernova::XTL::Singleton<CFailedCheckOutVector>::Instance();
}
