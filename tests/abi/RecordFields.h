// The public records with all their fields, once: RECORD(name, size, (field, offset)(field, offset)...). The
// numbers are those of 64-bit Windows and Linux. A source that includes this list defines RECORD before and
// walks the fields with RECORD_CAT: FIELD_A and FIELD_B hand over to each other.
// clang-format off
#define RECORD_CAT_(a, b) a##b
#define RECORD_CAT(a, b) RECORD_CAT_(a, b)

RECORD(_CONNECTOR_ID, 63, (GID, 0)(SID, 21)(WID, 42))
RECORD(_CONNECTOR_CALLBACKS, 56,
       (pfnBillingEvent, 0)(pfnNotifyStorageInfo, 8)(pfnQueryGameMoney, 16)(pfnSpendGameMoney, 24)
       (pfnQueryInventory, 32)(pfnSaveInventory, 40)(pfnQueryCharacter, 48))
RECORD(_USER_REQ, 39, (szUserID, 0)(szUserIP, 23))
RECORD(_CHECKIN_RES, 1080,
       (nResult, 0)(bExtra, 4)(szError, 5)(nBillingID, 1032)(nProductID, 1036)(nRemainMinutes, 1040)
       (szCRMCode, 1048)(szEndDate, 1064)(bPCCafe, 1079))
RECORD(_RESULT_RES, 1026, (bSuccess, 0)(szError, 1))
RECORD(_BILLING_NOTI_INFO, 1076, (szUserKey, 0)(szUserIP, 23)(nEventCode, 40)(nSpecificCode, 44)(szParam, 48))
RECORD(_STORAGE_NOTI_INFO, 48, (szUserKey, 0)(szCharacterID, 23)(nItemCount, 44))
RECORD(_GAME_USER_REQ, 86, (szGameID, 0)(szServerID, 21)(szUserKey, 42)(szCharacterID, 65))
RECORD(_SPEND_GAME_MONEY_REQ, 92,
       (szGameID, 0)(szServerID, 21)(szUserKey, 42)(szCharacterID, 65)(nGameMoney, 88))
RECORD(_QUERY_CHARACTER_REQ, 66, (szGameID, 0)(szServerID, 21)(cSearchType, 42)(szSearchValue, 43))
RECORD(_SAVE_INVENTORY_REQ, 376,
       (szGameID, 0)(nOrderSeq, 24)(szUserKey, 28)(szServerID, 51)(szCharacterID, 72)(szRecvUserKey, 93)
       (szRecvServerID, 116)(szRecvCharacterID, 137)(szGiftMessage, 158)(nPrice, 360)(pHandle, 368))
RECORD(_GAME_MONEY_RES, 1032, (bSuccess, 0)(szMessage, 1)(nGameMoney, 1028))
RECORD(_GAME_DATA_RES, 1040, (bSuccess, 0)(szMessage, 1)(pHandle, 1032))
RECORD(_CHECKIN_EX_RES, 1088,
       (nResult, 0)(bExtra, 4)(szError, 5)(nBillingID, 1032)(nProductID, 1036)(nRemainMinutes, 1040)
       (szCRMCode, 1048)(szEndDate, 1064)(bPCCafe, 1079)(hBillingData, 1080))
RECORD(_USER_MOVE_INFO, 48,
       (nBillType, 0)(nProductID, 4)(nSeqNo, 8)(bFirst, 12)(szCRMCode, 13)(szEndDate, 29)(bFree, 44))
RECORD(_BILL_INFO, 48, (nBillingID, 0)(nProductID, 4)(nRemainMinutes, 8)(szCRMCode, 16)(szEndDate, 32))
RECORD(_MENU_INFO, 96,
       (szBranchID, 0)(szBranchName, 21)(szSuperBranchID, 62)(nBranchDepth, 84)(nSortOrder, 88)
       (nProductCount, 92))
RECORD(_PROD_LIST_INFO, 992,
       (szBranchID, 0)(szProductID, 21)(szProductName, 42)(szMoneyCode, 83)(nPrice, 104)(nDiscountRate, 108)
       (szRegDate, 112)(szStartDate, 127)(szEndDate, 142)(szProductDesc, 157)(bGift, 658)(szImageURL, 659)
       (nTotalSellingCount, 760)(nLevel, 764)(bDuplicateSell, 768)(szUnitName, 769)(szIconImageURL, 820)
       (nDisplayOrder, 924)(szDiscountInfo, 928)(szClassName, 949))
RECORD(_CHILDPROD_INFO, 148,
       (szChildProductID, 0)(nPrice, 24)(szUnitName, 28)(nValidTerm, 80)(nPossibleLevel, 84)(nUseCount, 88)
       (nPeriod, 92)(nRuvCoinPrice, 96)(nGameMoneyPrice, 100)(szClassName, 104))
RECORD(_CONDITION_INFO, 102, (cConditionType, 0)(szConditionValue, 1))
RECORD(_OPTION_INFO, 63, (szOptionCode, 0)(szOptionValue, 21)(szOptionName, 42))
RECORD(_DISCOUNT_INFO, 116, (szCondition, 0)(nDiscountRate, 104)(nDiscountAmt, 108)(bUse, 112))
RECORD(_TAG_INFO, 101, (szTag, 0))
RECORD(_COUPON_INFO, 104,
       (szCouponUseID, 0)(szCouponCode, 21)(szCouponName, 42)(nDiscountRate, 84)(nDiscountAmt, 88)
       (szUseEndDate, 92))
RECORD(_SPECIAL_PRODUCT_LIST_INFO, 264, (szExposeCode, 0)(szExposeName, 21)(szIconUrl, 62)(szBannerUrl, 163))
RECORD(_SPECIAL_PRODUCT_INFO, 148, (szExposeCode, 0)(szProductID, 21)(szImageUrl, 42)(nSortOrder, 144))
RECORD(_STORAGE_INFO, 1092,
       (nStorageSeq, 0)(nOrderSeq, 4)(szItemID, 8)(szItemName, 29)(bBonus, 70)(szSenderUserID, 71)
       (szUserID, 94)(szServerID, 117)(szCharacterID, 138)(szGiftMessage, 159)(nCount, 360)
       (nRemainCount, 364)(szValidTerm, 368)(nPossibleLevel, 384)(nUseCount, 388)(nPeriod, 392)
       (szOptionCode, 396)(szOptionValue, 497)(szUseStartDate, 598)(szValidDate, 613)(szBuyDate, 628)
       (szSetName, 643)(szListImageUrl, 684)(szIconImageUrl, 785)(szDirection, 886)(bRead, 1087)(bNew, 1088))
RECORD(_INVENTORY_ITEM_INFO, 260,
       (szItemID, 0)(nCount, 24)(nUseCount, 28)(nPeriod, 32)(nPossibleLevel, 36)(szValidTerm, 40)
       (cUseStatus, 55)(szOptionCode, 56)(szOptionValue, 157))
RECORD(_CHARACTER_INFO, 72, (szUserID, 0)(szServerID, 23)(szCharacterID, 44)(nCharacterValue, 68))
RECORD(_USE_COUPON_INFO, 42, (szCouponUseID, 0)(szCouponCode, 21))
RECORD(_USE_OPTION_INFO, 42, (szOptionCode, 0)(szOptionValue, 21))
RECORD(_USE_STORAGE_INFO, 32, (nStorageSeq, 0)(nOrderSeq, 4)(szItemID, 8))
RECORD(_CONFIRM_USE_STORAGE_INFO, 4, (nStorageSeq, 0))
RECORD(_GAME_REQ, 21, (szGameID, 0))
RECORD(_PRODUCT_LIST_REQ, 76,
       (szGameID, 0)(szBranchID, 21)(cSearchType, 42)(szSearchValue, 43)(nRow, 68)(nPage, 72))
RECORD(_PRODUCT_DETAIL_REQ, 42, (szGameID, 0)(szProductID, 21))
RECORD(_USER_PRODUCT_REQ, 128,
       (szGameID, 0)(szServerID, 21)(szUserID, 42)(szUserIP, 65)(szCharacterID, 81)(szProductID, 102)
       (nLevel, 124))
RECORD(_SPECIAL_PRODUCT_REQ, 42, (szGameID, 0)(szExposeCode, 21))
RECORD(_RUVCOIN_REQ, 23, (szUserID, 0))
RECORD(_LIST_RES, 1048, (bSuccess, 0)(szError, 1)(hData, 1032)(nPrice, 1040))
RECORD(_PRODUCT_LIST_RES, 1048,
       (bSuccess, 0)(szError, 1)(nListValue1, 1028)(nListValue2, 1032)(nListValue3, 1036)(hData, 1040))
RECORD(_PRODUCT_DETAIL_RES, 3640,
       (bSuccess, 0)(szError, 1)(szBranchID, 1026)(szProductID, 1047)(szProductName, 1068)
       (szProductDetailDesc, 1109)(szImageURL, 3110)(szMovieURL, 3211)(szDirection, 3412)
       (cCouponUseType, 3613)(cDiscountType, 3614)(hChildProduct, 3616)(hCondition, 3624)(hOption, 3632))
RECORD(_RUVCOIN_RES, 1032, (bSuccess, 0)(szError, 1)(nRuvCoin, 1028))
RECORD(_STORAGE_SEARCH_REQ, 110,
       (szGameID, 0)(szServerID, 21)(szUserID, 42)(szCharacterID, 65)(cSearchType, 86)(szSearchValue, 87))
RECORD(_STORAGE_READ_REQ, 96,
       (szGameID, 0)(szServerID, 21)(szUserID, 42)(szCharacterID, 65)(nStorageSeq, 88)(bDelete, 92))
RECORD(_STORAGE_USE_REQ, 96, (szGameID, 0)(szServerID, 21)(szUserID, 42)(szCharacterID, 65)(hUseStorage, 88))
RECORD(_PURCHASE_REQ, 440,
       (szGameID, 0)(szProductID, 21)(szUserID, 42)(szServerID, 65)(szCharacterID, 86)(szRecvUserID, 107)
       (szRecvServerID, 130)(szRecvCharacterID, 151)(nLevel, 172)(nCount, 176)(szGiftMessage, 180)
       (szUserIP, 381)(szPassWD, 397)(hUseCoupon, 424)(hUseOption, 432))
RECORD(_PURCHASE_RES, 1036, (bSuccess, 0)(szError, 1)(nOrderSeq, 1028)(nBuyPrice, 1032))
// clang-format on
#undef RECORD
