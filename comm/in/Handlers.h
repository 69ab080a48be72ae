// The handlers' own work, one function a message. HandlerTable.cpp has loaded the message and catches every
// exception. Handlers run on a pool thread with the link's read stream locked, one at a time, in the order of
// arrival: a handler that takes long, or a game callback inside it, delays all later messages of the link. A
// handler's result is the result of Dispatch, which the frame loop ignores; false means that the handler has
// given up.
#pragma once

#include "platform/Netrova.h"
#include "wirova/messages/BaseMessages.h"
#include "wirova/messages/GameServiceMessages.h"
#include "wirova/messages/SessionMessages.h"
#include "wirova/messages/ShopMessages.h"
#include "wirova/messages/StorageMessages.h"

// The link that the message came in on. A handler that answers takes it, because an answer goes out on that
// link or not at all.
using Link = Netrova::Link::_THandle*;

// ---- the answer to the registration: ConnectAnswer.cpp ----
bool OnVelkarAddConnctorAns(const XS2C_VelkarConnectAns& msg, Link pLink);

// ---- notices: Notices.cpp ----
bool OnBillingEventNotice(const XS2C_BillingEventNotice& msg);
bool OnStorageInfoNotice(const XS2C_NotifyStorageInfo& msg);

// ---- answers to the session calls: SessionAnswers.cpp ----
bool OnCheckinRes(const XS2C_CheckInAns& msg);
bool OnCheckOutRes(const XS2C_CheckOutAns& msg);
bool OnCheckInExAns(const XS2C_CheckInExAns& msg);
bool OnQueryBillingInfoRes(const XS2C_QueryBillingInfoAns& msg);
bool OnQueryBillingInfoExAns(const XS2C_QueryBillingInfoExAns& msg);
bool OnUserMoveToRes(const XS2C_UserMoveToAns& msg);
bool OnUserMoveFromRes(const XS2C_UserMoveFromAns& msg);

// ---- requests of the service to the game: RequestsToGame.cpp ----
bool OnQueryGameMoneyInfoReq(const XS2C_QueryGameMoneyReq& msg, Link pLink);
bool OnReduceGameMoneyReq(const XS2C_SpendGameMoneyReq& msg, Link pLink);
bool OnQeuryInventoryInfoReq(const XS2C_QueryInventoryReq& msg, Link pLink);
bool OnSaveInventoryReq(const XS2C_SaveInventoryReq& msg, Link pLink);
bool OnQeuryCharacterInfoReq(const XS2C_QueryCharacterReq& msg, Link pLink);

// ---- answers of the shop and the storage box: ShopAnswers.cpp, StorageAnswers.cpp ----
// A handler that takes its message by a reference that is not const empties the message's lists, row by row.
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
