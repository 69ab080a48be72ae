// All of these run on threads of the connector, and while one runs, nothing else that the service sends is
// read. So each returns at once: what needs no answer goes to the game's own queue; what needs one is
// answered from memory, under a lock that is held for a moment and never while the connector is called.
// None of them makes a request to the service: its answer could not be read before the callback is over.
#include "Callbacks.h"

#include <cstdio>
#include <string>
#include <vector>

#include "Text.h"

namespace {

// Callbacks have no argument for the game to find itself by.
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

// The service may leave the server open.
std::string CheckServer(const char* pszServerID)
{
    if (pszServerID[0] == '\0' || s_our.strServerID == pszServerID)
        return "";
    return "This is server '" + s_our.strServerID + "', not '" + pszServerID + "'.";
}

// The end of every answer. 1 is the one value that all of them take for success.
template <std::size_t N>
void Answer(unsigned char& bSuccess, char (&szText)[N], const std::string& strError,
            const std::string& strDone)
{
    bSuccess = strError.empty() ? 1 : 0;
    Put(szText, strError);
    Tell(strError.empty() ? strDone : "refused: " + strError);
}

// ---- notices: the record ends with the call, so the task takes a copy ----

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

// The money is gone when this returns, also if the answer is lost on its way: then the service has to ask.
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
    Character character;  // a copy: the game's lock is free again before the connector is called
    std::string strError = CheckServer(pReq->szServerID);
    if (strError.empty())
        strError = s_our.pGame->CopyCharacter(pReq->szUserKey, pReq->szCharacterID, character);
    for (const Item& item : character.vecItems) {
        // Into the list that came with the answer; it is neither ours to destroy nor to keep.
        char szError[256];
        if (!SetInventoryItemData(pRes->pHandle, item, szError, sizeof(szError))) {
            strError = szError;
            break;
        }
    }
    Answer(pRes->bSuccess, pRes->szMessage, strError,
           character.strName + " has " + std::to_string(character.vecItems.size()) + " kinds of items");
}

// All the items of an order, or a text why there are none. Everything is read before anything is changed.
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

// What the search types are is agreed with the service; here U for a user and C for a character.
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
