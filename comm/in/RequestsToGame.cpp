// The requests of the service that only the game can answer: game money, inventory, characters, items to
// save. Each handler unpacks the message into a flat record, calls the game's callback on this pool thread,
// and sends the game's answer under the Req ID of the service. While the callback runs, no other message of
// the link is handled: an export that the game calls inside its callback can only time out.
#include "base/Logger.h"
#include "comm/CallGame.h"
#include "comm/CommHandler.h"
#include "comm/in/Handlers.h"
#include "comm/in/MsgBody.h"
#include "comm/out/FieldCopy.h"
#include "datapool/DataPool.h"
#include "session/UserKey.h"

// The message's use status is not copied: an item to be saved has no status yet.
template <>
inline constexpr std::array<RowPlans::Target, 1> RowPlans::kExceptions<_INVENTORY_ITEM_INFO, XInventory> = {
    RowPlans::Target{"cUseStatus"}};

namespace {

constexpr const char* kNoCallback = "Failed to load function pointer for call back operation.";

// Calls the game and leaves its answer in res. If the game has given no callback, res becomes a failure with
// the text kNoCallback, so that the service gets an answer. onFailed() writes the log line of a failure that
// the game itself reports.
template <class Request, class Result, class OnFailed>
void AskGame(void (*pfnCallback)(const Request*, Result*), const Request& req, Result& res, OnFailed onFailed)
{
    if (pfnCallback != nullptr) {
        CallGame(pfnCallback, &req, &res);
        if (res.bSuccess == 0)
            onFailed();
        return;
    }
    res.bSuccess = 0;
    if constexpr (requires { res.szMessage; })
        CopyText(res.szMessage, kNoCallback);
    else
        CopyText(res.szError, kNoCallback);
}

// Sends the game's answer on the link that the request came in on: on another connection its Req ID could be
// that of another request. An answer that cannot be sent is logged with pszFormat, which is given the
// message's name and the Req ID; what the game has done stays done.
template <class Answer, class Record>
bool SendAnswer(Link pLink, const Record& arg,
                const char* pszFormat = "[Comm Handler] Failed to send a '%s' msg(Req ID: %d).")
{
    if (CommHandler().SendOn<Answer>(pLink, arg))
        return true;
    Log::ErrorFmt(pszFormat, Answer().GetMsgName(), arg.nReqID);
    return false;
}

// The record that the game's callback reads. A user is named by id or, if the id is empty, by number; the
// record has one key for either.
template <class Request, class Message>
Request MakeReq(const Message& msg)
{
    Request req{};
    CopySameNames(req, msg);
    if constexpr (requires { req.szUserKey; })
        CopyText(req.szUserKey, TakeUserKey(msg));
    if constexpr (requires { req.szRecvUserKey; })
        CopyText(req.szRecvUserKey, msg.strRecvUserID.empty() ? msg.strRecvUserNo : msg.strRecvUserID);
    return req;
}

// The whole handler of the two money requests. A failure carries a balance of -1, whatever the game has
// written. The spend request shares the log line about reducing with the query.
template <class Answer, class Message, class Request>
bool AnswerMoney(Link pLink, const Message& msg, const Request& req,
                 void (*pfnCallback)(const Request*, _GAME_MONEY_RES*))
{
    _GAME_MONEY_RES res{};
    AskGame(pfnCallback, req, res, [&] {
        Log::DebugFmt(
            "[Comm Handler] Failed to reduce user's game money.\r\n\tReq ID: %d\r\n\tUser ID: %s\r\n"
            "\tUser No: %s\r\n\tError message: %s",
            msg.nReqID, msg.strUserID.c_str(), msg.strUserNo.c_str(),
            std::string(FieldText(res.szMessage)).c_str());
    });
    _MONEY_SEND arg{};
    arg.bSuccess = res.bSuccess;
    CopyText(arg.szMessage, FieldText(res.szMessage));
    arg.nGameMoney = res.bSuccess == 0 ? -1 : res.nGameMoney;
    arg.nReqID = msg.nReqID;
    return SendAnswer<Answer>(pLink, arg);
}

// The whole handler of the two list requests. The game fills a list of T behind the handle in res; the list
// ends with this function, so the game must not keep the handle. Without memory for the list the service gets
// no answer at all.
template <class Answer, class T, class Message, class Request, class LogFailed>
bool AnswerList(Link pLink, const Message& msg, const Request& req, std::uint32_t nTag,
                void (*pfnCallback)(const Request*, _GAME_DATA_RES*), LogFailed logFailed,
                const char* pszSendFailed)
{
    CDataAutoDestroyer autoDestroyer;
    if (autoDestroyer.Make<T>(nTag) == nullptr)
        return false;
    autoDestroyer.InsertNode();
    _GAME_DATA_RES res{};
    res.pHandle = autoDestroyer.GetHandle();
    AskGame(pfnCallback, req, res, [&] { logFailed(std::string(FieldText(res.szMessage)).c_str()); });
    _LIST_SEND arg{};
    arg.nReqID = msg.nReqID;
    // A null pHandle after the call, or a failure, is sent as a failure. Any other pointer that the game has
    // written is not followed: the list that is sent is always the list that the game was given.
    if (res.bSuccess != 0)
        arg.pHandle = res.pHandle == nullptr ? nullptr : autoDestroyer.GetHandle();
    CopyText(arg.szMessage, FieldText(res.szMessage));
    return SendAnswer<Answer>(pLink, arg, pszSendFailed);
}

// Logs the items of the message, which the game reads with GetSaveItemData.
void LogItems(const CDataNode<_INVENTORY_ITEM_INFO>& node)
{
    int n = 0;
    if (!CLogger::IsOn(Log::kDebug))
        return;
    node.ForEach([&](const _INVENTORY_ITEM_INFO& insert) {
        Log::DebugFmt(
            "['%d'th Item Info For Saving]\r\n\tItem ID: %s\r\n\tCount: %d\r\n\tUse Count: %d\r\n"
            "\tPeriod: %d\r\n\tValid Term: %s\r\n\tUse Status: %c\r\n\tPossible Level: %d\r\n"
            "\tOption Code: %s\r\n\tOption Value: %s",
            n++, insert.szItemID, insert.nCount, insert.nUseCount, insert.nPeriod, insert.szValidTerm,
            insert.cUseStatus, insert.nPossibleLevel, insert.szOptionCode, insert.szOptionValue);
    });
}

}  // namespace

bool OnQueryGameMoneyInfoReq(const XS2C_QueryGameMoneyReq& msg, Link pLink)
{
    Log::DebugFmt(
        "[Comm Handler] 'QueryGameMoneyInfo' msg contents.\r\n\tReq ID: %d\r\n\tGame ID: %s\r\n"
        "\tServer ID: %s\r\n\tUser ID: %s\r\n\tUser No: %s\r\n\tCharacter ID: %s",
        msg.nReqID, msg.strGameID.c_str(), msg.strServerID.c_str(), msg.strUserID.c_str(),
        msg.strUserNo.c_str(), msg.strCharacterID.c_str());
    return AnswerMoney<XC2S_QueryGameMoneyAns>(
        pLink, msg, MakeReq<_GAME_USER_REQ>(msg),
        CommHandler().GetCallback<&_CONNECTOR_CALLBACKS::pfnQueryGameMoney>());
}

bool OnReduceGameMoneyReq(const XS2C_SpendGameMoneyReq& msg, Link pLink)
{
    Log::DebugFmt(
        "[Comm Handler] 'XS2C_SpendGameMoneyReq' msg contents.\r\n\tReq ID: %d\r\n\tGame ID: %s\r\n"
        "\tServer ID: %s\r\n\tUser ID: %s\r\n\tUser No: %s\r\n\tCharacter ID: %s\r\n\tGame money: %d",
        msg.nReqID, msg.strGameID.c_str(), msg.strServerID.c_str(), msg.strUserID.c_str(),
        msg.strUserNo.c_str(), msg.strCharacterID.c_str(), msg.nGameMoney);
    return AnswerMoney<XC2S_SpendGameMoneyAns>(
        pLink, msg, MakeReq<_SPEND_GAME_MONEY_REQ>(msg),
        CommHandler().GetCallback<&_CONNECTOR_CALLBACKS::pfnSpendGameMoney>());
}

bool OnQeuryInventoryInfoReq(const XS2C_QueryInventoryReq& msg, Link pLink)
{
    Log::DebugFmt(
        "[Comm Handler] 'XS2C_QueryInventoryReq' msg contents.\r\n\tReq ID: %d\r\n\tGame ID: %s\r\n"
        "\tServer ID: %s\r\n\tUser ID: %s\r\n\tUser No: %s\r\n\tCharacter ID: %s",
        msg.nReqID, msg.strGameID.c_str(), msg.strServerID.c_str(), msg.strUserID.c_str(),
        msg.strUserNo.c_str(), msg.strCharacterID.c_str());
    const auto logFailed = [&](const char* pszMessage) {
        Log::DebugFmt(
            "[Comm Handler] Failed to search user's inventory.\r\n\tReq ID: %d\r\n\tUser ID: %s\r\n"
            "\tUser No: %s\r\n\tError message: %s",
            msg.nReqID, msg.strUserID.c_str(), msg.strUserNo.c_str(), pszMessage);
    };
    return AnswerList<XC2S_QueryInventoryAns, _INVENTORY_ITEM_INFO>(
        pLink, msg, MakeReq<_GAME_USER_REQ>(msg), DataTag::kInventory,
        CommHandler().GetCallback<&_CONNECTOR_CALLBACKS::pfnQueryInventory>(), logFailed,
        // "d" is no slip of this source: the line shows the letter in place of the number.
        "[Comm Handler] Failed to send a '%s' msg(Req ID: d).");
}

bool OnQeuryCharacterInfoReq(const XS2C_QueryCharacterReq& msg, Link pLink)
{
    Log::DebugFmt(
        "[Comm Handler] 'XS2C_QueryCharacterReq' msg contents.\r\n\tReq ID: %d\r\n\tGame ID: %s\r\n"
        "\tServer ID: %s\r\n\tSearch type: %c\r\n\tSearch value: %s",
        msg.nReqID, msg.strGameID.c_str(), msg.strServerID.c_str(), msg.cSearchType,
        msg.strSearchValue.c_str());
    const auto logFailed = [&](const char* pszMessage) {
        Log::DebugFmt(
            "[Comm Handler] Failed to search user's characters.\r\n\tReq ID: %d\r\n"
            "\tUser ID or User No or Character ID: %s\r\n\tError message: %s",
            msg.nReqID, msg.strSearchValue.c_str(), pszMessage);
    };
    return AnswerList<XC2S_QueryCharacterAns, _CHARACTER_INFO>(
        pLink, msg, MakeReq<_QUERY_CHARACTER_REQ>(msg), DataTag::kCharacter,
        CommHandler().GetCallback<&_CONNECTOR_CALLBACKS::pfnQueryCharacter>(), logFailed,
        "[Comm Handler] Failed to send a '%s' msg(Req ID: %d).");
}

bool OnSaveInventoryReq(XS2C_SaveInventoryReq& msg, MsgBody& body, Link pLink)
{
    CDataAutoDestroyer autoDestroyer;
    auto* const pNode = autoDestroyer.Make<_INVENTORY_ITEM_INFO>(DataTag::kSaveInventory);
    if (pNode == nullptr || !body.Load(msg, RowsInto<XInventory, _INVENTORY_ITEM_INFO>{*pNode}))
        return false;
    Log::DebugFmt(
        "[Comm Handler] 'SaveInventory' msg contents.\r\n\tMsg ID: %d\r\n\tGame ID: %s\r\n"
        "\tOrder seq: %d\r\n\tUser ID: %s\r\n\tUser No: %s\r\n\tServer ID: %s\r\n\tCharacter ID: %s\r\n"
        "\tRecv user ID: %s\r\n\tRecv user No: %s\r\n\tRecv server ID: %s\r\n\tRecv character ID: %s\r\n"
        "\tGift message: %s\r\n\tPrice: %d",
        msg.nReqID, msg.strGameID.c_str(), msg.nOrderSeq, msg.strUserID.c_str(), msg.strUserNo.c_str(),
        msg.strServerID.c_str(), msg.strCharacterID.c_str(), msg.strRecvUserID.c_str(),
        msg.strRecvUserNo.c_str(), msg.strRecvServerID.c_str(), msg.strRecvCharacterID.c_str(),
        msg.strGiftMessage.c_str(), msg.nPrice);
    LogItems(*pNode);
    autoDestroyer.InsertNode();
    auto req = MakeReq<_SAVE_INVENTORY_REQ>(msg);
    req.pHandle = autoDestroyer.GetHandle();
    _RESULT_RES res{};
    AskGame(CommHandler().GetCallback<&_CONNECTOR_CALLBACKS::pfnSaveInventory>(), std::as_const(req), res,
            [&] {
                Log::DebugFmt(
                    "[Comm Handler] Failed to save item info in user's inventory.\r\n\tReq ID: %d\r\n"
                    "\tUser ID: %s\r\n\tUser No: %s\r\n\tRecv User ID: %s\r\n\tRecv User No: %s\r\n"
                    "\tError message: %s",
                    msg.nReqID, msg.strUserID.c_str(), msg.strUserNo.c_str(), msg.strRecvUserID.c_str(),
                    msg.strRecvUserNo.c_str(), std::string(FieldText(res.szError)).c_str());
            });
    _SAVE_SEND arg{};
    arg.bSuccess = res.bSuccess;
    CopyText(arg.szMessage, FieldText(res.szError));
    arg.nReqID = msg.nReqID;
    return SendAnswer<XC2S_SaveInventoryAns>(pLink, arg);
}
