// A record of a user as the session's tests make it.
#pragma once

#include "session/UserInfo.h"

inline CUserInfo User(const char* pszKey, const char* pszIP = "10.0.0.1", const char* pszSeqNo = "1")
{
    CUserInfo info;
    info.SetKey(pszKey);
    info.SetUserIP(pszIP);
    info.SetSeqNo(pszSeqNo);
    return info;
}
