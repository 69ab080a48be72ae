// A record of a user as the tests make it.
#pragma once

#include <string>

#include "session/UserInfo.h"

inline CUserInfo User(const std::string& strKey, const std::string& strIP = "10.0.0.1",
                      const std::string& strSeqNo = "1")
{
    CUserInfo info;
    info.SetKey(strKey);
    info.SetUserIP(strIP);
    info.SetSeqNo(strSeqNo);
    return info;
}
