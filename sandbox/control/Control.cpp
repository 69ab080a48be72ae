#include "sandbox/control/Control.h"

#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string_view>
#include <utility>

#include "sandbox/base/DateText.h"
#include "sandbox/base/Printable.h"
#include "sandbox/wire/AnyMessage.h"
#include "sandbox/wire/MessageJson.h"

namespace Sandbox {
namespace {

// Rows of an answer, unless the request gives a limit.
constexpr std::int64_t kMessages = 50;
constexpr std::int64_t kUsers = 1000;
constexpr std::int64_t kMaxUsers = 100'000;

// Whether a user id or user number in the message or one of its records is that text.
bool NamesUser(const Json& fields, const std::string& strUser)
{
    for (const auto& [strKey, value] : fields.items()) {
        if (value.is_string() && (strKey.ends_with("UserID") || strKey.ends_with("UserNo")) &&
            value.get_ref<const std::string&>() == strUser)
            return true;
        if (value.is_array() && std::any_of(value.begin(), value.end(), [&](const Json& element) {
                return element.is_object() && NamesUser(element, strUser);
            }))
            return true;
    }
    return false;
}

Json MessageToJson(const LoggedMessage& message, Json fields)
{
    Json json = {{"number", message.nNumber},
                 {"time", FormatTimestamp(message.time)},
                 {"connector", message.strConnector},
                 {"direction", message.direction == Direction::FromConnector ? "in" : "out"},
                 {"class", message.pszClass},
                 {"fields", std::move(fields)}};
    if (!message.vecFaults.empty())
        json["faults"] = message.vecFaults;
    return json;
}

Json BillingToJson(const Billing& billing)
{
    return {{"billType", billing.nBillType},
            {"productId", billing.nProductID},
            {"remainMinutes", billing.nRemainMinutes},
            {"crmCode", billing.strCRMCode},
            {"endDate", billing.strEndDate}};
}

}  // namespace

struct Control::Route {
    const char* pszMethod;
    const char* pszPath;                // with a '/' at the end it stands for every path below
    std::vector<std::string> vecQuery;  // arguments behind the path that the route knows
    const char* pszHelp;
    void (Control::*run)(const HttpRequest& request, const Respond& respond);

    bool IsAt(const std::string& strPath) const
    {
        const std::string_view strOwn = pszPath;
        const bool bBelow = strOwn.size() > 1 && strOwn.ends_with('/');
        return bBelow ? strPath.starts_with(strOwn) : strPath == strOwn;
    }
};

const Control::Route Control::kRoutes[] = {
    {"GET", "/", {}, "this text", &Control::Index},
    {"GET", "/connectors", {}, "who is linked, and who is remembered", &Control::Connectors},
    {"GET", "/users", {"user", "limit"}, "users, their billing and their sessions", &Control::Users},
    {"GET",
     "/messages",
     {"limit", "since", "user", "class", "connector"},
     "the last messages, decoded",
     &Control::Messages},
    {"POST", "/trigger/", {}, "send what the service starts by itself", &Control::Trigger},
    {"GET", "/fault", {}, "the faults that are waiting to happen", &Control::ListFaults},
    {"POST", "/fault", {}, "order a fault for the messages of a class", &Control::AddFault},
    {"DELETE", "/fault", {}, "remove all faults", &Control::RemoveFaults},
    {"POST", "/reset", {}, "no faults, no messages, users as seeded, nobody checked in", &Control::Reset},
    {"GET", "/shop", {"game"}, "what is sold, as a seed file has it", &Control::Shops},
    {"GET", "/orders", {"user", "limit"}, "orders, the last first", &Control::Orders},
    {"GET",
     "/storage",
     {"user", "limit"},
     "a user's storage box, whatever state its entries are in",
     &Control::Storage},
    {"POST", "/storage", {}, "put entries into a storage box", &Control::FillStorage},
};

Control::Control(Store& store, ConnectorRegistry& registry, MessageLog& log, Faults& faults,
                 Triggers& triggers, const Console& console, const IClock& clock, const Seed& seed)
    : m_store(store),
      m_registry(registry),
      m_log(log),
      m_faults(faults),
      m_triggers(triggers),
      m_console(console),
      m_clock(clock),
      m_seed(seed)
{
}

void Control::Handle(const HttpRequest& request, const Respond& respond)
{
    try {
        Dispatch(request, respond);
    } catch (const HttpError& e) {
        respond(ErrorReply(e.GetStatus(), e.what()));
    } catch (const JsonError& e) {
        respond(ErrorReply(400, e.what()));
    } catch (const StoreError& e) {
        m_console.Say(std::string("The database has failed: ") + e.what());
        respond(ErrorReply(500, std::string("The database has failed: ") + e.what()));
    } catch (const std::exception& e) {
        respond(ErrorReply(500, std::string("Internal failure: ") + e.what()));
    }
}

void Control::Dispatch(const HttpRequest& request, const Respond& respond)
{
    bool bKnown = false;
    for (const Route& route : kRoutes) {
        if (!route.IsAt(request.strPath))
            continue;
        bKnown = true;
        if (request.strMethod != route.pszMethod)
            continue;
        for (const auto& [strKey, strValue] : request.mapQuery) {
            if (std::find(route.vecQuery.begin(), route.vecQuery.end(), strKey) == route.vecQuery.end())
                throw HttpError(400, "'" + Printable(strKey) + "' is not known here.");
        }
        if (request.strMethod != "GET")
            m_console.Note("HTTP: " + request.strMethod + ' ' + Printable(request.strPath));
        return (this->*route.run)(request, respond);
    }
    throw bKnown
        ? HttpError(405, Printable(request.strMethod) + " is not possible here.")
        : HttpError(404, "There is no " + Printable(request.strPath) + "; GET / lists what there is.");
}

void Control::Index(const HttpRequest&, const Respond& respond)
{
    std::string strText = "velkar-sandbox\n\n";
    for (const Route& route : kRoutes) {
        std::string strRoute = std::string(route.pszMethod) + ' ' + route.pszPath;
        char chNext = '?';
        for (const std::string& strKey : route.vecQuery)
            strRoute += std::exchange(chNext, '&') + strKey + "=";
        strText += strRoute + "\n    " + route.pszHelp + '\n';
        if (route.run == &Control::Trigger) {
            for (const std::string& strName : Triggers::GetNames())
                strText += "    POST " + std::string(route.pszPath) + strName + '\n';
        }
    }
    respond({200, strText + "\nThe arguments are in docs/sandbox-triggers.md.\n", "text/plain"});
}

void Control::Connectors(const HttpRequest&, const Respond& respond)
{
    Json list = Json::array();
    for (const auto& [identity, connector] : m_registry.GetConnectors()) {
        list.push_back({{"connector", identity.GetName()},
                        {"gid", identity.strGID},
                        {"sid", identity.strSID},
                        {"wid", identity.strWID},
                        {"linked", connector.pLink != nullptr},
                        {"heartbeatMs", connector.msCycle},
                        {"users", m_store.GetSessions(connector.nID).size()}});
    }
    respond(JsonReply(200, {{"connectors", list}}));
}

void Control::Users(const HttpRequest& request, const Respond& respond)
{
    const auto nLimit = QueryNumber(request, "limit", 1, kMaxUsers, kUsers);
    Json list = Json::array();
    if (const std::string strUser = Query(request, "user"); !strUser.empty()) {
        list.push_back(UserToJson(FindUser(strUser)));
    } else {
        for (const User& user : m_store.GetUsers(nLimit))
            list.push_back(UserToJson(user));
    }
    respond(JsonReply(200, {{"users", list}}));
}

User Control::FindUser(const std::string& strUser)
{
    auto user = m_store.FindUser({strUser, false});
    if (!user)
        throw HttpError(404, "There is no user " + Quoted(strUser) + ".");
    return std::move(*user);
}

Json Control::UserToJson(const User& user)
{
    Json json = {{"userId", user.strUserID}, {"userNo", user.strUserNo}};
    json.update(BillingToJson(user.billing));
    json.update({{"termSeconds", user.nTermSeconds},
                 {"free", user.cFree == 'Y'},
                 {"pcCafe", user.bPCCafe},
                 {"result", user.nResult},
                 {"resultText", user.strResultText}});
    Json others = Json::array();
    for (const Billing& other : m_store.GetOtherBillings(user.nID))
        others.push_back(BillingToJson(other));
    json["otherBillings"] = others;
    json.update(WalletToJson(user));
    json["session"] = nullptr;
    if (const auto session = m_store.FindSessionOf(user.nID)) {
        const Connector* const pConnector = m_registry.Find(session->nConnector);
        json["session"] = {
            {"connector", pConnector != nullptr ? Json(pConnector->identity.GetName()) : Json()},
            {"seqNo", std::to_string(session->nSeqNo)},
            {"userIp", session->strUserIP},
            {"endDate", session->strEndDate},
            {"moving", session->nMovingSince != 0}};
    }
    return json;
}

// With "since" the oldest messages behind that number are shown, so that a reader who asks again and again
// misses none. Without it the last ones are shown.
void Control::Messages(const HttpRequest& request, const Respond& respond)
{
    const auto nLimit = static_cast<std::size_t>(
        QueryNumber(request, "limit", 1, static_cast<std::int64_t>(MessageLog::kMaxMessages), kMessages));
    const auto nSince = static_cast<std::uint64_t>(QueryNumber(request, "since", 0, INT64_MAX, 0));
    const bool bFollows = request.mapQuery.contains("since");
    const std::string strUser = Query(request, "user"), strClass = Query(request, "class"),
                      strConnector = Query(request, "connector");
    if (!strClass.empty() && FindClassByName(strClass) == nullptr)
        throw HttpError(400, "There is no message '" + Printable(strClass) + "'.");

    std::vector<Json> vecFound;
    const auto collect = [&](const LoggedMessage& message) {
        if (vecFound.size() == nLimit || message.nNumber <= nSince ||
            (!strClass.empty() && strClass != message.pszClass) ||
            (!strConnector.empty() && strConnector != message.strConnector))
            return;
        Json fields = Json::parse(message.strFields);
        if (strUser.empty() || NamesUser(fields, strUser))
            vecFound.push_back(MessageToJson(message, std::move(fields)));
    };
    const auto& messages = m_log.GetMessages();
    if (bFollows) {
        std::for_each(messages.begin(), messages.end(), collect);
    } else {
        std::for_each(messages.rbegin(), messages.rend(), collect);
        std::reverse(vecFound.begin(), vecFound.end());
    }
    respond(JsonReply(200, {{"last", m_log.GetCount()}, {"messages", vecFound}}));
}

void Control::Trigger(const HttpRequest& request, const Respond& respond)
{
    m_triggers.Fire(request.strPath.substr(std::string_view("/trigger/").size()), ParseBody(request),
                    respond);
}

void Control::ListFaults(const HttpRequest&, const Respond& respond)
{
    respond(JsonReply(200, {{"faults", m_faults.List()}}));
}

void Control::AddFault(const HttpRequest& request, const Respond& respond)
{
    respond(JsonReply(200, m_faults.Add(ParseBody(request))));
}

void Control::RemoveFaults(const HttpRequest&, const Respond& respond)
{
    respond(JsonReply(200, {{"removed", m_faults.RemoveAll()}}));
}

void Control::Reset(const HttpRequest& request, const Respond& respond)
{
    JsonObject(ParseBody(request), "").Done();
    Transaction transaction = m_store.Begin();
    m_store.RemoveAllSessions();
    Restore(m_store, m_seed, m_clock.Now());
    transaction.Commit();
    m_faults.RemoveAll();
    m_log.Clear();
    respond(JsonReply(200, {{"users", m_seed.listUsers.size()}}));
}

}  // namespace Sandbox
