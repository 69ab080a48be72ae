#include "sandbox/wire/Faults.h"

#include <algorithm>
#include <climits>
#include <iterator>
#include <nlohmann/json.hpp>

#include "sandbox/base/Printable.h"
#include "sandbox/wire/AnyMessage.h"
#include "sandbox/wire/Frames.h"

namespace Sandbox {
namespace {

using std::chrono::milliseconds;
using Wirova::ClassInfo;

constexpr std::int64_t kMaxDelay = 600'000;  // milliseconds
constexpr std::int64_t kHold = 1'000;        // milliseconds, unless given
constexpr std::size_t kMaxText = 1024;
constexpr std::size_t kMaxName = 64;  // of a connector, bytes

bool HasReqID(const ClassInfo& info) { return GetReqID(*info.pfnMake()).has_value(); }

bool CanBeRefused(const ClassInfo& info) { return SetRefused(*info.pfnMake(), 0, ""); }

}  // namespace

// One row for each kind of fault: what an order must say, and what the fault does to a message.
struct Faults::Kind {
    const char* pszName;
    const char* pszValue;  // key of the number that the kind takes; null: it takes none
    std::int64_t nMin, nMax;
    std::optional<std::int64_t> nDefault;
    bool bIncoming;  // possible for messages of the connector too, not only for messages to it
    bool bText;      // takes a text beside the number
    void (*apply)(Mishap& mishap, const Fault& fault);
};

const Faults::Kind Faults::kKinds[] = {
    {"delay",
     "ms",
     1,
     kMaxDelay,
     {},
     true,
     false,
     [](Mishap& mishap, const Fault& fault) { mishap.delay += milliseconds(fault.nValue); }},
    {"drop", nullptr, 0, 0, {}, true, false, [](Mishap& mishap, const Fault&) { mishap.bDrop = true; }},
    {"duplicate", nullptr, 0, 0, {}, false, false, [](Mishap& mishap, const Fault&) { ++mishap.nCopies; }},
    {"refuse",
     "code",
     INT_MIN,
     INT_MAX,
     {},
     true,
     true,
     [](Mishap& mishap, const Fault& fault) {
         mishap.refused = Mishap::Refused{static_cast<int>(fault.nValue), fault.strText};
     }},
    {"cut",
     "bytes",
     0,
     kMaxFrameBody,
     {},
     false,
     false,
     [](Mishap& mishap, const Fault& fault) { mishap.nCutAfter = static_cast<std::size_t>(fault.nValue); }},
    {"split",
     "bytes",
     1,
     kMaxFrameBody,
     {},
     false,
     false,
     [](Mishap& mishap, const Fault& fault) { mishap.nPiece = static_cast<std::size_t>(fault.nValue); }},
    {"coalesce", "ms", 1, kMaxDelay, kHold, false, false,
     [](Mishap& mishap, const Fault& fault) { mishap.hold = milliseconds(fault.nValue); }},
    {"reqId",
     "reqId",
     INT_MIN,
     INT_MAX,
     {},
     false,
     false,
     [](Mishap& mishap, const Fault& fault) { mishap.nReqID = static_cast<std::int32_t>(fault.nValue); }},
};

Json Faults::Add(const Json& json)
{
    JsonObject object(json, "");
    Fault fault;
    const std::string strClass = object.Text("class", kMaxName, nullptr);
    fault.pClass = FindClassByName(strClass);
    if (fault.pClass == nullptr)
        object.Fail("class", "there is no message '" + Printable(strClass) + "'");
    const std::string strKind = object.Text("kind", kMaxName, nullptr);
    fault.pKind = std::find_if(std::begin(kKinds), std::end(kKinds),
                               [&](const Kind& kind) { return strKind == kind.pszName; });
    if (fault.pKind == std::end(kKinds)) {
        object.Fail("kind", "delay, drop, duplicate, refuse, cut, split, coalesce or reqId is expected");
    }
    const Kind& kind = *fault.pKind;
    if (kind.pszValue != nullptr) {
        fault.nValue = kind.nDefault ? object.Number(kind.pszValue, kind.nMin, kind.nMax, *kind.nDefault)
                                     : object.Number(kind.pszValue, kind.nMin, kind.nMax);
    }
    if (kind.bText)
        fault.strText = object.Text("text", kMaxText, "");
    CheckFits(object, fault);
    fault.strConnector = object.Text("connector", kMaxName, "");
    if (!fault.strConnector.empty() &&
        std::count(fault.strConnector.begin(), fault.strConnector.end(), '/') < 2)
        object.Fail("connector", "GID/SID/WID is expected");
    fault.nCount = object.Number("count", 0, INT_MAX, 1);
    fault.dProbability = object.Fraction("probability", 1);
    fault.nSeed = static_cast<std::uint32_t>(object.Number("seed", 0, UINT32_MAX, m_nLastNumber + 1));
    fault.random.seed(fault.nSeed);
    object.Done();
    if (m_vecFaults.size() >= kMaxFaults)
        object.Fail("", "there are " + std::to_string(kMaxFaults) + " faults already");
    fault.nNumber = ++m_nLastNumber;
    m_vecFaults.push_back(std::move(fault));
    return ToJson(m_vecFaults.back());
}

void Faults::CheckFits(const JsonObject& object, const Fault& fault)
{
    const bool bIncoming = ComesFromConnector(*fault.pClass);
    const std::string strClass = fault.pClass->pszName, strKind = fault.pKind->pszName;
    if (bIncoming && !fault.pKind->bIncoming)
        object.Fail("kind", strKind + " is not possible: " + strClass + " comes from the connector");
    if (strKind == "reqId" && !HasReqID(*fault.pClass))
        object.Fail("kind", strClass + " has no Req ID");
    if (strKind != "refuse")
        return;
    const ClassInfo* const pAnswer = bIncoming ? AnswerOf(*fault.pClass) : fault.pClass;
    if (pAnswer == nullptr || !CanBeRefused(*pAnswer))
        object.Fail("kind", strClass + " cannot be refused: there is no result to say so with");
}

Json Faults::List() const
{
    Json json = Json::array();
    for (const Fault& fault : m_vecFaults)
        json.push_back(ToJson(fault));
    return json;
}

Json Faults::ToJson(const Fault& fault)
{
    Json json = {{"number", fault.nNumber}, {"class", fault.pClass->pszName}, {"kind", fault.pKind->pszName}};
    if (fault.pKind->pszValue != nullptr)
        json[fault.pKind->pszValue] = fault.nValue;
    if (fault.pKind->bText)
        json["text"] = fault.strText;
    if (!fault.strConnector.empty())
        json["connector"] = fault.strConnector;
    json["count"] = fault.nCount;
    json["probability"] = fault.dProbability;
    json["seed"] = fault.nSeed;
    json["hits"] = fault.nHits;
    return json;
}

std::size_t Faults::RemoveAll()
{
    const std::size_t nRemoved = m_vecFaults.size();
    m_vecFaults.clear();
    return nRemoved;
}

Mishap Faults::Take(Wirova::int32 nMsgID, const std::string& strConnector)
{
    Mishap mishap;
    for (Fault& fault : m_vecFaults) {
        if (fault.pClass->nMsgID != nMsgID ||
            (!fault.strConnector.empty() && fault.strConnector != strConnector) || !Hits(fault))
            continue;
        ++fault.nHits;
        fault.pKind->apply(mishap, fault);
        mishap.vecNames.push_back(std::to_string(fault.nNumber) + ' ' + fault.pKind->pszName);
    }
    std::erase_if(m_vecFaults,
                  [](const Fault& fault) { return fault.nCount != 0 && fault.nHits >= fault.nCount; });
    return mishap;
}

// Draws whether a fault with a probability applies. The generator and the division are exact, so the same
// seed gives the same series on every machine.
bool Faults::Hits(Fault& fault)
{
    const double dDrawn = static_cast<double>(fault.random()) / (static_cast<double>(UINT32_MAX) + 1);
    return dDrawn < fault.dProbability;
}

}  // namespace Sandbox
