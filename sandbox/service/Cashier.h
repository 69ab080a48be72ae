// Sells products: checks a purchase, works out its price and books it in the ledger. Belongs to the server's
// thread.
#pragma once

#include <list>
#include <string>
#include <vector>

#include "sandbox/base/Clock.h"
#include "sandbox/store/Store.h"
#include "wirova/messages/StorageMessages.h"

namespace Sandbox {

// A purchase that is booked.
struct Sale {
    int nOrderSeq = 0;
    int nPrice = 0;
    std::vector<std::int64_t> vecEntries;  // storage numbers, in the receiver's box
    std::string strServerID;               // the server and character that the entries are meant for
    std::string strCharacterID;
    bool bSave = false;  // the product wants the game to save the items
};

// Finds the discount that takes off most for this buyer and sets its bUse; all others are cleared. If the
// product's own rate takes off as much, none is set. Returns what one piece costs then.
int PieceAfterDiscount(const Product& product, std::list<Discount>& listDiscounts, int nLevel,
                       const std::string& strServerID);

class Cashier {
public:
    static constexpr std::size_t kMaxRows = 20;  // of coupons, and as many of options, in one purchase

    Cashier(Store& store, const IClock& clock)
        : m_catalogue(store.GetCatalogue()), m_ledger(store.GetLedger()), m_clock(clock)
    {
    }

    // Books the purchase. REQUIRES: the game has a shop, and a transaction is open. Throws Refusal or
    // StoreError; the caller then gives the transaction up.
    Sale Sell(const XC2S_PurchaseProductReq& req, const User& buyer, const User& receiver);

private:
    // The coupons and options of the purchase, checked.
    struct Choice {
        std::vector<std::string> vecCouponUseIDs;
        std::vector<const XUseOptionInfo*> vecOptions;
    };
    void CheckSale(const XC2S_PurchaseProductReq& req, const Product& product, const User& buyer,
                   const User& receiver);
    void CheckConditions(const XC2S_PurchaseProductReq& req);
    Choice Choose(const XC2S_PurchaseProductReq& req, const Product& product, const User& buyer);
    bool IsCouponOf(const User& buyer, const std::string& strUseID, const std::string& strCode);
    void AddCoupon(Choice& choice, const XUseCouponInfo& row, const Product& product);
    std::int64_t PriceOf(const XC2S_PurchaseProductReq& req, const Product& product, const Choice& choice);
    void FillBox(const XC2S_PurchaseProductReq& req, const Product& product, const Choice& choice,
                 const User& buyer, const User& receiver, Sale& sale);

    Catalogue& m_catalogue;
    Ledger& m_ledger;
    const IClock& m_clock;
};

}  // namespace Sandbox
