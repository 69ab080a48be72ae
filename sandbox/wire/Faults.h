// Faults that somebody has ordered for the messages of a class: delays, losses, refusals, broken bytes.
// Belongs to the server's thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "sandbox/base/Arguments.h"
#include "wirova/messages/MessageCatalog.h"

namespace Sandbox {

// What the ordered faults do to one message, all that apply taken together.
struct Mishap {
    std::vector<std::string> vecNames;  // id and kind of each fault, "2 delay"
    bool bDrop = false;
    std::chrono::milliseconds delay{0};
    int nCopies = 1;
    struct Refused {
        int nResult;
        std::string strText;
    };
    std::optional<Refused> refused;
    std::optional<std::int32_t> nReqID;
    std::optional<std::size_t> nCutAfter;  // bytes; the link is closed behind them
    std::size_t nPiece = 0;                // bytes; 0: not split
    std::chrono::milliseconds hold{0};
};

class Faults {
public:
    static constexpr std::size_t kMaxFaults = 100;
    static constexpr char kAllClasses[] = "*";

    static Arguments Describe();  // of an order
    // Orders a fault that Describe has checked; nID is its number. vecUsers has the names of the user whom
    // the order names, if it names one: a message that names another user is spared. Returns the fault as
    // List shows it. Throws JsonError and has ordered nothing then.
    Json Add(const Json& given, int nID, std::vector<std::string> vecUsers);
    Json List() const;        // the faults that are not used up, oldest first
    bool Remove(int nID);     // false if there is no such fault
    std::size_t RemoveAll();  // returns how many there were
    std::size_t GetCount() const { return m_vecFaults.size(); }

    // Whether Take has to know which users a message names.
    bool AsksForUsers() const;
    // What happens to a message of that class on that connector. Counts the message for every fault that
    // applies; a fault whose count is reached is removed.
    Mishap Take(Wirova::int32 nMsgID, const std::string& strConnector,
                const std::vector<std::string>& vecUsers);

private:
    struct Kind;
    static const Kind kKinds[];
    struct Fault {
        int nID = 0;
        const Kind* pKind = nullptr;
        std::string strClass;
        std::set<Wirova::int32> setMsgIDs;  // those of the class, or of all classes that the kind is for
        std::int64_t nValue = 0;            // milliseconds, bytes, a result or a Req ID, as the kind has it
        std::string strText;                // of a refusal
        std::string strConnector;           // empty: all
        std::vector<std::string> vecUsers;  // names of one user; empty: all users
        std::int64_t nCount = 1;            // messages; 0: until it is removed
        std::int64_t nHits = 0;
        double dProbability = 1;
        std::uint32_t nSeed = 0;
        std::mt19937 random;
    };
    static Json ToJson(const Fault& fault);
    static void SetClass(const JsonObject& object, Fault& fault);
    static void SetValue(JsonObject& object, Fault& fault);
    static bool Meets(const Fault& fault, Wirova::int32 nMsgID, const std::string& strConnector,
                      const std::vector<std::string>& vecUsers);
    static bool IsDrawn(Fault& fault);
    static std::string WhyNot(const Wirova::ClassInfo& info, const Kind& kind);

    std::vector<Fault> m_vecFaults;
};

}  // namespace Sandbox
