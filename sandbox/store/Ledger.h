// What users own: balances, coupons, orders and storage boxes, in tables of the store's database. The ledger
// knows no rule of the shop; the Cashier and the Service do. Every function throws StoreError. Changes belong
// into a Transaction of the store.
#pragma once

#include <cstdint>
#include <ctime>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "sandbox/store/Database.h"
#include "wirova/messages/ShopMessages.h"
#include "wirova/messages/StorageMessages.h"

namespace Sandbox {

// A user without a wallet has no coin and needs no pass word.
struct Wallet {
    int nRuvCoin = 0;
    std::string strPassWord;  // of purchases; empty: none is asked for
};

struct Coupon {
    XCouponInfo row;           // the use id is unique
    std::string strProductID;  // empty: for any product
    std::int64_t nUser = 0;
    std::int64_t nOrderSeq = 0;  // 0: not used yet
};

struct Order {
    std::int64_t nOrderSeq = 0;
    std::string strGameID;
    std::string strProductID;
    std::int64_t nBuyer = 0;
    std::int64_t nReceiver = 0;
    int nCount = 0;
    int nPrice = 0;       // what was taken off the buyer's balance
    std::string strDate;  // 14 digits
};

enum class EntryState : int { Waiting = 0, Reserved = 1, Used = 2, Deleted = 3 };

struct Entry {
    XStorageInfo row;  // the ledger gives row.nStorageSeq
    std::int64_t nOwner = 0;
    std::string strGameID;
    EntryState state = EntryState::Waiting;
    // The reservation: the calendar time at which it ends by itself, and the server and character that it is
    // for.
    std::int64_t nUntil = 0;
    std::string strUseServerID;
    std::string strUseCharacterID;
};

// Which entries of a box a list shows; an empty text is no condition.
struct BoxSearch {
    std::int64_t nOwner = 0;
    std::string strGameID;
    std::string strServerID;  // entries that name no server or character are listed in any case
    std::string strCharacterID;
    char cType = 'A';  // 'A' all, 'N' name contains, 'I' item id is, 'O' order seq is, 'U' not read yet
    std::string strValue;
};

class Ledger {
public:
    explicit Ledger(Database& db);
    ~Ledger();

    static std::string Schema();  // SQL that makes the tables in a new database
    // The table that counts what has been sold, in SQLite; the orders that are there are counted at once.
    static std::string SoldSchema();

    // ---- balances ----
    bool OpenWallet(std::int64_t nUser, const Wallet& wallet);  // false, and no change, if the user has one
    Wallet GetWallet(std::int64_t nUser);
    void ChangeCoin(std::int64_t nUser, int nDifference);
    void SetWallet(std::int64_t nUser, const Wallet& wallet);

    // ---- coupons ----
    bool AddCoupon(const Coupon& coupon);  // false, and no change, if the use id is taken
    bool FindCoupon(const std::string& strUseID, Coupon& coupon);
    std::list<Coupon> GetCoupons(std::int64_t nUser);
    void UseCoupon(const std::string& strUseID, std::int64_t nOrderSeq);  // 0: the coupon is unused again
    void RemoveCoupon(const std::string& strUseID);

    // ---- orders ----
    std::int64_t AddOrder(const Order& order);  // returns the new order's number
    bool HasOrderFor(std::int64_t nReceiver, const std::string& strGameID, const std::string& strProductID);
    std::vector<Order> GetOrders(std::optional<std::int64_t> nBuyer,
                                 std::int64_t nLimit);  // the latest first

    // ---- storage boxes ----
    std::int64_t AddEntry(const Entry& entry);  // waiting; returns its number
    bool FindEntry(std::int64_t nStorageSeq, Entry& entry);
    // Calls each(entry) for the waiting entries that the search finds, ordered by number.
    void ForEachWaiting(const BoxSearch& search, const std::function<void(const Entry& entry)>& each);
    // Calls each(entry) for the owner's entries in any state, at most nLimit of them.
    void ForEachEntry(std::int64_t nOwner, std::int64_t nLimit,
                      const std::function<void(const Entry& entry)>& each);
    std::vector<std::int64_t> GetEntriesOf(std::int64_t nOrderSeq);  // their numbers
    void SetRead(std::int64_t nStorageSeq);
    void Reserve(std::int64_t nStorageSeq, std::int64_t nUntil, const std::string& strServerID,
                 const std::string& strCharacterID);
    void SetState(std::int64_t nStorageSeq, EntryState state);  // ends a reservation
    int ReleaseReservedBefore(std::time_t time);                // returns how many entries wait again
    void ReplaceEntry(const Entry& entry);  // the one of that number; it keeps its number alone
    void RemoveEntry(std::int64_t nStorageSeq);
    int RemoveEntriesOf(std::int64_t nOwner);  // returns how many there were

    // Removes what the user owns and has bought, and the orders whose receiver the user is.
    void RemoveAllOf(std::int64_t nUser);

    // ---- reset ----
    // Removes all orders and entries. What was paid for them is given back, and all coupons count as unused.
    void UndoAll();
    void RestoreWallet(std::int64_t nUser, const Wallet& wallet);  // also removes the user's coupons

private:
    struct Statements;
    Database& m_db;
    std::unique_ptr<Statements> m_sql;
};

}  // namespace Sandbox
