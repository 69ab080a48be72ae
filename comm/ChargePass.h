// The charge: one message for each configured product that names its users, and the checkout of the users
// whose term has ended. CChargeGen calls RunChargeCycle once a cycle, the export Charge calls SendChargePass
// at once.
#pragma once

#include "comm/out/SendRecords.h"
#include "wirova/messages/SessionMessages.h"

// Checks out the users whose term has ended, tells the game and removes them, then sends one message for each
// product of the settings, in ascending order of the product ids, and calls pfnOnFailed for each product
// whose message could not be sent; a failed product is not tried again before the next pass. Returns the
// number of products whose message went out or that had nobody to charge.
int SendChargePass(void (*pfnOnFailed)(int nProductId));

// The pass of the charge thread: SendChargePass with a log line for each product that failed.
void RunChargeCycle();

// The product whose users an XC2S_ChargeReq names.
struct _CHARGE_SEND {
    int nProductId;
};

// Fills the message with all users of one product who are to be charged; Built::Nothing if there are none.
// A user in the message is no longer a first-time user, even if the message then cannot be sent.
Built Build(XC2S_ChargeReq& msg, const _CHARGE_SEND& record);
