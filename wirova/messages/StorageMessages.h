// A user's storage box and the purchase of products. Moving items to the inventory takes two steps:
// request, then confirm or cancel.
// Every answer begins with nReqID, nState and strMessage; its list is only valid when nState is 0.
#pragma once

#include "wirova/Message.h"

// clang-format off

// Asks for the items in the storage box of a user.
struct XC2S_SearchStorageReq final : Wirova::IMessage {
    WIROVA_MESSAGE(XC2S_SearchStorageReq, 79808954,
        (int32,  nReqID)               // the answer echoes it
        (string, strGameID)            // [20]
        (string, strServerID)          // [20]
        (string, strUserID)            // [22] empty when USE_USER_NUMBER is on
        (string, strUserNo)            // [22] empty when USE_USER_NUMBER is off
        (string, strCharacterID)       // [20]
        (char,   cSearchType)          // the game's own, passed on unread
        (string, strSearchValue))      // [22] the game's own, passed on unread
};

// An item in a storage box: a purchase, or the gift of a sender.
struct XStorageInfo final : Wirova::IMessage {
    WIROVA_MESSAGE(XStorageInfo, 41670522,
        (int32,   nStorageSeq)
        (int32,   nOrderSeq)
        (string,  strItemID)           // [20]
        (string,  strItemName)         // [40]
        (boolean, bBonus)
        (string,  strSenderUserID)     // [22] the sender, unless empty
        (string,  strSenderUserNo)     // [22] the sender, when strSenderUserID is empty
        (string,  strUserID)           // [22] the owner, unless empty
        (string,  strUserNo)           // [22] the owner, when strUserID is empty
        (string,  strServerID)         // [20]
        (string,  strCharacterID)      // [20]
        (string,  strGiftMessage)      // [200]
        (int32,   nCount)
        (int32,   nRemainCount)
        (string,  strValidTerm)        // [14]
        (int32,   nPossibleLevel)
        (int32,   nUseCount)
        (int32,   nPeriod)
        (string,  strOptionCode)       // [100]
        (string,  strOptionValue)      // [100]
        (string,  strUseStartDate)     // [14]
        (string,  strValidDate)        // [14]
        (string,  strBuyDate)          // [14]
        (string,  strSetName)          // [40]
        (string,  strListImageUrl)     // [100]
        (string,  strIconImageUrl)     // [100]
        (string,  strDirection)        // [200]
        (boolean, bRead)
        (boolean, bNew))
};

// The items in the storage box.
struct XS2C_SearchStorageAns final : Wirova::IMessage {
    WIROVA_MESSAGE(XS2C_SearchStorageAns, 169331290,
        (int32,                nReqID)       // echo
        (int32,                nState)       // 0: done; others: failure
        (string,               strMessage)   // [1024] text of the service
        (vector<XStorageInfo>, vecStorage))  // items in the storage box
};

// Marks an item as read, and deletes it on request.
struct XC2S_ConfirmReadStorageReq final : Wirova::IMessage {
    WIROVA_MESSAGE(XC2S_ConfirmReadStorageReq, 114115994,
        (int32,   nReqID)              // the answer echoes it
        (string,  strGameID)           // [20]
        (string,  strServerID)         // [20]
        (string,  strUserID)           // [22] empty when USE_USER_NUMBER is on
        (string,  strUserNo)           // [22] empty when USE_USER_NUMBER is off
        (string,  strCharacterID)      // [20]
        (int32,   nStorageSeq)         // the item that has been read
        (boolean, bDelete))            // whether to delete it
};

// Whether the item has been marked.
struct XS2C_ConfirmReadStorageAns final : Wirova::IMessage {
    WIROVA_MESSAGE(XS2C_ConfirmReadStorageAns, 34848986,
        (int32,  nReqID)               // echo
        (int32,  nState)               // 0: done; others: failure
        (string, strMessage))          // [1024] text of the service
};

// An item to be moved to the inventory.
struct XStorageUseInfo final : Wirova::IMessage {
    WIROVA_MESSAGE(XStorageUseInfo, 252135210,
        (int32,  nStorageSeq)          // storage number of the item
        (int32,  nOrderSeq)            // order number of the item
        (string, strItemID))           // [20]
};

// The first step of the move: the service reserves the items.
struct XC2S_RequestUseStorageReq final : Wirova::IMessage {
    WIROVA_MESSAGE(XC2S_RequestUseStorageReq, 215876218,
        (int32,                   nReqID)          // the answer echoes it
        (string,                  strGameID)       // [20]
        (string,                  strServerID)     // [20]
        (string,                  strUserID)       // [22] empty when USE_USER_NUMBER is on
        (string,                  strUserNo)       // [22] empty when USE_USER_NUMBER is off
        (string,                  strCharacterID)  // [20]
        (vector<XStorageUseInfo>, vecStorageUse))  // items to move
};

// Whether the items are reserved. Comes from the service in spite of its prefix, which the protocol has
// fixed.
struct XC2S_RequestUseStorageAns final : Wirova::IMessage {
    WIROVA_MESSAGE(XC2S_RequestUseStorageAns, 265459162,
        (int32,  nReqID)               // echo
        (int32,  nState)               // 0: done; others: failure
        (string, strMessage))          // [1024] text of the service
};

// The second step: the game has put the items into the inventory.
struct XC2S_ConfirmUseStorageReq final : Wirova::IMessage {
    WIROVA_MESSAGE(XC2S_ConfirmUseStorageReq, 176611130,
        (int32,         nReqID)          // the answer echoes it
        (string,        strGameID)       // [20]
        (string,        strServerID)     // [20]
        (string,        strUserID)       // [22] empty when USE_USER_NUMBER is on
        (string,        strUserNo)       // [22] empty when USE_USER_NUMBER is off
        (string,        strCharacterID)  // [20]
        (vector<int32>, vecStorageSeq))  // the numbers of the items
};

// Whether the service has confirmed the move.
struct XS2C_ConfirmUseStorageAns final : Wirova::IMessage {
    WIROVA_MESSAGE(XS2C_ConfirmUseStorageAns, 111378682,
        (int32,  nReqID)               // echo
        (int32,  nState)               // 0: done; others: failure
        (string, strMessage))          // [1024] text of the service
};

// The second step if the game could not take the items: the service ends the reservation.
struct XC2S_CancelUseStorageReq final : Wirova::IMessage {
    WIROVA_MESSAGE(XC2S_CancelUseStorageReq, 202931658,
        (int32,         nReqID)          // the answer echoes it
        (string,        strGameID)       // [20]
        (string,        strServerID)     // [20]
        (string,        strUserID)       // [22] empty when USE_USER_NUMBER is on
        (string,        strUserNo)       // [22] empty when USE_USER_NUMBER is off
        (string,        strCharacterID)  // [20]
        (vector<int32>, vecStorageSeq))  // the numbers of the items
};

// Whether the service has cancelled the move.
struct XS2C_CancelUseStorageAns final : Wirova::IMessage {
    WIROVA_MESSAGE(XS2C_CancelUseStorageAns, 81647098,
        (int32,  nReqID)               // echo
        (int32,  nState)               // 0: done; others: failure
        (string, strMessage))          // [1024] text of the service
};

// A coupon that the buyer uses.
struct XUseCouponInfo final : Wirova::IMessage {
    WIROVA_MESSAGE(XUseCouponInfo, 7506970,
        (string, strCouponUseID)       // [20] of XCouponInfo
        (string, strCouponCode))       // [20] of XCouponInfo
};

// An option that the buyer chooses.
struct XUseOptionInfo final : Wirova::IMessage {
    WIROVA_MESSAGE(XUseOptionInfo, 244079178,
        (string, strOptionCode)        // [20] of XProductOption
        (string, strOptionValue))      // [20] of XProductOption
};

// Buys a product, for the buyer or as a gift for a receiver.
struct XC2S_PurchaseProductReq final : Wirova::IMessage {
    WIROVA_MESSAGE(XC2S_PurchaseProductReq, 114099850,
        (int32,                  nReqID)              // the answer echoes it
        (string,                 strGameID)           // [20]
        (string,                 strProductID)        // [20]
        (string,                 strUserID)           // [22] the buyer; empty when USE_USER_NUMBER is on
        (string,                 strUserNo)           // [22] the buyer; empty when USE_USER_NUMBER is off
        (string,                 strServerID)         // [20] the buyer's server
        (string,                 strCharacterID)      // [20] the buyer's character
        (string,                 strRecvUserID)       // [22] who receives; empty when USE_USER_NUMBER is on
        (string,                 strRecvUserNo)       // [22] who receives; empty when USE_USER_NUMBER is off
        (string,                 strRecvServerID)     // [20] the receiver's server
        (string,                 strRecvCharacterID)  // [20] the receiver's character
        (int32,                  nCount)              // pieces; ahead of the level, unlike the public record
        (int32,                  nLevel)              // level of the character
        (string,                 strGiftMessage)      // [200]
        (string,                 strUserIP)           // [15] the buyer's dotted address
        (string,                 strPassWD)           // in plain, as the caller gave it; not for logs
        (vector<XUseCouponInfo>, vecUseCoupon)        // coupons used
        (vector<XUseOptionInfo>, vecUseOption))       // options chosen
};

// Whether the product has been bought.
struct XS2C_PurchaseProductAns final : Wirova::IMessage {
    WIROVA_MESSAGE(XS2C_PurchaseProductAns, 60035162,
        (int32,  nReqID)               // echo
        (int32,  nState)               // 0: done; others: failure
        (string, strMessage)           // [1024] text of the service
        (int32,  nOrderSeq)            // number of the order
        (int32,  nBuyPrice))           // price paid
};

// clang-format on
