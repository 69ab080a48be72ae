"""A visit to the shop: alice checks in, reads the menu, buys potions, looks into her storage box and checks out."""
import ctypes
import sys
from velkar_connector import *


def save_inventory(req, res):  # on a thread of the library: only look and answer
    print("no room for order", req.contents.nOrderSeq)
    res.contents.szError = b"The inventory is full."  # a failure: the item stays in the box


def rows(res, record_type, get):
    """The records of an answer's list, which ends with them."""
    for index in range(GetDataSize(res.hData, None, 0)):
        record = record_type()
        if get(res.hData, index, record, None, 0):
            yield record
    DestroyHandle(res.hData)


callbacks = CONNECTOR_CALLBACKS(pfnSaveInventory=SaveInventory(save_inventory))
text = ctypes.create_string_buffer(1025)
if not InitModule(CONNECTOR_ID(b"DEMOGAME", b"PYTHON", b"WORLD01"), callbacks, text, len(text)):
    sys.exit("not started: " + text.value.decode())
user, checkin, checkout = USER_REQ(b"alice", b"10.0.0.1"), CHECKIN_RES(), RESULT_RES()
Checkin(user, checkin)
print("checked in:", checkin.nResult, checkin.szError.decode())

menu, bought, box = LIST_RES(), PURCHASE_RES(), LIST_RES()
QueryMenuList(GAME_REQ(b"DEMOGAME"), menu)
for branch in rows(menu, MENU_INFO, GetMenuData):
    print(f"menu: {branch.szBranchName.decode()}, {branch.nProductCount} products")
PurchaseProduct(PURCHASE_REQ(szGameID=b"DEMOGAME", szProductID=b"POTION", szUserID=b"alice", szUserIP=b"10.0.0.1",
                             nLevel=30, nCount=1), bought)
print("bought:", bought.nBuyPrice, bought.szError.decode())
QueryStorageInfo(STORAGE_SEARCH_REQ(szGameID=b"DEMOGAME", szUserID=b"alice", cSearchType=b"A"), box)
for entry in rows(box, STORAGE_INFO, GetStorageItemData):
    print(f"box: {entry.szItemID.decode()} of order {entry.nOrderSeq}")
Checkout(user, checkout)
print("checked out:", checkout.bSuccess, checkout.szError.decode())
UninitModule()
