// The callbacks run on threads of the connector, and while one runs, the connector reads nothing else of the
// service. So every callback returns at once: a notice goes to the game's own queue; a request is answered
// from memory, under the game's lock, which is never held while the connector is called. No callback makes a
// request to the service, because the answer could not be read before the callback returns.
#include "Callbacks.h"

#include <cstdio>
#include <string>
#include <vector>

#include "Text.h"

namespace {

// A callback gets no pointer of the game's, so the game's objects are found here. Set before InitModule and
// not changed while callbacks run, so no lock is needed.
struct {
    Game* pGame;
    Sessions* pSessions;
    Tasks* pTasks;
    std::string strServerID;
} s_our;

// A line on the game's console, which belongs to the game's thread.
void Tell(std::string strText)
{
    s_our.pTasks->Post([strText = std::move(strText)] { std::printf("  service: %s\n", strText.c_str()); });
}

// Why a request cannot be for this server; empty if it can. The service may name no server at all.
std::string CheckServer(const char* pszServerID)
{
    if (pszServerID[0] == '\0' || s_our.strServerID == pszServerID)
        return "";
    return "This is server '" + s_our.strServerID + "', not '" + pszServerID + "'.";
}

// Fills result and text of an answer: success if strError is empty. Success must be the value 1: the other
// values above 0 are not taken for success by all answers.
template <std::size_t N>
void Answer(unsigned char& bSuccess, char (&szText)[N], const std::string& strError,
            const std::string& strDone)
{
    bSuccess = strError.empty() ? 1 : 0;
    Put(szText, strError);
    Tell(strError.empty() ? strDone : "refused: " + strError);
}

// ---- notices: the connector's record is gone after the call, so the task gets a copy ----

void OnBillingEvent(const _BILLING_NOTI_INFO* pInfo)
{
    s_our.pTasks->Post([info = *pInfo] { s_our.pSessions->OnBillingEvent(info); });
}

void OnNotifyStorageInfo(const _STORAGE_NOTI_INFO* pInfo)
{
    s_our.pTasks->Post([info = *pInfo] { s_our.pSessions->OnStorageNotice(info); });
}

// ---- requests: answered before the call returns ----

void OnQueryGameMoney(const _GAME_USER_REQ* pReq, _GAME_MONEY_RES* pRes)
{
    Character character;
    std::string strError = CheckServer(pReq->szServerID);
    if (strError.empty())
        strError = s_our.pGame->CopyCharacter(pReq->szUserKey, pReq->szCharacterID, character);
    pRes->nGameMoney = character.nMoney;
    Answer(pRes->bSuccess, pRes->szMessage, strError,
           character.strName + " has " + std::to_string(character.nMoney) + " money");
}

// The money is spent when this returns. If the answer is lost on its way to the service, the money stays
// spent; the service can query the game money to find out.
void OnSpendGameMoney(const _SPEND_GAME_MONEY_REQ* pReq, _GAME_MONEY_RES* pRes)
{
    std::string strError = CheckServer(pReq->szServerID);
    if (strError.empty())
        strError =
            s_our.pGame->Spend(pReq->szUserKey, pReq->szCharacterID, pReq->nGameMoney, pRes->nGameMoney);
    Answer(pRes->bSuccess, pRes->szMessage, strError,
           std::string(pReq->szUserKey) + " has spent " + std::to_string(pReq->nGameMoney) + " money, " +
               std::to_string(pRes->nGameMoney) + " left");
}

void OnQueryInventory(const _GAME_USER_REQ* pReq, _GAME_DATA_RES* pRes)
{
    Character character;  // a copy, so that the game's lock is free before the connector is called below
    std::string strError = CheckServer(pReq->szServerID);
    if (strError.empty())
        strError = s_our.pGame->CopyCharacter(pReq->szUserKey, pReq->szCharacterID, character);
    for (const Item& item : character.vecItems) {
        // The list came with the answer and belongs to the connector: do not destroy it, and do not keep its
        // handle.
        char szError[256];
        if (!SetInventoryItemData(pRes->pHandle, item, szError, sizeof(szError))) {
            strError = szError;
            break;
        }
    }
    Answer(pRes->bSuccess, pRes->szMessage, strError,
           character.strName + " has " + std::to_string(character.vecItems.size()) + " kinds of items");
}

// Reads all items of an order; returns why that failed, or an empty text. All items are read before the
// inventory is changed, so an order is delivered as a whole or not at all.
std::string ReadItems(const _DATA_HANDLE* pHandle, std::vector<Item>& vecItems)
{
    char szError[256] = "";
    const std::size_t nCount = GetDataSize(pHandle, szError, sizeof(szError));
    if (nCount == 0)
        return szError;
    for (std::size_t i = 0; i < nCount; ++i) {
        Item item{};
        if (!GetSaveItemData(pHandle, i, &item, szError, sizeof(szError)))
            return szError;
        if (item.szItemID[0] == '\0' || item.nCount < 1)
            return "An item needs an id and a count above 0.";
        vecItems.push_back(item);
    }
    return "";
}

void OnSaveInventory(const _SAVE_INVENTORY_REQ* pReq, _RESULT_RES* pRes)
{
    // A gift goes to its receiver; without one the buyer is the receiver.
    const bool bGift = pReq->szRecvUserKey[0] != '\0';
    const std::string strUser = bGift ? pReq->szRecvUserKey : pReq->szUserKey;
    const std::string strCharacter = bGift ? pReq->szRecvCharacterID : pReq->szCharacterID;

    std::vector<Item> vecItems;
    std::string strError = CheckServer(bGift ? pReq->szRecvServerID : pReq->szServerID);
    if (strError.empty())
        strError = ReadItems(pReq->pHandle, vecItems);
    if (strError.empty())
        strError = s_our.pGame->Deliver(strUser, strCharacter, pReq->nOrderSeq, vecItems);
    Answer(pRes->bSuccess, pRes->szError, strError,
           "order " + std::to_string(pReq->nOrderSeq) + " is in the inventory of " + strUser);
}

// Game and service agree on the search types. This game knows U, the characters of a user, and C, a
// character's name.
void OnQueryCharacter(const _QUERY_CHARACTER_REQ* pReq, _GAME_DATA_RES* pRes)
{
    std::vector<Character> vecCharacters;
    std::string strError = CheckServer(pReq->szServerID);
    if (pReq->cSearchType == 'U') {
        vecCharacters = s_our.pGame->GetCharactersOf(pReq->szSearchValue);
    } else if (pReq->cSearchType == 'C') {
        if (const auto character = s_our.pGame->FindCharacterByName(pReq->szSearchValue))
            vecCharacters.push_back(*character);
    } else if (strError.empty()) {
        strError = "The search type must be U or C.";
    }
    for (const Character& character : vecCharacters) {
        char szError[256];
        _CHARACTER_INFO info{};
        Put(info.szUserID, character.strUser);
        Put(info.szServerID, s_our.strServerID);
        Put(info.szCharacterID, character.strName);
        info.nCharacterValue = character.nLevel;
        if (strError.empty() && !SetCharacterData(pRes->pHandle, info, szError, sizeof(szError)))
            strError = szError;
    }
    Answer(pRes->bSuccess, pRes->szMessage, strError,
           "a search for '" + std::string(pReq->szSearchValue) + "' has found " +
               std::to_string(vecCharacters.size()) + " character(s)");
}

}  // namespace

_CONNECTOR_CALLBACKS MakeCallbacks(Game& game, Sessions& sessions, Tasks& tasks,
                                   const std::string& strServerID)
{
    s_our = {&game, &sessions, &tasks, strServerID};
    _CONNECTOR_CALLBACKS callbacks{};
    callbacks.pfnBillingEvent = &OnBillingEvent;
    callbacks.pfnNotifyStorageInfo = &OnNotifyStorageInfo;
    callbacks.pfnQueryGameMoney = &OnQueryGameMoney;
    callbacks.pfnSpendGameMoney = &OnSpendGameMoney;
    callbacks.pfnQueryInventory = &OnQueryInventory;
    callbacks.pfnSaveInventory = &OnSaveInventory;
    callbacks.pfnQueryCharacter = &OnQueryCharacter;
    return callbacks;
}
