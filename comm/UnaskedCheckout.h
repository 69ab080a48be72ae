// Checkouts that the library sends by itself: for a user whose term has ended, and for a checkin whose caller
// has given up. No caller waits for their answer.
#pragma once

#include "session/UserInfo.h"

// Which session is checked out.
enum class CheckoutOf {
    InMap,     // the one that the record was copied from
    NotInMap,  // one that the service alone has: see the builder of XC2S_CheckOutReq
};

// What became of a checkout.
enum class CheckedOut { Sent, Needless, Failed };

// Sends one checkout for the user with Req ID -1, so that its answer wakes nobody. A checkout that cannot be
// sent is kept for the next delivery. A record without an IP is not kept; the expiry notice of a user who is
// not in the user map makes such a record. Throws std::bad_alloc only before anything is sent or kept.
CheckedOut SendUnaskedCheckout(const CUserInfo& info, CheckoutOf session);

// The same, and onSent() or onFailed() writes the log line of the occasion.
template <class OnSent, class OnFailed>
void CheckOutUnasked(const CUserInfo& info, CheckoutOf session, OnSent onSent, OnFailed onFailed)
{
    const CheckedOut result = SendUnaskedCheckout(info, session);
    if (result == CheckedOut::Sent)
        onSent();
    else if (result == CheckedOut::Failed)
        onFailed();
}
