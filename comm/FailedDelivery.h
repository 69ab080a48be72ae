// The delivery of the checkouts that wait in CFailedCheckOutVector.
#pragma once

#include "platform/Netrova.h"

// Sends them in one XC2S_FailedCheckOutReq on that link, or not at all if another link has taken its place.
// Without a waiting checkout nothing is sent. What cannot be sent waits on.
void DeliverFailedCheckouts(Netrova::Link::_THandle* pLink);
