// The routes that show connectors, users and messages.
#include <algorithm>
#include <nlohmann/json.hpp>

#include "sandbox/base/DateText.h"
#include "sandbox/control/Control.h"

namespace Sandbox {
namespace {

Json MessageToJson(const LoggedMessage& message)
{
    Json json = {{"number", message.nNumber},
                 {"time", FormatTimestamp(message.time)},
                 {"connector", message.strConnector},
                 {"direction", message.direction == Direction::FromConnector ? "in" : "out"},
                 {"class", message.pszClass},
                 {"fields", Json::parse(message.strFields)}};
    if (!message.vecFaults.empty())
        json["faults"] = message.vecFaults;
    return json;
}

}  // namespace

void Control::Connectors(const Json&, const Respond& respond)
{
    Json list = Json::array();
    for (const auto& [identity, connector] : m_.registry.GetConnectors()) {
        list.push_back({{"connector", identity.GetName()},
                        {"gid", identity.strGID},
                        {"sid", identity.strSID},
                        {"wid", identity.strWID},
                        {"linked", connector.pLink != nullptr},
                        {"heartbeatMs", connector.msCycle},
                        {"users", m_.store.GetSessions(connector.nID).size()}});
    }
    respond(JsonReply(200, {{"connectors", list}}));
}

void Control::Users(const Json& given, const Respond& respond)
{
    Json list = Json::array();
    if (const std::string strUser = given.value("user", ""); !strUser.empty()) {
        list.push_back(UserToJson(RequireUser(strUser)));
    } else {
        for (const User& user : m_.store.GetUsers(given["limit"]))
            list.push_back(UserToJson(user));
    }
    respond(JsonReply(200, {{"users", list}}));
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
    for (const Billing& other : m_.store.GetOtherBillings(user.nID))
        others.push_back(BillingToJson(other));
    json["otherBillings"] = others;
    json.update(WalletToJson(user));
    json["session"] = nullptr;
    if (const auto session = m_.store.FindSessionOf(user.nID)) {
        const Connector* const pConnector = m_.registry.Find(session->nConnector);
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
void Control::Messages(const Json& given, const Respond& respond)
{
    const std::size_t nLimit = given["limit"];
    const std::uint64_t nSince = given.value("since", std::uint64_t{0});
    const std::string strUser = given.value("user", ""), strClass = given.value("class", ""),
                      strConnector = given.value("connector", "");
    std::vector<Json> vecFound;
    const auto collect = [&](const LoggedMessage& message) {
        if (vecFound.size() == nLimit || message.nNumber <= nSince ||
            (!strClass.empty() && strClass != message.pszClass) ||
            (!strConnector.empty() && strConnector != message.strConnector))
            return;
        const auto& vecUsers = message.vecUsers;
        if (strUser.empty() || std::find(vecUsers.begin(), vecUsers.end(), strUser) != vecUsers.end())
            vecFound.push_back(MessageToJson(message));
    };
    const auto& messages = m_.log.GetMessages();
    if (given.contains("since")) {
        std::for_each(messages.begin(), messages.end(), collect);
    } else {
        std::for_each(messages.rbegin(), messages.rend(), collect);
        std::reverse(vecFound.begin(), vecFound.end());
    }
    respond(JsonReply(200, {{"last", m_.log.GetCount()}, {"messages", vecFound}}));
}

}  // namespace Sandbox
