// Faults that somebody has ordered for the messages of a class: delays, losses, refusals, broken bytes.
// Belongs to the server's thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "sandbox/base/Json.h"
#include "wirova/messages/MessageCatalog.h"

namespace Sandbox {

// What the ordered faults do to one message, all that apply taken together.
struct Mishap {
    std::vector<std::string> vecNames;  // number and kind of each fault, "2 delay"
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

    // Orders a fault, written as docs/sandbox-triggers.md describes it. Returns the fault as List shows it.
    // Throws JsonError and has ordered nothing then.
    Json Add(const Json& json);
    Json List() const;        // the faults that are not used up, oldest first
    std::size_t RemoveAll();  // returns how many there were

    // What happens to a message of that class on that connector. Counts the message for every fault that
    // applies; a fault whose count is reached is removed.
    Mishap Take(Wirova::int32 nMsgID, const std::string& strConnector);

private:
    struct Kind;
    static const Kind kKinds[];
    struct Fault {
        int nNumber = 0;
        const Wirova::ClassInfo* pClass = nullptr;
        const Kind* pKind = nullptr;
        std::int64_t nValue = 0;   // milliseconds, bytes, a result or a Req ID, as the kind has it
        std::string strText;       // of a refusal
        std::string strConnector;  // empty: all
        std::int64_t nCount = 1;   // messages; 0: until it is removed
        std::int64_t nHits = 0;
        double dProbability = 1;
        std::uint32_t nSeed = 0;
        std::mt19937 random;
    };
    static Json ToJson(const Fault& fault);
    static void CheckFits(const JsonObject& object, const Fault& fault);
    static bool Hits(Fault& fault);

    std::vector<Fault> m_vecFaults;
    int m_nLastNumber = 0;
};

}  // namespace Sandbox
