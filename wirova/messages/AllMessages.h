// All wire classes, and the only list of them. A new class is added to one of the two lists; the catalogue
// (MessageCatalog.h) is made from both.
#pragma once

#include "wirova/messages/BaseMessages.h"
#include "wirova/messages/GameServiceMessages.h"
#include "wirova/messages/SessionMessages.h"
#include "wirova/messages/ShopMessages.h"
#include "wirova/messages/StorageMessages.h"

// clang-format off

// The messages: classes that travel by themselves, with their id.
#define WIROVA_TOP_LEVEL_CLASSES(X)                                                                      \
    X(XC2S_Heartbeat) X(XC2S_VelkarConnectReq) X(XS2C_VelkarConnectAns) X(XC2S_CheckInReq)               \
    X(XS2C_CheckInAns) X(XC2S_CheckInExReq) X(XS2C_CheckInExAns) X(XC2S_CheckOutReq) X(XS2C_CheckOutAns) \
    X(XC2S_QueryBillingInfoReq) X(XS2C_QueryBillingInfoAns) X(XC2S_QueryBillingInfoExReq)                \
    X(XS2C_QueryBillingInfoExAns) X(XC2S_UserMoveToReq) X(XS2C_UserMoveToAns) X(XC2S_UserMoveFromReq)    \
    X(XS2C_UserMoveFromAns) X(XC2S_ChargeReq) X(XS2C_ChargeAns) X(XC2S_QueryMenuListReq)                 \
    X(XS2C_QueryMenuListAns) X(XC2S_QueryProductListReq) X(XS2C_QueryProductListAns)                     \
    X(XC2S_QueryProductDetailReq) X(XS2C_QueryProductDetailAns) X(XC2S_QueryDiscountReq)                 \
    X(XS2C_QueryDiscountAns) X(XC2S_QueryTagReq) X(XS2C_QueryTagAns) X(XC2S_QueryCoupontReq)             \
    X(XS2C_QueryCoupontAns) X(XC2S_QuerySpecialProductListReq) X(XS2C_QuerySpecialProductListAns)        \
    X(XC2S_QuerySpecialProductReq) X(XS2C_QuerySpecialProductAns) X(XC2S_QueryRuvcoinReq)                \
    X(XS2C_QueryRuvcoinAns) X(XC2S_SearchStorageReq) X(XS2C_SearchStorageAns)                            \
    X(XC2S_ConfirmReadStorageReq) X(XS2C_ConfirmReadStorageAns) X(XC2S_RequestUseStorageReq)             \
    X(XC2S_RequestUseStorageAns) X(XC2S_ConfirmUseStorageReq) X(XS2C_ConfirmUseStorageAns)               \
    X(XC2S_CancelUseStorageReq) X(XS2C_CancelUseStorageAns) X(XC2S_PurchaseProductReq)                   \
    X(XS2C_PurchaseProductAns) X(XC2S_FailedCheckOutReq) X(XC2S_UserListSyncReq)                         \
    X(XS2C_BillingEventNotice) X(XS2C_NotifyStorageInfo) X(XS2C_QueryGameMoneyReq)                       \
    X(XC2S_QueryGameMoneyAns) X(XS2C_SpendGameMoneyReq) X(XC2S_SpendGameMoneyAns)                        \
    X(XS2C_QueryInventoryReq) X(XC2S_QueryInventoryAns) X(XS2C_QueryCharacterReq)                        \
    X(XC2S_QueryCharacterAns) X(XS2C_SaveInventoryReq) X(XC2S_SaveInventoryAns)

// The records: classes that travel only inside a vector of a message, without their id.
#define WIROVA_RECORD_CLASSES(X)                                                                          \
    X(XChargeInfo) X(XCheckOutInfo) X(XUserBillingInfo) X(XMenuContents) X(XProductListContents)          \
    X(XChildProduct) X(XProductCondition) X(XProductOption) X(XDiscountInfo) X(XCouponInfo)               \
    X(XSpecialProductListContent) X(XSpecialProduct) X(XStorageInfo) X(XStorageUseInfo) X(XUseCouponInfo) \
    X(XUseOptionInfo) X(XInventory) X(XCharacter)

// clang-format on
