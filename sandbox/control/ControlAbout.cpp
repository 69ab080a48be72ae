// The routes that tell of the sandbox itself.
#include <algorithm>
#include <cctype>
#include <nlohmann/json.hpp>

#include "sandbox/base/DateText.h"
#include "sandbox/base/Printable.h"
#include "sandbox/base/Version.h"
#include "sandbox/control/Control.h"
#include "wirova/messages/MessageCatalog.h"

namespace Sandbox {
namespace {

std::size_t CountLinked(const std::map<Identity, Connector>& connectors)
{
    return static_cast<std::size_t>(std::count_if(
        connectors.begin(), connectors.end(), [](const auto& item) { return item.second.pLink != nullptr; }));
}

}  // namespace

void Control::Routes(const Json&, const Respond& respond)
{
    Json list = Json::array();
    for (const Route& route : GetRoutes()) {
        list.push_back({{"method", route.strMethod},
                        {"path", route.strPath},
                        {"help", route.strHelp},
                        {"arguments", DescribeArguments(route.arguments)}});
    }
    respond(JsonReply(200, {{"routes", list}}));
}

// The answers are not described in detail: each is an object, or an error.
void Control::OpenApi(const Json&, const Respond& respond)
{
    const Json error = {
        {"description", "What is wrong; nothing has happened"},
        {"content",
         {{"application/json",
           {{"schema", {{"type", "object"}, {"properties", {{"error", {{"type", "string"}}}}}}}}}}}};
    Json paths = Json::object();
    for (const Route& route : GetRoutes()) {
        Json operation = {{"summary", route.strHelp}};
        if (!route.IsAskedByQuery()) {
            operation["requestBody"]["content"]["application/json"]["schema"] = SchemaOf(route.arguments);
        } else if (!route.arguments.empty()) {
            for (const Argument& argument : route.arguments) {
                operation["parameters"].push_back({{"name", argument.strName},
                                                   {"in", "query"},
                                                   {"required", argument.bRequired},
                                                   {"schema", SchemaOf(argument)}});
            }
        }
        operation["responses"] = {{"200", {{"description", "Done"}}}, {"default", error}};
        std::string strMethod = route.strMethod;
        std::transform(strMethod.begin(), strMethod.end(), strMethod.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        paths[route.strPath][strMethod] = operation;
    }
    respond(JsonReply(200, {{"openapi", "3.0.3"},
                            {"info", {{"title", "velkar-sandbox"}, {"version", kVersion}}},
                            {"paths", paths}}));
}

// ---- how it is ----

void Control::Health(const Json&, const Respond& respond)
{
    m_.store.GetUsers(1);  // throws if the database does not answer
    const auto& connectors = m_.registry.GetConnectors();
    Json health = {{"status", "ok"},
                   {"version", kVersion},
                   {"uptimeSeconds", (m_.clock.SocketMilliseconds() - m_msStarted) / 1000},
                   {"connectors", connectors.size()},
                   {"linked", CountLinked(connectors)},
                   {"now", FormatDate(m_.clock.Now())},
                   {"aheadSeconds", m_.clock.GetAhead()},
                   {"faults", m_.faults.GetCount()},
                   {"outages", m_.outages.GetCount()}};
    if (Studio* const pStudio = m_.store.GetStudio())
        health.update({{"sandbox", pStudio->GetID()}, {"sandboxes", pStudio->Count()}});
    respond(JsonReply(200, health));
}

void Control::Metrics(const Json&, const Respond& respond)
{
    std::string strText;
    const auto head = [&](const std::string& strName, const char* pszType, const char* pszHelp) {
        strText += "# HELP velkar_sandbox_" + strName + ' ' + pszHelp + "\n# TYPE velkar_sandbox_" + strName +
                   ' ' + pszType + '\n';
    };
    const auto single = [&](const std::string& strName, const char* pszType, const char* pszHelp,
                            std::uint64_t nValue) {
        head(strName, pszType, pszHelp);
        strText += "velkar_sandbox_" + strName + ' ' + std::to_string(nValue) + '\n';
    };
    const auto& connectors = m_.registry.GetConnectors();
    const Store::Counts counts = m_.store.Count();
    single("connectors", "gauge", "Connectors that are linked or remembered.", connectors.size());
    single("links", "gauge", "Connectors that are linked.", CountLinked(connectors));
    single("users", "gauge", "Users in the database.", counts.nUsers);
    single("sessions", "gauge", "Users who are checked in.", counts.nSessions);
    single("orders", "gauge", "Orders in the database.", counts.nOrders);
    single("faults", "gauge", "Faults that wait to happen.", m_.faults.GetCount());
    single("outages", "gauge", "Outages that go on.", m_.outages.GetCount());
    single("clock_ahead_seconds", "gauge", "How far the clock of the rules is ahead.",
           static_cast<std::uint64_t>(m_.clock.GetAhead()));
    single("http_requests_total", "counter", "Requests of the HTTP interface.", m_nRequests);
    single("event_readers", "gauge", "Readers of the live stream.", m_.feed.GetReaders());
    single("events_lost_total", "counter", "Events that slow readers have lost.", m_.feed.GetLost());
    for (const bool bMissing : {false, true}) {
        head(bMissing ? "coverage_missing" : "coverage_items", "gauge",
             bMissing ? "What no game server has met yet, by group."
                      : "What game servers should meet, by group.");
        for (const std::string& strGroup : CoverageGroups()) {
            const Coverage::Count count = m_.coverage.CountOf(strGroup);
            strText += std::string("velkar_sandbox_coverage_") + (bMissing ? "missing" : "items") +
                       "{group=\"" + strGroup + "\"} " +
                       std::to_string(count.nItems - (bMissing ? count.nMet : 0)) + '\n';
        }
    }
    head("messages_total", "counter", "Messages of the protocol.");
    for (const auto& [key, nCount] : m_.log.GetCounts()) {
        strText += "velkar_sandbox_messages_total{class=\"" + std::string(Wirova::MessageName(key.first)) +
                   "\",direction=\"" + (key.second == Direction::FromConnector ? "in" : "out") + "\"} " +
                   std::to_string(nCount) + '\n';
    }
    respond({200, strText, "text/plain; version=0.0.4", nullptr});
}

void Control::ShowCoverage(const Json& given, const Respond& respond)
{
    Json json;
    const std::string strConnector = given.value("connector", "");
    if (!m_.coverage.ToJson(strConnector, given.value("group", ""), json))
        throw HttpError(404, "No connector " + Quoted(strConnector) + " has registered.");
    respond(JsonReply(200, json));
}

void Control::ResetCoverage(const Json&, const Respond& respond)
{
    const std::size_t nMet = m_.coverage.CountOf("").nMet;
    m_.coverage.Reset();
    respond(JsonReply(200, {{"removed", nMet}}));
}

// ---- the clock ----

namespace {

constexpr char kLastDate[] = "20991231235959";  // to which the clock can be moved
// An advance passes in so many steps, each with its sweep: a rule that waits for another one is met too.
constexpr std::int64_t kSteps = 64;

}  // namespace

void Control::ShowClock(const Json&, const Respond& respond)
{
    respond(JsonReply(200, {{"now", FormatDate(m_.clock.Now())}, {"aheadSeconds", m_.clock.GetAhead()}}));
}

void Control::AdvanceClock(const Json& given, const Respond& respond)
{
    if (given.contains("seconds") == given.contains("to"))
        throw JsonError("either 'seconds' or 'to' is expected");
    std::int64_t nLeft = given.value("seconds", std::int64_t{0});
    if (given.contains("to"))
        nLeft = *ParseDate(given["to"]) - m_.clock.Now();
    if (nLeft < 0)
        throw HttpError(409,
                        "It is " + FormatDate(m_.clock.Now()) + " already, and the clock does not go back.");
    if (FormatDate(m_.clock.Now() + nLeft) > kLastDate)
        throw HttpError(409, std::string("The clock goes to ") + kLastDate + " at most.");
    const std::int64_t nStep = (nLeft + kSteps - 1) / kSteps;
    for (; nLeft > 0; nLeft -= nStep) {
        m_.clock.Advance(std::min(nStep, nLeft));
        m_.service.Sweep();
    }
    if (Studio* const pStudio = m_.store.GetStudio()) {
        pStudio->SetAhead(m_.clock.GetAhead());
        m_.courier.TellOthers({.nKind = Letter::Clock, .nValue = m_.clock.GetAhead()});
    }
    ShowClock(given, respond);
}

}  // namespace Sandbox
