#include "sandbox/store/Catalogue.h"

#include <algorithm>

namespace Sandbox {
namespace {

constexpr char kOfProduct[] = "game TEXT NOT NULL, product TEXT NOT NULL, ";

// All tables of the catalogue.
constexpr const char* kTables[] = {
    "shop_group_product", "shop_group", "shop_tag",     "shop_product_tag", "shop_discount", "shop_option",
    "shop_condition",     "shop_child", "shop_product", "shop_branch_in",   "shop_menu",     "shop_game"};

// Columns: the pieces sold by orders, the game, those of Product, and those of the record. A studio counts
// the pieces in several parts.
std::string SelectProduct(const Database& db)
{
    return std::string("SELECT coalesce((SELECT ") + (db.IsShared() ? "sum(count)" : "count") +
           " FROM shop_sold s WHERE s.game = p.game AND s.product = p.strProductID), 0), p.*"
           " FROM shop_product p WHERE ";
}
constexpr int kProductOwn = 7;  // columns in front of those of the record

// Whether a product belongs to a ProductSearch: ?1 game, ?2 branch, ?3 type, ?4 value, ?5 now.
constexpr char kIsFound[] =
    "game = ?1 AND (?2 = '' OR strBranchID IN (SELECT below FROM shop_branch_in WHERE game = ?1 AND"
    " branch = ?2)) AND strStartDate <= ?5 AND strEndDate >= ?5 AND CASE ?3"
    " WHEN 'N' THEN instr(lower(strProductName), lower(?4)) > 0"
    " WHEN 'I' THEN strProductID = ?4"
    " WHEN 'T' THEN EXISTS (SELECT 1 FROM shop_product_tag t WHERE t.game = ?1 AND"
    " t.product = strProductID AND t.tag = ?4)"
    " ELSE true END";

void ReadProduct(const Statement& row, XProductListContents& product)
{
    row.Record(1 + kProductOwn, product);
    product.nTotalSellingCount =
        static_cast<int>(std::min<std::int64_t>(product.nTotalSellingCount + row.Int(0), INT32_MAX));
}

}  // namespace

struct Catalogue::Statements {
    explicit Statements(Database& database) : db(database) {}
    Database& db;

    Statement addGame{db, "INSERT INTO shop_game (game) VALUES (?)"};
    Statement addBranch{db, InsertSql<XMenuContents>("shop_menu", 1)};
    Statement addBelow{db,
                       "INSERT INTO shop_branch_in SELECT game, branch, ?3 FROM shop_branch_in"
                       " WHERE game = ?1 AND below = ?2 UNION SELECT ?1, ?3, ?3"};
    Statement addProduct{db, InsertSql<XProductListContents>("shop_product", kProductOwn)};
    Statement addChild{db, InsertSql<XChildProduct>("shop_child", 6)};
    Statement addCondition{db, InsertSql<XProductCondition>("shop_condition", 2)};
    Statement addOption{db, InsertSql<XProductOption>("shop_option", 2)};
    Statement addDiscount{db, InsertSql<XDiscountInfo>("shop_discount", 5)};
    Statement addProductTag{db, "INSERT INTO shop_product_tag VALUES (?, ?, ?)"};
    Statement addTag{db, "INSERT INTO shop_tag VALUES (?, ?)"};
    Statement addGroup{db, InsertSql<XSpecialProductListContent>("shop_group", 1)};
    Statement addGroupProduct{db, InsertSql<XSpecialProduct>("shop_group_product", 1)};

    Statement place{db, "SELECT rowid FROM shop_product WHERE game = ? AND strProductID = ?"};
    Statement setPlace{db, "UPDATE shop_product SET rowid = ? WHERE game = ? AND strProductID = ?"};
    Statement sold{db, "SELECT coalesce(sum(count), 0) FROM shop_sold WHERE game = ? AND product = ?"};

    Statement games{db, "SELECT game FROM shop_game ORDER BY id"};
    Statement hasGame{db, "SELECT 1 FROM shop_game WHERE game = ?"};
    Statement depth{db, "SELECT nBranchDepth FROM shop_menu WHERE game = ? AND strBranchID = ?"};
    Statement hasGroup{db, "SELECT 1 FROM shop_group WHERE game = ? AND strExposeCode = ?"};
    Statement product{db, SelectProduct(db) + "game = ? AND strProductID = ?"};
    Statement productIDs{db, "SELECT strProductID FROM shop_product WHERE game = ? ORDER BY rowid"};
    Statement menu{db,
                   "SELECT (SELECT count(*) FROM shop_product p WHERE p.game = m.game AND p.strBranchID IN"
                   " (SELECT below FROM shop_branch_in b WHERE b.game = m.game AND b.branch = m.strBranchID)"
                   " AND strStartDate <= ?2 AND strEndDate >= ?2), m.* FROM shop_menu m WHERE game = ?1"
                   " ORDER BY nBranchDepth, nSortOrder, rowid"};
    Statement count{db, std::string("SELECT count(*) FROM shop_product WHERE ") + kIsFound};
    Statement products{db,
                       SelectProduct(db) + kIsFound + " ORDER BY nDisplayOrder, rowid LIMIT ?6 OFFSET ?7"};
    Statement children{db, "SELECT * FROM shop_child WHERE game = ? AND product = ? ORDER BY rowid"};
    Statement conditions{db, "SELECT * FROM shop_condition WHERE game = ? AND product = ? ORDER BY rowid"};
    Statement options{db, "SELECT * FROM shop_option WHERE game = ? AND product = ? ORDER BY rowid"};
    Statement discounts{db, "SELECT * FROM shop_discount WHERE game = ? AND product = ? ORDER BY rowid"};
    Statement productTags{db,
                          "SELECT tag FROM shop_product_tag WHERE game = ? AND product = ? ORDER BY rowid"};
    Statement tags{db, "SELECT tag FROM shop_tag WHERE game = ? ORDER BY rowid"};
    Statement groups{db, "SELECT * FROM shop_group WHERE game = ? ORDER BY rowid"};
    Statement groupProducts{db,
                            "SELECT * FROM shop_group_product WHERE game = ? AND strExposeCode = ?"
                            " ORDER BY nSortOrder, rowid"};
};

Catalogue::Catalogue(Database& db) : m_sql(std::make_unique<Statements>(db)) {}
Catalogue::~Catalogue() = default;

std::string Catalogue::Schema()
{
    const std::string strOfGame = "game TEXT NOT NULL, ";
    const std::string strOfProduct = kOfProduct;
    const auto index = [](const std::string& strTable) {
        return "CREATE INDEX " + strTable + "_of ON " + strTable + " (game, product);";
    };
    return "CREATE TABLE shop_game (id INTEGER PRIMARY KEY, game TEXT NOT NULL UNIQUE);" +
           CreateSql<XMenuContents>("shop_menu", strOfGame, ", PRIMARY KEY (game, strBranchID)") +
           "CREATE TABLE shop_branch_in (game TEXT NOT NULL, branch TEXT NOT NULL, below TEXT NOT NULL,"
           " PRIMARY KEY (game, branch, below));" +
           CreateSql<XProductListContents>(
               "shop_product",
               strOfGame +
                   "detail TEXT NOT NULL, movie TEXT NOT NULL, direction TEXT NOT NULL,"
                   " coupon_use INTEGER NOT NULL, discount INTEGER NOT NULL, save INTEGER NOT NULL, ",
               ", PRIMARY KEY (game, strProductID)") +
           CreateSql<XChildProduct>("shop_child", strOfProduct +
                                                      "name TEXT NOT NULL, image TEXT NOT NULL,"
                                                      " count INTEGER NOT NULL, bonus INTEGER NOT NULL, ") +
           index("shop_child") + CreateSql<XProductCondition>("shop_condition", strOfProduct) +
           index("shop_condition") + CreateSql<XProductOption>("shop_option", strOfProduct) +
           index("shop_option") +
           CreateSql<XDiscountInfo>("shop_discount",
                                    strOfProduct +
                                        "min_level INTEGER NOT NULL, max_level INTEGER NOT NULL,"
                                        " server TEXT NOT NULL, ") +
           index("shop_discount") + "CREATE TABLE shop_product_tag (" + strOfProduct +
           "tag TEXT NOT NULL, UNIQUE (game, product, tag));" +
           "CREATE TABLE shop_tag (game TEXT NOT NULL, tag TEXT NOT NULL, UNIQUE (game, tag));" +
           CreateSql<XSpecialProductListContent>("shop_group", strOfGame,
                                                 ", PRIMARY KEY (game, strExposeCode)") +
           CreateSql<XSpecialProduct>("shop_group_product", strOfGame,
                                      ", UNIQUE (game, strExposeCode, strProductID)");
}

// ---- writing ----

// Whoever has read a product in a transaction holds back this lock until that transaction ends.
void Catalogue::Hold()
{
    if (m_sql->db.IsShared())
        m_sql->db.Execute("LOCK TABLE shop_product IN ACCESS EXCLUSIVE MODE");
}

void Catalogue::Clear()
{
    Hold();
    for (const char* const pszTable : kTables)
        Statement(m_sql->db, std::string("DELETE FROM ") + pszTable).Run();
}

void Catalogue::AddGame(const std::string& strGameID) { m_sql->addGame.Run(strGameID); }

void Catalogue::AddBranch(const std::string& strGameID, const XMenuContents& row)
{
    m_sql->addBranch.Run(strGameID, row);
    m_sql->addBelow.Run(strGameID, row.strSuperBranchID, row.strBranchID);
}

void Catalogue::AddProduct(const std::string& strGameID, const Product& product)
{
    m_sql->addProduct.Run(strGameID, product.strDetailDesc, product.strMovieURL, product.strDirection,
                          product.cCouponUse, product.cDiscount, product.bSave, product.row);
}

void Catalogue::AddChild(const ProductKey& key, const Child& child)
{
    m_sql->addChild.Run(key.strGameID, key.strProductID, child.strItemName, child.strListImageURL,
                        child.nCount, child.bBonus, child.row);
}

void Catalogue::AddCondition(const ProductKey& key, const XProductCondition& row)
{
    m_sql->addCondition.Run(key.strGameID, key.strProductID, row);
}

void Catalogue::AddOption(const ProductKey& key, const XProductOption& row)
{
    m_sql->addOption.Run(key.strGameID, key.strProductID, row);
}

void Catalogue::AddDiscount(const ProductKey& key, const Discount& discount)
{
    m_sql->addDiscount.Run(key.strGameID, key.strProductID, discount.nMinLevel, discount.nMaxLevel,
                           discount.strServerID, discount.row);
}

void Catalogue::AddProductTag(const ProductKey& key, const std::string& strTag)
{
    m_sql->addProductTag.Run(key.strGameID, key.strProductID, strTag);
}

void Catalogue::AddTag(const std::string& strGameID, const std::string& strTag)
{
    m_sql->addTag.Run(strGameID, strTag);
}

void Catalogue::AddGroup(const std::string& strGameID, const XSpecialProductListContent& row)
{
    m_sql->addGroup.Run(strGameID, row);
}

void Catalogue::AddGroupProduct(const std::string& strGameID, const XSpecialProduct& row)
{
    m_sql->addGroupProduct.Run(strGameID, row);
}

void Catalogue::RemoveProduct(const ProductKey& key, Groups groups)
{
    const auto remove = [&](const std::string& strTable, const std::string& strColumn) {
        Statement(m_sql->db, "DELETE FROM " + strTable + " WHERE game = ? AND " + strColumn + " = ?")
            .Run(key.strGameID, key.strProductID);
    };
    for (const char* const pszTable :
         {"shop_child", "shop_condition", "shop_option", "shop_discount", "shop_product_tag"})
        remove(pszTable, "product");
    remove("shop_product", "strProductID");
    if (groups == Groups::Forget)
        remove("shop_group_product", "strProductID");
}

std::int64_t Catalogue::GetPlace(const ProductKey& key)
{
    std::int64_t nPlace = 0;
    m_sql->place.ForEach([&](const Statement& row) { nPlace = row.Int(0); }, key.strGameID, key.strProductID);
    return nPlace;
}

void Catalogue::SetPlace(const ProductKey& key, std::int64_t nPlace)
{
    m_sql->setPlace.Run(nPlace, key.strGameID, key.strProductID);
}

// ---- reading ----

namespace {

template <class... Args>
bool Exists(Statement& select, const Args&... args)
{
    return select.ForEach([](const Statement&) {}, args...) > 0;
}

template <class... Args>
std::vector<std::string> Texts(Statement& select, const Args&... args)
{
    std::vector<std::string> vecTexts;
    select.ForEach([&](const Statement& row) { vecTexts.push_back(row.Text(0)); }, args...);
    return vecTexts;
}

// Appends each row's record. nOwn columns stand in front of those of the record.
template <class Rec, class... Args>
void Records(Statement& select, int nOwn, Wirova::RecordVector<Rec>& vecRecords, const Args&... args)
{
    select.ForEach([&](const Statement& row) { row.Record(nOwn, vecRecords.Add()); }, args...);
}

}  // namespace

std::vector<std::string> Catalogue::GetGames() { return Texts(m_sql->games); }

std::vector<std::string> Catalogue::GetProductIDs(const std::string& strGameID)
{
    return Texts(m_sql->productIDs, strGameID);
}

bool Catalogue::HasGame(const std::string& strGameID) { return Exists(m_sql->hasGame, strGameID); }

int Catalogue::DepthOf(const std::string& strGameID, const std::string& strBranchID)
{
    int nDepth = 0;
    m_sql->depth.ForEach([&](const Statement& row) { nDepth = static_cast<int>(row.Int(0)); }, strGameID,
                         strBranchID);
    return nDepth;
}

bool Catalogue::HasGroup(const std::string& strGameID, const std::string& strExposeCode)
{
    return Exists(m_sql->hasGroup, strGameID, strExposeCode);
}

bool Catalogue::FindProduct(const ProductKey& key, Product& product)
{
    return m_sql->product.ForEach(
               [&](const Statement& row) {
                   product.strDetailDesc = row.Text(2);
                   product.strMovieURL = row.Text(3);
                   product.strDirection = row.Text(4);
                   product.cCouponUse = static_cast<char>(row.Int(5));
                   product.cDiscount = static_cast<char>(row.Int(6));
                   product.bSave = row.Int(7) != 0;
                   ReadProduct(row, product.row);
               },
               key.strGameID, key.strProductID) > 0;
}

int Catalogue::CountSold(const ProductKey& key)
{
    int nSold = 0;
    m_sql->sold.ForEach([&](const Statement& row) { nSold = static_cast<int>(row.Int(0)); }, key.strGameID,
                        key.strProductID);
    return nSold;
}

void Catalogue::GetMenu(const std::string& strGameID, const std::string& strNow,
                        Wirova::RecordVector<XMenuContents>& vecMenu)
{
    m_sql->menu.ForEach(
        [&](const Statement& row) {
            XMenuContents& menu = vecMenu.Add();
            row.Record(2, menu);
            menu.nProductCount = static_cast<int>(row.Int(0));
        },
        strGameID, strNow);
}

int Catalogue::CountProducts(const ProductSearch& search)
{
    int nCount = 0;
    m_sql->count.ForEach([&](const Statement& row) { nCount = static_cast<int>(row.Int(0)); },
                         search.strGameID, search.strBranchID, std::string(1, search.cType), search.strValue,
                         search.strNow);
    return nCount;
}

void Catalogue::GetProducts(const ProductSearch& search, std::int64_t nLimit, std::int64_t nOffset,
                            Wirova::RecordVector<XProductListContents>& vecProduct)
{
    m_sql->products.ForEach([&](const Statement& row) { ReadProduct(row, vecProduct.Add()); },
                            search.strGameID, search.strBranchID, std::string(1, search.cType),
                            search.strValue, search.strNow, nLimit, nOffset);
}

std::list<Child> Catalogue::GetChildren(const ProductKey& key)
{
    std::list<Child> listChildren;
    m_sql->children.ForEach(
        [&](const Statement& row) {
            Child& child = listChildren.emplace_back();
            child.strItemName = row.Text(2);
            child.strListImageURL = row.Text(3);
            child.nCount = static_cast<int>(row.Int(4));
            child.bBonus = row.Int(5) != 0;
            row.Record(6, child.row);
        },
        key.strGameID, key.strProductID);
    return listChildren;
}

void Catalogue::GetConditions(const ProductKey& key, Wirova::RecordVector<XProductCondition>& vecCondition)
{
    Records(m_sql->conditions, 2, vecCondition, key.strGameID, key.strProductID);
}

void Catalogue::GetOptions(const ProductKey& key, Wirova::RecordVector<XProductOption>& vecOption)
{
    Records(m_sql->options, 2, vecOption, key.strGameID, key.strProductID);
}

std::list<Discount> Catalogue::GetDiscounts(const ProductKey& key)
{
    std::list<Discount> listDiscounts;
    m_sql->discounts.ForEach(
        [&](const Statement& row) {
            Discount& discount = listDiscounts.emplace_back();
            discount.nMinLevel = static_cast<int>(row.Int(2));
            discount.nMaxLevel = static_cast<int>(row.Int(3));
            discount.strServerID = row.Text(4);
            row.Record(5, discount.row);
        },
        key.strGameID, key.strProductID);
    return listDiscounts;
}

std::vector<std::string> Catalogue::GetProductTags(const ProductKey& key)
{
    return Texts(m_sql->productTags, key.strGameID, key.strProductID);
}

std::vector<std::string> Catalogue::GetTags(const std::string& strGameID)
{
    return Texts(m_sql->tags, strGameID);
}

void Catalogue::GetGroups(const std::string& strGameID,
                          Wirova::RecordVector<XSpecialProductListContent>& vecGroup)
{
    Records(m_sql->groups, 1, vecGroup, strGameID);
}

void Catalogue::GetGroupProducts(const std::string& strGameID, const std::string& strExposeCode,
                                 Wirova::RecordVector<XSpecialProduct>& vecProduct)
{
    Records(m_sql->groupProducts, 1, vecProduct, strGameID, strExposeCode);
}

}  // namespace Sandbox
