#include "comm/UnaskedCheckout.h"

#include <exception>

#include "comm/CommHandler.h"
#include "session/FailedCheckOutVector.h"

CheckedOut SendUnaskedCheckout(const CUserInfo& info, CheckoutOf session)
{
    auto& failed = FailedCheckOutVector();
    const std::string& strSeqNo = info.GetSeqNo();
    const std::string& strKey = info.GetKey();
    auto place = CFailedCheckOutVector::MakePlace(info, -1);
    bool bAccepted = false;
    const auto onAccepted = [&] {
        bAccepted = true;
        failed.AddSent(std::move(place));
    };
    try {
        const auto record = UnaskedCheckout(strKey, strSeqNo, session == CheckoutOf::NotInMap);
        if (CommHandler().SendMessageThen<XC2S_CheckOutReq>(onAccepted, record))
            return bAccepted ? CheckedOut::Sent : CheckedOut::Needless;
    } catch (const std::exception&) {  // no memory for the message, of which no byte has left
    }
    failed.AddFailed(std::move(place));
    return CheckedOut::Failed;
}
