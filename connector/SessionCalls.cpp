// The session calls: checkin, checkout, billing queries, moves between game servers, the charge on demand and
// the names of products and events. The request frame does what all requests have in common; a call states
// here its messages, its texts, and what it does to the user map. The checkins change nothing here: the
// handler of the answer enters the user.
#include <algorithm>
#include <cstdlib>
#include <limits>
#include <utility>

#include "VelkarConnector.h"
#include "comm/ChargePass.h"
#include "config/BillingIdMap.h"
#include "config/EventCodeMap.h"
#include "connector/RequestFrame.h"
#include "session/FailedCheckOutVector.h"
#include "session/UserInfoMap.h"

namespace {

// A call that names one user by key and address. pReq is the caller's record, which outlives the call.
struct UserCall : CallBase {
    explicit UserCall(const _USER_REQ* p) : pReq(p) {}

    bool HasNullArg() const { return pReq == nullptr; }
    _USER_SEND MakeRecord(int nReqID) const
    {
        _USER_SEND record{};
        record.nReqID = nReqID;
        CopyText(record.szUserKey, FieldText(pReq->szUserID));
        CopyText(record.szUserIP, FieldText(pReq->szUserIP));
        return record;
    }

    const _USER_REQ* pReq;
};

// A call that takes a user away from this game server: Checkout and UserMoveTo. The user has to be in the
// user map before the call. The record that was found there has left the map after it, whatever the service
// answers and also after a timeout; a session that has begun meanwhile stays.
struct LeavingCall : UserCall {
    explicit LeavingCall(const _USER_REQ* p) : UserCall(p) {}

    const char* Refuse()
    {
        strKey = FieldText(pReq->szUserID);
        const bool bFound = UserInfoMap().FindUserInfo(strKey, info);
        return bFound ? nullptr : "This user is not checkined.";
    }
    void OnAccepted() { UserInfoMap().SetLeaving(strKey, info.GetRecordNo()); }
    // A user whose request could not be sent is reported to the service at the next delivery.
    void OnSendFailed()
    {
        FailedCheckOutVector().AddFailed(std::move(place));
        Remove();
    }
    void OnEnd(const _RESULT_RES&) { Remove(); }
    void Remove() { UserInfoMap().RemoveRecord(strKey, info.GetRecordNo()); }

    std::string strKey;
    CUserInfo info;                      // the user as the map had it before the request
    CFailedCheckOutVector::Place place;  // made before the send
};

// A call that brings a user in. While such a call of a user is under way, a late answer to an earlier one of
// the user is undone under its own Seq No, and an answer to it does not replace a session that was asked for
// later.
struct ArrivingCall : UserCall {
    using UserCall::UserCall;
    CUserInfoMap::CheckinScope MakeScope(const _USER_SEND& record)
    {
        pSent = &record;
        return {UserInfoMap(), FieldText(record.szUserKey), record.nReqID};
    }
    void OnAccepted() { UserInfoMap().SetSent(pSent->nReqID); }

    const _USER_SEND* pSent = nullptr;  // lives as long as the scope
};

// pszReqID is the label of the Req ID, which differs from call to call: "ReqID" or "Req ID".
void LogUserRequest(const char* pszLabel, const char* pszReqID, const _USER_SEND& record,
                    const char* pszUserIP)
{
    Log::InfoFmt("[Velkar Connector] %s request.\r\n-Contents-\r\n\t%s: %d\r\n\tUser ID: %s\r\n\tUser IP: %s",
                 pszLabel, pszReqID, record.nReqID, record.szUserKey, pszUserIP);
}

// Defines a call that adds to the frame only its messages and its texts. The texts stand as the game gets
// them, spelling included.
#define PLAIN_CALL(call, base, request, answer, label, requestLabel, reqID, timeout) \
    struct call : base {                                                             \
        using base::base;                                                            \
        using Request = request;                                                     \
        using Answer = answer;                                                       \
        static constexpr const char* kLabel = label;                                 \
        static constexpr const char* kTimeout = timeout;                             \
        void LogRequest(const _USER_SEND& record) const                              \
        {                                                                            \
            LogUserRequest(requestLabel, reqID, record, record.szUserIP);            \
        }                                                                            \
    };
PLAIN_CALL(CheckinCall, ArrivingCall, XC2S_CheckInReq, XS2C_CheckInAns, "Checkin", "Checkin", "ReqID",
           "Failed to receive a 'XS2C_CheckInAns' msg because of timeout.")
PLAIN_CALL(CheckinExCall, ArrivingCall, XC2S_CheckInExReq, XS2C_CheckInExAns, "CheckinEx", "CheckinEx",
           "ReqID", "Failed to receive a 'XC2S_CheckInExAns' msg because of timeout.")
PLAIN_CALL(QueryBillingInfoCall, UserCall, XC2S_QueryBillingInfoReq, XS2C_QueryBillingInfoAns,
           "QueryBillingInfo", "QueryBillingInfo", "Req ID",
           "Failed to recieve a 'XS2C_QueryBillingInfoAns' msg because of timeout.")
PLAIN_CALL(QueryBillingInfoExCall, UserCall, XC2S_QueryBillingInfoExReq, XS2C_QueryBillingInfoExAns,
           "QueryBillingInfoEx", "QueryAllBillingInfoEx", "Req ID",
           "Failed to receive a 'XC2S_QueryBillingInfoExAns' msg because of timeout.")
#undef PLAIN_CALL

// The log line shows the address of the user map, because a checkout sends none.
struct CheckoutCall : LeavingCall {
    using LeavingCall::LeavingCall;
    using Request = XC2S_CheckOutReq;
    using Answer = XS2C_CheckOutAns;
    static constexpr const char* kLabel = "Checkout";
    static constexpr const char* kTimeout = "Failed to receive a 'XS2C_CheckOutAns' msg because of timeout.";
    // Names the session that was found in the map.
    _CHECKOUT_SEND MakeRecord(int nReqID)
    {
        place = CFailedCheckOutVector::MakePlace(info, nReqID);
        strSeqNo = info.GetSeqNo();
        return {UserCall::MakeRecord(nReqID), strSeqNo, false};
    }
    void LogRequest(const _USER_SEND& record) const
    {
        LogUserRequest(kLabel, "Req ID", record, info.GetUserIP().c_str());
    }
    // A checkout that is lost with its link before its answer is delivered again.
    void OnAccepted()
    {
        LeavingCall::OnAccepted();
        FailedCheckOutVector().AddSent(std::move(place));
    }

    std::string strSeqNo;
};

struct UserMoveToCall : LeavingCall {
    using LeavingCall::LeavingCall;
    using Request = XC2S_UserMoveToReq;
    using Answer = XS2C_UserMoveToAns;
    static constexpr const char* kLabel = "UserMoveTo";
    static constexpr const char* kTimeout =
        "Failed to receive a 'XS2C_UserMoveToAns' msg because of timeout.";
    _USER_SEND MakeRecord(int nReqID)
    {
        place = CFailedCheckOutVector::MakePlace(info, nReqID);
        return UserCall::MakeRecord(nReqID);
    }
    void LogRequest(const _USER_SEND& record) const
    {
        LogUserRequest(kLabel, "Req ID", record, record.szUserIP);
    }
};

// The user as the other game server knew it, to be entered into the user map if the service agrees. A Seq No
// of 0 stands for none and becomes an empty text.
CUserInfo MakeMovedUser(const _USER_SEND& record, const _USER_MOVE_INFO& move)
{
    CUserInfo info;
    info.SetKey(record.szUserKey);
    info.SetUserIP(record.szUserIP);
    info.SetBillingID(move.nBillType);
    info.SetProductID(move.nProductID);
    info.SetFirst(move.bFirst != 0);
    info.SetFree(static_cast<char>(move.bFree));
    info.SetCRMCode(std::string(FieldText(move.szCRMCode)));
    info.SetEndDate(std::string(FieldText(move.szEndDate)));
    info.SetSeqNo(move.nSeqNo == 0 ? "" : std::to_string(move.nSeqNo));
    return info;
}

// Takes a user over from another game server. The user enters the map on a success only: after a timeout the
// user is not in the map, even if the service has agreed.
struct UserMoveFromCall : ArrivingCall {
    UserMoveFromCall(const _USER_REQ* p, const _USER_MOVE_INFO* pInfo) : ArrivingCall(p), pMove(pInfo) {}

    using Request = XC2S_UserMoveFromReq;
    using Answer = XS2C_UserMoveFromAns;
    static constexpr const char* kLabel = "UserMoveFrom";
    static constexpr const char* kTimeout =
        "Failed to recieve a 'XS2C_UserMoveFromAns' msg because of timeout.";
    static constexpr const char* kNullLog =
        "[Velkar Connector] %s request or response or billingo arg is NULL.";
    static constexpr const char* kNullText = "Request or response or billinfo arg is NULL.";

    bool HasNullArg() const { return UserCall::HasNullArg() || pMove == nullptr; }
    _USER_SEND MakeRecord(int nReqID)
    {
        const _USER_SEND record = UserCall::MakeRecord(nReqID);
        info = MakeMovedUser(record, *pMove);
        place = CUserInfoMap::MakePlace(info.GetKey(), info);
        return record;
    }
    void LogRequest(const _USER_SEND& record) const
    {
        Log::InfoFmt(
            "[Velkar Connector] UserMoveFrom request.\r\n-Contents-\r\n\tReq ID: %d\r\n\tUser ID: %s\r\n"
            "\tUser IP: %s\r\n\tBilltype: %d\r\n\tProduct ID: %d\r\n\tSeq No: %d\r\n\tCRM: %s\r\n"
            "\tEnd date: %s\r\n\tFirst: %c\r\n\tFree: %c",
            record.nReqID, record.szUserKey, record.szUserIP, info.GetBillingID(), info.GetProductID(),
            pMove->nSeqNo, info.GetCRMCode().c_str(), info.GetEndDate().c_str(), info.IsFirst() ? 'Y' : 'N',
            info.GetFree() == 'Y' ? 'Y' : 'N');
    }
    // The other game server has let the user go already, so nobody but this one can still report the user.
    void OnSendFailed() { FailedCheckOutVector().AddFailedUser(info); }
    void OnEnd(const _RESULT_RES& res)
    {
        if (res.bSuccess == 1)
            UserInfoMap().Enter(std::move(place), pSent->nReqID);
    }

    const _USER_MOVE_INFO* pMove;
    CUserInfo info;
    CUserInfoMap::Place place;  // made before the send, so that a user whom the service has accepted gets in
};

// The Seq No of the user map, a decimal text, as the number of the public record: the leading digits of the
// text, 0 if there are none, and the nearest int if the number does not fit.
int SeqNoOf(const std::string& str)
{
    const long long n = std::strtoll(str.c_str(), nullptr, 10);
    return static_cast<int>(
        std::clamp<long long>(n, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

// What the game carries to the other game server, which hands it to UserMoveFrom there.
_USER_MOVE_INFO MakeMoveInfo(const CUserInfo& info)
{
    _USER_MOVE_INFO move{};
    move.nBillType = info.GetBillingID();
    move.nProductID = info.GetProductID();
    move.nSeqNo = SeqNoOf(info.GetSeqNo());
    move.bFirst = info.IsFirst() ? 1 : 0;
    CopyText(move.szCRMCode, info.GetCRMCode());
    CopyText(move.szEndDate, info.GetEndDate());
    move.bFree = static_cast<unsigned char>(info.GetFree());
    return move;
}

// One charge pass on the caller's thread. Not a request: nobody waits for the answer of the service. One
// product whose message went out, or that had nobody to charge, is enough for success.
void ChargeNow(_RESULT_RES& res)
{
    if (!InitializedFlag().IsSet())
        return SetFailure(res, "Velkar Connector is not initialized.");
    if (BeingTerminatedFlag().IsSet())
        return SetFailure(res, "Velkar Connector is being terminated.");
    Log::Info("[Velkar Connector] Charge request");
    if (SendChargePass([](int) {}) > 0) {
        res.bSuccess = 1;
        return;
    }
    Log::Error("[Velkar Connector] Failed to send a 'XC2S_ChargeReq' msg.");
    SetFailure(res, "Failed to send a 'XC2S_ChargeReq' msg.");
}

// The name of a product or an event; "" for an unknown number. The text stays valid as long as the library is
// loaded, also after a reload or UninitModule.
template <auto pfnMap>
const char* NameOf(int nNumber) noexcept
{
    const char* pszName = "";
    Guarded([&] { pszName = pfnMap().InternName(nNumber); }, [] {});
    return pszName;
}

}  // namespace

void Checkin(const _USER_REQ* pReq, _CHECKIN_RES* pRes) { RunRequest(CheckinCall(pReq), pRes); }
void Checkout(const _USER_REQ* pReq, _RESULT_RES* pRes) { RunRequest(CheckoutCall(pReq), pRes); }
void CheckinEx(const _USER_REQ* pReq, _CHECKIN_EX_RES* pRes) { RunRequest(CheckinExCall(pReq), pRes); }
void QueryBillingInfo(const _USER_REQ* pReq, _CHECKIN_RES* pRes)
{
    RunRequest(QueryBillingInfoCall(pReq), pRes);
}
void QueryBillingInfoEx(const _USER_REQ* pReq, _CHECKIN_EX_RES* pRes)
{
    RunRequest(QueryBillingInfoExCall(pReq), pRes);
}
void UserMoveTo(const _USER_REQ* pReq, _RESULT_RES* pRes) { RunRequest(UserMoveToCall(pReq), pRes); }
void UserMoveFrom(const _USER_REQ* pReq, const _USER_MOVE_INFO* pInfo, _RESULT_RES* pRes)
{
    RunRequest(UserMoveFromCall(pReq, pInfo), pRes);
}

// Reads the user map only, whether the library is initialised or not, and writes no log line.
bool GetBillingInfoForUserMove(const char* pszUserKey, _USER_MOVE_INFO* pInfo)
{
    bool bFound = false;
    if (pszUserKey == nullptr || pInfo == nullptr)
        return bFound;
    Guarded(
        [&] {
            CUserInfo info;
            bFound = UserInfoMap().FindUserInfo(pszUserKey, info);
            if (bFound)
                *pInfo = MakeMoveInfo(info);
        },
        [&] { bFound = false; });
    return bFound;
}

void Charge(_RESULT_RES* pRes)
{
    if (pRes == nullptr)
        return Log::Error("[Velkar Connector] Charge response arg is NULL.");
    SetFailure(*pRes);
    Guarded([&] { ChargeNow(*pRes); },
            [&] { SetFailure(*pRes, "There is an exception because of some reasons."); });
}

const char* GetBillingName(int nProductID) { return NameOf<&BillingIdMap>(nProductID); }
const char* GetEventName(int nEventCode) { return NameOf<&EventCodeMap>(nEventCode); }
