// What users own: balances, coupons, orders and storage boxes, in the tables of the store's database. It
// keeps them and knows no rule of the shop. Everything throws StoreError; changes belong into a Transaction.
#pragma once

#include <cstdint>
#include <ctime>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "sandbox/store/Sqlite.h"
#include "wirova/messages/ShopMessages.h"
#include "wirova/messages/StorageMessages.h"

namespace Sandbox {

// A user without one has nothing and no pass word.
struct Wallet {
    int nRuvCoin = 0;
    std::string strPassWord;  // empty: not asked for
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
    int nPrice = 0;       // as it was taken off the buyer's balance
    std::string strDate;  // 14 digits
};

enum class EntryState : int { Waiting = 0, Reserved = 1, Used = 2, Deleted = 3 };

struct Entry {
    XStorageInfo row;  // nStorageSeq is the ledger's
    std::int64_t nOwner = 0;
    std::string strGameID;
    EntryState state = EntryState::Waiting;
    // Of a reservation: when it ends by itself, calendar time, and for whom it is.
    std::int64_t nUntil = 0;
    std::string strUseServerID;
    std::string strUseCharacterID;
};

// What of a box is listed; empty texts are no condition.
struct BoxSearch {
    std::int64_t nOwner = 0;
    std::string strGameID;
    std::string strServerID;  // entries of no server or character are listed too
    std::string strCharacterID;
    char cType = 'A';  // 'A' all, 'N' name contains, 'I' item id is, 'O' order seq is, 'U' not read yet
    std::string strValue;
};

class Ledger {
public:
    explicit Ledger(Database& db);
    ~Ledger();

    static std::string Schema();  // of a new database

    // ---- balances ----
    bool OpenWallet(std::int64_t nUser, const Wallet& wallet);  // false, and no change, if he has one
    Wallet GetWallet(std::int64_t nUser);
    void ChangeCoin(std::int64_t nUser, int nDifference);

    // ---- coupons ----
    bool AddCoupon(const Coupon& coupon);  // false, and no change, if the use id is taken
    bool FindCoupon(const std::string& strUseID, Coupon& coupon);
    std::list<Coupon> GetCoupons(std::int64_t nUser);
    void UseCoupon(const std::string& strUseID, std::int64_t nOrderSeq);

    // ---- orders ----
    std::int64_t AddOrder(const Order& order);  // its number
    bool HasOrderFor(std::int64_t nReceiver, const std::string& strGameID, const std::string& strProductID);
    std::vector<Order> GetOrders(std::optional<std::int64_t> nBuyer, std::int64_t nLimit);  // the last first

    // ---- storage boxes ----
    std::int64_t AddEntry(const Entry& entry);  // waiting; returns its number
    bool FindEntry(std::int64_t nStorageSeq, Entry& entry);
    // Calls each(entry) for those that wait, by number.
    void ForEachWaiting(const BoxSearch& search, const std::function<void(const Entry& entry)>& each);
    int CountWaiting(const BoxSearch& search);
    // All of them, in whatever state.
    void ForEachEntry(std::int64_t nOwner, std::int64_t nLimit,
                      const std::function<void(const Entry& entry)>& each);
    std::vector<std::int64_t> GetEntriesOf(std::int64_t nOrderSeq);  // numbers
    void SetRead(std::int64_t nStorageSeq);
    void Reserve(std::int64_t nStorageSeq, std::int64_t nUntil, const std::string& strServerID,
                 const std::string& strCharacterID);
    void SetState(std::int64_t nStorageSeq, EntryState state);  // no reservation
    int ReleaseReservedBefore(std::time_t time);                // returns how many

    // ---- reset ----
    // No orders, no entries; what was paid is back, coupons are unused.
    void UndoAll();
    void RestoreWallet(std::int64_t nUser, const Wallet& wallet);  // and without coupons

private:
    struct Statements;
    Database& m_db;
    std::unique_ptr<Statements> m_sql;
};

}  // namespace Sandbox
