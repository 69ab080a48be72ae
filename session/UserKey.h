// How a user is named on the wire.
#pragma once

#include <string>
#include <string_view>

#include "config/ConfigReader.h"
#include "platform/KernovaXtl.h"

// The key travels as the user number or as the user id, as USE_USER_NUMBER says at this moment; the
// other field is empty. Both are fields of every message and record that names a user.
inline void PutKey(std::string& strID, std::string& strNo, std::string_view key)
{
    const bool bNumber = ConfigReader().IsUseUserNumber();
    (bNumber ? strNo : strID) = key;
    (bNumber ? strID : strNo).clear();
}
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
