// What a seed file may say of users, coupons and shops; the routes that change them ask for the same.
#pragma once

#include "sandbox/base/Arguments.h"

namespace Sandbox {

inline constexpr int kMaxKey = 22;     // bytes of a user id or number
inline constexpr int kMaxGameID = 20;  // bytes

// The lists are made once. Any thread.
const Arguments& SeedArguments();     // of a whole file
const Arguments& UserArguments();     // of one of its users
const Arguments& CouponArguments();   // of a coupon of a user
const Arguments& ProductArguments();  // of a product of a shop
const Arguments& ShopArguments();     // of a shop
const Arguments& BranchArguments();   // of a branch of its menu
const Arguments& EntryArguments();    // of an entry of a storage box

// Keys of records whose values the sandbox works out.
extern const std::vector<std::string> kMenuWorkedOut, kDiscountWorkedOut, kGroupProductWorkedOut,
    kEntryWorkedOut;

}  // namespace Sandbox
