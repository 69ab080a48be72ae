// A visit to the shop: alice checks in, reads the menu, buys potions, looks into her storage box and checks out.
using System;
using Velkar;

internal static class Example
{
    private static int Main()
    {
        var callbacks = new CONNECTOR_CALLBACKS {pfnSaveInventory = (req, res) => {  // on a thread of the library
            Console.WriteLine("no room for order " + req.nOrderSeq);
            res.szError = "The inventory is full.";  // a failure: the item stays in the box
        }};
        var id = new CONNECTOR_ID {GID = "DEMOGAME", SID = "CSHARP", WID = "WORLD01"};
        if (!Connector.InitModule(id, callbacks, out string error)) {
            Console.WriteLine("not started: " + error);
            return 1;
        }
        var user = new USER_REQ {szUserID = "alice", szUserIP = "10.0.0.1"};
        var checkin = new CHECKIN_RES();
        Connector.Checkin(user, checkin);
        Console.WriteLine("checked in: " + checkin.nResult + " " + checkin.szError);

        LIST_RES menu = new LIST_RES(), box = new LIST_RES();
        Connector.QueryMenuList(new GAME_REQ {szGameID = "DEMOGAME"}, menu);
        var branch = new MENU_INFO();
        for (ulong n = 0; Connector.GetMenuData(menu.hData, n, branch, out error); ++n)
            Console.WriteLine("menu: " + branch.szBranchName + ", " + branch.nProductCount + " products");
        Connector.DestroyHandle(menu.hData);
        var bought = new PURCHASE_RES();
        Connector.PurchaseProduct(new PURCHASE_REQ {szGameID = "DEMOGAME", szProductID = "POTION", szUserID = "alice",
                                                    szUserIP = "10.0.0.1", nLevel = 30, nCount = 1}, bought);
        Console.WriteLine("bought: " + bought.nBuyPrice + " " + bought.szError);
        var search = new STORAGE_SEARCH_REQ {szGameID = "DEMOGAME", szUserID = "alice", cSearchType = (byte)'A'};
        Connector.QueryStorageInfo(search, box);
        var entry = new STORAGE_INFO();
        for (ulong n = 0; Connector.GetStorageItemData(box.hData, n, entry, out error); ++n)
            Console.WriteLine("box: " + entry.szItemID + " of order " + entry.nOrderSeq);
        Connector.DestroyHandle(box.hData);
        var checkout = new RESULT_RES();
        Connector.Checkout(user, checkout);
        Console.WriteLine("checked out: " + checkout.bSuccess + " " + checkout.szError);
        Connector.UninitModule();
        return checkin.nResult == 0 && bought.bSuccess == 1 ? 0 : 1;
    }
}
