// How the service refuses a request: the exception that a handler throws, and the codes that it carries.
#pragma once

#include <stdexcept>
#include <string>

namespace Sandbox {

// Results of session requests. A user of the seed may have other codes, which are answered as they are.
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

// States of refused shop and storage requests. These are refused with kUnknownUser, kNoUserNamed,
// kNotRegistered and kStoreFailed too.
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
    kCouponOfOther = 43,  // the coupon is for another product
    kCouponsNotTaken = 44,
    kNotEnoughCoin = 50,
    kPriceTooHigh = 51,
    kUnknownEntry = 60,  // not in this user's box
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
    kOtherConnector = 3,  // the link is registered for another connector already
    kTooMany = 4,         // the sandbox knows as many connectors as it can
};

// A checkin with this result succeeds, and the game gets an extra flag.
inline constexpr int kAcceptedExtra = 90006;

// Thrown by a handler. The handler's changes are rolled back, and the answer carries code and text.
class Refusal : public std::runtime_error {
public:
    Refusal(int nResult, const std::string& strText) : std::runtime_error(strText), m_nResult(nResult) {}
    int GetResult() const { return m_nResult; }

private:
    int m_nResult;
};

}  // namespace Sandbox
