// A charge pass: whose term has ended is checked out, and each product's users are reported. Runs on the
// charge thread once a cycle, or on a game thread inside the export Charge.
#include "comm/ChargePass.h"

#include <vector>

#include "base/Logger.h"
#include "comm/CallGame.h"
#include "comm/CommHandler.h"
#include "comm/UnaskedCheckout.h"
#include "config/BillingIdMap.h"
#include "session/UserInfoMap.h"

namespace {

// So many users are checked out in one hold of the locks; other threads send and reach the map between two.
constexpr std::size_t kMostExpired = 256;

// Sends the checkout of a user whose term has ended. Runs inside the walk, with the active link list and the
// user map's lock held; both locks are re-entrant, which the send needs. A checkout that cannot be sent is
// kept for the next delivery, and the user expires here all the same.
void CheckOutEnded(const CUserInfo& info)
{
    CheckOutUnasked(
        info, CheckoutOf::InMap,
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

// The users of one step of the walk. They have been checked out, so they are told to the game and removed in
// any case, also when the step has ended with an exception. The game is called with no lock held, and each
// record is removed by its number: a user who has checked in again meanwhile stays.
class ExpiredUsers {
public:
    ExpiredUsers() { m_vecUsers.reserve(kMostExpired); }
    ~ExpiredUsers()
    {
        const auto pfnBillingEvent = CommHandler().GetCallback<&_CONNECTOR_CALLBACKS::pfnBillingEvent>();
        for (const ExpiredUser& user : m_vecUsers) {
            // Event code 0 (BILLING_EXPIRE), specific code 0 and no parameter: the zeros of a new record.
            _BILLING_NOTI_INFO notice{};
            CopyText(notice.szUserKey, user.strKey);
            CopyText(notice.szUserIP, user.strUserIP);
            TellGame(pfnBillingEvent, notice);
            UserInfoMap().RemoveRecord(user.strKey, user.nRecordNo);
        }
    }
    ExpiredUsers(const ExpiredUsers&) = delete;
    ExpiredUsers& operator=(const ExpiredUsers&) = delete;

    std::vector<ExpiredUser>& Get() { return m_vecUsers; }

private:
    std::vector<ExpiredUser> m_vecUsers;
};

// One step of the walk; false at its end or without a connection.
bool ExpireSome(std::string& strAfter, const Host::LocalTime& now)
{
    ExpiredUsers expired;
    bool bMore = false;
    CommHandler().WithActiveLink([&] {
        bMore = UserInfoMap().FindExpired(strAfter, now, kMostExpired, expired.Get(), &CheckOutEnded);
    });
    return bMore;
}

// Ends the sessions of all users, of any product, whose term has ended. A Charge that the game calls inside
// its callback leaves the rest to the pass that has called the game. Who is not reached for want of memory is
// found by the next pass.
void ExpireUsers()
{
    static thread_local bool s_bInside = false;
    if (s_bInside)
        return;
    s_bInside = true;
    try {
        const Host::LocalTime now = Host::GetLocalTime();
        std::string strAfter;
        while (ExpireSome(strAfter, now)) {
        }
    } catch (...) {
        Log::Error("[Charge Gen] There is no memory for the users whose term has ended.");
    }
    s_bInside = false;
}

}  // namespace

Built Build(XC2S_ChargeReq& msg, const _CHARGE_SEND& record)
{
    const bool bScanned =
        UserInfoMap().ScanUsersForCharge(msg.vecChargeInfo, record.nProductId, Host::GetLocalTime());
    const int nCount = bScanned ? static_cast<int>(msg.vecChargeInfo.size()) : 0;
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
    const Kernova::XTL::UseScope use(CommHandler().GetGate());
    const auto& products = BillingIdMap();
    int nSent = 0;
    // By id and not by position: a reload may add products while this loop runs.
    std::int32_t nProductId = 0;
    bool bMore = products.GetFirstProductId(nProductId);
    if (bMore)
        ExpireUsers();
    for (; bMore; bMore = products.GetProductIdAbove(nProductId, nProductId)) {
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
        Log::ErrorFmt("[Charge Gen] Failed to send a 'XC2S_ChargeReq' msg for PID: %d.", nProductId);
    });
}
