#include "sandbox/control/Triggers.h"

#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>

#include "sandbox/base/Printable.h"
#include "sandbox/service/BillingEvents.h"
#include "sandbox/wire/AnyMessage.h"
#include "sandbox/wire/MessageJson.h"
#include "wirova/messages/AllMessages.h"

namespace Sandbox {
namespace {

using Wirova::ClassInfo;
using Wirova::IMessage;

// How long the game has for its answer, in milliseconds: unless "timeoutMs" is given, and at most.
constexpr std::int64_t kTimeout = 5'000;
constexpr std::int64_t kMaxTimeout = 60'000;
constexpr std::size_t kMaxTargetName = 64;  // bytes of a user or connector
constexpr JsonLimits kAnswerLimits{1 << 20, 10'000, 8 << 20};

// Sets the text field of that name; does nothing for a class without such a field.
void SetText(IMessage& msg, std::string_view strField, const std::string& strValue)
{
    Wirova::VisitMessage(msg, [&](const char* pszName, auto& field) {
        if constexpr (std::is_same_v<decltype(field), std::string&>) {
            if (pszName == strField)
                field = strValue;
        }
    });
}

Json Shown(const Link& link, const IMessage& msg)
{
    return {{"connector", link.GetName()},
            {"class", msg.GetMsgName()},
            {"fields", FieldsToJson(msg, kAnswerLimits)}};
}

}  // namespace

// One row for each path below /trigger/; the rest follows from the message's class.
struct Triggers::Trigger {
    const char* pszName;
    Wirova::int32 nMsgID;
    std::vector<const char*> vecCompulsory;  // keys that the body must have
};

const Triggers::Trigger Triggers::kTriggers[] = {
    {"billing-event", XS2C_BillingEventNotice::kMsgID, {"eventCode"}},
    {"storage-info", XS2C_NotifyStorageInfo::kMsgID, {"itemCnt"}},
    {"query-game-money", XS2C_QueryGameMoneyReq::kMsgID, {}},
    {"spend-game-money", XS2C_SpendGameMoneyReq::kMsgID, {"gameMoney"}},
    {"query-inventory", XS2C_QueryInventoryReq::kMsgID, {}},
    {"save-inventory", XS2C_SaveInventoryReq::kMsgID, {"inventory"}},
    {"query-character", XS2C_QueryCharacterReq::kMsgID, {"searchType", "searchValue"}},
};

std::vector<std::string> Triggers::GetNames()
{
    std::vector<std::string> vecNames;
    for (const Trigger& trigger : kTriggers)
        vecNames.emplace_back(trigger.pszName);
    return vecNames;
}

void Triggers::Fire(const std::string& strName, const Json& body, Respond respond)
{
    const auto pTrigger = std::find_if(std::begin(kTriggers), std::end(kTriggers),
                                       [&](const Trigger& trigger) { return strName == trigger.pszName; });
    if (pTrigger == std::end(kTriggers))
        throw HttpError(404, "There is no trigger " + Quoted(strName) + ".");
    const ClassInfo& info = *Wirova::FindClass(pTrigger->nMsgID);
    const ClassInfo* const pAnswer = AnswerOf(info);
    const auto msg = info.pfnMake();

    JsonObject object(body, "");
    for (const char* const pszKey : pTrigger->vecCompulsory) {
        if (!object.Has(pszKey))
            object.Fail(pszKey, "is missing");
    }
    if (object.Has("reqId"))
        object.Fail("reqId", "is given by the sandbox");
    const std::chrono::milliseconds timeout(
        pAnswer != nullptr ? object.Number("timeoutMs", 1, kMaxTimeout, kTimeout) : 0);
    const Target target = FindTarget(object, *msg);
    const Connector& connector = target.connector;
    SetText(*msg, "strGameID", connector.identity.strGID);
    SetText(*msg, "strServerID", connector.identity.strSID);
    FieldsFromJson(*msg, object, Naming::Argument);
    object.Done();
    if (connector.pLink == nullptr)
        throw HttpError(409, "The connector " + connector.identity.GetName() + " has no link.");

    EndIfForced(*msg, target);
    Link& link = *connector.pLink;
    if (pAnswer != nullptr) {
        return m_requests.Ask(
            link, *msg, timeout,
            [&link, respond](const IMessage* ans, GameRequests::Failure failure, const std::string& strWhy) {
                const int nStatus = failure == GameRequests::Failure::Timeout ? 504 : 502;
                respond(ans != nullptr ? JsonReply(200, Shown(link, *ans)) : ErrorReply(nStatus, strWhy));
            });
    }
    m_requests.GiveReqID(*msg);
    const Json sent = Shown(link, *msg);
    m_traffic.Send(link, *msg);
    respond(JsonReply(200, sent));
}

// The connector that the body names, or that the user whom it names plays on. Fills that user into the
// message.
Triggers::Target Triggers::FindTarget(JsonObject& object, IMessage& msg)
{
    const std::string strUser = object.Text("user", kMaxTargetName, "");
    const std::string strConnector = object.Text("connector", kMaxTargetName, "");
    if (strUser.empty() == strConnector.empty())
        object.Fail("", "either 'user' or 'connector' is expected");
    if (!strConnector.empty()) {
        for (auto& [identity, connector] : m_registry.GetConnectors()) {
            if (identity.GetName() == strConnector)
                return {connector, std::nullopt};
        }
        throw HttpError(404, "There is no connector " + Quoted(strConnector) + ".");
    }
    if (object.Has("userId") || object.Has("userNo"))
        object.Fail("user", "names the user already: no 'userId', no 'userNo'");
    const Session session = FindSessionOf(strUser);
    Connector* const pConnector = m_registry.Find(session.nConnector);
    if (pConnector == nullptr)
        throw HttpError(409, Quoted(strUser) + " is on a connector that is forgotten.");
    if (session.bByNumber)
        SetText(msg, "strUserNo", session.strUserNo);
    else
        SetText(msg, "strUserID", session.strUserID);
    SetText(msg, "strUserIP", session.strUserIP);
    return {*pConnector, session};
}

// A connector that is told of a forced checkout sends no checkout, so the session has to end here.
void Triggers::EndIfForced(const IMessage& msg, const Target& target)
{
    const auto* const pEvent = dynamic_cast<const XS2C_BillingEventNotice*>(&msg);
    if (pEvent == nullptr || pEvent->nEventCode != kForceCheckout || !target.session)
        return;
    Transaction transaction = m_store.Begin();
    m_store.RemoveSession(target.session->nSeqNo);
    transaction.Commit();
}

Session Triggers::FindSessionOf(const std::string& strUser)
{
    const auto user = m_store.FindUser({strUser, false});
    if (!user)
        throw HttpError(404, "There is no user " + Quoted(strUser) + ".");
    const auto session = m_store.FindSessionOf(user->nID);
    if (!session)
        throw HttpError(409, Quoted(strUser) + " is not checked in.");
    if (session->nMovingSince != 0)
        throw HttpError(409, Quoted(strUser) + " is on the move, and on no connector.");
    return *session;
}

}  // namespace Sandbox
