// Which calls, callbacks and failure cases the linked game servers have met so far. Derived from the messages
// that pass, the faults that hit them, and what becomes of links. Belongs to the server's thread.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <vector>

#include "sandbox/base/Json.h"
#include "sandbox/wire/Faults.h"
#include "sandbox/wire/MessageLog.h"
#include "sandbox/wire/Outages.h"

namespace Sandbox {

// How an item is met.
enum class Sign {
    Passed,    // a message of the class has passed
    Done,      // the message says that what was asked has been done
    Refused,   // the message says that it has not
    Result,    // the message has this result
    Event,     // the notice has this event code
    Dropped,   // a fault has kept the request or its answer away
    Late,      // a fault has held one of them back for longer than the library waits
    LinkLost,  // the link was lost while the request waited for its answer
    Told,      // Coverage's own rules have seen it; a code of Coverage::Case
};

// One thing that a game server should have met before it goes live.
struct CoverageItem {
    std::string strID;     // "Checkin/refused/2"
    std::string strGroup;  // one of CoverageGroups
    std::string strWhat;
    std::string strNext;  // one sentence: what brings it about
    Sign sign = Sign::Passed;
    Wirova::int32 nMsgID = 0;  // of the message, or of the request of a call
    int nCode = 0;             // of the result, event or case
};

const std::vector<std::string>& CoverageGroups();
const std::vector<CoverageItem>& CoverageItems();  // the whole table, group by group

class Coverage {
public:
    // What only a look at several messages or at the links tells.
    enum Case {
        kReconnected,  // registered again after the link was lost
        kServiceBack,  // registered again after connections were refused
        kHalfOpen,     // the service lost the link, and the connector saw it open
        kFrozen,       // the link stood still
        kSlow,         // the link was slow
        kUserList,     // a list with users followed a registration
        kFailedCheckOuts,
        kOwnExpiry,   // the library has checked a user out by its own clock
        kTimeOver,    // the same, after an event of the service
        kLateUndone,  // a late checkin was taken back
        kCheckedInTwice,
        kSavedTwice,   // the same order was delivered twice
        kBoxLookedAt,  // the box was asked for after a purchase without an answer
        kCaseCount,
    };
    static constexpr std::size_t kMaxConnectors = 1000;  // more are counted together only
    static constexpr std::int64_t kLibraryWaits = 5000;  // milliseconds for an answer

    Coverage();

    void OnMessage(const LoggedMessage& message, const Wirova::IMessage& msg);
    void OnMishap(const std::string& strConnector, Wirova::int32 nMsgID, const Mishap& mishap);
    // An outage begins for that link. Refuse, which no link has, is told with an empty name.
    void OnOutage(const std::string& strConnector, Outage::Kind kind);
    void OnClosed(const std::string& strConnector, bool bRefusing);
    void Reset();  // nothing has been met; links stay known

    struct Count {
        std::size_t nItems = 0, nMet = 0;
    };
    Count CountOf(const std::string& strGroup) const;  // empty: of all groups
    // Empty texts: of all connectors, of all groups. False if there is no such connector.
    bool ToJson(const std::string& strConnector, const std::string& strGroup, Json& json) const;

private:
    struct Waiting {
        Wirova::int32 nRequest;  // message id of the request whose answer does not come
        std::chrono::steady_clock::time_point since;
    };
    struct State {
        std::vector<std::uint32_t> vecMet;  // how often, by item
        bool bLinked = false, bBefore = false, bRefused = false, bBoxDue = false;
        int nLateCheckins = 0;
        std::deque<Waiting> listWaiting;
        // The last of each: users who are in, users whose time is over, orders that were to be saved.
        std::deque<std::string> listIn, listOver, listSaved;
    };

    State* StateOf(const std::string& strConnector);  // null before the registration, and for one too many
    void Meet(State* pState, std::size_t nItem);
    void Meet(State* pState, Case which) { Meet(pState, m_arrCases[which]); }
    void FollowLink(const std::string& strConnector, const Wirova::IMessage& msg);
    void FollowSession(State& state, const LoggedMessage& message, const Wirova::IMessage& msg);
    static bool IsMet(const CoverageItem& item, int nCode);

    std::multimap<Wirova::int32, std::size_t> m_mapByMessage;  // items that a message of the class may meet
    std::multimap<Wirova::int32, std::size_t> m_mapByMishap;   // items that a fault of the class may meet
    std::size_t m_arrCases[kCaseCount] = {};
    State m_all;
    std::map<std::string, State> m_mapStates;
    std::map<std::string, std::string> m_mapNames;  // of peers that register: address and connector
};

}  // namespace Sandbox
