// The shop: menu, products, discounts, coupons, tags, special product groups, balance.
// Every answer begins with nReqID, nState and strMessage; its other fields are only valid when nState is 0.
#pragma once

#include "wirova/Message.h"

// clang-format off

// Asks for the menu of the shop.
struct XC2S_QueryMenuListReq final : Wirova::IMessage {
    WIROVA_MESSAGE(XC2S_QueryMenuListReq, 245851546,
        (int32,  nReqID)               // the answer echoes it
        (string, strGameID))           // [20]
};

// A branch of the menu, which is a tree.
struct XMenuContents final : Wirova::IMessage {
    WIROVA_MESSAGE(XMenuContents, 65693226,
        (string, strBranchID)          // [20]
        (string, strBranchName)        // [40]
        (string, strSuperBranchID)     // [20] the branch above
        (int32,  nBranchDepth)         // depth in the tree
        (int32,  nSortOrder)           // place among its siblings
        (int32,  nProductCount))       // products in it
};

// The branches of the menu.
struct XS2C_QueryMenuListAns final : Wirova::IMessage {
    WIROVA_MESSAGE(XS2C_QueryMenuListAns, 234979642,
        (int32,                 nReqID)      // echo
        (int32,                 nState)      // 0: done; others: failure
        (string,                strMessage)  // [1024] text of the service
        (vector<XMenuContents>, vecMenu))    // one record a branch of the menu
};

// Asks for one page of the products in a branch of the menu.
struct XC2S_QueryProductListReq final : Wirova::IMessage {
    WIROVA_MESSAGE(XC2S_QueryProductListReq, 21416394,
        (int32,  nReqID)               // the answer echoes it
        (string, strGameID)            // [20]
        (string, strBranchID)          // [20] branch to list
        (char,   cSearchType)          // the game's own, passed on unread
        (string, strSearchValue)       // [22] the game's own, passed on unread
        (int32,  nRow)                 // rows per page
        (int32,  nPage))               // number of the page
};

// A product as it stands in a list.
struct XProductListContents final : Wirova::IMessage {
    WIROVA_MESSAGE(XProductListContents, 148199786,
        (string,  strBranchID)         // [20]
        (string,  strProductID)        // [20]
        (string,  strProductName)      // [40]
        (string,  strMoneyCode)        // [20]
        (int32,   nPrice)
        (int32,   nDiscountRate)
        (string,  strRegDate)          // [14]
        (string,  strStartDate)        // [14]
        (string,  strEndDate)          // [14]
        (string,  strProductDesc)      // [500]
        (boolean, bGift)               // gift: yes or no
        (string,  strImageURL)         // [100]
        (int32,   nTotalSellingCount)
        (int32,   nLevel)
        (boolean, bDuplicateSell)      // may be sold more than once
        (string,  strUnitName)         // [50]
        (string,  strIconImageURL)     // [100]
        (int32,   nDisplayOrder)
        (string,  strDiscountInfo)     // [20]
        (string,  strClassName))       // [40]
};

// The products of the page.
struct XS2C_QueryProductListAns final : Wirova::IMessage {
    WIROVA_MESSAGE(XS2C_QueryProductListAns, 81169322,
        (int32,                        nReqID)       // echo
        (int32,                        nState)       // 0: done; others: failure
        (string,                       strMessage)   // [1024] text of the service
        (int32,                        nListValue1)  // of the whole list, passed on unread
        (int32,                        nListValue2)  // likewise
        (int32,                        nListValue3)  // likewise
        (vector<XProductListContents>, vecProduct))  // the products of the page
};

// Asks for everything about one product.
struct XC2S_QueryProductDetailReq final : Wirova::IMessage {
    WIROVA_MESSAGE(XC2S_QueryProductDetailReq, 23482570,
        (int32,  nReqID)               // the answer echoes it
        (string, strGameID)            // [20]
        (string, strProductID))        // [20] product to describe
};

// One of the things that a product consists of, with prices of its own.
struct XChildProduct final : Wirova::IMessage {
    WIROVA_MESSAGE(XChildProduct, 128141322,
        (string, strChildProductID)    // [20]
        (int32,  nPrice)
        (string, strUnitName)          // [50]
        (int32,  nValidTerm)
        (int32,  nPossibleLevel)
        (int32,  nUseCount)
        (int32,  nPeriod)
        (int32,  nRuvCoinPrice)
        (int32,  nGameMoneyPrice)
        (string, strClassName))        // [40]
};

// A condition of sale of a product.
struct XProductCondition final : Wirova::IMessage {
    WIROVA_MESSAGE(XProductCondition, 211792154,
        (char,   cConditionType)
        (string, strConditionValue))   // [100]
};

// An option of a product, from which the buyer can choose.
struct XProductOption final : Wirova::IMessage {
    WIROVA_MESSAGE(XProductOption, 52412426,
        (string, strOptionCode)        // [20]
        (string, strOptionValue)       // [20]
        (string, strOptionName))       // [20]
};

// Everything about the product. Its single fields stand in the message itself, ahead of the three lists.
struct XS2C_QueryProductDetailAns final : Wirova::IMessage {
    WIROVA_MESSAGE(XS2C_QueryProductDetailAns, 131635818,
        (int32,                     nReqID)                // echo
        (int32,                     nState)                // 0: done; others: failure
        (string,                    strMessage)            // [1024] text of the service
        (string,                    strBranchID)           // [20]
        (string,                    strProductID)          // [20]
        (string,                    strProductName)        // [40]
        (string,                    strProductDetailDesc)  // [2000]
        (string,                    strImageURL)           // [100]
        (string,                    strMovieURL)           // [200]
        (string,                    strDirection)          // [200]
        (char,                      cCouponUseType)
        (char,                      cDiscountType)
        (vector<XChildProduct>,     vecChildProduct)
        (vector<XProductCondition>, vecCondition)          // conditions of sale
        (vector<XProductOption>,    vecOption))
};

// Asks which discounts a character has on a product.
struct XC2S_QueryDiscountReq final : Wirova::IMessage {
    WIROVA_MESSAGE(XC2S_QueryDiscountReq, 27000890,
        (int32,  nReqID)               // the answer echoes it
        (string, strGameID)            // [20]
        (string, strServerID)          // [20]
        (string, strUserID)            // [22] empty when USE_USER_NUMBER is on
        (string, strUserNo)            // [22] empty when USE_USER_NUMBER is off
        (string, strUserIP)            // [15] dotted address of the user
        (string, strCharacterID)       // [20]
        (string, strProductID)         // [20] product asked about
        (int32,  nLevel))              // level of the character
};

// A discount and its condition.
struct XDiscountInfo final : Wirova::IMessage {
    WIROVA_MESSAGE(XDiscountInfo, 87820698,
        (string,  strCondition)        // [100]
        (int32,   nDiscountRate)
        (int32,   nDiscountAmt)
        (boolean, bUse))
};

// The discounts on the product, and its price.
struct XS2C_QueryDiscountAns final : Wirova::IMessage {
    WIROVA_MESSAGE(XS2C_QueryDiscountAns, 221803962,
        (int32,                 nReqID)        // echo
        (int32,                 nState)        // 0: done; others: failure
        (string,                strMessage)    // [1024] text of the service
        (int32,                 nPrice)        // price of the product
        (vector<XDiscountInfo>, vecDiscount))
};

// Asks which coupons a user can use for a product, with the fields of XC2S_QueryDiscountReq. The protocol
// spells the name with a t.
struct XC2S_QueryCoupontReq final : Wirova::IMessage {
    WIROVA_MESSAGE(XC2S_QueryCoupontReq, 99717930,
        (int32,  nReqID)               // the answer echoes it
        (string, strGameID)            // [20]
        (string, strServerID)          // [20]
        (string, strUserID)            // [22] empty when USE_USER_NUMBER is on
        (string, strUserNo)            // [22] empty when USE_USER_NUMBER is off
        (string, strUserIP)            // [15] dotted address of the user
        (string, strCharacterID)       // [20]
        (string, strProductID)         // [20] product asked about
        (int32,  nLevel))              // level of the character
};

// A coupon of the user.
struct XCouponInfo final : Wirova::IMessage {
    WIROVA_MESSAGE(XCouponInfo, 66253610,
        (string, strCouponUseID)       // [20]
        (string, strCouponCode)        // [20]
        (string, strCouponName)        // [40]
        (int32,  nDiscountRate)
        (int32,  nDiscountAmt)
        (string, strUseEndDate))       // [8] last day of use
};

// The coupons that the user can use for the product.
struct XS2C_QueryCoupontAns final : Wirova::IMessage {
    WIROVA_MESSAGE(XS2C_QueryCoupontAns, 266909882,
        (int32,               nReqID)      // echo
        (int32,               nState)      // 0: done; others: failure
        (string,              strMessage)  // [1024] text of the service
        (vector<XCouponInfo>, vecCoupon))
};

// Asks for the search tags of the shop.
struct XC2S_QueryTagReq final : Wirova::IMessage {
    WIROVA_MESSAGE(XC2S_QueryTagReq, 96085786,
        (int32,  nReqID)               // the answer echoes it
        (string, strGameID))           // [20]
};

// The tags: the only list of the protocol whose elements are plain texts.
struct XS2C_QueryTagAns final : Wirova::IMessage {
    WIROVA_MESSAGE(XS2C_QueryTagAns, 11690938,
        (int32,          nReqID)       // echo
        (int32,          nState)       // 0: done; others: failure
        (string,         strMessage)   // [1024] text of the service
        (vector<string>, vecTag))      // [100] each
};

// Asks for the groups of special products.
struct XC2S_QuerySpecialProductListReq final : Wirova::IMessage {
    WIROVA_MESSAGE(XC2S_QuerySpecialProductListReq, 187895594,
        (int32,  nReqID)               // the answer echoes it
        (string, strGameID))           // [20]
};

// A group of special products, named by its expose code.
struct XSpecialProductListContent final : Wirova::IMessage {
    WIROVA_MESSAGE(XSpecialProductListContent, 59108586,
        (string, strExposeCode)        // [20]
        (string, strExposeName)        // [40]
        (string, strIconUrl)           // [100]
        (string, strBannerUrl))        // [100]
};

// The groups of special products.
struct XS2C_QuerySpecialProductListAns final : Wirova::IMessage {
    WIROVA_MESSAGE(XS2C_QuerySpecialProductListAns, 190885514,
        (int32,                              nReqID)                  // echo
        (int32,                              nState)                  // 0: done; others: failure
        (string,                             strMessage)              // [1024] text of the service
        (vector<XSpecialProductListContent>, vecSpecialProductList))  // the groups
};

// Asks for the products of one such group.
struct XC2S_QuerySpecialProductReq final : Wirova::IMessage {
    WIROVA_MESSAGE(XC2S_QuerySpecialProductReq, 31599018,
        (int32,  nReqID)               // the answer echoes it
        (string, strGameID)            // [20]
        (string, strExposeCode))       // [20] group to list
};

// A product in a group.
struct XSpecialProduct final : Wirova::IMessage {
    WIROVA_MESSAGE(XSpecialProduct, 55136282,
        (string, strExposeCode)        // [20]
        (string, strProductID)         // [20]
        (string, strImageUrl)          // [100]
        (int32,  nSortOrder))
};

// The products of the group.
struct XS2C_QuerySpecialProductAns final : Wirova::IMessage {
    WIROVA_MESSAGE(XS2C_QuerySpecialProductAns, 248695786,
        (int32,                   nReqID)              // echo
        (int32,                   nState)              // 0: done; others: failure
        (string,                  strMessage)          // [1024] text of the service
        (vector<XSpecialProduct>, vecSpecialProduct))  // products of the group
};

// Asks for the balance of a user in Ruv coin.
struct XC2S_QueryRuvcoinReq final : Wirova::IMessage {
    WIROVA_MESSAGE(XC2S_QueryRuvcoinReq, 252211162,
        (int32,  nReqID)               // the answer echoes it
        (string, strUserID)            // [22] empty when USE_USER_NUMBER is on
        (string, strUserNo))           // [22] empty when USE_USER_NUMBER is off
};

// The balance; the library reports a negative one to the game as a failure.
struct XS2C_QueryRuvcoinAns final : Wirova::IMessage {
    WIROVA_MESSAGE(XS2C_QueryRuvcoinAns, 35975882,
        (int32,  nReqID)               // echo
        (int32,  nState)               // 0: done; others: failure
        (string, strMessage)           // [1024] text of the service
        (int32,  nRuvCoin))            // balance in Ruv coin
};

// clang-format on
