#include "sandbox/service/Cashier.h"

#include <algorithm>
#include <charconv>

#include "sandbox/base/DateText.h"
#include "sandbox/base/Printable.h"
#include "sandbox/service/Refusal.h"

namespace Sandbox {
namespace {

// Lengths in bytes.
constexpr std::size_t kMaxPlaceName = 20;  // of a server or character
constexpr std::size_t kMaxGiftMessage = 200;
constexpr std::size_t kMaxOptions = 100;  // of all option codes of an entry together; as much for all values
constexpr std::int64_t kDay = 24 * 60 * 60;  // seconds

// What a rate in percent and an amount take off a price, at most all of it. The share is rounded down, to the
// buyer's loss. The price is divided before it is multiplied, because a price of 62 bits would overflow.
std::int64_t Off(std::int64_t nPrice, int nRate, int nAmount)
{
    return std::min(nPrice, nPrice / 100 * nRate + nPrice % 100 * nRate / 100 + nAmount);
}

// Whether the lists of coupons and options hold the same rows in the same order.
bool AreSame(const XC2S_PurchaseProductReq& req)
{
    return std::equal(req.vecUseCoupon.begin(), req.vecUseCoupon.end(), req.vecUseOption.begin(),
                      req.vecUseOption.end(),
                      [](const XUseCouponInfo* pCoupon, const XUseOptionInfo* pOption) {
                          return pCoupon->strCouponUseID == pOption->strOptionCode &&
                                 pCoupon->strCouponCode == pOption->strOptionValue;
                      });
}

// The options' codes or values, one after the other.
std::string Joined(const std::vector<const XUseOptionInfo*>& vecOptions, std::string XUseOptionInfo::*pText)
{
    std::string strAll;
    for (const XUseOptionInfo* const pOption : vecOptions)
        strAll += (strAll.empty() ? "" : ",") + pOption->*pText;
    return strAll;
}

std::string ValidDate(std::time_t now, int nDays)
{
    return nDays > 0 ? FormatDate(now + nDays * kDay) : kNoEnd;
}

}  // namespace

int PieceAfterDiscount(const Product& product, std::list<Discount>& listDiscounts, int nLevel,
                       const std::string& strServerID)
{
    const int nPrice = product.row.nPrice;
    for (Discount& discount : listDiscounts)
        discount.row.bUse = false;
    if (product.cDiscount == 'N')
        return nPrice;
    std::int64_t nBest = Off(nPrice, product.row.nDiscountRate, 0);
    Discount* pBest = nullptr;
    for (Discount& discount : listDiscounts) {
        const bool bApplies = nLevel >= discount.nMinLevel && nLevel <= discount.nMaxLevel &&
                              (discount.strServerID.empty() || discount.strServerID == strServerID);
        const std::int64_t nOff = Off(nPrice, discount.row.nDiscountRate, discount.row.nDiscountAmt);
        if (bApplies && nOff > nBest) {
            nBest = nOff;
            pBest = &discount;
        }
    }
    if (pBest != nullptr)
        pBest->row.bUse = true;
    return static_cast<int>(nPrice - nBest);
}

Sale Cashier::Sell(const XC2S_PurchaseProductReq& req, const User& buyer, const User& receiver)
{
    Product product;
    if (!m_catalogue.FindProduct({req.strGameID, req.strProductID}, product))
        throw Refusal(kUnknownProduct, "There is no product " + Quoted(req.strProductID) + ".");
    CheckSale(req, product, buyer, receiver);
    const Choice choice = Choose(req, product, buyer);
    const std::int64_t nPrice = PriceOf(req, product, choice);
    const int nRuvCoin = m_ledger.GetWallet(buyer.nID).nRuvCoin;
    if (nPrice > INT32_MAX)
        throw Refusal(kPriceTooHigh, "So many cost more than can be paid at once.");
    if (nPrice > nRuvCoin) {
        throw Refusal(kNotEnoughCoin, "It costs " + std::to_string(nPrice) + " Ruv coin, and " +
                                          std::to_string(nRuvCoin) + " are there.");
    }

    Sale sale;
    sale.nPrice = static_cast<int>(nPrice);
    sale.bSave = product.bSave;
    sale.nOrderSeq =
        static_cast<int>(m_ledger.AddOrder({0, req.strGameID, req.strProductID, buyer.nID, receiver.nID,
                                            req.nCount, sale.nPrice, FormatDate(m_clock.Now())}));
    m_ledger.ChangeCoin(buyer.nID, -sale.nPrice);
    for (const std::string& strUseID : choice.vecCouponUseIDs)
        m_ledger.UseCoupon(strUseID, sale.nOrderSeq);
    FillBox(req, product, choice, buyer, receiver, sale);
    return sale;
}

void Cashier::CheckSale(const XC2S_PurchaseProductReq& req, const Product& product, const User& buyer,
                        const User& receiver)
{
    const std::string strPassWord = m_ledger.GetWallet(buyer.nID).strPassWord;
    if (!strPassWord.empty() && strPassWord != req.strPassWD)
        throw Refusal(kWrongPassWord, "The pass word is wrong.");
    for (const std::string* pText :
         {&req.strServerID, &req.strCharacterID, &req.strRecvServerID, &req.strRecvCharacterID}) {
        if (pText->size() > kMaxPlaceName)
            throw Refusal(kTextTooLong, "Servers and characters have at most 20 bytes each.");
    }
    if (req.strGiftMessage.size() > kMaxGiftMessage)
        throw Refusal(kTextTooLong, "A gift message has at most 200 bytes.");
    const std::string strNow = FormatDate(m_clock.Now());
    if (product.row.strStartDate > strNow || product.row.strEndDate < strNow)
        throw Refusal(kNotOnSale, Quoted(req.strProductID) + " is not on sale now.");
    if (req.nCount < 1)
        throw Refusal(kBadCount, "The count has to be 1 at least.");
    if (req.nLevel < product.row.nLevel)
        throw Refusal(kLevelTooLow, "It takes level " + std::to_string(product.row.nLevel) + ".");
    CheckConditions(req);
    if (receiver.nID != buyer.nID && !product.row.bGift)
        throw Refusal(kNoGift, Quoted(req.strProductID) + " cannot be given away.");
    if (!product.row.bDuplicateSell &&
        (req.nCount > 1 || m_ledger.HasOrderFor(receiver.nID, req.strGameID, req.strProductID)))
        throw Refusal(kSoldOnce, Quoted(req.strProductID) + " is sold to a user once only.");
}

void Cashier::CheckConditions(const XC2S_PurchaseProductReq& req)
{
    Wirova::RecordVector<XProductCondition> vecCondition;
    m_catalogue.GetConditions({req.strGameID, req.strProductID}, vecCondition);
    for (const XProductCondition* const pCondition : vecCondition) {
        const std::string& strValue = pCondition->strConditionValue;
        int nValue = 0;
        std::from_chars(strValue.data(), strValue.data() + strValue.size(), nValue);
        switch (pCondition->cConditionType) {
            case 'L':
                if (req.nLevel < nValue)
                    throw Refusal(kConditionFails, "It is sold from level " + strValue + " on.");
                break;
            case 'H':
                if (req.nLevel > nValue)
                    throw Refusal(kConditionFails, "It is sold up to level " + strValue + ".");
                break;
            case 'S':
                if (req.strServerID != strValue)
                    throw Refusal(kConditionFails, "It is sold on the server " + Quoted(strValue) + " only.");
                break;
            default:  // other conditions are texts that the game shows; a purchase need not meet them
                break;
        }
    }
}

// ---- coupons and options ----

// A connector whose game gives both lists sends the rows of the coupons in both. So if both lists are the
// same, a row is a coupon if the buyer has such a coupon, and otherwise an option.
Cashier::Choice Cashier::Choose(const XC2S_PurchaseProductReq& req, const Product& product, const User& buyer)
{
    if (req.vecUseCoupon.size() > kMaxRows || req.vecUseOption.size() > kMaxRows)
        throw Refusal(kTooManyRows,
                      "At most " + std::to_string(kMaxRows) + " coupons and options are taken.");
    const bool bSame = AreSame(req);
    Wirova::RecordVector<XProductOption> vecOffered;
    m_catalogue.GetOptions({req.strGameID, req.strProductID}, vecOffered);
    const auto isOffered = [&](const XUseOptionInfo& row) {
        return std::any_of(vecOffered.begin(), vecOffered.end(), [&](const XProductOption* pOffered) {
            return pOffered->strOptionCode == row.strOptionCode &&
                   pOffered->strOptionValue == row.strOptionValue;
        });
    };

    Choice choice;
    for (const XUseCouponInfo* const pRow : req.vecUseCoupon) {
        if (IsCouponOf(buyer, pRow->strCouponUseID, pRow->strCouponCode))
            AddCoupon(choice, *pRow, product);
        else if (!bSame)
            throw Refusal(kUnknownCoupon, Quoted(buyer.strUserID) + " has no coupon " +
                                              Quoted(pRow->strCouponUseID) + " of that code.");
    }
    for (const XUseOptionInfo* const pRow : req.vecUseOption) {
        if (bSame && IsCouponOf(buyer, pRow->strOptionCode, pRow->strOptionValue))
            continue;
        if (!isOffered(*pRow))
            throw Refusal(kUnknownOption, Quoted(pRow->strOptionCode) + " with " +
                                              Quoted(pRow->strOptionValue) + " is no option of " +
                                              Quoted(req.strProductID) +
                                              (bSame ? ", and no coupon of the buyer's." : "."));
        for (const XUseOptionInfo* const pOther : choice.vecOptions) {
            if (pOther->strOptionCode == pRow->strOptionCode)
                throw Refusal(kNamedTwice, "The option " + Quoted(pRow->strOptionCode) + " is chosen twice.");
        }
        choice.vecOptions.push_back(pRow);
    }
    if (choice.vecCouponUseIDs.size() > 1 && product.cCouponUse == 'O')
        throw Refusal(kCouponsNotTaken, "One coupon at most is taken for " + Quoted(req.strProductID) + ".");
    if (Joined(choice.vecOptions, &XUseOptionInfo::strOptionCode).size() > kMaxOptions ||
        Joined(choice.vecOptions, &XUseOptionInfo::strOptionValue).size() > kMaxOptions)
        throw Refusal(kTextTooLong, "The options together are longer than 100 bytes.");
    return choice;
}

bool Cashier::IsCouponOf(const User& buyer, const std::string& strUseID, const std::string& strCode)
{
    Coupon coupon;
    return m_ledger.FindCoupon(strUseID, coupon) && coupon.nUser == buyer.nID &&
           coupon.row.strCouponCode == strCode;
}

void Cashier::AddCoupon(Choice& choice, const XUseCouponInfo& row, const Product& product)
{
    const std::string& strUseID = row.strCouponUseID;
    Coupon coupon;
    m_ledger.FindCoupon(strUseID, coupon);
    if (product.cCouponUse == 'N')
        throw Refusal(kCouponsNotTaken, "No coupon is taken for " + Quoted(product.row.strProductID) + ".");
    if (coupon.nOrderSeq != 0)
        throw Refusal(kCouponUsed, "The coupon " + Quoted(strUseID) + " is used already.");
    if (coupon.row.strUseEndDate < FormatDate(m_clock.Now()))
        throw Refusal(kCouponExpired, "The coupon " + Quoted(strUseID) + " has expired.");
    if (!coupon.strProductID.empty() && coupon.strProductID != product.row.strProductID)
        throw Refusal(kCouponOfOther,
                      "The coupon " + Quoted(strUseID) + " is for " + Quoted(coupon.strProductID) + ".");
    auto& vecUseIDs = choice.vecCouponUseIDs;
    if (std::find(vecUseIDs.begin(), vecUseIDs.end(), strUseID) != vecUseIDs.end())
        throw Refusal(kNamedTwice, "The coupon " + Quoted(strUseID) + " is named twice.");
    vecUseIDs.push_back(strUseID);
}

// ---- the price, and the entries of the box ----

std::int64_t Cashier::PriceOf(const XC2S_PurchaseProductReq& req, const Product& product,
                              const Choice& choice)
{
    auto listDiscounts = m_catalogue.GetDiscounts({req.strGameID, req.strProductID});
    std::int64_t nPrice =
        std::int64_t{req.nCount} * PieceAfterDiscount(product, listDiscounts, req.nLevel, req.strServerID);
    for (const std::string& strUseID : choice.vecCouponUseIDs) {
        Coupon coupon;
        m_ledger.FindCoupon(strUseID, coupon);
        nPrice -= Off(nPrice, coupon.row.nDiscountRate, coupon.row.nDiscountAmt);
    }
    return nPrice;
}

void Cashier::FillBox(const XC2S_PurchaseProductReq& req, const Product& product, const Choice& choice,
                      const User& buyer, const User& receiver, Sale& sale)
{
    const bool bGift = receiver.nID != buyer.nID;
    const std::time_t now = m_clock.Now();
    const auto meant = [&](const std::string& strReceivers, const std::string& strBuyers) {
        return strReceivers.empty() && !bGift ? strBuyers : strReceivers;
    };
    sale.strServerID = meant(req.strRecvServerID, req.strServerID);
    sale.strCharacterID = meant(req.strRecvCharacterID, req.strCharacterID);
    for (const Child& child : m_catalogue.GetChildren({req.strGameID, req.strProductID})) {
        Entry entry;
        entry.nOwner = receiver.nID;
        entry.strGameID = req.strGameID;
        XStorageInfo& row = entry.row;
        const std::int64_t nCount = std::int64_t{req.nCount} * child.nCount;
        if (nCount > INT32_MAX)
            throw Refusal(kBadCount, "So many are more than an entry of a storage box can hold.");
        row.nOrderSeq = sale.nOrderSeq;
        row.strItemID = child.row.strChildProductID;
        row.strItemName = child.strItemName;
        row.bBonus = child.bBonus;
        row.strSenderUserID = buyer.strUserID;
        row.strSenderUserNo = buyer.strUserNo;
        row.strUserID = receiver.strUserID;
        row.strUserNo = receiver.strUserNo;
        row.strServerID = sale.strServerID;
        row.strCharacterID = sale.strCharacterID;
        row.strGiftMessage = bGift ? req.strGiftMessage : "";
        row.nCount = row.nRemainCount = static_cast<int>(nCount);
        row.strValidTerm = std::to_string(child.row.nValidTerm);
        row.nPossibleLevel = child.row.nPossibleLevel;
        row.nUseCount = child.row.nUseCount;
        row.nPeriod = child.row.nPeriod;
        row.strOptionCode = Joined(choice.vecOptions, &XUseOptionInfo::strOptionCode);
        row.strOptionValue = Joined(choice.vecOptions, &XUseOptionInfo::strOptionValue);
        row.strBuyDate = row.strUseStartDate = FormatDate(now);
        row.strValidDate = ValidDate(now, child.row.nValidTerm);
        row.strSetName = product.row.strProductName;
        row.strListImageUrl = child.strListImageURL;
        row.strIconImageUrl = product.row.strIconImageURL;
        row.strDirection = product.strDirection;
        sale.vecEntries.push_back(m_ledger.AddEntry(entry));
    }
}

}  // namespace Sandbox
