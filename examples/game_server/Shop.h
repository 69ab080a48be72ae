// The shop window, the counter and the storage box. The game's thread alone: every call may block for up to
// five seconds.
#pragma once

#include <string>

#include "Game.h"

// Each call shows what has come of it and returns whether it did what was asked.
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

    // strCoupon is "USEID:CODE" and strOption "CODE:VALUE"; "-" is none of them.
    bool Buy(const std::string& strUser, const std::string& strProduct, const std::string& strPassWord,
             const std::string& strCoupon, const std::string& strOption);
    bool Give(const std::string& strUser, const std::string& strReceiver, const std::string& strProduct,
              const std::string& strPassWord);

    bool ShowBox(const std::string& strUser);
    bool MarkRead(const std::string& strUser, int nStorageSeq);
    // The three steps: reserve, put it into the inventory, confirm; or give it back if it does not fit.
    bool Take(const std::string& strUser, int nStorageSeq);
    // Reserves and gives back, as for a player who thinks again.
    bool TakeAndGiveBack(const std::string& strUser, int nStorageSeq);

private:
    template <class Request>
    Request MakeReq(const std::string& strUser = "") const;
    bool Purchase(const _PURCHASE_REQ& req, const std::string& strWhat);
    bool Reserve(const std::string& strUser, int nStorageSeq, _STORAGE_INFO& entry);
    bool End(const std::string& strUser, int nStorageSeq, bool bConfirm);
    bool FindEntry(const std::string& strUser, int nStorageSeq, _STORAGE_INFO& entry);

    Game& m_game;
    const std::string m_strGameID;
    const std::string m_strServerID;
};
