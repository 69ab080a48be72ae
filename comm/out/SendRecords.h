// What the exports and the handlers hand to the senders: plain records with the Req ID, zeroed before they
// are filled.
#pragma once

#include <string_view>

#include "VelkarConnector.h"
#include "base/TextField.h"

// What became of filling a message.
enum class Built {
    Ready = 1,    // the message goes out
    Nothing = 0,  // there is nothing to send, which is no failure
    Failed = -1,
};

// Every request that names one user.
struct _USER_SEND {
    char szUserKey[23];
    char szUserIP[16];
    int nReqID;  // -1: nobody waits for the answer
};

// The requests of the shop and the storage box: the caller's record, each text ending in a NUL.
template <class Record>
struct RecordSend {
    Record record;
    int nReqID;
};

// A checkout that no caller of the game waits for.
inline _USER_SEND UnaskedCheckout(std::string_view key)
{
    _USER_SEND record{};
    record.nReqID = -1;
    CopyText(record.szUserKey, key);
    return record;
}

// The game's answer to a request for money.
struct _MONEY_SEND {
    unsigned char bSuccess;  // done if exactly 1
    char szMessage[1025];
    int nGameMoney;
    int nReqID;
};

// The game's answer to an order to save items.
struct _SAVE_SEND {
    unsigned char bSuccess;  // done if exactly 1
    char szMessage[1025];
    int nReqID;
};

// The game's answer to a request for a list.
struct _LIST_SEND {
    char szMessage[1025];
    const _DATA_HANDLE* pHandle;  // null: failed, with the message
    int nReqID;
};
