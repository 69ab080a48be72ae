// The requests of the service that the connector answers for the game: money, inventory, characters.
// The order of the leading texts differs between the requests.
#pragma once

#include "wirova/Message.h"

// clang-format off

// Asks how much game money a user has.
struct XS2C_QueryGameMoneyReq final : Wirova::IMessage {
    WIROVA_MESSAGE(XS2C_QueryGameMoneyReq, 157047530,
        (int32,  nReqID)               // the service's number; the answer echoes it
        (string, strGameID)            // [20]
        (string, strServerID)          // [20]
        (string, strUserID)            // [22] the user, unless empty
        (string, strUserNo)            // [22] the user, when strUserID is empty
        (string, strCharacterID))      // [20]
};

// Orders game money to be taken from a user.
struct XS2C_SpendGameMoneyReq final : Wirova::IMessage {
    WIROVA_MESSAGE(XS2C_SpendGameMoneyReq, 57242298,
        (int32,  nReqID)               // the service's number; the answer echoes it
        (string, strGameID)            // [20]
        (string, strServerID)          // [20]
        (string, strUserID)            // [22] the user, unless empty
        (string, strUserNo)            // [22] the user, when strUserID is empty
        (string, strCharacterID)       // [20]
        (int32,  nGameMoney))          // game money to take
};

// Asks for the items in the inventory of a character.
struct XS2C_QueryInventoryReq final : Wirova::IMessage {
    WIROVA_MESSAGE(XS2C_QueryInventoryReq, 116373210,
        (int32,  nReqID)               // the service's number; the answer echoes it
        (string, strGameID)            // [20]
        (string, strUserID)            // [22] the user, unless empty
        (string, strUserNo)            // [22] the user, when strUserID is empty
        (string, strServerID)          // [20]
        (string, strCharacterID))      // [20]
};

// Asks for characters, by user or by character.
struct XS2C_QueryCharacterReq final : Wirova::IMessage {
    WIROVA_MESSAGE(XS2C_QueryCharacterReq, 251465082,
        (int32,  nReqID)               // the service's number; the answer echoes it
        (string, strGameID)            // [20]
        (string, strServerID)          // [20]
        (char,   cSearchType)          // the service's own, passed on unread
        (string, strSearchValue))      // [22] a user identifier, user number or character identifier
};

// An item of an inventory.
struct XInventory final : Wirova::IMessage {
    WIROVA_MESSAGE(XInventory, 33982202,
        (string, strItemID)            // [20]
        (int32,  nCount)
        (int32,  nUseCount)
        (int32,  nPeriod)
        (int32,  nPossibleLevel)
        (string, strValidTerm)         // [14]
        (char,   cUseStatus)
        (string, strOptionCode)        // [100]
        (string, strOptionValue))      // [100]
};

// Orders the items of a purchase to be put into an inventory.
struct XS2C_SaveInventoryReq final : Wirova::IMessage {
    WIROVA_MESSAGE(XS2C_SaveInventoryReq, 39436058,
        (int32,              nReqID)              // the service's number; the answer echoes it
        (string,             strGameID)           // [20]
        (int32,              nOrderSeq)           // number of the order
        (string,             strUserID)           // [22] the user, unless empty
        (string,             strUserNo)           // [22] the user, when strUserID is empty
        (string,             strServerID)         // [20]
        (string,             strCharacterID)      // [20]
        (string,             strRecvUserID)       // [22] who receives, unless empty
        (string,             strRecvUserNo)       // [22] who receives, when strRecvUserID is empty
        (string,             strRecvServerID)     // [20] the receiver's server
        (string,             strRecvCharacterID)  // [20] the receiver's character
        (string,             strGiftMessage)      // [200]
        (int32,              nPrice)
        (vector<XInventory>, vecInventory))       // items to save
};

// The game money of the user.
struct XC2S_QueryGameMoneyAns final : Wirova::IMessage {
    WIROVA_MESSAGE(XC2S_QueryGameMoneyAns, 34245194,
        (int32,  nReqID)               // echo
        (int32,  nState)               // 0: done; -1: failure
        (string, strMessage)           // the game's text, or the connector's on success
        (int32,  nGameMoney))          // game money of the user; -1 on failure
};

// The game money after the spend. A failure shows in nGameMoney and not in nState, unlike in the other
// answers.
struct XC2S_SpendGameMoneyAns final : Wirova::IMessage {
    WIROVA_MESSAGE(XC2S_SpendGameMoneyAns, 148033274,
        (int32,  nReqID)               // echo
        (int32,  nState)               // 0, also on failure
        (string, strMessage)           // the game's text, or the connector's on success
        (int32,  nGameMoney))          // the game's number; -1: failure
};

// The items in the inventory; an empty list is a success.
struct XC2S_QueryInventoryAns final : Wirova::IMessage {
    WIROVA_MESSAGE(XC2S_QueryInventoryAns, 216951130,
        (int32,              nReqID)         // echo
        (int32,              nState)         // 0: done; -1: failure
        (string,             strMessage)     // the game's text, or the connector's on success
        (vector<XInventory>, vecInventory))  // the items found
};

// A character of a user.
struct XCharacter final : Wirova::IMessage {
    WIROVA_MESSAGE(XCharacter, 120529066,
        (string, strUserID)            // [22] empty when USE_USER_NUMBER is on
        (string, strUserNo)            // [22] empty when USE_USER_NUMBER is off
        (string, strServerID)          // [20]
        (string, strCharacterID)       // [20]
        (int32,  nCharacterValue))     // the game's own number, passed on unread
};

// The characters found; an empty list is a success.
struct XC2S_QueryCharacterAns final : Wirova::IMessage {
    WIROVA_MESSAGE(XC2S_QueryCharacterAns, 202184522,
        (int32,              nReqID)         // echo
        (int32,              nState)         // 0: done; -1: failure
        (string,             strMessage)     // the game's text, or the connector's on success
        (vector<XCharacter>, vecCharacter))  // the characters found
};

// Whether the items have been put into the inventory.
struct XC2S_SaveInventoryAns final : Wirova::IMessage {
    WIROVA_MESSAGE(XC2S_SaveInventoryAns, 87132490,
        (int32,  nReqID)               // echo
        (int32,  nState)               // 0: done; -1: failure
        (string, strMessage))          // the game's text, or the connector's on success
};

// clang-format on
