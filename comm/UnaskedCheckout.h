// Checkouts that the library sends by itself: no caller waits for their answer.
#pragma once

#include "comm/CommHandler.h"
#include "session/FailedCheckOutVector.h"

// Checks the user out at the service. onSent() or onFailed() writes the line of the log that belongs to the
// occasion. A checkout that cannot be sent is kept for the next accepted connection, unless the record has no
// IP: then the user was not in the map.
template <class OnSent, class OnFailed>
void CheckOutUnasked(const CUserInfo& info, OnSent onSent, OnFailed onFailed)
{
    if (CommHandler().SendMessage<XC2S_CheckOutReq>(UnaskedCheckout(info.GetKey())))
        return onSent();
    onFailed();
    FailedCheckOutVector().AddFailedUser(info);
}
