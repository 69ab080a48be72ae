#include "sandbox/store/Ledger.h"

#include <cstdlib>

namespace Sandbox {
namespace {

constexpr int kEntryOwn = 7;  // columns in front of those of the record

// Whether a waiting entry belongs to a BoxSearch: ?1 owner, ?2 game, ?3 server, ?4 character, ?5 type, ?6
// value, ?7 the number that the value begins with.
constexpr char kIsListed[] =
    "owner = ?1 AND game = ?2 AND state = 0 AND (?3 = '' OR strServerID IN ('', ?3))"
    " AND (?4 = '' OR strCharacterID IN ('', ?4)) AND CASE ?5"
    " WHEN 'N' THEN instr(lower(strItemName), lower(?6)) > 0"
    " WHEN 'I' THEN strItemID = ?6"
    " WHEN 'O' THEN nOrderSeq = ?7"
    " WHEN 'U' THEN bRead = 0"
    " ELSE true END";

void ReadEntry(const Statement& row, Entry& entry)
{
    entry.nOwner = row.Int(1);
    entry.strGameID = row.Text(2);
    entry.state = static_cast<EntryState>(row.Int(3));
    entry.nUntil = row.Int(4);
    entry.strUseServerID = row.Text(5);
    entry.strUseCharacterID = row.Text(6);
    row.Record(kEntryOwn, entry.row);
    entry.row.nStorageSeq = static_cast<int>(row.Int(0));
}

void ReadCoupon(const Statement& row, Coupon& coupon)
{
    coupon.nUser = row.Int(0);
    coupon.strProductID = row.Text(1);
    coupon.nOrderSeq = row.Int(2);
    row.Record(3, coupon.row);
}

}  // namespace

struct Ledger::Statements {
    explicit Statements(Database& database) : db(database) {}
    Database& db;

    Statement openWallet{db, "INSERT INTO wallet VALUES (?, ?, ?) ON CONFLICT (user) DO NOTHING"};
    Statement wallet{db, "SELECT ruv_coin, pass_word FROM wallet WHERE user = ?"};
    Statement changeCoin{db, "UPDATE wallet SET ruv_coin = ruv_coin + ? WHERE user = ?"};
    Statement restoreWallet{db,
                            "INSERT INTO wallet VALUES (?, ?, ?) ON CONFLICT (user) DO UPDATE"
                            " SET ruv_coin = excluded.ruv_coin, pass_word = excluded.pass_word"};

    Statement addCoupon{db, InsertSql<XCouponInfo>("coupon", 3) + " ON CONFLICT (strCouponUseID) DO NOTHING"};
    Statement coupon{db, "SELECT * FROM coupon WHERE strCouponUseID = ?"};
    Statement coupons{db, "SELECT * FROM coupon WHERE user = ? ORDER BY rowid"};
    Statement useCoupon{db, "UPDATE coupon SET order_seq = ? WHERE strCouponUseID = ?"};
    Statement removeCoupon{db, "DELETE FROM coupon WHERE strCouponUseID = ?"};
    Statement removeCoupons{db, "DELETE FROM coupon WHERE user = ?"};

    Statement addOrder{db,
                       "INSERT INTO shop_order (game, product, buyer, receiver, count, price, date)"
                       " VALUES (?, ?, ?, ?, ?, ?, ?) RETURNING order_seq"};
    Statement hasOrder{db, "SELECT 1 FROM shop_order WHERE game = ? AND product = ? AND receiver = ?"};
    Statement orders{db, "SELECT * FROM shop_order ORDER BY order_seq DESC LIMIT ?"};
    Statement ordersOf{db, "SELECT * FROM shop_order WHERE buyer = ? ORDER BY order_seq DESC LIMIT ?"};

    Statement addEntry{db, InsertSql<XStorageInfo>("storage (owner, game, state, until, use_server,"
                                                   " use_character, " +
                                                       ListColumns<XStorageInfo>() + ")",
                                                   kEntryOwn - 1) +
                               " RETURNING storage_seq"};
    Statement entry{db, "SELECT * FROM storage WHERE storage_seq = ?"};
    Statement waiting{db, std::string("SELECT * FROM storage WHERE ") + kIsListed + " ORDER BY storage_seq"};
    Statement entries{db, "SELECT * FROM storage WHERE owner = ? ORDER BY storage_seq LIMIT ?"};
    Statement entriesOf{db, "SELECT storage_seq FROM storage WHERE nOrderSeq = ? ORDER BY storage_seq"};
    Statement setRead{db, "UPDATE storage SET bRead = 1 WHERE storage_seq = ?"};
    Statement setState{
        db,
        "UPDATE storage SET state = ?, until = ?, use_server = ?, use_character = ?,"
        " nRemainCount = CASE CAST(?1 AS INTEGER) WHEN 2 THEN 0 ELSE nRemainCount END WHERE storage_seq = ?"};
    Statement replaceEntry{db, InsertSql<XStorageInfo>("storage", kEntryOwn)};
    Statement removeEntry{db, "DELETE FROM storage WHERE storage_seq = ?"};
    Statement removeEntries{db, "DELETE FROM storage WHERE owner = ?"};
    Statement removeOrders{db, "DELETE FROM shop_order WHERE ?1 IN (buyer, receiver)"};
    Statement removeWallet{db, "DELETE FROM wallet WHERE user = ?"};
    Statement release{db,
                      "UPDATE storage SET state = 0, until = 0, use_server = '', use_character = ''"
                      " WHERE storage_seq IN (SELECT storage_seq FROM storage WHERE state = 1 AND until < ?"
                      " SKIP)"};
};

Ledger::Ledger(Database& db) : m_db(db), m_sql(std::make_unique<Statements>(db)) {}
Ledger::~Ledger() = default;

std::string Ledger::Schema()
{
    return "CREATE TABLE wallet (user INTEGER PRIMARY KEY REFERENCES user,"
           " ruv_coin INTEGER NOT NULL CHECK (ruv_coin >= 0), pass_word TEXT NOT NULL);" +
           CreateSql<XCouponInfo>("coupon",
                                  "user INTEGER NOT NULL REFERENCES user, product TEXT NOT NULL,"
                                  " order_seq INTEGER NOT NULL, ",
                                  ", UNIQUE (strCouponUseID)") +
           "CREATE INDEX coupon_user ON coupon (user);"
           "CREATE TABLE shop_order (order_seq INTEGER PRIMARY KEY AUTOINCREMENT, game TEXT NOT NULL,"
           " product TEXT NOT NULL, buyer INTEGER NOT NULL REFERENCES user,"
           " receiver INTEGER NOT NULL REFERENCES user, count INTEGER NOT NULL, price INTEGER NOT NULL,"
           " date TEXT NOT NULL);"
           "CREATE INDEX shop_order_product ON shop_order (game, product, receiver);"
           "CREATE INDEX shop_order_buyer ON shop_order (buyer);" +
           CreateSql<XStorageInfo>(
               "storage",
               "storage_seq INTEGER PRIMARY KEY AUTOINCREMENT, owner INTEGER NOT NULL REFERENCES user,"
               " game TEXT NOT NULL, state INTEGER NOT NULL, until INTEGER NOT NULL,"
               " use_server TEXT NOT NULL, use_character TEXT NOT NULL, ") +
           "CREATE INDEX storage_owner ON storage (owner, game, state);"
           "CREATE INDEX storage_order ON storage (nOrderSeq);"
           "CREATE INDEX storage_reserved ON storage (until) WHERE state = 1;";
}

std::string Ledger::SoldSchema()
{
    return "CREATE TABLE shop_sold (game TEXT NOT NULL, product TEXT NOT NULL, count INTEGER NOT NULL,"
           " PRIMARY KEY (game, product)) WITHOUT ROWID;"
           "CREATE TRIGGER shop_order_added AFTER INSERT ON shop_order BEGIN"
           " INSERT INTO shop_sold VALUES (new.game, new.product, new.count)"
           " ON CONFLICT DO UPDATE SET count = count + new.count; END;"
           "CREATE TRIGGER shop_order_removed AFTER DELETE ON shop_order BEGIN"
           " UPDATE shop_sold SET count = count - old.count WHERE game = old.game AND product = old.product; "
           "END;"
           "INSERT INTO shop_sold SELECT game, product, sum(count) FROM shop_order GROUP BY game, product;";
}

// ---- balances ----

bool Ledger::OpenWallet(std::int64_t nUser, const Wallet& wallet)
{
    return m_sql->openWallet.Run(nUser, wallet.nRuvCoin, wallet.strPassWord) > 0;
}

Wallet Ledger::GetWallet(std::int64_t nUser)
{
    Wallet wallet;
    m_sql->wallet.ForEach(
        [&](const Statement& row) {
            wallet = {static_cast<int>(row.Int(0)), row.Text(1)};
        },
        nUser);
    return wallet;
}

void Ledger::ChangeCoin(std::int64_t nUser, int nDifference) { m_sql->changeCoin.Run(nDifference, nUser); }

void Ledger::SetWallet(std::int64_t nUser, const Wallet& wallet)
{
    m_sql->restoreWallet.Run(nUser, wallet.nRuvCoin, wallet.strPassWord);
}

// ---- coupons ----

bool Ledger::AddCoupon(const Coupon& coupon)
{
    return m_sql->addCoupon.Run(coupon.nUser, coupon.strProductID, coupon.nOrderSeq, coupon.row) > 0;
}

bool Ledger::FindCoupon(const std::string& strUseID, Coupon& coupon)
{
    return m_sql->coupon.ForEach([&](const Statement& row) { ReadCoupon(row, coupon); }, strUseID) > 0;
}

std::list<Coupon> Ledger::GetCoupons(std::int64_t nUser)
{
    std::list<Coupon> listCoupons;
    m_sql->coupons.ForEach([&](const Statement& row) { ReadCoupon(row, listCoupons.emplace_back()); }, nUser);
    return listCoupons;
}

void Ledger::UseCoupon(const std::string& strUseID, std::int64_t nOrderSeq)
{
    m_sql->useCoupon.Run(nOrderSeq, strUseID);
}

void Ledger::RemoveCoupon(const std::string& strUseID) { m_sql->removeCoupon.Run(strUseID); }

// ---- orders ----

std::int64_t Ledger::AddOrder(const Order& order)
{
    std::int64_t nOrderSeq = 0;
    m_sql->addOrder.ForEach([&](const Statement& row) { nOrderSeq = row.Int(0); }, order.strGameID,
                            order.strProductID, order.nBuyer, order.nReceiver, order.nCount, order.nPrice,
                            order.strDate);
    return nOrderSeq;
}

bool Ledger::HasOrderFor(std::int64_t nReceiver, const std::string& strGameID,
                         const std::string& strProductID)
{
    return m_sql->hasOrder.ForEach([](const Statement&) {}, strGameID, strProductID, nReceiver) > 0;
}

std::vector<Order> Ledger::GetOrders(std::optional<std::int64_t> nBuyer, std::int64_t nLimit)
{
    std::vector<Order> vecOrders;
    const auto add = [&](const Statement& row) {
        vecOrders.push_back({row.Int(0), row.Text(1), row.Text(2), row.Int(3), row.Int(4),
                             static_cast<int>(row.Int(5)), static_cast<int>(row.Int(6)), row.Text(7)});
    };
    if (nBuyer)
        m_sql->ordersOf.ForEach(add, *nBuyer, nLimit);
    else
        m_sql->orders.ForEach(add, nLimit);
    return vecOrders;
}

// ---- storage boxes ----

std::int64_t Ledger::AddEntry(const Entry& entry)
{
    std::int64_t nStorageSeq = 0;
    m_sql->addEntry.ForEach([&](const Statement& row) { nStorageSeq = row.Int(0); }, entry.nOwner,
                            entry.strGameID, static_cast<int>(EntryState::Waiting), 0, "", "", entry.row);
    return nStorageSeq;
}

bool Ledger::FindEntry(std::int64_t nStorageSeq, Entry& entry)
{
    return m_sql->entry.ForEach([&](const Statement& row) { ReadEntry(row, entry); }, nStorageSeq) > 0;
}

void Ledger::ForEachWaiting(const BoxSearch& search, const std::function<void(const Entry& entry)>& each)
{
    m_sql->waiting.ForEach(
        [&](const Statement& row) {
            Entry entry;
            ReadEntry(row, entry);
            each(entry);
        },
        search.nOwner, search.strGameID, search.strServerID, search.strCharacterID,
        std::string(1, search.cType), search.strValue, std::atoll(search.strValue.c_str()));
}

void Ledger::ForEachEntry(std::int64_t nOwner, std::int64_t nLimit,
                          const std::function<void(const Entry& entry)>& each)
{
    m_sql->entries.ForEach(
        [&](const Statement& row) {
            Entry entry;
            ReadEntry(row, entry);
            each(entry);
        },
        nOwner, nLimit);
}

std::vector<std::int64_t> Ledger::GetEntriesOf(std::int64_t nOrderSeq)
{
    std::vector<std::int64_t> vecSeqs;
    m_sql->entriesOf.ForEach([&](const Statement& row) { vecSeqs.push_back(row.Int(0)); }, nOrderSeq);
    return vecSeqs;
}

void Ledger::SetRead(std::int64_t nStorageSeq) { m_sql->setRead.Run(nStorageSeq); }

void Ledger::Reserve(std::int64_t nStorageSeq, std::int64_t nUntil, const std::string& strServerID,
                     const std::string& strCharacterID)
{
    m_sql->setState.Run(static_cast<int>(EntryState::Reserved), nUntil, strServerID, strCharacterID,
                        nStorageSeq);
}

void Ledger::SetState(std::int64_t nStorageSeq, EntryState state)
{
    m_sql->setState.Run(static_cast<int>(state), 0, "", "", nStorageSeq);
}

int Ledger::ReleaseReservedBefore(std::time_t time) { return m_sql->release.Run(time); }

void Ledger::ReplaceEntry(const Entry& entry)
{
    RemoveEntry(entry.row.nStorageSeq);
    m_sql->replaceEntry.Run(entry.row.nStorageSeq, entry.nOwner, entry.strGameID,
                            static_cast<int>(entry.state), entry.nUntil, entry.strUseServerID,
                            entry.strUseCharacterID, entry.row);
}

void Ledger::RemoveEntry(std::int64_t nStorageSeq) { m_sql->removeEntry.Run(nStorageSeq); }

int Ledger::RemoveEntriesOf(std::int64_t nOwner) { return m_sql->removeEntries.Run(nOwner); }

void Ledger::RemoveAllOf(std::int64_t nUser)
{
    for (Statement* const pRemove :
         {&m_sql->removeCoupons, &m_sql->removeEntries, &m_sql->removeOrders, &m_sql->removeWallet})
        pRemove->Run(nUser);
}

// ---- reset ----

void Ledger::UndoAll()
{
    m_db.Execute(
        "UPDATE wallet SET ruv_coin = ruv_coin + (SELECT coalesce(sum(price), 0)"
        " FROM shop_order WHERE buyer = wallet.user);"
        "UPDATE wallet SET ruv_coin = 2147483647 WHERE ruv_coin > 2147483647;"
        "UPDATE coupon SET order_seq = 0; DELETE FROM shop_order; DELETE FROM storage;");
}

void Ledger::RestoreWallet(std::int64_t nUser, const Wallet& wallet)
{
    SetWallet(nUser, wallet);
    m_sql->removeCoupons.Run(nUser);
}

}  // namespace Sandbox
