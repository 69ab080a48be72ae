// Answers to the session calls: checkin, checkout, billing queries, moves between game servers. A handler
// turns the service's result into the game's, keeps the user map up to date and wakes the caller. A checkin
// whose caller has given up in the meantime is taken back by a checkout.
#include "base/Logger.h"
#include "comm/ResWaiter.h"
#include "comm/UnaskedCheckout.h"
#include "comm/in/Handlers.h"
#include "comm/in/MsgBody.h"
#include "comm/out/FieldCopy.h"
#include "config/BillingIdMap.h"
#include "datapool/DataPool.h"
#include "session/FailedCheckOutVector.h"
#include "session/UserInfoMap.h"
#include "session/UserKey.h"

// A row of the user's other billings until the whole message has been read: what the record takes of it, and
// the service's own bill type, which only the log shows.
struct OtherBilling {
    int nBillType;
    int nProductID;
    long long nRemainMinutes;
    char szCRMCode[sizeof(_BILL_INFO::szCRMCode)];
    char szEndDate[sizeof(_BILL_INFO::szEndDate)];
};
template <>
inline constexpr std::array<RowPlans::Target, 1> RowPlans::kExceptions<OtherBilling, XUserBillingInfo> = {
    VELKAR_TARGET("nBillType", OtherBilling, nBillType)};

namespace {

// The two codes of the service that set bExtra.
constexpr int kExtraSuccess = 90006;
constexpr int kExtraFailure = 30006;  // also the highest code that becomes -1

// The service's code as the game sees it: 90006 becomes 0, the codes from 2 to 30006 become -1, any other
// code is passed on as it is. So 0 alone is success, and a 1 reaches the game as 1.
template <class Response>
void ApplyResult(Response& res, int nCode)
{
    res.bExtra = nCode == kExtraSuccess || nCode == kExtraFailure;
    if (nCode == kExtraSuccess)
        res.nResult = 0;
    else
        res.nResult = nCode >= 2 && nCode <= kExtraFailure ? -1 : nCode;
}

// The remaining minutes of the billing in use as the public record holds them: the low 32 bits of the wire's
// 64, without a sign. A wire value of -1 therefore reads 4294967295.
long long RemainMinutes(Wirova::int64 nWire)
{
    return static_cast<long long>(static_cast<std::uint32_t>(nWire));
}

// The billing id that the settings file gives to the product; 0 if the product is not configured, and then
// the user is neither charged nor expired.
int ConfiguredBillingId(int nProductId) { return BillingIdMap().GetBillingId(nProductId); }

// ---- the log line with an answer's contents: a head that all answers share, then what differs ----

#define CONTENTS "[Comm Handler] '%s' msg contents.\r\n\tReq ID: %d\r\n\tUser ID: %s\r\n\tUser No: %s"
#define CONTENTS_WITH_IP CONTENTS "\r\n\tUser IP: %s"

// pszTail is the format of what follows the head; its arguments come behind it.
#define LOG_CONTENTS(msg, pszTail, ...)                                                          \
    Log::DebugFmt(CONTENTS_WITH_IP pszTail, msg.GetMsgName(), msg.nReqID, msg.strUserID.c_str(), \
                  msg.strUserNo.c_str(), msg.strUserIP.c_str() __VA_OPT__(, ) __VA_ARGS__)

template <class Message>
void LogFailure(const Message& msg)
{
    LOG_CONTENTS(msg, "\r\n\tSuccess: false\r\n\tError Msg: %s", msg.strErrorMsg.c_str());
}

// Logs the billing in use. The answers of the Ex calls mark it as the one used, because the user's other
// billings follow in lines of their own. The two lines that only some answers have are part of the format, as
// line breaks of an argument would be escaped.
template <class Message>
void LogBilling(const Message& msg)
{
    if (!CLogger::IsOn(Log::kDebug))
        return;
    std::string strFormat = CONTENTS_WITH_IP "\r\n\tSuccess: true";
    if constexpr (requires { msg.vecOtherBilling; })
        strFormat += "\r\n\t[Used billing info]";
    strFormat += "\r\n\tBill Type: %d\r\n\tProduct ID: %d\r\n\tRemain Minutes: %I64d";
    if constexpr (requires { msg.bPCCafe; })
        strFormat += msg.bPCCafe.nByte != 0 ? "\r\n\tPC Cafe: Y" : "\r\n\tPC Cafe: N";
    strFormat += "\r\n\tCRM Code: %s\r\n\tEnd Date: %s";
    const auto log = [&](const auto&... last) {
        Log::DebugFmt(strFormat.c_str(), msg.GetMsgName(), msg.nReqID, msg.strUserID.c_str(),
                      msg.strUserNo.c_str(), msg.strUserIP.c_str(), msg.nBillType, msg.nProductID,
                      static_cast<long long>(msg.nRemainMinutes), msg.strCRMCode.c_str(),
                      msg.strEndDate.c_str(), last...);
    };
    if constexpr (requires { msg.strSeqNo; }) {
        strFormat += "\r\n\tFree: %c\r\n\tSeq No: %s";
        log(msg.cFree, msg.strSeqNo.c_str());
    } else {
        log();
    }
}

// ---- checkins and billing queries ----

// Copies the billing in use into the response. nBillingID is the configured billing id after a checkin, and
// the service's own bill type after a query.
template <class Response, class Message>
void FillBilling(Response& res, const Message& msg, int nBillingID)
{
    CopySameNames(res, msg);
    res.nBillingID = nBillingID;
    res.nRemainMinutes = RemainMinutes(msg.nRemainMinutes);
}

// The user as the user map keeps it. CRM code and end date are taken from the response, where they have been
// cut to the widths of the public record.
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

// Checks a user out whom the service has checked in after the caller's 5000 milliseconds. The caller has been
// told of a timeout and this session is not in the user map, so nobody else would end it. A later session of
// the user stays.
void UndoLateCheckin(const CUserInfo& info, const char* pszCall)
{
    CheckOutUnasked(
        info, CheckoutOf::NotInMap,
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

// Wakes the caller of a checkin and returns whether a caller was waiting. A user whom the service has checked
// in is entered into the user map if there was a caller, and is checked out again if there was none, or if
// there is no memory to enter the user: the caller then runs into the timeout. Nothing can fail once the
// caller has been woken.
template <class Message, class Response>
bool CompleteCheckin(const Message& msg, const Response& res, const char* pszCall)
{
    const CUserInfo info = MakeUserInfo(msg, res);
    const auto complete = [&] { return ResWaiterMap().CompleteWaiter<Message>(msg.nReqID, res); };
    if (res.nResult != 0)
        return complete();
    CUserInfoMap::Place place;
    try {
        place = CUserInfoMap::MakePlace(info.GetKey(), info);
    } catch (...) {
        UndoLateCheckin(info, pszCall);
        throw;
    }
    if (UserInfoMap().CompleteAndEnter(std::move(place), msg.nReqID, complete))
        return true;
    UndoLateCheckin(info, pszCall);
    return false;
}

// Appends the user's other billings to the list. Unlike the billing in use, they keep all 64 bits of the
// remaining minutes and always have the configured billing id.
void AddOtherBillings(CDataNode<_BILL_INFO>& node, const CDataNode<OtherBilling>& others)
{
    int n = 0;
    others.ForEach([&](const OtherBilling& other) {
        _BILL_INFO info{};
        info.nBillingID = ConfiguredBillingId(other.nProductID);
        info.nProductID = other.nProductID;
        info.nRemainMinutes = other.nRemainMinutes;
        CopyText(info.szCRMCode, FieldText(other.szCRMCode));
        CopyText(info.szEndDate, FieldText(other.szEndDate));
        node.Add(info);
        Log::DebugFmt(
            "[Other billing info '%d'th]\r\n\tBilling Type: %d\r\n\tProduct ID: %d\r\n"
            "\tRemain Minutes: %d\r\n\tCRM: %s\r\n\tEnd Date: %s",
            n++, other.nBillType, info.nProductID, static_cast<int>(info.nRemainMinutes), info.szCRMCode,
            info.szEndDate);
    });
}

// The common work of the two answers with a list. billingID() is the billing id of the billing in use.
// complete(res) wakes the caller and returns whether there was one. If there was, the list belongs to that
// caller; if not, autoDestroyer frees the list.
template <class Message, class BillingID, class Complete>
bool CompleteWithList(Message& msg, MsgBody& body, std::uint32_t nTag, BillingID billingID, Complete complete)
{
    CDataAutoDestroyer autoDestroyer;
    auto* const pNode = autoDestroyer.Make<_BILL_INFO>(nTag);
    CDataNode<OtherBilling> others;
    if (pNode == nullptr || !body.Load(msg, RowsInto<XUserBillingInfo, OtherBilling>{others}))
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
    FillBilling(res, msg, billingID());
    AddOtherBillings(*pNode, others);
    autoDestroyer.InsertNode();
    res.hBillingData = autoDestroyer.GetHandle();
    if (!complete(res))
        return false;
    autoDestroyer.Disarm();
    return true;
}

// Wakes the caller of a call whose answer is a flag and a text. It does not matter whether anybody waits.
template <class Message>
bool CompleteResult(const Message& msg)
{
    _RESULT_RES res{};
    res.bSuccess = msg.bSuccess.nByte;
    CopyText(res.szError, msg.strErrorMsg);
    ResWaiterMap().CompleteWaiter<Message>(msg.nReqID, res);
    return true;
}

// The answers to both moves. The user map is changed by the exports UserMoveTo and UserMoveFrom, on their
// callers' threads; so the answer to a UserMoveFrom that has timed out leaves the user out of the map.
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

bool OnCheckInExAns(XS2C_CheckInExAns& msg, MsgBody& body)
{
    return CompleteWithList(
        msg, body, DataTag::kCheckinBilling, [&] { return ConfiguredBillingId(msg.nProductID); },
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

bool OnQueryBillingInfoExAns(XS2C_QueryBillingInfoExAns& msg, MsgBody& body)
{
    return CompleteWithList(
        msg, body, DataTag::kQueryBilling, [&] { return msg.nBillType; },
        [&](const _CHECKIN_EX_RES& res) {
            return ResWaiterMap().CompleteWaiter<XS2C_QueryBillingInfoExAns>(msg.nReqID, res);
        });
}

// The answer to a checkout that the library has sent by itself finds no caller here. The checkout has reached
// the service, whatever the answer says. The user map is not touched: whoever sent the checkout removes the
// user.
bool OnCheckOutRes(const XS2C_CheckOutAns& msg)
{
    if (msg.bSuccess.nByte == 1) {
        Log::DebugFmt(CONTENTS "\r\n\tSuccess: true", msg.GetMsgName(), msg.nReqID, msg.strUserID.c_str(),
                      msg.strUserNo.c_str());
    } else {
        Log::DebugFmt(CONTENTS "\r\n\tSuccess: false\r\n\tError Msg: %s", msg.GetMsgName(), msg.nReqID,
                      msg.strUserID.c_str(), msg.strUserNo.c_str(), msg.strErrorMsg.c_str());
    }
    FailedCheckOutVector().OnAnswer(TakeUserKey(msg), msg.nReqID);
    return CompleteResult(msg);
}

bool OnUserMoveToRes(const XS2C_UserMoveToAns& msg) { return OnUserMove(msg); }
bool OnUserMoveFromRes(const XS2C_UserMoveFromAns& msg) { return OnUserMove(msg); }
