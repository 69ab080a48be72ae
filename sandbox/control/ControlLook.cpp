// The routes that show connectors, users and messages.
#include <algorithm>
#include <nlohmann/json.hpp>

#include "sandbox/control/Control.h"

namespace Sandbox {
void Control::Connectors(const Json&, const Respond& respond)
{
    m_.registry.Refresh();
    Json list = Json::array();
    for (const auto& [identity, connector] : m_.registry.GetConnectors()) {
        list.push_back({{"connector", identity.GetName()},
                        {"gid", identity.strGID},
                        {"sid", identity.strSID},
                        {"wid", identity.strWID},
                        {"linked", connector.pLink != nullptr || connector.nSandbox != 0},
                        {"heartbeatMs", connector.msCycle},
                        {"users", m_.store.GetSessions(connector.nID).size()}});
        if (m_.store.GetStudio() != nullptr)
            list.back()["sandbox"] = connector.nSandbox != 0 ? Json(connector.nSandbox) : Json();
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

namespace {

MessageFilter FilterOf(const Json& given)
{
    return {given.value("user", ""), given.value("class", ""), given.value("connector", "")};
}

}  // namespace

void Control::Events(const Json& given, const Respond& respond)
{
    auto pEvents = m_.feed.Subscribe(FilterOf(given));
    if (pEvents == nullptr)
        throw HttpError(503,
                        std::to_string(MessageFeed::kMaxReaders) + " readers follow the stream already.");
    HttpReply reply{200, "", "text/event-stream"};
    reply.pEvents = std::move(pEvents);
    respond(std::move(reply));
}

// With "since" the oldest messages behind that number are shown, so that a reader who asks again and again
// misses none. Without it the last ones are shown.
void Control::Messages(const Json& given, const Respond& respond)
{
    const std::size_t nLimit = given["limit"];
    const std::uint64_t nSince = given.value("since", std::uint64_t{0});
    const MessageFilter filter = FilterOf(given);
    std::vector<Json> vecFound;
    const auto collect = [&](const LoggedMessage& message) {
        if (vecFound.size() < nLimit && message.nNumber > nSince && filter.Takes(message))
            vecFound.push_back(Json::parse(MessageText(message)));
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
