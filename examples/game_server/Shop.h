// The item shop: its lists, purchases, and the storage box. Used on the game's thread only. Every function
// may block for up to five seconds for each request that it makes.
#pragma once

#include <string>

#include "Game.h"

// Each function prints what has happened and returns whether it did what was asked.
class Shop {
public:
    Shop(Game& game, std::string strGameID, std::string strServerID);

    bool ShowMenu();
    bool ShowProducts(const std::string& strBranch, int nPage);
    bool ShowDetail(const std::string& strProduct);
    bool ShowDiscounts(const std::string& strUser, const std::string& strProduct);
    bool ShowCoupons(const std::string& strUser, const std::string& strProduct);
    bool ShowTags();
    bool ShowSpecials();
    bool ShowBalance(const std::string& strUser);

    // strCoupon is "USEID:CODE" and strOption "CODE:VALUE"; "-" stands for none, also for strPassWord.
    bool Buy(const std::string& strUser, const std::string& strProduct, const std::string& strPassWord,
             const std::string& strCoupon, const std::string& strOption);
    bool Give(const std::string& strUser, const std::string& strReceiver, const std::string& strProduct,
              const std::string& strPassWord);

    bool ShowBox(const std::string& strUser);
    bool MarkRead(const std::string& strUser, int nStorageSeq);
    // Moves an entry of the box into the inventory, in three steps: reserve the entry at the service, deliver
    // the item to the character, confirm. If the delivery fails, the entry is given back to the box.
    bool Take(const std::string& strUser, int nStorageSeq);
    // Reserves an entry and gives it back, as a game does for a player who cancels.
    bool TakeAndGiveBack(const std::string& strUser, int nStorageSeq);

private:
    template <class Request>
    Request MakeReq(const std::string& strUser = "") const;
    _PURCHASE_REQ MakePurchase(const std::string& strUser, const std::string& strProduct,
                               const std::string& strPassWord) const;
    _USER_PRODUCT_REQ MakeUserProduct(const std::string& strUser, const std::string& strProduct) const;
    bool Purchase(const _PURCHASE_REQ& req, const std::string& strWhat);
    bool Reserve(const std::string& strUser, int nStorageSeq, _STORAGE_INFO& entry);
    bool End(const std::string& strUser, int nStorageSeq, bool bConfirm);
    bool FindEntry(const std::string& strUser, int nStorageSeq, _STORAGE_INFO& entry);

    Game& m_game;
    const std::string m_strGameID;
    const std::string m_strServerID;
};
