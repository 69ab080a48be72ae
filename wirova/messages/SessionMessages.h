// Checkin and checkout, billing queries, moves between servers, charges, the lists sent after a registration,
// and the notices that the service sends by itself.
// Of strUserID and strUserNo the connector fills one with the user's key, as the setting USE_USER_NUMBER
// says, and leaves the other empty; both fields always travel.
#pragma once

#include "wirova/Message.h"

// clang-format off

// Checks a user in: the user begins to play on this game server.
struct XC2S_CheckInReq final : Wirova::IMessage {
    WIROVA_MESSAGE(XC2S_CheckInReq, 4143642,
        (int32,  nReqID)               // the answer echoes it
        (string, strUserID)            // [22] empty when USE_USER_NUMBER is on
        (string, strUserNo)            // [22] empty when USE_USER_NUMBER is off
        (string, strUserIP))           // [15] dotted address of the user
};

// A checkin whose answer also lists the other billings of the user.
struct XC2S_CheckInExReq final : Wirova::IMessage {
    WIROVA_MESSAGE(XC2S_CheckInExReq, 201716410,
        (int32,  nReqID)               // the answer echoes it
        (string, strUserID)            // [22] empty when USE_USER_NUMBER is on
        (string, strUserNo)            // [22] empty when USE_USER_NUMBER is off
        (string, strUserIP))           // [15] dotted address of the user
};

// Checks a user out. The last text is the Seq No of the checkin and not the address, unlike in the other
// requests.
struct XC2S_CheckOutReq final : Wirova::IMessage {
    WIROVA_MESSAGE(XC2S_CheckOutReq, 122321946,
        (int32,  nReqID)               // the answer echoes it
        (string, strUserID)            // [22] empty when USE_USER_NUMBER is on
        (string, strUserNo)            // [22] empty when USE_USER_NUMBER is off
        (string, strSeqNo))            // Seq No of the checkin, from CUserInfo; not the address
};

// Asks on which billing a user plays.
struct XC2S_QueryBillingInfoReq final : Wirova::IMessage {
    WIROVA_MESSAGE(XC2S_QueryBillingInfoReq, 262398778,
        (int32,  nReqID)               // the answer echoes it
        (string, strUserID)            // [22] empty when USE_USER_NUMBER is on
        (string, strUserNo)            // [22] empty when USE_USER_NUMBER is off
        (string, strUserIP))           // [15] dotted address of the user
};

// A billing query whose answer also lists the other billings of the user.
struct XC2S_QueryBillingInfoExReq final : Wirova::IMessage {
    WIROVA_MESSAGE(XC2S_QueryBillingInfoExReq, 212310618,
        (int32,  nReqID)               // the answer echoes it
        (string, strUserID)            // [22] empty when USE_USER_NUMBER is on
        (string, strUserNo)            // [22] empty when USE_USER_NUMBER is off
        (string, strUserIP))           // [15] dotted address of the user
};

// Tells the service that a user leaves this game server for another one.
struct XC2S_UserMoveToReq final : Wirova::IMessage {
    WIROVA_MESSAGE(XC2S_UserMoveToReq, 115543738,
        (int32,  nReqID)               // the answer echoes it
        (string, strUserID)            // [22] empty when USE_USER_NUMBER is on
        (string, strUserNo)            // [22] empty when USE_USER_NUMBER is off
        (string, strUserIP))           // [15] dotted address of the user
};

// Tells the service that a user arrives here from another game server.
struct XC2S_UserMoveFromReq final : Wirova::IMessage {
    WIROVA_MESSAGE(XC2S_UserMoveFromReq, 41234506,
        (int32,  nReqID)               // the answer echoes it
        (string, strUserID)            // [22] empty when USE_USER_NUMBER is on
        (string, strUserNo)            // [22] empty when USE_USER_NUMBER is off
        (string, strUserIP))           // [15] dotted address of the user
};

// Whether the user is checked in, and on which billing. The answers to checkins and billing queries differ in
// small ways: behind nResult stands a char, a boolean or nothing; only checkins bring strSeqNo; only Ex
// answers bring vecOtherBilling.
struct XS2C_CheckInAns final : Wirova::IMessage {
    WIROVA_MESSAGE(XS2C_CheckInAns, 22570410,
        (int32,  nReqID)               // echo
        (string, strUserID)            // echo, may be empty
        (string, strUserNo)            // echo, may be empty
        (string, strUserIP)            // echo
        (int32,  nResult)              // 0 or 90006: checked in; others: failure
        (char,   cFree)                // Free mark of the user
        (int32,  nBillType)
        (int32,  nProductID)           // billing product id
        (int64,  nRemainMinutes)       // remaining minutes
        (string, strCRMCode)           // [15]
        (string, strEndDate)           // [14] 14 digits
        (string, strSeqNo)             // of this checkin; charge and checkout send it back
        (string, strErrorMsg))         // [1024] failure text; empty on success
};

// One of the other billings of a user.
struct XUserBillingInfo final : Wirova::IMessage {
    WIROVA_MESSAGE(XUserBillingInfo, 131151258,
        (int32,  nBillType)
        (int32,  nProductID)           // billing product id
        (int64,  nRemainMinutes)       // remaining minutes
        (string, strCRMCode)           // [15]
        (string, strEndDate))          // [14] 14 digits
};

// As XS2C_CheckInAns, with the other billings of the user.
struct XS2C_CheckInExAns final : Wirova::IMessage {
    WIROVA_MESSAGE(XS2C_CheckInExAns, 61855834,
        (int32,                    nReqID)           // echo
        (string,                   strUserID)        // echo, may be empty
        (string,                   strUserNo)        // echo, may be empty
        (string,                   strUserIP)        // echo
        (int32,                    nResult)          // 0 or 90006: checked in; others: failure
        (char,                     cFree)            // Free mark of the user
        (int32,                    nBillType)        // the billing in use
        (int32,                    nProductID)       // its product
        (int64,                    nRemainMinutes)   // what remains of it
        (string,                   strCRMCode)       // [15] its CRM code
        (string,                   strEndDate)       // [14] 14 digits
        (string,                   strSeqNo)         // of this checkin; charge and checkout send it back
        (vector<XUserBillingInfo>, vecOtherBilling)  // the user's other billings
        (string,                   strErrorMsg))     // [1024] failure text
};

// Whether the user is checked out. Carries no address, unlike the other answers.
struct XS2C_CheckOutAns final : Wirova::IMessage {
    WIROVA_MESSAGE(XS2C_CheckOutAns, 185515018,
        (int32,   nReqID)              // echo
        (string,  strUserID)           // echo, may be empty
        (string,  strUserNo)           // echo, may be empty
        (boolean, bSuccess)            // 1: checked out
        (string,  strErrorMsg))        // [1024] failure text
};

// The billing on which the user plays.
struct XS2C_QueryBillingInfoAns final : Wirova::IMessage {
    WIROVA_MESSAGE(XS2C_QueryBillingInfoAns, 5307722,
        (int32,   nReqID)              // echo
        (string,  strUserID)           // echo, may be empty
        (string,  strUserNo)           // echo, may be empty
        (string,  strUserIP)           // echo
        (int32,   nResult)             // 0 or 90006: done; others: failure
        (boolean, bPCCafe)             // PC cafe mark
        (int32,   nBillType)
        (int32,   nProductID)          // billing product id
        (int64,   nRemainMinutes)      // remaining minutes
        (string,  strCRMCode)          // [15]
        (string,  strEndDate)          // [14] 14 digits
        (string,  strErrorMsg))        // [1024] failure text
};

// The billing on which the user plays and the other billings of the user.
struct XS2C_QueryBillingInfoExAns final : Wirova::IMessage {
    WIROVA_MESSAGE(XS2C_QueryBillingInfoExAns, 4848138,
        (int32,                    nReqID)           // echo
        (string,                   strUserID)        // echo, may be empty
        (string,                   strUserNo)        // echo, may be empty
        (string,                   strUserIP)        // echo
        (int32,                    nResult)          // 0 or 90006: done; others: failure
        (int32,                    nBillType)        // the billing in use
        (int32,                    nProductID)       // its product
        (int64,                    nRemainMinutes)   // what remains of it
        (string,                   strCRMCode)       // [15] its CRM code
        (string,                   strEndDate)       // [14] 14 digits
        (vector<XUserBillingInfo>, vecOtherBilling)  // the user's other billings
        (string,                   strErrorMsg))     // [1024] failure text
};

// Whether the service has let the user go.
struct XS2C_UserMoveToAns final : Wirova::IMessage {
    WIROVA_MESSAGE(XS2C_UserMoveToAns, 249247962,
        (int32,   nReqID)              // echo
        (string,  strUserID)           // echo, may be empty
        (string,  strUserNo)           // echo, may be empty
        (string,  strUserIP)           // echo
        (boolean, bSuccess)            // 1: done
        (string,  strErrorMsg))        // [1024] failure text
};

// Whether the service has taken the user over.
struct XS2C_UserMoveFromAns final : Wirova::IMessage {
    WIROVA_MESSAGE(XS2C_UserMoveFromAns, 247883946,
        (int32,   nReqID)              // echo
        (string,  strUserID)           // echo, may be empty
        (string,  strUserNo)           // echo, may be empty
        (string,  strUserIP)           // echo
        (boolean, bSuccess)            // 1: done
        (string,  strErrorMsg))        // [1024] failure text
};

// One user in a charge.
struct XChargeInfo final : Wirova::IMessage {
    WIROVA_MESSAGE(XChargeInfo, 83358938,
        (string,  strUserID)           // empty when USE_USER_NUMBER is on
        (string,  strUserNo)           // empty when USE_USER_NUMBER is off
        (string,  strUserIP)           // dotted address of the user
        (string,  strSeqNo)            // of the user's checkin
        (boolean, bFirst))             // 1 in the first charge after the checkin
};

// Reports all chargeable users of one product, once each charge cycle. Has no Req ID, because nobody waits
// for an answer.
struct XC2S_ChargeReq final : Wirova::IMessage {
    WIROVA_MESSAGE(XC2S_ChargeReq, 92393370,
        (int32,               nPID)            // product of this charge round; one message a product
        (vector<XChargeInfo>, vecChargeInfo))  // the chargeable users of the product
};

// The answer to a charge. It has no field, so it cannot be matched to a charge, and the library ignores it.
struct XS2C_ChargeAns final : Wirova::IMessage {
    WIROVA_MESSAGE(XS2C_ChargeAns, 239781594, )
};

// One user in the two lists that follow a registration.
struct XCheckOutInfo final : Wirova::IMessage {
    WIROVA_MESSAGE(XCheckOutInfo, 21462938,
        (string, strUserID)            // empty when USE_USER_NUMBER is on
        (string, strUserNo)            // empty when USE_USER_NUMBER is off
        (string, strUserIP)            // dotted address of the user
        (char,   cFree)                // Free mark of the checkin
        (int32,  nProductID)           // billing product id
        (string, strCRMCode)
        (string, strSeqNo))            // of the user's checkin
};

// The first message after an accepted registration: tells the service who has left while nothing could be
// sent. Never sent empty, never answered.
struct XC2S_FailedCheckOutReq final : Wirova::IMessage {
    WIROVA_MESSAGE(XC2S_FailedCheckOutReq, 107326394,
        (vector<XCheckOutInfo>, vecCheckOutInfo))  // the users whose checkout could not be sent
};

// Sent right after XC2S_FailedCheckOutReq: tells the service who is checked in here. Never sent empty, never
// answered.
struct XC2S_UserListSyncReq final : Wirova::IMessage {
    WIROVA_MESSAGE(XC2S_UserListSyncReq, 4853066,
        (vector<XCheckOutInfo>, vecCheckOutInfo))  // the users who are checked in now
};

// Something has happened to the billing of a user, such as the end of the term.
struct XS2C_BillingEventNotice final : Wirova::IMessage {
    WIROVA_MESSAGE(XS2C_BillingEventNotice, 156677770,
        (string, strUserID)            // the user, unless empty
        (string, strUserNo)            // the user, when strUserID is empty
        (string, strUserIP)            // [15] dotted address of the user
        (int32,  nEventCode)           // 0: BILLING_EXPIRE, 2: FORCE_CHECKOUT
        (int32,  nSpecificCode)        // the service's own code within the event
        (string, strParam))            // [1024] free text of the event
};

// Items have come into the storage box of a user. A notice: it begins like a request of the service, but has
// no answer.
struct XS2C_NotifyStorageInfo final : Wirova::IMessage {
    WIROVA_MESSAGE(XS2C_NotifyStorageInfo, 208709978,
        (int32,  nReqID)               // not used
        (string, strGameID)            // not used
        (string, strServerID)          // not used
        (string, strUserID)            // the user, unless empty
        (string, strUserNo)            // the user, when strUserID is empty
        (string, strCharacterID)       // [20]
        (int32,  nItemCnt))            // number of items
};

// clang-format on
