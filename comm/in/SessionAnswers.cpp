// Answers to the session calls.
#include "base/Logger.h"
#include "comm/ResWaiter.h"
#include "comm/UnaskedCheckout.h"
#include "comm/in/Handlers.h"
#include "comm/out/FieldCopy.h"
#include "config/BillingIdMap.h"
#include "datapool/DataPool.h"
#include "session/UserInfoMap.h"
#include "session/UserKey.h"

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

int ConfiguredBillingId(int nProductId) { return BillingIdMap().GetBillingId(nProductId); }

// ---- the contents line: the head of all answers, then what differs ----

#define CONTENTS "[Comm Handler] '%s' msg contents.\r\n\tReq ID: %d\r\n\tUser ID: %s\r\n\tUser No: %s"
#define CONTENTS_WITH_IP CONTENTS "\r\n\tUser IP: %s"

// pszTail is a format of what follows the head.
#define LOG_CONTENTS(msg, pszTail, ...)                                                          \
    Log::DebugFmt(CONTENTS_WITH_IP pszTail, msg.GetMsgName(), msg.nReqID, msg.strUserID.c_str(), \
                  msg.strUserNo.c_str(), msg.strUserIP.c_str() __VA_OPT__(, ) __VA_ARGS__)

template <class Message>
void LogFailure(const Message& msg)
{
    LOG_CONTENTS(msg, "\r\n\tSuccess: false\r\n\tError Msg: %s", msg.strErrorMsg.c_str());
}

// The billing in use; the Ex answers name it as such, since others follow.
template <class Message>
void LogBilling(const Message& msg)
{
    const char* pszUsed = "";
    if constexpr (requires { msg.vecOtherBilling; })
        pszUsed = "\r\n\t[Used billing info]";
    const char* pszPCCafe = "";
    if constexpr (requires { msg.bPCCafe; })
        pszPCCafe = msg.bPCCafe.nByte != 0 ? "\r\n\tPC Cafe: Y" : "\r\n\tPC Cafe: N";
    const auto nRemainMinutes = static_cast<long long>(msg.nRemainMinutes);
    if constexpr (requires { msg.strSeqNo; }) {
        LOG_CONTENTS(
            msg,
            "\r\n\tSuccess: true%s\r\n\tBill Type: %d\r\n\tProduct ID: %d\r\n\tRemain Minutes: %I64d\r\n"
            "\tCRM Code: %s\r\n\tEnd Date: %s\r\n\tFree: %c\r\n\tSeq No: %s",
            pszUsed, msg.nBillType, msg.nProductID, nRemainMinutes, msg.strCRMCode.c_str(),
            msg.strEndDate.c_str(), msg.cFree, msg.strSeqNo.c_str());
    } else {
        LOG_CONTENTS(
            msg,
            "\r\n\tSuccess: true%s\r\n\tBill Type: %d\r\n\tProduct ID: %d\r\n\tRemain Minutes: %I64d%s\r\n"
            "\tCRM Code: %s\r\n\tEnd Date: %s",
            pszUsed, msg.nBillType, msg.nProductID, nRemainMinutes, pszPCCafe, msg.strCRMCode.c_str(),
            msg.strEndDate.c_str());
    }
}

// ---- checkins and billing queries ----

template <class Response, class Message>
void FillBilling(Response& res, const Message& msg, int nBillingID)
{
    CopySameNames(res, msg);
    res.nBillingID = nBillingID;
    res.nRemainMinutes = RemainMinutes(msg.nRemainMinutes);
}

// The user as the map keeps it; texts as the caller's record has them.
template <class Message, class Response>
CUserInfo MakeUserInfo(const Message& msg, const Response& res)
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

// The service holds a user checked in whose caller has given up: the checkin is taken back.
void UndoLateCheckin(const CUserInfo& info, const char* pszCall)
{
    CheckOutUnasked(
        info,
        [&] {
            Log::InfoFmt(
                "[Velkar Connector] A'XC2S_CheckOutReq' msg is sent for %s timeout.\r\n-Contents-\r\n"
                "\tUser ID: %s\r\n\tUser IP: %s",
                pszCall, info.GetKey().c_str(), info.GetUserIP().c_str());
        },
        [&] {
            Log::ErrorFmt(
                "[Velkar Connector] Failed to send a 'XC2S_CheckOutReq' msg for %s timeout.\r\n-Contents-\r\n"
                "\tUser ID: %s\r\n\tUser IP: %s",
                pszCall, info.GetKey().c_str(), info.GetUserIP().c_str());
        });
}

// Wakes the caller of a checkin. A user who is in is entered into the map, or checked out again if nobody
// waits any more. Whether somebody did.
template <class Message, class Response>
bool CompleteCheckin(const Message& msg, const Response& res, const char* pszCall)
{
    const CUserInfo info = MakeUserInfo(msg, res);
    const bool bCheckedIn = res.nResult == 0;
    const bool bWaiter = UserInfoMap().CompleteAndAdd(
        info, bCheckedIn, [&] { return ResWaiterMap().CompleteWaiter<Message>(msg.nReqID, res); });
    if (!bWaiter && bCheckedIn)
        UndoLateCheckin(info, pszCall);
    return bWaiter;
}

template <class Message>
void AddOtherBillings(CDataNode<_BILL_INFO>& node, const Message& msg)
{
    for (std::size_t n = 0; n < msg.vecOtherBilling.size(); ++n) {
        const XUserBillingInfo& other = *msg.vecOtherBilling[n];
        _BILL_INFO info{};
        CopySameNames(info, other);
        info.nBillingID = ConfiguredBillingId(other.nProductID);
        node.Add(info);
        Log::DebugFmt(
            "[Other billing info '%d'th]\r\n\tBilling Type: %d\r\n\tProduct ID: %d\r\n"
            "\tRemain Minutes: %d\r\n\tCRM: %s\r\n\tEnd Date: %s",
            static_cast<int>(n), other.nBillType, info.nProductID, static_cast<int>(info.nRemainMinutes),
            info.szCRMCode, info.szEndDate);
    }
}

// What both answers with a list have in common. nBillingID is the main entry's; complete(res) wakes the
// caller and says whether there was one, who then owns the list.
template <class Message, class Complete>
bool CompleteWithList(const Message& msg, std::uint32_t nTag, int nBillingID, Complete complete)
{
    CDataAutoDestroyer autoDestroyer;
    auto* const pNode = autoDestroyer.Make<_BILL_INFO>(nTag);
    if (pNode == nullptr)
        return false;
    _CHECKIN_EX_RES res{};
    ApplyResult(res, msg.nResult);
    CopyText(res.szError, msg.strErrorMsg);
    if (res.nResult != 0) {
        LogFailure(msg);
        ResWaiterMap().CompleteWaiter<Message>(msg.nReqID, res);
        return false;
    }
    LogBilling(msg);
    FillBilling(res, msg, nBillingID);
    AddOtherBillings(*pNode, msg);
    autoDestroyer.InsertNode();
    res.hBillingData = autoDestroyer.GetHandle();
    if (!complete(res))
        return false;
    autoDestroyer.Disarm();
    return true;
}

template <class Message>
bool CompleteResult(const Message& msg)
{
    _RESULT_RES res{};
    res.bSuccess = msg.bSuccess.nByte;
    CopyText(res.szError, msg.strErrorMsg);
    ResWaiterMap().CompleteWaiter<Message>(msg.nReqID, res);
    return true;
}

// The map is changed by the callers.
template <class Message>
bool OnUserMove(const Message& msg)
{
    if (msg.bSuccess.nByte == 1)
        LOG_CONTENTS(msg, "\r\n\tSuccess: true");
    else
        LogFailure(msg);
    return CompleteResult(msg);
}

}  // namespace

bool OnCheckinRes(const XS2C_CheckInAns& msg)
{
    _CHECKIN_RES res{};
    ApplyResult(res, msg.nResult);
    if (res.nResult == 0)
        LogBilling(msg);
    else
        LogFailure(msg);
    FillBilling(res, msg, ConfiguredBillingId(msg.nProductID));
    CopyText(res.szError, msg.strErrorMsg);
    CompleteCheckin(msg, res, "checkin");
    return true;
}

bool OnCheckInExAns(const XS2C_CheckInExAns& msg)
{
    return CompleteWithList(
        msg, DataTag::kCheckinBilling, ConfiguredBillingId(msg.nProductID),
        [&](const _CHECKIN_EX_RES& res) { return CompleteCheckin(msg, res, "checkinex"); });
}

bool OnQueryBillingInfoRes(const XS2C_QueryBillingInfoAns& msg)
{
    _CHECKIN_RES res{};
    ApplyResult(res, msg.nResult);
    if (res.nResult == 0)
        LogBilling(msg);
    else
        LogFailure(msg);
    FillBilling(res, msg, msg.nBillType);
    res.bPCCafe = msg.bPCCafe.nByte;
    CopyText(res.szError, msg.strErrorMsg);
    ResWaiterMap().CompleteWaiter<XS2C_QueryBillingInfoAns>(msg.nReqID, res);
    return true;
}

bool OnQueryBillingInfoExAns(const XS2C_QueryBillingInfoExAns& msg)
{
    return CompleteWithList(msg, DataTag::kQueryBilling, msg.nBillType, [&](const _CHECKIN_EX_RES& res) {
        return ResWaiterMap().CompleteWaiter<XS2C_QueryBillingInfoExAns>(msg.nReqID, res);
    });
}

// No caller is no event: answers to checkouts that nobody waits for end here. The map is not touched, the
// caller has removed the user.
bool OnCheckOutRes(const XS2C_CheckOutAns& msg)
{
    if (msg.bSuccess.nByte == 1) {
        Log::DebugFmt(CONTENTS "\r\n\tSuccess: true", msg.GetMsgName(), msg.nReqID, msg.strUserID.c_str(),
                      msg.strUserNo.c_str());
    } else {
        Log::DebugFmt(CONTENTS "\r\n\tSuccess: false\r\n\tError Msg: %s", msg.GetMsgName(), msg.nReqID,
                      msg.strUserID.c_str(), msg.strUserNo.c_str(), msg.strErrorMsg.c_str());
    }
    return CompleteResult(msg);
}

bool OnUserMoveToRes(const XS2C_UserMoveToAns& msg) { return OnUserMove(msg); }
bool OnUserMoveFromRes(const XS2C_UserMoveFromAns& msg) { return OnUserMove(msg); }
