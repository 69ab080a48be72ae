// What the answers with a list have in common: the list goes behind a handle, the handle to the caller.
#pragma once

#include "base/Logger.h"
#include "comm/ResWaiter.h"
#include "comm/out/FieldCopy.h"
#include "datapool/DataPool.h"

// The words of one kind of answer. Formats take the Req ID; pszRefused of the product list more.
struct ListWords {
    const char* pszRefused;
    const char* pszEmpty;
    const char* pszContents;
};

inline const char* YesOrNo(unsigned char b) { return b != 0 ? "Y" : "N"; }

// One record of a list in the log, with its position from 0.
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

inline void FillRecord(_TAG_INFO& record, const std::string& row) { CopyText(record.szTag, row); }
template <class Record, class Row>
void FillRecord(Record& record, const Row& row)
{
    CopySameNames(record, row);
    // A user may be named by id or by number.
    if constexpr (requires { record.szSenderUserID, row.strSenderUserNo; }) {
        CopyText(record.szSenderUserID,
                 row.strSenderUserID.empty() ? row.strSenderUserNo : row.strSenderUserID);
        CopyText(record.szUserID, row.strUserID.empty() ? row.strUserNo : row.strUserID);
    }
}

// Fills the list and files it, unless it is empty. Each row of the message goes as soon as its record is
// there: a long list is never in memory twice.
template <class Record, class Rows>
void FileRows(CDataAutoDestroyer& list, CDataNode<Record>& node, Rows& rows)
{
    for (std::size_t n = 0; n < rows.size(); ++n) {
        Record record{};
        if constexpr (requires { rows.Drop(n); }) {
            FillRecord(record, *rows[n]);
            rows.Drop(n);
        } else {
            FillRecord(record, rows[n]);
        }
        node.Add(record);
        LogRow(static_cast<int>(n), record);
    }
    if (!rows.empty())
        list.InsertNode();
}

// A refusal by the service, or an answer without anything in it.
template <class Response, class Message>
bool CompleteRefused(const Message& msg, const char* pszEmpty)
{
    Response res{};
    CopyText(res.szError, msg.nState != 0 ? std::string_view(msg.strMessage) : pszEmpty);
    ResWaiterMap().CompleteWaiter<Message>(msg.nReqID, res);
    return false;
}

template <std::uint32_t kTag, class Record, class Response, class Message, class Rows>
bool CompleteList(const Message& msg, Rows& rows, const ListWords& words)
{
    CDataAutoDestroyer autoDestroyer;
    auto* const pNode = autoDestroyer.Make<Record>(kTag);
    if (pNode == nullptr)
        return false;
    if (msg.nState != 0 || rows.empty()) {
        Log::DebugFmt(words.pszRefused, msg.nReqID, msg.nState, static_cast<int>(rows.size()),
                      msg.strMessage.c_str());
        return CompleteRefused<Response>(msg, words.pszEmpty);
    }
    if constexpr (requires { msg.nPrice; })
        Log::DebugFmt(words.pszContents, msg.nReqID, msg.nPrice);
    else
        Log::DebugFmt(words.pszContents, msg.nReqID);
    FileRows(autoDestroyer, *pNode, rows);
    Response res{};
    CopySameNames(res, msg);  // the numbers of the whole list
    res.bSuccess = 1;
    res.hData = autoDestroyer.GetHandle();
    if (!ResWaiterMap().CompleteWaiter<Message>(msg.nReqID, res))
        return false;
    autoDestroyer.Disarm();
    return true;
}
