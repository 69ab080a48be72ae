// A visit to the shop, with VelkarConnector.hpp: alice checks in, reads the menu, buys potions, looks into
// her storage box and checks out. The settings file stands beside the program.
#include <VelkarConnector.hpp>
#include <cstdio>

namespace {

// The library asks for this while PurchaseProduct still waits, on a thread of its own: only look and answer.
void OnSaveInventory(const _SAVE_INVENTORY_REQ& req, _RESULT_RES& res)
{
    for (const _INVENTORY_ITEM_INFO& item : Velkar::ListView<_INVENTORY_ITEM_INFO>(req.pHandle))
        std::printf("no room for %s of order %d\n", item.szItemID, req.nOrderSeq);
    Velkar::Put(res.szError, "The inventory is full.");  // a failure: the item stays in the box
}

bool Visit(const _USER_REQ& user)
{
    _GAME_REQ game{};
    Velkar::Put(game.szGameID, "DEMOGAME");
    const auto menu = Velkar::QueryMenuList(game);
    for (const _MENU_INFO& branch : menu.rows)
        std::printf("menu: %s, %d products\n", branch.szBranchName, branch.nProductCount);

    _PURCHASE_REQ order{};
    Velkar::Put(order.szGameID, "DEMOGAME");
    Velkar::Put(order.szProductID, "POTION");
    Velkar::Put(order.szUserID, user.szUserID);
    Velkar::Put(order.szUserIP, user.szUserIP);
    order.nLevel = 30;
    order.nCount = 1;
    const auto bought = Velkar::PurchaseProduct(order);
    std::printf("bought: %d, %s\n", bought->nBuyPrice, bought.Text());

    _STORAGE_SEARCH_REQ search{};
    Velkar::Put(search.szGameID, "DEMOGAME");
    Velkar::Put(search.szUserID, user.szUserID);
    search.cSearchType = 'A';  // all; game and service agree on the letters
    const auto box = Velkar::QueryStorageInfo(search);
    for (const _STORAGE_INFO& entry : box.rows)
        std::printf("box: %s of order %d\n", entry.szItemID, entry.nOrderSeq);
    if (!box)
        std::printf("no box: %s\n", box.Text());
    return menu && bought;
}

}  // namespace

int main()
{
    _CONNECTOR_ID id{"DEMOGAME", "CPP", "WORLD01"};
    Velkar::Callbacks callbacks;
    callbacks.onSaveInventory = &OnSaveInventory;
    Velkar::Connector connector;
    if (const auto started = connector.Start(id, callbacks); !started) {
        std::printf("not started: %s\n", started.Text());
        return 1;
    }
    const _USER_REQ user{"alice", "10.0.0.1"};
    const auto checkin = Velkar::Checkin(user);
    std::printf("checked in: %d, %lld minutes\n", checkin.Code(), checkin->nRemainMinutes);
    const bool bGood = checkin && Visit(user);
    const auto checkout = Velkar::Checkout(user);
    std::printf("checked out: %d\n", checkout.Code());
    return bGood && checkout ? 0 : 1;
}
