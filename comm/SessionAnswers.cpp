// Answers to the session calls.
#include "comm/CommHandler.h"
#include "comm/Handlers.h"
#include "comm/ResWaiter.h"
#include "config/BillingIdMap.h"
#include "connector/Logger.h"
#include "connector/TextField.h"
#include "connector/VelkarConnector.h"
#include "session/FailedCheckOutVector.h"
#include "session/UserInfoMap.h"
#include "session/UserKey.h"

using Kernova::XTL::Singleton;

namespace {

constexpr int kExtraSuccess = 90006;
constexpr int kExtraFailure = 30006;  // the highest code that becomes -1

// The service's code as the game sees it.
template <class Response>
void ApplyResult(Response& res, int nCode)
{
    res.bExtra = nCode == kExtraSuccess || nCode == kExtraFailure;
    if (nCode == kExtraSuccess)
        res.nResult = 0;
    else
        res.nResult = nCode >= 2 && nCode <= kExtraFailure ? -1 : nCode;
}

// The low 32 bits of the wire's value, zero-extended: what the record has always held.
long long RemainMinutes(Wirova::int64 nWire)
{
    return static_cast<long long>(static_cast<std::uint32_t>(nWire));
}

void LogCheckin(const XS2C_CheckInAns& msg, bool bSuccess)
{
    if (!bSuccess) {
        Log::DebugFmt(
            "[Comm Handler] 'XS2C_CheckInAns' msg contents.\r\n\tReq ID: %d\r\n\tUser ID: %s\r\n\tUser No: %s\r\n"
            "\tUser IP: %s\r\n\tSuccess: false\r\n\tError Msg: %s",
            msg.nReqID, msg.strUserID.c_str(), msg.strUserNo.c_str(), msg.strUserIP.c_str(),
            msg.strErrorMsg.c_str());
        return;
    }
    Log::DebugFmt(
        "[Comm Handler] 'XS2C_CheckInAns' msg contents.\r\n\tReq ID: %d\r\n\tUser ID: %s\r\n\tUser No: %s\r\n"
        "\tUser IP: %s\r\n\tSuccess: true\r\n\tBill Type: %d\r\n\tProduct ID: %d\r\n\tRemain Minutes: %I64d\r\n"
        "\tCRM Code: %s\r\n\tEnd Date: %s\r\n\tFree: %c\r\n\tSeq No: %s",
        msg.nReqID, msg.strUserID.c_str(), msg.strUserNo.c_str(), msg.strUserIP.c_str(), msg.nBillType,
        msg.nProductID, static_cast<long long>(msg.nRemainMinutes), msg.strCRMCode.c_str(),
        msg.strEndDate.c_str(), msg.cFree, msg.strSeqNo.c_str());
}

// The user as the map keeps it; texts as the caller's record has them.
CUserInfo MakeUserInfo(const XS2C_CheckInAns& msg, const _CHECKIN_RES& res)
{
    CUserInfo info;
    info.SetKey(TakeUserKey(msg));
    info.SetUserIP(msg.strUserIP);
    info.SetCRMCode(res.szCRMCode);
    info.SetEndDate(res.szEndDate);
    info.SetProductID(res.nProductID);
    info.SetBillingID(res.nBillingID);
    info.SetFree(msg.cFree);
    info.SetSeqNo(msg.strSeqNo);
    info.SetFirst(true);
    return info;
}

// The service holds a user checked in whom the caller has given up: take it back.
void UndoLateCheckin(const CUserInfo& info, const char* pszCall)
{
    _USER_SEND arg{};
    arg.nReqID = -1;
    CopyText(arg.szUserKey, info.GetKey());
    if (Singleton<CCommHandler>::Instance().SendMessage<XC2S_CheckOutReq>(arg)) {
        Log::InfoFmt("[Velkar Connector] A'XC2S_CheckOutReq' msg is sent for %s timeout.\r\n-Contents-\r\n"
                     "\tUser ID: %s\r\n\tUser IP: %s",
                     pszCall, info.GetKey().c_str(), info.GetUserIP().c_str());
        return;
    }
    Log::ErrorFmt("[Velkar Connector] Failed to send a 'XC2S_CheckOutReq' msg for %s timeout.\r\n-Contents-\r\n"
                  "\tUser ID: %s\r\n\tUser IP: %s",
                  pszCall, info.GetKey().c_str(), info.GetUserIP().c_str());
    Singleton<CFailedCheckOutVector>::Instance().AddFailedUser(info);
}

}  // namespace

bool OnCheckinRes(const XS2C_CheckInAns& msg)
{
    _CHECKIN_RES res{};
    ApplyResult(res, msg.nResult);
    LogCheckin(msg, res.nResult == 0);
    res.nBillingID = Singleton<CBillingIdMap>::Instance().GetBillingId(msg.nProductID);
    res.nProductID = msg.nProductID;
    res.nRemainMinutes = RemainMinutes(msg.nRemainMinutes);
    CopyText(res.szCRMCode, msg.strCRMCode);
    CopyText(res.szEndDate, msg.strEndDate);
    CopyText(res.szError, msg.strErrorMsg);

    const CUserInfo info = MakeUserInfo(msg, res);
    const bool bCheckedIn = res.nResult == 0;
    const bool bWaiter = Singleton<CUserInfoMap>::Instance().CompleteAndAdd(info, bCheckedIn, [&] {
        return Singleton<CResWaiterMap>::Instance().CompleteWaiter<XS2C_CheckInAns>(msg.nReqID, res);
    });
    if (!bWaiter && bCheckedIn)
        UndoLateCheckin(info, "checkin");
    return true;
}

bool OnCheckOutRes(const XS2C_CheckOutAns& msg)
{
    if (msg.bSuccess.nByte == 1) {
        Log::DebugFmt("[Comm Handler] 'XS2C_CheckOutAns' msg contents.\r\n\tReq ID: %d\r\n\tUser ID: %s\r\n"
                      "\tUser No: %s\r\n\tSuccess: true",
                      msg.nReqID, msg.strUserID.c_str(), msg.strUserNo.c_str());
    } else {
        Log::DebugFmt("[Comm Handler] 'XS2C_CheckOutAns' msg contents.\r\n\tReq ID: %d\r\n\tUser ID: %s\r\n"
                      "\tUser No: %s\r\n\tSuccess: false\r\n\tError Msg: %s",
                      msg.nReqID, msg.strUserID.c_str(), msg.strUserNo.c_str(), msg.strErrorMsg.c_str());
    }
    _RESULT_RES res{};
    res.bSuccess = msg.bSuccess.nByte;
    CopyText(res.szError, msg.strErrorMsg);
    Singleton<CResWaiterMap>::Instance().CompleteWaiter<XS2C_CheckOutAns>(msg.nReqID, res);
    return true;
}
