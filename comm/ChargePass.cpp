#include "comm/ChargePass.h"

#include <vector>

#include "base/Logger.h"
#include "comm/CallGame.h"
#include "comm/CommHandler.h"
#include "comm/UnaskedCheckout.h"
#include "config/BillingIdMap.h"
#include "session/UserInfoMap.h"

namespace {

// Tells the service that the user's term has ended.
void CheckOutExpired(const CUserInfo& info)
{
    CheckOutUnasked(
        info,
        [&] {
            Log::InfoFmt(
                "[User Info Map] A 'XC2S_CheckOutReq' msg will be sent because of 'BILLING_EXPIRE' event.\r\n"
                "\tUser ID: %s\r\n\tUser IP: %s",
                info.GetKey().c_str(), info.GetUserIP().c_str());
        },
        [&] {
            Log::ErrorFmt(
                "[Comm Handler] Failed to send a 'XC2S_CheckOutReq' msg for 'BILLING_EXPIRE' event.\r\n"
                "\tUser ID: %s\r\n\tUser IP: %s",
                info.GetKey().c_str(), info.GetUserIP().c_str());
        });
}

// Event and specific code 0, no parameter.
void AddExpiryNotice(std::vector<_BILLING_NOTI_INFO>& vecNotices, const CUserInfo& info)
{
    auto& notice = vecNotices.emplace_back();
    CopyText(notice.szUserKey, info.GetKey());
    CopyText(notice.szUserIP, info.GetUserIP());
}

// How many users are to be charged; 0, with nobody told or removed, when memory has run out.
int CollectUsers(Wirova::RecordVector<XChargeInfo>& list, int nProductId)
{
    std::vector<_BILLING_NOTI_INFO> vecNotices;
    const bool bScanned = UserInfoMap().ScanUsersForCharge(list, nProductId, [&](const CUserInfo& info) {
        AddExpiryNotice(vecNotices, info);
        CheckOutExpired(info);
    });
    if (!bScanned)
        return 0;
    const auto pfnBillingEvent = CommHandler().GetCallback<&_CONNECTOR_CALLBACKS::pfnBillingEvent>();
    for (const _BILLING_NOTI_INFO& notice : vecNotices) {
        TellGame(pfnBillingEvent, notice);
        UserInfoMap().RemoveUserInfo(std::string(FieldText(notice.szUserKey)));
    }
    return static_cast<int>(list.size());
}

}  // namespace

Built Build(XC2S_ChargeReq& msg, const _CHARGE_SEND& record)
{
    const int nCount = CollectUsers(msg.vecChargeInfo, record.nProductId);
    if (nCount < 1) {
        Log::InfoFmt("[Comm Handler] There is no user list for PID: %d charge.", record.nProductId);
        return Built::Nothing;
    }
    msg.nPID = record.nProductId;
    Log::InfoFmt("[Comm Handler] There is(are) %d user(s) for PID: %d charge.", nCount, record.nProductId);
    return Built::Ready;
}

int SendChargePass(void (*pfnOnFailed)(int nProductId))
{
    const auto& products = BillingIdMap();
    int nSent = 0;
    for (int n = 0; n < products.GetProductCount(); ++n) {
        const int nProductId = products.GetProductIdAt(n);
        if (CommHandler().SendMessage<XC2S_ChargeReq>(_CHARGE_SEND{nProductId}))
            ++nSent;
        else
            pfnOnFailed(nProductId);
    }
    return nSent;
}

void RunChargeCycle()
{
    SendChargePass([](int nProductId) {
        Log::DebugFmt("[Charge Gen] Failed to send a 'XC2S_ChargeReq' msg for PID: %d.", nProductId);
    });
}
