#include "sandbox/wire/Faults.h"

#include <algorithm>
#include <climits>
#include <iterator>
#include <nlohmann/json.hpp>

#include "sandbox/wire/AnyMessage.h"
#include "sandbox/wire/Frames.h"

namespace Sandbox {
namespace {

using std::chrono::milliseconds;
using Wirova::ClassInfo;

constexpr std::int64_t kMaxDelay = 600'000;  // milliseconds
constexpr std::int64_t kHold = 1'000;        // milliseconds, unless given
constexpr std::int64_t kMaxText = 1024;
constexpr std::int64_t kMaxName = 64;  // of a class, kind, user or connector, bytes

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

Arguments Faults::Describe()
{
    std::vector<std::string> vecClasses = {kAllClasses}, vecKinds;
    for (const ClassInfo& info : Wirova::AllClasses()) {
        if (!info.bRecord)
            vecClasses.emplace_back(info.pszName);
    }
    Arguments values;
    for (const Kind& kind : kKinds) {
        vecKinds.emplace_back(kind.pszName);
        if (kind.pszValue == nullptr)
            continue;
        const auto it = std::find_if(values.begin(), values.end(), [&](const Argument& argument) {
            return argument.strName == kind.pszValue;
        });
        Argument& value =
            it != values.end()
                ? *it
                : values.emplace_back(Argument::Number(kind.pszValue, kind.nMin, kind.nMax, ""));
        value.nMin = std::min(value.nMin, kind.nMin);
        value.nMax = std::max(value.nMax, kind.nMax);
        value.vecOnlyFor.emplace_back(kind.pszName);
    }
    Argument probability{.strName = "probability",
                         .type = Argument::Type::Fraction,
                         .strHelp = "0 to 1: which of the messages",
                         .strDefault = "1.0"};
    return Arguments{Argument::Text("class", kMaxName, "a message class, or * for all that the kind is for")
                         .Required()
                         .OneOf(std::move(vecClasses)),
                     Argument::Text("kind", kMaxName, "").Required().OneOf(std::move(vecKinds))} +
           values +
           Arguments{Argument::Text("text", kMaxText, "the text of the refusal").OnlyFor({"refuse"}),
                     Argument::Text("user", kMaxName, "a user id: only messages about this user"),
                     Argument::Text("connector", kMaxName, "GID/SID/WID: only its messages"),
                     Argument::Number("count", 0, INT_MAX, "how many messages; 0: until it is removed")
                         .Default("1"),
                     std::move(probability),
                     Argument::Number("seed", 0, UINT32_MAX, "of the chance; the fault's id, unless given")};
}

Json Faults::Add(const Json& given, int nID, std::vector<std::string> vecUsers)
{
    JsonObject object(given, "");
    Fault fault;
    fault.nID = nID;
    const std::string strKind = given["kind"];
    fault.pKind = std::find_if(std::begin(kKinds), std::end(kKinds),
                               [&](const Kind& kind) { return strKind == kind.pszName; });
    fault.strClass = given["class"];
    SetClass(object, fault);
    SetValue(object, fault);
    fault.strConnector = given.value("connector", "");
    if (!fault.strConnector.empty() &&
        std::count(fault.strConnector.begin(), fault.strConnector.end(), '/') < 2)
        object.Fail("connector", "GID/SID/WID is expected");
    fault.vecUsers = std::move(vecUsers);
    fault.nCount = given["count"];
    fault.dProbability = given["probability"];
    fault.nSeed = given.value("seed", static_cast<std::uint32_t>(nID));
    fault.random.seed(fault.nSeed);
    if (m_vecFaults.size() >= kMaxFaults)
        object.Fail("", "there are " + std::to_string(kMaxFaults) + " faults already");
    m_vecFaults.push_back(std::move(fault));
    return ToJson(m_vecFaults.back());
}

void Faults::SetClass(const JsonObject& object, Fault& fault)
{
    for (const ClassInfo& info : Wirova::AllClasses()) {
        if (info.bRecord || (fault.strClass != kAllClasses && fault.strClass != info.pszName))
            continue;
        const std::string strWhyNot = WhyNot(info, *fault.pKind);
        if (strWhyNot.empty())
            fault.setMsgIDs.insert(info.nMsgID);
        else if (fault.strClass != kAllClasses)
            object.Fail("kind", strWhyNot);
    }
}

// The number and the text that the kind takes. Those of other kinds are mistakes.
void Faults::SetValue(JsonObject& object, Fault& fault)
{
    const Kind& kind = *fault.pKind;
    const std::string strValue = kind.pszValue != nullptr ? kind.pszValue : "";
    for (const Kind& other : kKinds) {
        if (other.pszValue != nullptr && other.pszValue != strValue && object.Has(other.pszValue))
            object.Fail(other.pszValue, std::string("is not known to ") + kind.pszName);
    }
    if (kind.pszValue != nullptr) {
        fault.nValue = kind.nDefault ? object.Number(strValue, kind.nMin, kind.nMax, *kind.nDefault)
                                     : object.Number(strValue, kind.nMin, kind.nMax);
    }
    if (!kind.bText && object.Has("text"))
        object.Fail("text", std::string("is not known to ") + kind.pszName);
    fault.strText = object.Text("text", kMaxText, "");
}

// Why a fault of that kind cannot befall messages of that class; empty if it can.
std::string Faults::WhyNot(const ClassInfo& info, const Kind& kind)
{
    const bool bIncoming = ComesFromConnector(info);
    const std::string strClass = info.pszName, strKind = kind.pszName;
    if (bIncoming && !kind.bIncoming)
        return strKind + " is not possible: " + strClass + " comes from the connector";
    if (strKind == "reqId" && !HasReqID(info))
        return strClass + " has no Req ID";
    const ClassInfo* const pAnswer = bIncoming ? AnswerOf(info) : &info;
    if (strKind == "refuse" && (pAnswer == nullptr || !CanBeRefused(*pAnswer)))
        return strClass + " cannot be refused: there is no result to say so with";
    return "";
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
    Json json = {{"id", fault.nID}, {"class", fault.strClass}, {"kind", fault.pKind->pszName}};
    if (fault.pKind->pszValue != nullptr)
        json[fault.pKind->pszValue] = fault.nValue;
    if (fault.pKind->bText)
        json["text"] = fault.strText;
    if (!fault.vecUsers.empty())
        json["user"] = fault.vecUsers.front();
    if (!fault.strConnector.empty())
        json["connector"] = fault.strConnector;
    json["count"] = fault.nCount;
    json["probability"] = fault.dProbability;
    json["seed"] = fault.nSeed;
    json["hits"] = fault.nHits;
    return json;
}

bool Faults::Remove(int nID)
{
    return std::erase_if(m_vecFaults, [&](const Fault& fault) { return fault.nID == nID; }) > 0;
}

std::size_t Faults::RemoveAll()
{
    const std::size_t nRemoved = m_vecFaults.size();
    m_vecFaults.clear();
    return nRemoved;
}

bool Faults::AsksForUsers() const
{
    return std::any_of(m_vecFaults.begin(), m_vecFaults.end(),
                       [](const Fault& fault) { return !fault.vecUsers.empty(); });
}

Mishap Faults::Take(Wirova::int32 nMsgID, const std::string& strConnector,
                    const std::vector<std::string>& vecUsers)
{
    Mishap mishap;
    for (Fault& fault : m_vecFaults) {
        if (!Meets(fault, nMsgID, strConnector, vecUsers) || !IsDrawn(fault))
            continue;
        ++fault.nHits;
        fault.pKind->apply(mishap, fault);
        mishap.vecNames.push_back(std::to_string(fault.nID) + ' ' + fault.pKind->pszName);
    }
    std::erase_if(m_vecFaults,
                  [](const Fault& fault) { return fault.nCount != 0 && fault.nHits >= fault.nCount; });
    return mishap;
}

bool Faults::Meets(const Fault& fault, Wirova::int32 nMsgID, const std::string& strConnector,
                   const std::vector<std::string>& vecUsers)
{
    return fault.setMsgIDs.contains(nMsgID) &&
           (fault.strConnector.empty() || fault.strConnector == strConnector) &&
           (fault.vecUsers.empty() ||
            std::find_first_of(fault.vecUsers.begin(), fault.vecUsers.end(), vecUsers.begin(),
                               vecUsers.end()) != fault.vecUsers.end());
}

// Draws whether a fault with a probability applies. The generator and the division are exact, so the same
// seed gives the same series on every machine.
bool Faults::IsDrawn(Fault& fault)
{
    const double dDrawn = static_cast<double>(fault.random()) / (static_cast<double>(UINT32_MAX) + 1);
    return dDrawn < fault.dProbability;
}

}  // namespace Sandbox
