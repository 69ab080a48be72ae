// The session calls of the interface.
#include "connector/RequestFrame.h"
#include "connector/VelkarConnector.h"
#include "session/FailedCheckOutVector.h"
#include "session/UserInfoMap.h"

using Kernova::XTL::Singleton;

namespace {

// A call that names one user.
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

// A call for a user who is checked in here, and who is gone afterwards whatever the answer.
struct LeavingCall : UserCall {
    explicit LeavingCall(const _USER_REQ* p) : UserCall(p) {}

    const char* Refuse()
    {
        strKey = FieldText(pReq->szUserID);
        const bool bFound = Singleton<CUserInfoMap>::Instance().FindUserInfo(strKey, info);
        return bFound ? nullptr : "This user is not checkined.";
    }
    // The user is told to the service at the next connection.
    void OnSendFailed()
    {
        Singleton<CFailedCheckOutVector>::Instance().AddFailedUser(info);
        Singleton<CUserInfoMap>::Instance().RemoveUserInfo(strKey);
    }
    void OnEnd(const _RESULT_RES&) { Singleton<CUserInfoMap>::Instance().RemoveUserInfo(strKey); }

    std::string strKey;
    CUserInfo info;
};

// pszReqID: the calls do not agree on how the number is labelled.
void LogUserRequest(const char* pszLabel, const char* pszReqID, const _USER_SEND& record, const char* pszUserIP)
{
    Log::InfoFmt("[Velkar Connector] %s request.\r\n-Contents-\r\n\t%s: %d\r\n\tUser ID: %s\r\n\tUser IP: %s",
                 pszLabel, pszReqID, record.nReqID, record.szUserKey, pszUserIP);
}

struct CheckinCall : UserCall {
    using UserCall::UserCall;
    using Request = XC2S_CheckInReq;
    using Answer = XS2C_CheckInAns;
    static constexpr const char* kLabel = "Checkin";
    static constexpr const char* kTimeout = "Failed to receive a 'XS2C_CheckInAns' msg because of timeout.";
    void LogRequest(const _USER_SEND& record) const { LogUserRequest(kLabel, "ReqID", record, record.szUserIP); }
};

struct CheckoutCall : LeavingCall {
    using LeavingCall::LeavingCall;
    using Request = XC2S_CheckOutReq;
    using Answer = XS2C_CheckOutAns;
    static constexpr const char* kLabel = "Checkout";
    static constexpr const char* kTimeout = "Failed to receive a 'XS2C_CheckOutAns' msg because of timeout.";
    void LogRequest(const _USER_SEND& record) const
    {
        LogUserRequest(kLabel, "Req ID", record, info.GetUserIP().c_str());
    }
};

}  // namespace

void Checkin(const _USER_REQ* pReq, _CHECKIN_RES* pRes) { RunRequest(CheckinCall(pReq), pRes); }
void Checkout(const _USER_REQ* pReq, _RESULT_RES* pRes) { RunRequest(CheckoutCall(pReq), pRes); }
