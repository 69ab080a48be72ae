// The builders of the game's answers to the service's requests. The handlers in comm/in/RequestsToGame.cpp
// call the game and hand its result over as one of the send records.
#include "comm/out/Builders.h"
#include "comm/out/FieldCopy.h"
#include "datapool/DataPool.h"
#include "session/UserKey.h"

namespace {

constexpr int kDone = 0;      // nState of a success
constexpr int kFailed = -1;   // nState of a failure
constexpr int kNoMoney = -1;  // nGameMoney of a failure

// The head of every answer. A success carries the connector's own text pszDone, a failure the game's text.
template <class Message, class Record>
void PutState(Message& msg, const Record& record, bool bDone, const char* pszDone, int nFailedState = kFailed)
{
    msg.nReqID = record.nReqID;
    msg.nState = bDone ? kDone : nFailedState;
    msg.strMessage = bDone ? std::string_view(pszDone) : CutText(record.szMessage);
}

// One row of a list; a character's row also names its user, by id or by number.
template <class Row, class Record>
void FillRow(Row& row, const Record& info)
{
    CopySameNames(row, info);
    if constexpr (requires { row.strUserNo; })
        PutUserKey(row, CutText(info.szUserID));
}

// Answers with the list behind the handle; an empty list is a success with the text pszEmpty. A null handle
// stands for a failure of the game. A handle whose list is not in the data pool, or holds other records,
// fails the send.
template <class Record, class Message, class Rows>
Built BuildList(Message& msg, Rows& rows, const _LIST_SEND& record, const char* pszDone, const char* pszEmpty)
{
    if (record.pHandle == nullptr) {
        PutState(msg, record, false, pszDone);
        return Built::Ready;
    }
    const auto pNode = DataPool().FindListOf<Record>(record.pHandle->nHandleID);
    if (pNode == nullptr)
        return Built::Failed;
    pNode->ForEach([&](const Record& info) { FillRow(rows.Add(), info); });
    PutState(msg, record, true, pNode->GetSize() == 0 ? pszEmpty : pszDone);
    return Built::Ready;
}

}  // namespace

// Only a success byte of exactly 1 is a success here, as in the two builders below.
Built Build(XC2S_QueryGameMoneyAns& msg, const _MONEY_SEND& record)
{
    const bool bDone = record.bSuccess == 1;
    PutState(msg, record, bDone, "Success to search user's game money.");
    msg.nGameMoney = bDone ? record.nGameMoney : kNoMoney;
    return Built::Ready;
}

// The state is 0 also for a failure: the protocol tells a failed spend by its game money of -1.
Built Build(XC2S_SpendGameMoneyAns& msg, const _MONEY_SEND& record)
{
    const bool bDone = record.bSuccess == 1;
    PutState(msg, record, bDone, "Success to reduce user's game money.", kDone);
    msg.nGameMoney = bDone ? record.nGameMoney : kNoMoney;
    return Built::Ready;
}

Built Build(XC2S_SaveInventoryAns& msg, const _SAVE_SEND& record)
{
    PutState(msg, record, record.bSuccess == 1, "Success to save user's item in inventory.");
    return Built::Ready;
}

Built Build(XC2S_QueryInventoryAns& msg, const _LIST_SEND& record)
{
    return BuildList<_INVENTORY_ITEM_INFO>(msg, msg.vecInventory, record,
                                           "Success to search user's inventory item info.",
                                           "There is no inventory item info.");
}

Built Build(XC2S_QueryCharacterAns& msg, const _LIST_SEND& record)
{
    return BuildList<_CHARACTER_INFO>(msg, msg.vecCharacter, record,
                                      "Success to search user's character info.",
                                      "There is no character info.");
}
