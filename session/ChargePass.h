// One charge of all configured products.
#pragma once

#include "comm/CommHandler.h"
#include "config/BillingIdMap.h"

// Sends one message for each product, in ascending order of the ids, and calls onFailed with each product
// whose message could not be sent. Returns how many went out or had nobody to charge.
template <class OnFailed>
int SendChargePass(OnFailed onFailed)
{
    using Kernova::XTL::Singleton;
    const auto& products = Singleton<CBillingIdMap>::Instance();
    int nSent = 0;
    for (int n = 0; n < products.GetProductCount(); ++n) {
        const int nProductId = products.GetProductIdAt(n);
        if (Singleton<CCommHandler>::Instance().SendMessage<XC2S_ChargeReq>(nProductId))
            ++nSent;
        else
            onFailed(nProductId);
    }
    return nSent;
}
