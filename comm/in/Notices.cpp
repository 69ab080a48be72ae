// The two messages that the service sends by itself and that have no answer: a billing event of a user, and
// items that have come into a user's storage box. Both are told to the game on this pool thread.
#include <cstdint>

#include "base/Logger.h"
#include "comm/CallGame.h"
#include "comm/CommHandler.h"
#include "comm/UnaskedCheckout.h"
#include "comm/in/Handlers.h"
#include "session/UserInfoMap.h"
#include "session/UserKey.h"

namespace {

// The event codes that are treated in a way of their own. BILLING_EXPIRE: the game is told and the user is
// checked out. FORCE_CHECKOUT: the user leaves the user map and the game is not told. The other two are told
// to the game with the user's address. Any further code is told without the address.
enum EventCode : int { BILLING_EXPIRE = 0, TOLD_WITH_IP = 1, FORCE_CHECKOUT = 2, TOLD_WITH_IP_TOO = 3 };

// Whether the notice to the game carries the user's address.
bool IsToldWithIP(int nEventCode)
{
    return nEventCode == BILLING_EXPIRE || nEventCode == TOLD_WITH_IP || nEventCode == TOLD_WITH_IP_TOO;
}

// The fixed format of the log line shows the parameter with "%d", for which this gives the memory address of
// its text, cut to 32 bits. The text itself goes to the game only.
int AddressOf(const std::string& str)
{
    return static_cast<int>(reinterpret_cast<std::uintptr_t>(str.c_str()));
}

// The user whose time is over, as the user map has it before the game is told. A user who is not in the map
// has a record number of 0.
CUserInfo FindExpired(const std::string& strKey)
{
    CUserInfo info;
    if (!UserInfoMap().FindUserInfo(strKey, info))
        info.SetKey(strKey);
    return info;
}

// Checks out the user whose time is over, after the game has been told, and removes the record that was found
// before: a session that has begun meanwhile stays. A user who was not in the map is checked out too, but is
// not kept for later if that checkout cannot be sent.
void CheckOutExpired(const XS2C_BillingEventNotice& msg, const CUserInfo& info)
{
    CheckOutUnasked(
        info, info.GetRecordNo() == 0 ? CheckoutOf::NotInMap : CheckoutOf::InMap,
        [&] {
            Log::InfoFmt(
                "[Comm Handler] A'XC2S_CheckOutReq' msg is sent for 'BILLING_EXPIRE' event.\r\n-Contents-\r\n"
                "\tUser ID: %s\r\n\tUser No: %s\r\n\tUser IP: %s",
                msg.strUserID.c_str(), msg.strUserNo.c_str(), msg.strUserIP.c_str());
        },
        [] {
            Log::Error("[Comm Handler] Failed to send a 'XC2S_CheckOutReq' msg for 'BILLING_EXPIRE' event.");
        });
    UserInfoMap().RemoveRecord(info.GetKey(), info.GetRecordNo());
}

}  // namespace

bool OnBillingEventNotice(const XS2C_BillingEventNotice& msg)
{
    Log::DebugFmt(
        "[Comm Handler] 'XS2C_BillingEventNotice' msg contents.\r\n\tUser ID: %s\r\n\tUser No: %s\r\n"
        "\tEvent Code: %d\r\n\tSpecific Code: %d\r\n\tParam: %d",
        msg.strUserID.c_str(), msg.strUserNo.c_str(), msg.nEventCode, msg.nSpecificCode,
        AddressOf(msg.strParam));
    const std::string& strKey = TakeUserKey(msg);
    if (msg.nEventCode == FORCE_CHECKOUT) {
        Log::InfoFmt(
            "[Comm Handler] The user info is removed because of 'FORCE_CHECKOUT' event.\r\n-Contents-\r\n"
            "\tUser ID: %s\r\n\tUser No: %s\r\n\tUser IP: %s",
            msg.strUserID.c_str(), msg.strUserNo.c_str(), msg.strUserIP.c_str());
        UserInfoMap().RemoveUserInfo(strKey);
        return true;
    }
    const CUserInfo found = FindExpired(strKey);
    _BILLING_NOTI_INFO callBackFuncArg{};
    CopyText(callBackFuncArg.szUserKey, strKey);
    if (IsToldWithIP(msg.nEventCode))
        CopyText(callBackFuncArg.szUserIP, msg.strUserIP);
    callBackFuncArg.nEventCode = msg.nEventCode;
    callBackFuncArg.nSpecificCode = msg.nSpecificCode;
    CopyText(callBackFuncArg.szParam, msg.strParam);
    TellGame(CommHandler().GetCallback<&_CONNECTOR_CALLBACKS::pfnBillingEvent>(), callBackFuncArg);
    if (msg.nEventCode == BILLING_EXPIRE)
        CheckOutExpired(msg, found);
    return true;
}

bool OnStorageInfoNotice(const XS2C_NotifyStorageInfo& msg)
{
    Log::DebugFmt(
        "[Comm Handler] 'XS2C_NotifyStorageInfo' msg contents.\r\n\tUser ID: %s\r\n\tUser No: %s\r\n"
        "\tCharacter ID: %s\r\n\tItem cnt: %d",
        msg.strUserID.c_str(), msg.strUserNo.c_str(), msg.strCharacterID.c_str(), msg.nItemCnt);
    // A notice about a user who is not checked in here does not reach the game. A notice without any user
    // does.
    const std::string& strKey = TakeUserKey(msg);
    if (!strKey.empty() && !UserInfoMap().HasUserInfo(strKey))
        return false;
    _STORAGE_NOTI_INFO callBackFuncArg{};
    CopyText(callBackFuncArg.szUserKey, strKey);
    CopyText(callBackFuncArg.szCharacterID, msg.strCharacterID);
    callBackFuncArg.nItemCount = msg.nItemCnt;
    TellGame(CommHandler().GetCallback<&_CONNECTOR_CALLBACKS::pfnNotifyStorageInfo>(), callBackFuncArg);
    return true;
}
