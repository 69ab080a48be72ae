// The wire's classes a second time, kept apart from the classes: whoever changes one of them by mistake
// meets this table.
#pragma once

struct WireClass {
    const char* pszName;
    int nMsgID;
    // Names in wire order. They tell the type: n int32, c char, b bool, str string; behind a colon stand
    // another type and the elements of a vector.
    const char* pszFields;
};

// Fields that stand side by side in many classes.
#define USER "strUserID strUserNo strUserIP"
#define HERO "strServerID strUserID strUserNo strCharacterID"
#define BILLING "nBillType nProductID nRemainMinutes:int64 strCRMCode strEndDate"

// clang-format off
inline constexpr WireClass kClasses[] = {
    {"XC2S_Heartbeat", 0x0E3B0FAA, ""},
    {"XC2S_VelkarConnectReq", 0x05233A4A, "strGID strSID strWID nHeartbeatCycle strConnectTime"},
    {"XS2C_VelkarConnectAns", 0x0736C7EA, "strConnectInfo1 strConnectInfo2 nResult strMessage"},
    {"XC2S_CheckInReq", 0x003F3A1A, "nReqID " USER},
    {"XS2C_CheckInAns", 0x015865AA, "nReqID " USER " nResult cFree " BILLING " strSeqNo strErrorMsg"},
    {"XC2S_CheckInExReq", 0x0C05F2BA, "nReqID " USER},
    {"XS2C_CheckInExAns", 0x03AFD85A, "nReqID " USER " nResult cFree " BILLING " strSeqNo "
     "vecOtherBilling:XUserBillingInfo strErrorMsg"},
    {"XC2S_CheckOutReq", 0x074A7C1A, "nReqID strUserID strUserNo strSeqNo"},
    {"XS2C_CheckOutAns", 0x0B0EBC0A, "nReqID strUserID strUserNo bSuccess strErrorMsg"},
    {"XC2S_QueryBillingInfoReq", 0x0FA3E33A, "nReqID " USER},
    {"XS2C_QueryBillingInfoAns", 0x0050FD4A, "nReqID " USER " nResult bPCCafe " BILLING " strErrorMsg"},
    {"XC2S_QueryBillingInfoExReq", 0x0CA79A5A, "nReqID " USER},
    {"XS2C_QueryBillingInfoExAns", 0x0049FA0A, "nReqID " USER " nResult " BILLING
     " vecOtherBilling:XUserBillingInfo strErrorMsg"},
    {"XC2S_UserMoveToReq", 0x06E30EBA, "nReqID " USER},
    {"XS2C_UserMoveToAns", 0x0EDB38DA, "nReqID " USER " bSuccess strErrorMsg"},
    {"XC2S_UserMoveFromReq", 0x0275304A, "nReqID " USER},
    {"XS2C_UserMoveFromAns", 0x0EC668AA, "nReqID " USER " bSuccess strErrorMsg"},
    {"XC2S_ChargeReq", 0x0581CF9A, "nPID vecChargeInfo:XChargeInfo"},
    {"XS2C_ChargeAns", 0x0E4AC6DA, ""},
    {"XC2S_QueryMenuListReq", 0x0EA7659A, "nReqID strGameID"},
    {"XS2C_QueryMenuListAns", 0x0E01813A, "nReqID nState strMessage vecMenu:XMenuContents"},
    {"XC2S_QueryProductListReq", 0x0146C9CA, "nReqID strGameID strBranchID cSearchType strSearchValue nRow "
     "nPage"},
    {"XS2C_QueryProductListAns", 0x04D68BAA, "nReqID nState strMessage nListValue1 nListValue2 nListValue3 "
     "vecProduct:XProductListContents"},
    {"XC2S_QueryProductDetailReq", 0x016650CA, "nReqID strGameID strProductID"},
    {"XS2C_QueryProductDetailAns", 0x07D89A6A, "nReqID nState strMessage strBranchID strProductID "
     "strProductName strProductDetailDesc strImageURL strMovieURL strDirection cCouponUseType cDiscountType "
     "vecChildProduct:XChildProduct vecCondition:XProductCondition vecOption:XProductOption"},
    {"XC2S_QueryDiscountReq", 0x019C003A, "nReqID strGameID strServerID " USER " strCharacterID strProductID "
     "nLevel"},
    {"XS2C_QueryDiscountAns", 0x0D3875BA, "nReqID nState strMessage nPrice vecDiscount:XDiscountInfo"},
    {"XC2S_QueryTagReq", 0x05BA271A, "nReqID strGameID"},
    {"XS2C_QueryTagAns", 0x00B263BA, "nReqID nState strMessage vecTag:string"},
    {"XC2S_QueryCoupontReq", 0x05F1932A, "nReqID strGameID strServerID " USER " strCharacterID strProductID "
     "nLevel"},
    {"XS2C_QueryCoupontAns", 0x0FE8B8BA, "nReqID nState strMessage vecCoupon:XCouponInfo"},
    {"XC2S_QuerySpecialProductListReq", 0x0B330F2A, "nReqID strGameID"},
    {"XS2C_QuerySpecialProductListAns", 0x0B60AE8A, "nReqID nState strMessage "
     "vecSpecialProductList:XSpecialProductListContent"},
    {"XC2S_QuerySpecialProductReq", 0x01E229AA, "nReqID strGameID strExposeCode"},
    {"XS2C_QuerySpecialProductAns", 0x0ED2CBEA, "nReqID nState strMessage vecSpecialProduct:XSpecialProduct"},
    {"XC2S_QueryRuvcoinReq", 0x0F086FDA, "nReqID strUserID strUserNo"},
    {"XS2C_QueryRuvcoinAns", 0x0224F2CA, "nReqID nState strMessage nRuvCoin"},
    {"XC2S_SearchStorageReq", 0x04C1C9BA, "nReqID strGameID " HERO " cSearchType strSearchValue"},
    {"XS2C_SearchStorageAns", 0x0A17CA5A, "nReqID nState strMessage vecStorage:XStorageInfo"},
    {"XC2S_ConfirmReadStorageReq", 0x06CD459A, "nReqID strGameID " HERO " nStorageSeq bDelete"},
    {"XS2C_ConfirmReadStorageAns", 0x0213C0DA, "nReqID nState strMessage"},
    {"XC2S_RequestUseStorageReq", 0x0CDE027A, "nReqID strGameID " HERO " vecStorageUse:XStorageUseInfo"},
    {"XC2S_RequestUseStorageAns", 0x0FD295DA, "nReqID nState strMessage"},
    {"XC2S_ConfirmUseStorageReq", 0x0A86DF3A, "nReqID strGameID " HERO " vecStorageSeq:int32"},
    {"XS2C_ConfirmUseStorageAns", 0x06A380FA, "nReqID nState strMessage"},
    {"XC2S_CancelUseStorageReq", 0x0C187DCA, "nReqID strGameID " HERO " vecStorageSeq:int32"},
    {"XS2C_CancelUseStorageAns", 0x04DDD5FA, "nReqID nState strMessage"},
    {"XC2S_PurchaseProductReq", 0x06CD068A, "nReqID strGameID strProductID strUserID strUserNo strServerID "
     "strCharacterID strRecvUserID strRecvUserNo strRecvServerID strRecvCharacterID nCount nLevel "
     "strGiftMessage strUserIP strPassWD vecUseCoupon:XUseCouponInfo vecUseOption:XUseOptionInfo"},
    {"XS2C_PurchaseProductAns", 0x0394105A, "nReqID nState strMessage nOrderSeq nBuyPrice"},
    {"XC2S_FailedCheckOutReq", 0x0665ABBA, "vecCheckOutInfo:XCheckOutInfo"},
    {"XC2S_UserListSyncReq", 0x004A0D4A, "vecCheckOutInfo:XCheckOutInfo"},
    {"XS2C_BillingEventNotice", 0x0956B68A, USER " nEventCode nSpecificCode strParam"},
    {"XS2C_NotifyStorageInfo", 0x0C70A95A, "nReqID strGameID " HERO " nItemCnt"},
    {"XS2C_QueryGameMoneyReq", 0x095C5AEA, "nReqID strGameID " HERO},
    {"XC2S_QueryGameMoneyAns", 0x020A8A4A, "nReqID nState strMessage nGameMoney"},
    {"XS2C_SpendGameMoneyReq", 0x036972BA, "nReqID strGameID " HERO " nGameMoney"},
    {"XC2S_SpendGameMoneyAns", 0x08D2CEFA, "nReqID nState strMessage nGameMoney"},
    {"XS2C_QueryInventoryReq", 0x06EFB6DA, "nReqID strGameID strUserID strUserNo strServerID strCharacterID"},
    {"XC2S_QueryInventoryAns", 0x0CEE695A, "nReqID nState strMessage vecInventory:XInventory"},
    {"XS2C_QueryCharacterReq", 0x0EFD0D7A, "nReqID strGameID strServerID cSearchType strSearchValue"},
    {"XC2S_QueryCharacterAns", 0x0C0D174A, "nReqID nState strMessage vecCharacter:XCharacter"},
    {"XS2C_SaveInventoryReq", 0x0259BF1A, "nReqID strGameID nOrderSeq strUserID strUserNo strServerID "
     "strCharacterID strRecvUserID strRecvUserNo strRecvServerID strRecvCharacterID strGiftMessage nPrice "
     "vecInventory:XInventory"},
    {"XC2S_SaveInventoryAns", 0x0531894A, "nReqID nState strMessage"},
    // Records, which travel only inside a list.
    {"XChargeInfo", 0x04F7F4DA, USER " strSeqNo bFirst"},
    {"XCheckOutInfo", 0x01477F9A, USER " cFree nProductID strCRMCode strSeqNo"},
    {"XUserBillingInfo", 0x07D1359A, BILLING},
    {"XMenuContents", 0x03EA662A, "strBranchID strBranchName strSuperBranchID nBranchDepth nSortOrder "
     "nProductCount"},
    {"XProductListContents", 0x08D5596A, "strBranchID strProductID strProductName strMoneyCode nPrice "
     "nDiscountRate strRegDate strStartDate strEndDate strProductDesc bGift strImageURL nTotalSellingCount "
     "nLevel bDuplicateSell strUnitName strIconImageURL nDisplayOrder strDiscountInfo strClassName"},
    {"XChildProduct", 0x07A3480A, "strChildProductID nPrice strUnitName nValidTerm nPossibleLevel nUseCount "
     "nPeriod nRuvCoinPrice nGameMoneyPrice strClassName"},
    {"XProductCondition", 0x0C9FB11A, "cConditionType strConditionValue"},
    {"XProductOption", 0x031FC00A, "strOptionCode strOptionValue strOptionName"},
    {"XDiscountInfo", 0x053C099A, "strCondition nDiscountRate nDiscountAmt bUse"},
    {"XCouponInfo", 0x03F2F32A, "strCouponUseID strCouponCode strCouponName nDiscountRate nDiscountAmt "
     "strUseEndDate"},
    {"XSpecialProductListContent", 0x0385ECEA, "strExposeCode strExposeName strIconUrl strBannerUrl"},
    {"XSpecialProduct", 0x0349501A, "strExposeCode strProductID strImageUrl nSortOrder"},
    {"XStorageInfo", 0x027BD77A, "nStorageSeq nOrderSeq strItemID strItemName bBonus strSenderUserID "
     "strSenderUserNo strUserID strUserNo strServerID strCharacterID strGiftMessage nCount nRemainCount "
     "strValidTerm nPossibleLevel nUseCount nPeriod strOptionCode strOptionValue strUseStartDate "
     "strValidDate strBuyDate strSetName strListImageUrl strIconImageUrl strDirection bRead bNew"},
    {"XStorageUseInfo", 0x0F07472A, "nStorageSeq nOrderSeq strItemID"},
    {"XUseCouponInfo", 0x00728C1A, "strCouponUseID strCouponCode"},
    {"XUseOptionInfo", 0x0E8C5A4A, "strOptionCode strOptionValue"},
    {"XInventory", 0x020686FA, "strItemID nCount nUseCount nPeriod nPossibleLevel strValidTerm cUseStatus "
     "strOptionCode strOptionValue"},
    {"XCharacter", 0x072F20AA, "strUserID strUserNo strServerID strCharacterID nCharacterValue"},
};
// clang-format on
#undef USER
#undef HERO
#undef BILLING
