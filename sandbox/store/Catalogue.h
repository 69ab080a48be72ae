// What the shops sell: menu, products, discounts, tags and special groups of one or more games, in tables of
// the store's database. A seed writes the catalogue as a whole; afterwards products come and go one by one.
// Every function throws StoreError.
#pragma once

#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include "sandbox/store/Database.h"
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
    char cCouponUse = 'Y';  // coupons in one purchase: 'Y' any number, 'O' one, 'N' none
    char cDiscount = 'Y';   // 'N': neither the product's own rate nor its discounts count
    bool bSave = false;     // after a purchase the game is asked to save the items into the inventory
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
    std::string strServerID;  // empty: on all servers
};

// Which products a product list shows.
struct ProductSearch {
    std::string strGameID;
    std::string strBranchID;  // this branch and all below it; empty: all branches
    char cType = 'A';         // 'A' all, 'N' name contains strValue, 'I' product id is, 'T' has the tag
    std::string strValue;
    std::string strNow;  // 14 digits; only products on sale at that time
};

class Catalogue {
public:
    explicit Catalogue(Database& db);
    ~Catalogue();

    static std::string Schema();  // SQL that makes the tables in a new database

    // ---- writing ----
    // Nobody reads products until the transaction ends, and no purchase is under way that has read one. To be
    // called before anything is changed; Clear calls it.
    void Hold();
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

    // Removes the product; what has been bought of it stays. Special groups go on naming it if it is to be
    // added again.
    enum class Groups { Forget, Keep };
    void RemoveProduct(const ProductKey& key, Groups groups);
    // The place of a product among those of the same display order; one that is added again can be given it.
    std::int64_t GetPlace(const ProductKey& key);
    void SetPlace(const ProductKey& key, std::int64_t nPlace);

    // ---- reading ----
    // Functions with a list argument append to it, in the order in which games show the rows.
    std::vector<std::string> GetGames();  // in the order of the seed
    bool HasGame(const std::string& strGameID);
    std::vector<std::string> GetProductIDs(const std::string& strGameID);  // on sale or not
    // The branch's depth in the menu, from 1; 0 if there is no such branch.
    int DepthOf(const std::string& strGameID, const std::string& strBranchID);
    bool HasGroup(const std::string& strGameID, const std::string& strExposeCode);
    // Fills product, the number of sold pieces included. False if there is no such product.
    bool FindProduct(const ProductKey& key, Product& product);

    int CountSold(const ProductKey& key);  // pieces in orders

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
