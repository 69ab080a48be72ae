// Which class answers which, and what an answer of success looks like.
#pragma once

#include <type_traits>

#include "wirova/messages/AllMessages.h"

namespace Support {

template <class Request>
struct AnswerOf;

#define SUPPORT_ANSWER(request, answer) \
    template <>                         \
    struct AnswerOf<request> {          \
        using type = answer;            \
    };

// What the connector asks: XC2S_...Req, answered by XS2C_...Ans.
// clang-format off
#define SUPPORT_ASKED_BY_CONNECTOR(X)                                                             \
    X(VelkarConnect) X(CheckIn) X(CheckInEx) X(CheckOut) X(QueryBillingInfo) X(QueryBillingInfoEx) \
    X(UserMoveTo) X(UserMoveFrom) X(Charge) X(QueryMenuList) X(QueryProductList)                   \
    X(QueryProductDetail) X(QueryDiscount) X(QueryTag) X(QueryCoupont) X(QuerySpecialProductList)  \
    X(QuerySpecialProduct) X(QueryRuvcoin) X(SearchStorage) X(ConfirmReadStorage)                  \
    X(ConfirmUseStorage) X(CancelUseStorage) X(PurchaseProduct)
// clang-format on
#define SUPPORT_PAIR(name) SUPPORT_ANSWER(XC2S_##name##Req, XS2C_##name##Ans)
SUPPORT_ASKED_BY_CONNECTOR(SUPPORT_PAIR)
#undef SUPPORT_PAIR
SUPPORT_ANSWER(XC2S_RequestUseStorageReq, XC2S_RequestUseStorageAns)

// What the service asks: XS2C_...Req, answered by XC2S_...Ans.
#define SUPPORT_PAIR(name) SUPPORT_ANSWER(XS2C_##name##Req, XC2S_##name##Ans)
SUPPORT_PAIR(QueryGameMoney)
SUPPORT_PAIR(SpendGameMoney)
SUPPORT_PAIR(QueryInventory)
SUPPORT_PAIR(QueryCharacter)
SUPPORT_PAIR(SaveInventory)
#undef SUPPORT_PAIR
#undef SUPPORT_ANSWER

template <class Request>
using AnswerTo = typename AnswerOf<Request>::type;

// The product that a checkin gets unless a test says otherwise; Settings has it, too.
inline constexpr int kProductID = 7;

// Success: what the answer echoes, its head, and for checkins a session that is charged and does not
// expire. Everything else stays zero or empty.
template <class Request, class Answer>
void FillSuccess(const Request& req, Answer& ans)
{
#define SUPPORT_ECHO(field)                            \
    if constexpr (requires { ans.field = req.field; }) \
    ans.field = req.field
    SUPPORT_ECHO(nReqID);
    SUPPORT_ECHO(strUserID);
    SUPPORT_ECHO(strUserNo);
    SUPPORT_ECHO(strUserIP);
#undef SUPPORT_ECHO
    if constexpr (requires { ans.bSuccess; })
        ans.bSuccess = true;
    if constexpr (requires { ans.nBillType + ans.strEndDate.size(); }) {
        ans.nProductID = kProductID;
        ans.nRemainMinutes = 600;
        ans.strCRMCode = "CRM";
        ans.strEndDate = "20991231235959";
    }
    if constexpr (requires { ans.strSeqNo; }) {
        ans.strSeqNo = "1";
        ans.cFree = 'N';
    }
}

}  // namespace Support
