// Builds the charge message of a product: who is charged, and whose term has ended. Runs on the charge thread
// once a cycle, or on a game thread inside the export Charge.
#include "comm/ChargePass.h"

#include <vector>

#include "base/Logger.h"
#include "comm/CallGame.h"
#include "comm/CommHandler.h"
#include "comm/UnaskedCheckout.h"
#include "config/BillingIdMap.h"
#include "session/UserInfoMap.h"

namespace {

// Sends the checkout of a user whose term has ended. Runs inside the scan, with the active link list and
// the user map's lock held; both locks are re-entrant, which the send needs. A checkout that cannot be sent
// is kept for the next connection, and the user expires here all the same.
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

// The notice that the game gets about a user whose term has ended: event code 0 (BILLING_EXPIRE), specific
// code 0 and no parameter, all of which are the zeros of a new record.
void AddExpiryNotice(std::vector<_BILLING_NOTI_INFO>& vecNotices, const CUserInfo& info)
{
    auto& notice = vecNotices.emplace_back();
    CopyText(notice.szUserKey, info.GetKey());
    CopyText(notice.szUserIP, info.GetUserIP());
}

// Fills the list with the users of the product who are to be charged, and returns their number. Returns 0
// when memory has run out: the expired users then stay in the map, the game is not told of them, and the next
// pass finds them again.
int CollectUsers(Wirova::RecordVector<XChargeInfo>& list, int nProductId)
{
    std::vector<_BILLING_NOTI_INFO> vecNotices;
    const bool bScanned = UserInfoMap().ScanUsersForCharge(list, nProductId, [&](const CUserInfo& info) {
        AddExpiryNotice(vecNotices, info);
        CheckOutExpired(info);
    });
    if (!bScanned)
        return 0;
    // The game is called after the scan has released the user map's lock, so that other threads reach the map
    // while the callback runs. The users are removed whether the game has given a callback or not.
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
    // A reload may add products while this loop runs; the count is therefore asked for again at each turn.
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
