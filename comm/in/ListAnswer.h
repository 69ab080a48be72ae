// The common way of all answers with a list: the rows of the message become records of a list in the data
// pool while the message loads, and the handle of that list goes to the waiting caller. ShopAnswers.cpp
// states what differs between them.
#pragma once

#include "base/Logger.h"
#include "comm/ResWaiter.h"
#include "comm/in/MsgBody.h"
#include "comm/out/FieldCopy.h"
#include "datapool/DataPool.h"
#include "wirova/messages/StorageMessages.h"

// The texts of one kind of answer.
struct ListWords {
    // Log format of a refusal or an empty list. Is given Req ID, state, number of rows and the service's
    // text; most formats show the Req ID alone.
    const char* pszRefused;
    // What the game reads in szError when the service agrees but the list is empty.
    const char* pszEmpty;
    // Log format of the answer. Is given the Req ID, and the price where the message has one.
    const char* pszContents;
};

inline const char* YesOrNo(unsigned char b) { return b != 0 ? "Y" : "N"; }

// Writes one record of a list to the log, with its position n from 0. The overloads stand in RowLog.cpp.
inline void LogRow(int n, const _TAG_INFO& r) { Log::DebugFmt("['%d'th Tag Info]\r\n\tTag: %s", n, r.szTag); }
void LogRow(int n, const _MENU_INFO& r);
void LogRow(int n, const _PROD_LIST_INFO& r);
void LogRow(int n, const _CHILDPROD_INFO& r);
void LogRow(int n, const _CONDITION_INFO& r);
void LogRow(int n, const _OPTION_INFO& r);
void LogRow(int n, const _DISCOUNT_INFO& r);
void LogRow(int n, const _COUPON_INFO& r);
void LogRow(int n, const _SPECIAL_PRODUCT_LIST_INFO& r);
void LogRow(int n, const _SPECIAL_PRODUCT_INFO& r);
void LogRow(int n, const _STORAGE_INFO& r);

// In a row of the storage box each of the two users is named by id or, if the id is empty, by number. The
// public record has one field for either: the first text that is not empty fills it.
template <>
inline constexpr std::array<RowPlans::Target, 4> RowPlans::kExceptions<_STORAGE_INFO, XStorageInfo> = {
    VELKAR_TARGET("strSenderUserID", _STORAGE_INFO, szSenderUserID),
    VELKAR_TARGET("strSenderUserNo", _STORAGE_INFO, szSenderUserID),
    VELKAR_TARGET("strUserID", _STORAGE_INFO, szUserID), VELKAR_TARGET("strUserNo", _STORAGE_INFO, szUserID)};

// Writes the records of the list to the log, and enters the list into the data pool unless it is empty.
template <class Record>
void FileRows(CDataAutoDestroyer& list, const CDataNode<Record>& node)
{
    if (CLogger::IsOn(Log::kDebug)) {
        int n = 0;
        node.ForEach([&](const Record& record) { LogRow(n++, record); });
    }
    if (node.GetSize() != 0)
        list.InsertNode();
}

// Wakes the caller with a failure and no handle. szError is the service's text if the service has refused, or
// pszEmpty if it has agreed but sent no rows.
template <class Response, class Message>
bool CompleteRefused(const Message& msg, const char* pszEmpty)
{
    Response res{};
    CopyText(res.szError, msg.nState != 0 ? std::string_view(msg.strMessage) : pszEmpty);
    ResWaiterMap().CompleteWaiter<Message>(msg.nReqID, res);
    return false;
}

// The whole handler of an answer with one list, whose rows are Row on the wire. kTag is the kind of the list
// (DataTag) and the type of the handle. If nobody waits any more, or anything throws, autoDestroyer frees the
// list and its handle. The handle belongs to the caller as soon as CompleteWaiter has accepted it.
template <std::uint32_t kTag, class Record, class Row, class Response, class Message>
bool CompleteList(Message& msg, MsgBody& body, const ListWords& words)
{
    CDataAutoDestroyer autoDestroyer;
    auto* const pNode = autoDestroyer.Make<Record>(kTag);
    if (pNode == nullptr || !body.Load(msg, RowsInto<Row, Record>{*pNode}))
        return false;
    if (msg.nState != 0 || pNode->GetSize() == 0) {
        Log::DebugFmt(words.pszRefused, msg.nReqID, msg.nState, static_cast<int>(pNode->GetSize()),
                      msg.strMessage.c_str());
        return CompleteRefused<Response>(msg, words.pszEmpty);
    }
    if constexpr (requires { msg.nPrice; })
        Log::DebugFmt(words.pszContents, msg.nReqID, msg.nPrice);
    else
        Log::DebugFmt(words.pszContents, msg.nReqID);
    FileRows(autoDestroyer, *pNode);
    Response res{};
    CopySameNames(res, msg);  // what belongs to the whole list: a price, or the three list values
    res.bSuccess = 1;
    res.hData = autoDestroyer.GetHandle();
    if (!ResWaiterMap().CompleteWaiter<Message>(msg.nReqID, res))
        return false;
    autoDestroyer.Disarm();
    return true;
}
