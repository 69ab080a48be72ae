// Sells products: checks a purchase, works out its price and books it. Belongs to the server's thread.
#pragma once

#include <list>
#include <string>
#include <vector>

#include "sandbox/base/Clock.h"
#include "sandbox/store/Store.h"
#include "wirova/messages/StorageMessages.h"

namespace Sandbox {

// What has been booked.
struct Sale {
    int nOrderSeq = 0;
    int nPrice = 0;
    std::vector<std::int64_t> vecEntries;  // storage numbers, in the receiver's box
    std::string strServerID;               // where they are meant to go
    std::string strCharacterID;
    bool bSave = false;  // the product asks for it
};

// Of the discounts of a product for a buyer at most one counts, that which takes off most; it is marked.
// Returns what one piece costs then.
int PieceAfterDiscount(const Product& product, std::list<Discount>& listDiscounts, int nLevel,
                       const std::string& strServerID);

class Cashier {
public:
    static constexpr std::size_t kMaxRows = 20;  // of coupons, and of options

    Cashier(Store& store, const IClock& clock)
        : m_catalogue(store.GetCatalogue()), m_ledger(store.GetLedger()), m_clock(clock)
    {
    }

    // The game has a shop. Within a transaction, which the caller gives up if this throws Refusal or
    // StoreError.
    Sale Sell(const XC2S_PurchaseProductReq& req, const User& buyer, const User& receiver);

private:
    // What was chosen with the purchase.
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
