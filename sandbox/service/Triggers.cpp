#include "sandbox/service/Triggers.h"

#include <algorithm>
#include <iterator>

#include "sandbox/service/Results.h"
#include "sandbox/wire/MessageFacts.h"
#include "sandbox/wire/MessageJson.h"
#include "wirova/messages/AllMessages.h"

namespace Sandbox {
namespace {

using Wirova::ClassInfo;
using Wirova::IMessage;

constexpr std::int64_t kTimeout = 5'000;  // milliseconds, unless given
constexpr std::int64_t kMaxTimeout = 60'000;
constexpr std::size_t kMaxName = 64;  // bytes of a user or connector
constexpr JsonLimits kAnswerLimits{1 << 20, 10'000, 8 << 20};

// Sets the text field of that name, if there is one.
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

struct Triggers::Trigger {
    const char* pszName;
    Wirova::int32 nMsgID;
    std::vector<const char*> vecCompulsory;  // arguments
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
        throw RequestError(404, "There is no trigger " + Quoted(strName) + ".");
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
        throw RequestError(409, "The connector " + connector.identity.GetName() + " has no link.");

    EndIfForced(*msg, target);
    Link& link = *connector.pLink;
    if (pAnswer != nullptr) {
        return Ask(
            link, *msg, timeout,
            [&link, respond](const IMessage* ans, int nStatus, const std::string& strWhy) {
                respond(ans != nullptr ? JsonReply(200, Shown(link, *ans)) : ErrorReply(nStatus, strWhy));
            });
    }
    GiveReqID(*msg);
    const Json sent = Shown(link, *msg);
    m_traffic.Send(link, *msg);
    respond(JsonReply(200, sent));
}

void Triggers::GiveReqID(IMessage& msg)
{
    m_nLastReqID = m_nLastReqID < INT32_MAX ? m_nLastReqID + 1 : 1;
    SetReqID(msg, m_nLastReqID);
}

// By the user, who is then filled in, or by name.
Triggers::Target Triggers::FindTarget(JsonObject& object, IMessage& msg)
{
    const std::string strUser = object.Text("user", kMaxName, "");
    const std::string strConnector = object.Text("connector", kMaxName, "");
    if (strUser.empty() == strConnector.empty())
        object.Fail("", "either 'user' or 'connector' is expected");
    if (!strConnector.empty()) {
        for (auto& [identity, connector] : m_registry.GetConnectors()) {
            if (identity.GetName() == strConnector)
                return {connector, std::nullopt};
        }
        throw RequestError(404, "There is no connector " + Quoted(strConnector) + ".");
    }
    if (object.Has("userId") || object.Has("userNo"))
        object.Fail("user", "names the user already: no 'userId', no 'userNo'");
    const Session session = FindSessionOf(strUser);
    Connector* const pConnector = m_registry.Find(session.nConnector);
    if (pConnector == nullptr)
        throw RequestError(409, Quoted(strUser) + " is on a connector that is forgotten.");
    if (session.bByNumber)
        SetText(msg, "strUserNo", session.strUserNo);
    else
        SetText(msg, "strUserID", session.strUserID);
    SetText(msg, "strUserIP", session.strUserIP);
    return {*pConnector, session};
}

// The connector will not check out whom the service has thrown out.
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
        throw RequestError(404, "There is no user " + Quoted(strUser) + ".");
    const auto session = m_store.FindSessionOf(user->nID);
    if (!session)
        throw RequestError(409, Quoted(strUser) + " is not checked in.");
    if (session->nMovingSince != 0)
        throw RequestError(409, Quoted(strUser) + " is on the move, and on no connector.");
    return *session;
}

void Triggers::Ask(Link& link, IMessage& req, std::chrono::milliseconds timeout, Heard heard)
{
    GiveReqID(req);
    const ClassInfo& answer = *AnswerOf(*Wirova::FindClass(req.GetMsgID()));
    const auto it =
        m_listWaiting.insert(m_listWaiting.end(), {&link, answer.nMsgID, m_nLastReqID, std::move(heard), 0});
    it->nTimer = m_timers.After(timeout, [this, it, pszAnswer = answer.pszName, timeout] {
        const Heard heardNow = std::move(it->heard);
        m_listWaiting.erase(it);
        heardNow(nullptr, 504,
                 std::string("The game has sent no ") + pszAnswer + " within " +
                     std::to_string(timeout.count()) + " ms.");
    });
    m_traffic.Send(link, req);
}

bool Triggers::IsAnswer(Wirova::int32 nMsgID)
{
    return std::any_of(std::begin(kTriggers), std::end(kTriggers), [&](const Trigger& trigger) {
        const ClassInfo* const pAnswer = AnswerOf(*Wirova::FindClass(trigger.nMsgID));
        return pAnswer != nullptr && pAnswer->nMsgID == nMsgID;
    });
}

bool Triggers::OnAnswer(const Link& link, const IMessage& ans)
{
    const auto nReqID = GetReqID(ans);
    const auto it = std::find_if(m_listWaiting.begin(), m_listWaiting.end(), [&](const Waiting& waiting) {
        return waiting.pLink == &link && waiting.nAnswerID == ans.GetMsgID() && waiting.nReqID == nReqID;
    });
    if (it == m_listWaiting.end())
        return false;
    const Heard heard = std::move(it->heard);
    m_timers.Cancel(it->nTimer);
    m_listWaiting.erase(it);
    heard(&ans, 200, "");
    return true;
}

void Triggers::OnClosed(const Link& link)
{
    std::list<Waiting> listLost;
    for (auto it = m_listWaiting.begin(); it != m_listWaiting.end();) {
        const auto itThis = it++;
        if (itThis->pLink == &link)
            listLost.splice(listLost.end(), m_listWaiting, itThis);
    }
    for (const Waiting& lost : listLost) {
        m_timers.Cancel(lost.nTimer);
        lost.heard(nullptr, 502, "The connector's link has closed before the game has answered.");
    }
}

}  // namespace Sandbox
