// How the sandbox says no.
#pragma once

#include <stdexcept>
#include <string>

#include "wirova/WirovaBase.h"

namespace Sandbox {

// Result codes of refused requests, beside those that a user is seeded with.
enum Result : int {
    kAccepted = 0,
    kUnknownUser = 2,
    kElsewhere = 3,  // checked in on another connector
    kTermOver = 4,
    kNoMinutes = 6,
    kNoUserNamed = 7,
    kNotRegistered = 8,  // the connector has to register first
    kStoreFailed = 9,
    kNotCheckedIn = 10,
};

// States of refused shop and storage requests, beside kUnknownUser, kNoUserNamed, kNotRegistered and
// kStoreFailed.
enum ShopState : int {
    kUnknownGame = 20,
    kUnknownProduct = 21,
    kUnknownBranch = 22,
    kUnknownGroup = 23,
    kBadSearch = 24,
    kBadPage = 25,
    kUnknownReceiver = 26,
    kTextTooLong = 27,
    kTooManyRows = 28,
    kNotOnSale = 30,
    kBadCount = 31,
    kLevelTooLow = 32,
    kConditionFails = 33,
    kNoGift = 34,
    kSoldOnce = 35,
    kWrongPassWord = 36,
    kUnknownOption = 37,
    kUnknownCoupon = 40,
    kCouponUsed = 41,
    kCouponExpired = 42,
    kCouponOfOther = 43,  // of another product
    kCouponsNotTaken = 44,
    kNotEnoughCoin = 50,
    kPriceTooHigh = 51,
    kUnknownEntry = 60,  // in this user's box
    kWrongItem = 61,     // the entry is of another order or item
    kEntryReserved = 62,
    kEntryUsed = 63,
    kNotReserved = 64,
    kReservedForOther = 65,
    kEntryExpired = 66,
    kNamedTwice = 67,
};

// Results of refused registrations.
enum ConnectResult : int {
    kNoGID = 1,
    kTooLong = 2,
    kOtherConnector = 3,  // the link belongs to another one
    kTooMany = 4,
};

// Event codes. Told an expiry, the connector checks the user out; told a forced checkout, it forgets the
// user, whom the service has checked out already.
enum BillingEvent : int { kBillingExpire = 0, kWarning = 1, kForceCheckout = 2 };

// Success, with the extra flag for the game.
inline constexpr int kAcceptedExtra = 90006;

// Thrown by a handler: what it has changed is undone, and the answer carries this.
class Refusal : public std::runtime_error {
public:
    Refusal(int nResult, const std::string& strText) : std::runtime_error(strText), m_nResult(nResult) {}
    int GetResult() const { return m_nResult; }

private:
    int m_nResult;
};

// Whatever head an answer has: nResult or nState or bSuccess, strErrorMsg or strMessage.
template <class Ans>
void SetRefusal([[maybe_unused]] Ans& ans, [[maybe_unused]] int nResult, [[maybe_unused]] const char* pszText)
{
    if constexpr (requires { ans.nResult; })
        ans.nResult = nResult;
    if constexpr (requires { ans.nState; })
        ans.nState = nResult;
    if constexpr (requires { ans.bSuccess; })
        ans.bSuccess = false;
    if constexpr (requires { ans.strErrorMsg; })
        ans.strErrorMsg = pszText;
    if constexpr (requires { ans.strMessage; })
        ans.strMessage = pszText;
}

// What an answer repeats of its request.
template <class Req, class Ans>
void Echo([[maybe_unused]] const Req& req, [[maybe_unused]] Ans& ans)
{
    if constexpr (requires { ans.nReqID = req.nReqID; })
        ans.nReqID = req.nReqID;
    if constexpr (requires { ans.strUserID = req.strUserID; })
        ans.strUserID = req.strUserID;
    if constexpr (requires { ans.strUserNo = req.strUserNo; })
        ans.strUserNo = req.strUserNo;
    if constexpr (requires { ans.strUserIP = req.strUserIP; })
        ans.strUserIP = req.strUserIP;
}

}  // namespace Sandbox
