// The handlers' own work, one function a message. HandlerTable.cpp has loaded the message, or has a handler
// of a message with lists load it out of the body, and catches every exception. Handlers run on a pool thread
// with the link's read stream locked, one at a time, in the order of arrival: a handler that takes long, or a
// game callback inside it, delays all later messages of the link. A handler's result is the result of
// Dispatch, which the frame loop ignores; false means that the handler has given up.
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

class MsgBody;

// ---- the answer to the registration: ConnectAnswer.cpp ----
bool OnVelkarAddConnctorAns(const XS2C_VelkarConnectAns& msg, Link pLink);

// ---- notices: Notices.cpp ----
bool OnBillingEventNotice(const XS2C_BillingEventNotice& msg);
bool OnStorageInfoNotice(const XS2C_NotifyStorageInfo& msg);

// ---- answers to the session calls: SessionAnswers.cpp ----
bool OnCheckinRes(const XS2C_CheckInAns& msg);
bool OnCheckOutRes(const XS2C_CheckOutAns& msg);
bool OnCheckInExAns(XS2C_CheckInExAns& msg, MsgBody& body);
bool OnQueryBillingInfoRes(const XS2C_QueryBillingInfoAns& msg);
bool OnQueryBillingInfoExAns(XS2C_QueryBillingInfoExAns& msg, MsgBody& body);
bool OnUserMoveToRes(const XS2C_UserMoveToAns& msg);
bool OnUserMoveFromRes(const XS2C_UserMoveFromAns& msg);

// ---- requests of the service to the game: RequestsToGame.cpp ----
bool OnQueryGameMoneyInfoReq(const XS2C_QueryGameMoneyReq& msg, Link pLink);
bool OnReduceGameMoneyReq(const XS2C_SpendGameMoneyReq& msg, Link pLink);
bool OnQeuryInventoryInfoReq(const XS2C_QueryInventoryReq& msg, Link pLink);
bool OnSaveInventoryReq(XS2C_SaveInventoryReq& msg, MsgBody& body, Link pLink);
bool OnQeuryCharacterInfoReq(const XS2C_QueryCharacterReq& msg, Link pLink);

// ---- answers of the shop and the storage box: ShopAnswers.cpp, StorageAnswers.cpp ----
bool OnQueryMenuListAns(XS2C_QueryMenuListAns& msg, MsgBody& body);
bool OnQueryProductListAns(XS2C_QueryProductListAns& msg, MsgBody& body);
bool OnQueryProductDetailInfoAns(XS2C_QueryProductDetailAns& msg, MsgBody& body);
bool OnQueryDiscountListAns(XS2C_QueryDiscountAns& msg, MsgBody& body);
bool OnSearchCouponAns(XS2C_QueryCoupontAns& msg, MsgBody& body);
bool OnQueryTagListAns(XS2C_QueryTagAns& msg, MsgBody& body);
bool OnSearchSpecialProductListAns(XS2C_QuerySpecialProductListAns& msg, MsgBody& body);
bool OnSearchSpecialProductInfoAns(XS2C_QuerySpecialProductAns& msg, MsgBody& body);
bool OnSearchStorageAns(XS2C_SearchStorageAns& msg, MsgBody& body);
bool OnReadStorageAns(const XS2C_ConfirmReadStorageAns& msg);
bool OnUseStorageAns(const XC2S_RequestUseStorageAns& msg);
bool OnConfirmUseStorageAns(const XS2C_ConfirmUseStorageAns& msg);
bool OnCancelUseStorageAns(const XS2C_CancelUseStorageAns& msg);
bool OnPurchaseProductAns(const XS2C_PurchaseProductAns& msg);
bool OnQueryRuvCoinInfoAns(const XS2C_QueryRuvcoinAns& msg);
