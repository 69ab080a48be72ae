#include "sandbox/wire/Outages.h"

#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>

namespace Sandbox {
namespace {

constexpr int kMaxConnectorName = 64;         // bytes of a connector
constexpr std::int64_t kMaxRate = 100 << 20;  // bytes a second
constexpr std::int64_t kMaxSeconds = 24 * 60 * 60;

// In the order of Outage::Kind.
constexpr const char* kKinds[] = {"refuse", "freeze", "cut", "slow", "half-open"};

Json ToJson(const Outage& outage)
{
    Json json = {{"id", outage.nID}, {"kind", kKinds[static_cast<int>(outage.kind)]}};
    if (!outage.strConnector.empty())
        json["connector"] = outage.strConnector;
    if (outage.kind == Outage::Kind::Slow)
        json["bytesPerSecond"] = outage.nBytesPerSecond;
    json["seconds"] = outage.nSeconds;
    return json;
}

}  // namespace

Arguments Outages::Describe()
{
    return {Argument::Text("kind", kMaxConnectorName,
                           "refuse connections; freeze links, cut them, make them slow or half-open")
                .Required()
                .OneOf({std::begin(kKinds), std::end(kKinds)}),
            Argument::Number("bytesPerSecond", 1, kMaxRate, "in each direction").OnlyFor({"slow"}),
            Argument::Text("connector", kMaxConnectorName, "GID/SID/WID: only its link")
                .OnlyFor({"freeze", "cut", "slow", "half-open"}),
            Argument::Number("seconds", 0, kMaxSeconds, "ends by itself then; 0: when it is removed")
                .Default("0")
                .OnlyFor({"refuse", "freeze", "slow", "half-open"})};
}

Json Outages::Add(const Json& given, int nID)
{
    const JsonObject object(given, "");
    Outage outage;
    outage.nID = nID;
    const std::string strKind = given["kind"];
    outage.kind = static_cast<Outage::Kind>(std::find(std::begin(kKinds), std::end(kKinds), strKind) -
                                            std::begin(kKinds));
    if (object.Has("bytesPerSecond") != (outage.kind == Outage::Kind::Slow))
        object.Fail("bytesPerSecond", "is for the kind slow, and compulsory there");
    if (object.Has("connector") && outage.kind == Outage::Kind::Refuse)
        object.Fail("connector", "is not known before there is a link");
    outage.strConnector = given.value("connector", "");
    outage.nBytesPerSecond = given.value("bytesPerSecond", std::size_t{0});
    outage.nSeconds = given["seconds"];
    if (m_vecOutages.size() >= kMaxOutages)
        object.Fail("", "there are " + std::to_string(kMaxOutages) + " outages already");
    if (outage.kind != Outage::Kind::Cut)
        m_vecOutages.push_back(outage);
    m_host.begin(outage);
    if (outage.nSeconds > 0)
        m_timers.After(std::chrono::seconds(outage.nSeconds), [this, nID] { Remove(nID); });
    return ToJson(outage);
}

Json Outages::List() const
{
    Json json = Json::array();
    for (const Outage& outage : m_vecOutages)
        json.push_back(ToJson(outage));
    return json;
}

bool Outages::Remove(int nID)
{
    const auto it = std::find_if(m_vecOutages.begin(), m_vecOutages.end(),
                                 [&](const Outage& outage) { return outage.nID == nID; });
    if (it == m_vecOutages.end())
        return false;
    const Outage ended = *it;
    m_vecOutages.erase(it);
    m_host.end(ended);
    return true;
}

std::size_t Outages::RemoveAll()
{
    std::size_t nRemoved = 0;
    for (; !m_vecOutages.empty(); ++nRemoved)
        Remove(m_vecOutages.back().nID);
    return nRemoved;
}

Outages::Pace Outages::PaceOf(const std::string& strConnector) const
{
    Pace pace;
    for (const Outage& outage : m_vecOutages) {
        if (!outage.strConnector.empty() && outage.strConnector != strConnector)
            continue;
        pace.bFrozen |= outage.kind == Outage::Kind::Freeze;
        if (outage.kind == Outage::Kind::Slow &&
            (pace.nBytesPerSecond == 0 || outage.nBytesPerSecond < pace.nBytesPerSecond))
            pace.nBytesPerSecond = outage.nBytesPerSecond;
    }
    return pace;
}

bool Outages::RefusesConnections() const
{
    return std::any_of(m_vecOutages.begin(), m_vecOutages.end(),
                       [](const Outage& outage) { return outage.kind == Outage::Kind::Refuse; });
}

}  // namespace Sandbox
