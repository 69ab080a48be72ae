// What a shop sells: menu, products, discounts, tags and groups of one or more games, in the tables of the
// store's database. Written as a whole from a seed, then only read. Everything throws StoreError.
#pragma once

#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include "sandbox/store/Sqlite.h"
#include "wirova/messages/ShopMessages.h"

namespace Sandbox {

// Product ids are unique within a game.
struct ProductKey {
    std::string strGameID;
    std::string strProductID;
};

struct Product {
    XProductListContents row;
    std::string strDetailDesc;
    std::string strMovieURL;
    std::string strDirection;
    char cCouponUse = 'Y';  // 'Y' any number, 'O' one, 'N' none
    char cDiscount = 'Y';   // 'N': neither its own rate nor the discounts count
    bool bSave = false;     // the game is asked to save what has been bought
};

// One item of a product; a purchase of n makes one storage entry of n times nCount.
struct Child {
    XChildProduct row;
    std::string strItemName;
    std::string strListImageURL;
    int nCount = 1;
    bool bBonus = false;
};

struct Discount {
    XDiscountInfo row;
    int nMinLevel = 0;
    int nMaxLevel = INT32_MAX;
    std::string strServerID;  // empty: on all
};

// Which products a list has.
struct ProductSearch {
    std::string strGameID;
    std::string strBranchID;  // and the branches below; empty: all
    char cType = 'A';         // 'A' all, 'N' name contains, 'I' product id is, 'T' has the tag
    std::string strValue;
    std::string strNow;  // only what is on sale then
};

class Catalogue {
public:
    explicit Catalogue(Database& db);
    ~Catalogue();

    static std::string Schema();  // of a new database

    // ---- writing ----
    void Clear();
    void AddGame(const std::string& strGameID);
    void AddBranch(const std::string& strGameID, const XMenuContents& row);
    void AddProduct(const std::string& strGameID, const Product& product);
    void AddChild(const ProductKey& key, const Child& child);
    void AddCondition(const ProductKey& key, const XProductCondition& row);
    void AddOption(const ProductKey& key, const XProductOption& row);
    void AddDiscount(const ProductKey& key, const Discount& discount);
    void AddProductTag(const ProductKey& key, const std::string& strTag);
    void AddTag(const std::string& strGameID, const std::string& strTag);
    void AddGroup(const std::string& strGameID, const XSpecialProductListContent& row);
    void AddGroupProduct(const std::string& strGameID, const XSpecialProduct& row);

    // ---- reading; lists are appended to, in the order in which they are shown ----
    std::vector<std::string> GetGames();  // in the order of the seed
    bool HasGame(const std::string& strGameID);
    std::vector<std::string> GetProductIDs(const std::string& strGameID);  // on sale or not
    // 0: there is no such branch; the first depth is 1.
    int DepthOf(const std::string& strGameID, const std::string& strBranchID);
    bool HasGroup(const std::string& strGameID, const std::string& strExposeCode);
    bool FindProduct(const ProductKey& key, Product& product);  // with what has been sold of it

    void GetMenu(const std::string& strGameID, const std::string& strNow,
                 Wirova::RecordVector<XMenuContents>& vecMenu);
    int CountProducts(const ProductSearch& search);
    void GetProducts(const ProductSearch& search, std::int64_t nLimit, std::int64_t nOffset,
                     Wirova::RecordVector<XProductListContents>& vecProduct);
    std::list<Child> GetChildren(const ProductKey& key);
    void GetConditions(const ProductKey& key, Wirova::RecordVector<XProductCondition>& vecCondition);
    void GetOptions(const ProductKey& key, Wirova::RecordVector<XProductOption>& vecOption);
    std::list<Discount> GetDiscounts(const ProductKey& key);
    std::vector<std::string> GetProductTags(const ProductKey& key);
    std::vector<std::string> GetTags(const std::string& strGameID);
    void GetGroups(const std::string& strGameID, Wirova::RecordVector<XSpecialProductListContent>& vecGroup);
    void GetGroupProducts(const std::string& strGameID, const std::string& strExposeCode,
                          Wirova::RecordVector<XSpecialProduct>& vecProduct);

private:
    struct Statements;
    std::unique_ptr<Statements> m_sql;
};

}  // namespace Sandbox
