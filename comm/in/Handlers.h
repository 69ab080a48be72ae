// The handlers' own work, after the message has been loaded and inside the guard that all of them share.
// They run on a pool thread with the link's read stream locked, one at a time, in the order of arrival.
// What they return is Dispatch's result, which nobody reads.
#pragma once

#include "wirova/messages/BaseMessages.h"
#include "wirova/messages/GameServiceMessages.h"
#include "wirova/messages/SessionMessages.h"
#include "wirova/messages/ShopMessages.h"
#include "wirova/messages/StorageMessages.h"

bool OnVelkarAddConnctorAns(const XS2C_VelkarConnectAns& msg);

// ---- notices ----
bool OnBillingEventNotice(const XS2C_BillingEventNotice& msg);
bool OnStorageInfoNotice(const XS2C_NotifyStorageInfo& msg);

// ---- answers to the session calls ----
bool OnCheckinRes(const XS2C_CheckInAns& msg);
bool OnCheckOutRes(const XS2C_CheckOutAns& msg);
bool OnCheckInExAns(const XS2C_CheckInExAns& msg);
bool OnQueryBillingInfoRes(const XS2C_QueryBillingInfoAns& msg);
bool OnQueryBillingInfoExAns(const XS2C_QueryBillingInfoExAns& msg);
bool OnUserMoveToRes(const XS2C_UserMoveToAns& msg);
bool OnUserMoveFromRes(const XS2C_UserMoveFromAns& msg);

// ---- requests of the service to the game ----
bool OnQueryGameMoneyInfoReq(const XS2C_QueryGameMoneyReq& msg);
bool OnReduceGameMoneyReq(const XS2C_SpendGameMoneyReq& msg);
bool OnQeuryInventoryInfoReq(const XS2C_QueryInventoryReq& msg);
bool OnSaveInventoryReq(const XS2C_SaveInventoryReq& msg);
bool OnQeuryCharacterInfoReq(const XS2C_QueryCharacterReq& msg);

// ---- answers of the shop and the storage box; those with a list take it out of their message ----
bool OnQueryMenuListAns(XS2C_QueryMenuListAns& msg);
bool OnQueryProductListAns(XS2C_QueryProductListAns& msg);
bool OnQueryProductDetailInfoAns(XS2C_QueryProductDetailAns& msg);
bool OnQueryDiscountListAns(XS2C_QueryDiscountAns& msg);
bool OnSearchCouponAns(XS2C_QueryCoupontAns& msg);
bool OnQueryTagListAns(XS2C_QueryTagAns& msg);
bool OnSearchSpecialProductListAns(XS2C_QuerySpecialProductListAns& msg);
bool OnSearchSpecialProductInfoAns(XS2C_QuerySpecialProductAns& msg);
bool OnSearchStorageAns(XS2C_SearchStorageAns& msg);
bool OnReadStorageAns(const XS2C_ConfirmReadStorageAns& msg);
bool OnUseStorageAns(const XC2S_RequestUseStorageAns& msg);
bool OnConfirmUseStorageAns(const XS2C_ConfirmUseStorageAns& msg);
bool OnCancelUseStorageAns(const XS2C_CancelUseStorageAns& msg);
bool OnPurchaseProductAns(const XS2C_PurchaseProductAns& msg);
bool OnQueryRuvCoinInfoAns(const XS2C_QueryRuvcoinAns& msg);
