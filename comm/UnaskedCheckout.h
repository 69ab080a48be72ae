// Checkouts that the library sends by itself: for a user whose term has ended, and for a checkin whose caller
// has given up. No caller waits for their answer.
#pragma once

#include "comm/CommHandler.h"
#include "session/FailedCheckOutVector.h"

// Sends one checkout for the user with Req ID -1, so that its answer wakes nobody. onSent() or onFailed()
// writes the log line of the occasion. A checkout that cannot be sent is kept for the next accepted
// connection. A record without an IP is not kept; the expiry notice of a user who is not in the user map
// makes such a record.
template <class OnSent, class OnFailed>
void CheckOutUnasked(const CUserInfo& info, OnSent onSent, OnFailed onFailed)
{
    if (CommHandler().SendMessage<XC2S_CheckOutReq>(UnaskedCheckout(info.GetKey())))
        return onSent();
    onFailed();
    FailedCheckOutVector().AddFailedUser(info);
}
