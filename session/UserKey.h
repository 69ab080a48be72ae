// How a user is named on the wire. The game knows one text for a user, the key; messages have two fields for
// the key, strUserID and strUserNo, and use one of them.
#pragma once

#include <string>
#include <string_view>

#include "config/ConfigReader.h"
#include "platform/KernovaXtl.h"

// Puts the key into the number field if the setting USE_USER_NUMBER is true, otherwise into the id field, and
// empties the other field. The setting is read at every call, so a reload counts from the next message on.
inline void PutKey(std::string& strID, std::string& strNo, std::string_view key)
{
    const bool bNumber = ConfigReader().IsUseUserNumber();
    (bNumber ? strNo : strID) = key;
    (bNumber ? strID : strNo).clear();
}
// The same for a message or record with the usual names of the two fields.
template <class Record>
void PutUserKey(Record& record, std::string_view key)
{
    PutKey(record.strUserID, record.strUserNo, key);
}

// The key in a message of the service: the user id if it has one, otherwise the user number.
template <class Message>
const std::string& TakeUserKey(const Message& msg)
{
    return msg.strUserID.empty() ? msg.strUserNo : msg.strUserID;
}
