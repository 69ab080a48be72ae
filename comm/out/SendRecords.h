// The send records: what exports and handlers hand to SendMessage, and what the builders read. Plain records
// that are zeroed before they are filled. They live on the sender's stack for the length of the call.
#pragma once

#include <string_view>

#include "VelkarConnector.h"
#include "base/TextField.h"

// The result of a builder.
enum class Built {
    Ready = 1,    // the message goes out
    Nothing = 0,  // there is nothing to send, which is no failure
    Failed = -1,  // the message could not be filled; the send fails
};

// Every request that names one user.
struct _USER_SEND {
    char szUserKey[23];
    char szUserIP[16];
    int nReqID;  // -1: nobody waits for the answer
};

// The requests of the shop and the storage box: a copy of the caller's record, in which every text ends in a
// NUL, and the Req ID.
template <class Record>
struct RecordSend {
    Record record;
    int nReqID;
};

// A checkout. The Seq No is that of the session that ends: the record's that the sender has found in the user
// map, or the one of a late checkin's answer.
struct _CHECKOUT_SEND : _USER_SEND {
    std::string_view seqNo;
    // The session has never been in the user map, as after a late checkin.
    bool bNotInMap;
};

// The record of a checkout that the library sends by itself. Its Req ID of -1 is never given to a waiter, so
// the answer wakes nobody.
inline _CHECKOUT_SEND UnaskedCheckout(std::string_view key, std::string_view seqNo, bool bNotInMap)
{
    _CHECKOUT_SEND record{};
    record.nReqID = -1;
    record.seqNo = seqNo;
    record.bNotInMap = bNotInMap;
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

// The game's answer to a request to save items.
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
