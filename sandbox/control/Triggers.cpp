#include "sandbox/control/Triggers.h"

#include <algorithm>
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
constexpr std::int64_t kMaxTargetName = 64;  // bytes of a user or connector
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

Json Shown(const std::string& strConnector, const IMessage& msg)
{
    return {{"connector", strConnector},
            {"class", msg.GetMsgName()},
            {"fields", FieldsToJson(msg, kAnswerLimits)}};
}

}  // namespace

namespace {

Triggers::Trigger Make(const char* pszName, Wirova::int32 nMsgID, const std::vector<std::string>& vecRequired,
                       const char* pszHelp)
{
    const ClassInfo& info = *Wirova::FindClass(nMsgID);
    Arguments fields = Without(DescribeFields(*info.pfnMake()), {"reqId"});
    for (Argument& argument : fields) {
        if (std::find(vecRequired.begin(), vecRequired.end(), argument.strName) != vecRequired.end())
            argument.bRequired = true;
    }
    Arguments arguments = {
        Argument::Text("user", kMaxTargetName, "a user id: the message goes to the user's connector"),
        Argument::Text("connector", kMaxTargetName, "GID/SID/WID, in place of a user")};
    if (AnswerOf(info) != nullptr) {
        fields.push_back(Argument::Number("timeoutMs", 1, kMaxTimeout, "how long the game has for its answer")
                             .Default(std::to_string(kTimeout)));
    }
    return {pszName, pszHelp, nMsgID, arguments + fields};
}

}  // namespace

const std::vector<Triggers::Trigger>& Triggers::GetAll()
{
    static const std::vector<Trigger> kTriggers = {
        Make("billing-event", XS2C_BillingEventNotice::kMsgID, {"eventCode"},
             "Tell a game of a billing event: 0 time is over, 1 warning, 2 forced checkout"),
        Make("storage-info", XS2C_NotifyStorageInfo::kMsgID, {"itemCnt"},
             "Tell a game of new entries in a storage box"),
        Make("query-game-money", XS2C_QueryGameMoneyReq::kMsgID, {}, "Ask a game for a character's money"),
        Make("spend-game-money", XS2C_SpendGameMoneyReq::kMsgID, {"gameMoney"},
             "Have a game take money off a character"),
        Make("query-inventory", XS2C_QueryInventoryReq::kMsgID, {}, "Ask a game for a character's items"),
        Make("save-inventory", XS2C_SaveInventoryReq::kMsgID, {"inventory"},
             "Have a game put items into an inventory"),
        Make("query-character", XS2C_QueryCharacterReq::kMsgID, {"searchType", "searchValue"},
             "Have a game look for characters"),
    };
    return kTriggers;
}

void Triggers::Fire(const Trigger& trigger, const Json& given, Respond respond)
{
    const auto msg = Wirova::FindClass(trigger.nMsgID)->pfnMake();
    const std::chrono::milliseconds timeout(given.value("timeoutMs", kTimeout));
    const Target target = FindTarget(given, *msg);
    const Connector& connector = target.connector;
    const std::string strName = connector.identity.GetName();
    SetText(*msg, "strGameID", connector.identity.strGID);
    SetText(*msg, "strServerID", connector.identity.strSID);
    JsonObject object(given, "");
    FieldsFromJson(*msg, object, Naming::Argument);
    const auto respondNoLink = [=] {
        respond(ErrorReply(409, "The connector " + strName + " has no link."));
    };
    if (!m_courier.Reaches(connector.nID))
        return respondNoLink();

    EndIfForced(*msg, target);
    m_courier.Ask(connector.nID, *msg, timeout,
                  [=](const IMessage* pAnswer, GameRequests::Failure failure, const std::string& strWhy) {
                      if (failure == GameRequests::Failure::NoLink)
                          return respondNoLink();
                      const int nStatus = failure == GameRequests::Failure::Timeout ? 504 : 502;
                      respond(pAnswer != nullptr ? JsonReply(200, Shown(strName, *pAnswer))
                                                 : ErrorReply(nStatus, strWhy));
                  });
}

// The connector that the body names, or that the user whom it names plays on. Fills that user into the
// message.
Triggers::Target Triggers::FindTarget(const Json& given, IMessage& msg)
{
    const std::string strUser = given.value("user", ""), strConnector = given.value("connector", "");
    if (strUser.empty() == strConnector.empty())
        throw JsonError("either 'user' or 'connector' is expected");
    if (!strConnector.empty()) {
        m_registry.Refresh();
        for (auto& [identity, connector] : m_registry.GetConnectors()) {
            if (identity.GetName() == strConnector)
                return {connector, std::nullopt};
        }
        throw HttpError(404, "There is no connector " + Quoted(strConnector) + ".");
    }
    if (given.contains("userId") || given.contains("userNo"))
        throw JsonError("'user': names the user already: no 'userId', no 'userNo'");
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
    Transaction transaction = m_store.Begin(Access::Change);
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
