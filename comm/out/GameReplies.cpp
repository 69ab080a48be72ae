// How the game's answers to the service are filled.
#include "comm/out/Builders.h"
#include "comm/out/FieldCopy.h"
#include "datapool/DataPool.h"
#include "session/UserKey.h"

namespace {

constexpr int kDone = 0;
constexpr int kFailed = -1;
constexpr int kNoMoney = -1;

template <class Message, class Record>
void PutState(Message& msg, const Record& record, bool bDone, const char* pszDone, int nFailedState = kFailed)
{
    msg.nReqID = record.nReqID;
    msg.nState = bDone ? kDone : nFailedState;
    msg.strMessage = bDone ? std::string_view(pszDone) : CutText(record.szMessage);
}

template <class Row, class Record>
void FillRow(Row& row, const Record& info)
{
    CopySameNames(row, info);
    if constexpr (requires { row.strUserNo; })
        PutUserKey(row, CutText(info.szUserID));
}

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

Built Build(XC2S_QueryGameMoneyAns& msg, const _MONEY_SEND& record)
{
    const bool bDone = record.bSuccess == 1;
    PutState(msg, record, bDone, "Success to search user's game money.");
    msg.nGameMoney = bDone ? record.nGameMoney : kNoMoney;
    return Built::Ready;
}

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
