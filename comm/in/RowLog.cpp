// How each kind of record looks in the log: one overload of LogRow a record, written at level debug while the
// list of an answer is filed. n is the position from 0. Flags are shown as Y or N, all other fields as they
// are.
#include "comm/in/ListAnswer.h"

void LogRow(int n, const _MENU_INFO& r)
{
    Log::DebugFmt(
        "['%d'th Menu Info]\r\n\tBranch ID: %s\r\n\tBranch Name: %s\r\n\tSuper branch ID: %s\r\n"
        "\tBranch depth: %d\r\n\tSort order: %d\r\n\tProduct count: %d",
        n, r.szBranchID, r.szBranchName, r.szSuperBranchID, r.nBranchDepth, r.nSortOrder, r.nProductCount);
}

void LogRow(int n, const _PROD_LIST_INFO& r)
{
    Log::DebugFmt(
        "['%d'th Product List Info]\r\n\tBranch ID: %s\r\n\tProduct ID: %s\r\n\tProduct Name: %s\r\n"
        "\tMoney Code: %s\r\n\tPrice: %d\r\n\tDiscount Rate: %d\r\n\tReg date: %s\r\n\tStart date: %s\r\n"
        "\tEnd date: %s\r\n\tProduct Desc: %s\r\n\tGift Y/N: %s\r\n\tImage URL: %s\r\n"
        "\tTotal selling count: %d\r\n\tLevel: %d\r\n\tDuplicate sell: %s\r\n\tUnit name: %s\r\n"
        "\tIcon image URL: %s\r\n\tDisplay order: %d\r\n\tDiscount Info: %s\r\n\tClass Name: %s",
        n, r.szBranchID, r.szProductID, r.szProductName, r.szMoneyCode, r.nPrice, r.nDiscountRate,
        r.szRegDate, r.szStartDate, r.szEndDate, r.szProductDesc, YesOrNo(r.bGift), r.szImageURL,
        r.nTotalSellingCount, r.nLevel, YesOrNo(r.bDuplicateSell), r.szUnitName, r.szIconImageURL,
        r.nDisplayOrder, r.szDiscountInfo, r.szClassName);
}

void LogRow(int n, const _CHILDPROD_INFO& r)
{
    Log::DebugFmt(
        "['%d'th Child Product Info]\r\n\tChild Product ID: %s\r\n\tPrice: %d\r\n\tUnit Name: %s\r\n"
        "\tValid Term: %d\r\n\tPossible Level: %d\r\n\tUse Count: %d\r\n\tPeriod: %d\r\n"
        "\tRuv Coin Price: %d\r\n\tGame Money Price: %d\r\n\tClass Name: %s",
        n, r.szChildProductID, r.nPrice, r.szUnitName, r.nValidTerm, r.nPossibleLevel, r.nUseCount, r.nPeriod,
        r.nRuvCoinPrice, r.nGameMoneyPrice, r.szClassName);
}

void LogRow(int n, const _CONDITION_INFO& r)
{
    Log::DebugFmt("['%d'th Condition Info]\r\n\tCondition Type: %c\r\n\tCondition Value: %s", n,
                  r.cConditionType, r.szConditionValue);
}

void LogRow(int n, const _OPTION_INFO& r)
{
    Log::DebugFmt("['%d'th Option Info]\r\n\tOption Code: %s\r\n\tOption Value: %s\r\n\tOption Name: %s", n,
                  r.szOptionCode, r.szOptionValue, r.szOptionName);
}

void LogRow(int n, const _DISCOUNT_INFO& r)
{
    Log::DebugFmt(
        "['%d'th Discount Info]\r\n\tCondition: %s\r\n\tDiscount Rate: %d\r\n\tDiscount Amt: %d\r\n"
        "\tUse: %s",
        n, r.szCondition, r.nDiscountRate, r.nDiscountAmt, YesOrNo(r.bUse));
}

void LogRow(int n, const _COUPON_INFO& r)
{
    Log::DebugFmt(
        "['%d'th Coupon Info]\r\n\tCoupon Use ID: %s\r\n\tCoupon Code: %s\r\n\tCoupon Name: %s\r\n"
        "\tDiscount Rate: %d\r\n\tDiscount Amt: %d\r\n\tUse End Date: %s",
        n, r.szCouponUseID, r.szCouponCode, r.szCouponName, r.nDiscountRate, r.nDiscountAmt, r.szUseEndDate);
}

void LogRow(int n, const _SPECIAL_PRODUCT_LIST_INFO& r)
{
    Log::DebugFmt(
        "['%d'th Special Product List Info]\r\n\tExpose Code: %s\r\n\tExpose Name: %s\r\n"
        "\tIcon Url: %s\r\n\tBanner Url: %s",
        n, r.szExposeCode, r.szExposeName, r.szIconUrl, r.szBannerUrl);
}

void LogRow(int n, const _SPECIAL_PRODUCT_INFO& r)
{
    Log::DebugFmt(
        "['%d'th Special Product Info]\r\n\tExpose Code: %s\r\n\tProduct ID: %s\r\n\tImage Url: %s\r\n"
        "\tSort Order: %d",
        n, r.szExposeCode, r.szProductID, r.szImageUrl, r.nSortOrder);
}

void LogRow(int n, const _STORAGE_INFO& r)
{
    Log::DebugFmt(
        "['%d'th Storage Item Info]\r\n\tStorage seq: %d\r\n\tOrder seq: %d\r\n\tItem ID: %s\r\n"
        "\tItem name: %s\r\n\tBonus: %s\r\n\tSender user ID: %s\r\n\tUser ID: %s\r\n\tServer ID: %s\r\n"
        "\tCharacter ID: %s\r\n\tGift message: %s\r\n\tCount: %d\r\n\tRemain count: %d\r\n"
        "\tValid term: %s\r\n\tPossible level: %d\r\n\tUse count: %d\r\n\tPeriod: %d\r\n"
        "\tOption code: %s\r\n\tOption value: %s\r\n\tUse start date: %s\r\n\tValid date: %s\r\n"
        "\tBuy date: %s\r\n\tSet name: %s\r\n\tList image Url: %s\r\n\tIcon image Url: %s\r\n"
        "\tDirection: %s\r\n\tRead: %s\r\n\tNew: %s",
        n, r.nStorageSeq, r.nOrderSeq, r.szItemID, r.szItemName, YesOrNo(r.bBonus), r.szSenderUserID,
        r.szUserID, r.szServerID, r.szCharacterID, r.szGiftMessage, r.nCount, r.nRemainCount, r.szValidTerm,
        r.nPossibleLevel, r.nUseCount, r.nPeriod, r.szOptionCode, r.szOptionValue, r.szUseStartDate,
        r.szValidDate, r.szBuyDate, r.szSetName, r.szListImageUrl, r.szIconImageUrl, r.szDirection,
        YesOrNo(r.bRead), YesOrNo(r.bNew));
}
