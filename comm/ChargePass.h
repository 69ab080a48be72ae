// One charge of all configured products, with the checkout of the users whose term has ended.
#pragma once

#include "comm/out/SendRecords.h"
#include "wirova/messages/SessionMessages.h"

// Sends one message for each product, in ascending order of the ids, and calls onFailed with each product
// whose message could not be sent. Returns how many went out or had nobody to charge.
int SendChargePass(void (*pfnOnFailed)(int nProductId));

// The pass of the charge generator's thread.
void RunChargeCycle();

// The product whose users an XC2S_ChargeReq names.
struct _CHARGE_SEND {
    int nProductId;
};

// All users of one product who are to be charged. Filling the message checks users of any product out whose
// term has ended, tells the game of them and removes them; who is in the message counts as charged before,
// whether it is sent or not. Runs with the active link list locked, also while the game is called.
Built Build(XC2S_ChargeReq& msg, const _CHARGE_SEND& record);
