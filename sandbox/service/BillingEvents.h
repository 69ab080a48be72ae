// The codes of billing events, which the service sends to a connector unasked.
#pragma once

namespace Sandbox {

enum BillingEvent : int {
    kBillingExpire = 0,  // the user's time is over: the connector checks the user out
    kWarning = 1,
    kForceCheckout = 2,  // the service has checked the user out already: the connector only forgets the user
};

}  // namespace Sandbox
