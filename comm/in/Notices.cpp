// What the service tells without being asked.
#include <cstdint>

#include "base/Logger.h"
#include "comm/CallGame.h"
#include "comm/UnaskedCheckout.h"
#include "comm/in/Handlers.h"
#include "session/UserInfoMap.h"
#include "session/UserKey.h"

namespace {

// Event codes with a treatment of their own.
enum EventCode : int { BILLING_EXPIRE = 0, TOLD_WITH_IP = 1, FORCE_CHECKOUT = 2, TOLD_WITH_IP_TOO = 3 };

bool IsToldWithIP(int nEventCode)
{
    return nEventCode == BILLING_EXPIRE || nEventCode == TOLD_WITH_IP || nEventCode == TOLD_WITH_IP_TOO;
}

// The format has always printed the address of the text; it stays a number.
int AddressOf(const std::string& str)
{
    return static_cast<int>(reinterpret_cast<std::uintptr_t>(str.c_str()));
}

// The user's time is over and the game has been told: the user leaves the service and the map.
void CheckOutExpired(const XS2C_BillingEventNotice& msg, const std::string& strKey)
{
    CUserInfo info;
    if (!UserInfoMap().FindUserInfo(strKey, info))
        info.SetKey(strKey);
    CheckOutUnasked(
        info,
        [&] {
            Log::InfoFmt(
                "[Comm Handler] A'XC2S_CheckOutReq' msg is sent for 'BILLING_EXPIRE' event.\r\n-Contents-\r\n"
                "\tUser ID: %s\r\n\tUser No: %s\r\n\tUser IP: %s",
                msg.strUserID.c_str(), msg.strUserNo.c_str(), msg.strUserIP.c_str());
        },
        [] {
            Log::Error("[Comm Handler] Failed to send a 'XC2S_CheckOutReq' msg for 'BILLING_EXPIRE' event.");
        });
    UserInfoMap().RemoveUserInfo(strKey);
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
    _BILLING_NOTI_INFO callBackFuncArg{};
    CopyText(callBackFuncArg.szUserKey, strKey);
    if (IsToldWithIP(msg.nEventCode))
        CopyText(callBackFuncArg.szUserIP, msg.strUserIP);
    callBackFuncArg.nEventCode = msg.nEventCode;
    callBackFuncArg.nSpecificCode = msg.nSpecificCode;
    CopyText(callBackFuncArg.szParam, msg.strParam);
    TellGame(CommHandler().GetCallback<&_CONNECTOR_CALLBACKS::pfnBillingEvent>(), callBackFuncArg);
    if (msg.nEventCode == BILLING_EXPIRE)
        CheckOutExpired(msg, strKey);
    return true;
}

bool OnStorageInfoNotice(const XS2C_NotifyStorageInfo& msg)
{
    Log::DebugFmt(
        "[Comm Handler] 'XS2C_NotifyStorageInfo' msg contents.\r\n\tUser ID: %s\r\n\tUser No: %s\r\n"
        "\tCharacter ID: %s\r\n\tItem cnt: %d",
        msg.strUserID.c_str(), msg.strUserNo.c_str(), msg.strCharacterID.c_str(), msg.nItemCnt);
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
