// Shops from the JSON of a seed file into the catalogue, and back for GET /shop.
#include <charconv>
#include <nlohmann/json.hpp>
#include <set>

#include "sandbox/base/DateText.h"
#include "sandbox/seed/Seed.h"
#include "sandbox/seed/SeedArguments.h"
#include "sandbox/seed/SeedRecords.h"

namespace Sandbox {
namespace {

// Loads shops and products that CheckArguments has returned. Throws JsonError at the first mistake.
class ShopLoader {
public:
    ShopLoader(Catalogue& catalogue, std::string strGameID)
        : m_catalogue(catalogue), m_strGameID(std::move(strGameID))
    {
    }
    void Load(JsonObject& shop)
    {
        if (m_catalogue.HasGame(m_strGameID))
            shop.Fail("gameId", "there are two shops of '" + m_strGameID + "'");
        m_catalogue.AddGame(m_strGameID);
        Each(shop, "menu", &ShopLoader::LoadBranch);
        Each(shop, "products", &ShopLoader::LoadProduct);
        LoadTexts(shop, "tags", [&](const std::string& strTag) { m_catalogue.AddTag(m_strGameID, strTag); });
        Each(shop, "specialGroups", &ShopLoader::LoadGroup);
    }
    void LoadProduct(JsonObject& object)
    {
        const Json& given = object.Get();
        Product product;
        XProductListContents& row = product.row;
        ReadRecord(row, given);
        if (m_catalogue.DepthOf(m_strGameID, row.strBranchID) == 0)
            object.Fail("branchId", "there is no branch '" + row.strBranchID + "'");
        product.strDetailDesc = given["detailDesc"];
        product.strMovieURL = given["movieUrl"];
        product.strDirection = given["direction"];
        product.cCouponUse = given["couponUseType"].get_ref<const std::string&>()[0];
        product.cDiscount = given["discountType"].get_ref<const std::string&>()[0];
        product.bSave = given["saveOnPurchase"];
        Product other;
        m_key = {m_strGameID, row.strProductID};
        if (m_catalogue.FindProduct(m_key, other))
            object.Fail("productId", "there are two products '" + row.strProductID + "'");
        m_catalogue.AddProduct(m_strGameID, product);

        m_strItemName = row.strProductName;
        Each(object, "children", &ShopLoader::LoadChild);
        if (m_catalogue.GetChildren(m_key).empty())
            object.Fail("children", "one at least is expected");
        Each(object, "conditions", &ShopLoader::LoadCondition);
        Each(object, "options", &ShopLoader::LoadOption);
        Each(object, "discounts", &ShopLoader::LoadDiscount);
        LoadTexts(object, "tags",
                  [&](const std::string& strTag) { m_catalogue.AddProductTag(m_key, strTag); });
    }

private:
    // Calls load for every object of a list.
    void Each(JsonObject& object, const char* pszKey, void (ShopLoader::*load)(JsonObject& element))
    {
        object.List(pszKey, [&](const Json& json, const std::string& strPlace) {
            JsonObject element(json, strPlace);
            (this->*load)(element);
        });
    }
    // Calls add for every text of a list. A text that is there twice is an error.
    template <class Add>
    void LoadTexts(JsonObject& object, const char* pszKey, const Add& add)
    {
        std::set<std::string> setTexts;
        object.List(pszKey, [&](const Json& json, const std::string& strPlace) {
            const std::string strText = json;
            if (!setTexts.insert(strText).second)
                throw JsonError(strPlace + ": '" + strText + "' is there twice");
            add(strText);
        });
    }

    // A branch must stand behind its superior branch in the file. So branches cannot form a circle.
    void LoadBranch(JsonObject& object)
    {
        XMenuContents row;
        ReadRecord(row, object.Get());
        if (m_catalogue.DepthOf(m_strGameID, row.strBranchID) != 0)
            object.Fail("branchId", "there are two branches '" + row.strBranchID + "'");
        const int nAbove = m_catalogue.DepthOf(m_strGameID, row.strSuperBranchID);
        if (!row.strSuperBranchID.empty() && nAbove == 0)
            object.Fail("superBranchId", "there is no branch '" + row.strSuperBranchID + "' before this one");
        row.nBranchDepth = nAbove + 1;
        m_catalogue.AddBranch(m_strGameID, row);
    }

    void LoadChild(JsonObject& object)
    {
        const Json& given = object.Get();
        Child child;
        ReadRecord(child.row, given);
        child.strItemName = given.value("itemName", m_strItemName);
        child.strListImageURL = given["listImageUrl"];
        child.nCount = given["count"];
        child.bBonus = given["bonus"];
        m_catalogue.AddChild(m_key, child);
    }

    void LoadCondition(JsonObject& object)
    {
        XProductCondition row;
        ReadRecord(row, object.Get());
        if (row.cConditionType == 'L' || row.cConditionType == 'H') {
            int nLevel = 0;
            const char* const pEnd = row.strConditionValue.data() + row.strConditionValue.size();
            const auto [pStop, error] = std::from_chars(row.strConditionValue.data(), pEnd, nLevel);
            if (error != std::errc() || pStop != pEnd)
                object.Fail("conditionValue", "a level, as digits, is expected");
        }
        m_catalogue.AddCondition(m_key, row);
    }

    void LoadOption(JsonObject& object)
    {
        XProductOption row;
        ReadRecord(row, object.Get());
        m_catalogue.AddOption(m_key, row);
    }

    void LoadDiscount(JsonObject& object)
    {
        const Json& given = object.Get();
        Discount discount;
        ReadRecord(discount.row, given);
        if (discount.row.nDiscountRate == 0 && discount.row.nDiscountAmt == 0)
            object.Fail("", "'discountRate' or 'discountAmt' above 0 is expected");
        discount.nMinLevel = given["minLevel"];
        discount.nMaxLevel = given["maxLevel"];
        discount.strServerID = given["serverId"];
        m_catalogue.AddDiscount(m_key, discount);
    }

    void LoadGroup(JsonObject& object)
    {
        XSpecialProductListContent row;
        ReadRecord(row, object.Get());
        if (m_catalogue.HasGroup(m_strGameID, row.strExposeCode))
            object.Fail("exposeCode", "there are two groups '" + row.strExposeCode + "'");
        m_catalogue.AddGroup(m_strGameID, row);
        m_strExposeCode = row.strExposeCode;
        m_setGrouped.clear();
        Each(object, "products", &ShopLoader::LoadGroupProduct);
    }

    void LoadGroupProduct(JsonObject& object)
    {
        XSpecialProduct row;
        ReadRecord(row, object.Get());
        row.strExposeCode = m_strExposeCode;
        Product product;
        if (!m_catalogue.FindProduct({m_strGameID, row.strProductID}, product))
            object.Fail("productId", "there is no product '" + row.strProductID + "'");
        if (!m_setGrouped.insert(row.strProductID).second)
            object.Fail("productId", "'" + row.strProductID + "' is there twice");
        m_catalogue.AddGroupProduct(m_strGameID, row);
    }

    Catalogue& m_catalogue;
    const std::string m_strGameID;
    // The product and the group that are being loaded.
    ProductKey m_key;
    std::string m_strItemName;
    std::string m_strExposeCode;
    std::set<std::string> m_setGrouped;
};

template <class List>
Json ListToJson(const List& list, const Names& workedOut = {})
{
    Json json = Json::array();
    for (const auto* const pRow : list)
        json.push_back(RecordToJson(*pRow, workedOut));
    return json;
}

}  // namespace

void LoadShops(Catalogue& catalogue, const Json& shops, const std::string& strPlace)
{
    catalogue.Clear();
    for (std::size_t i = 0; i < shops.size(); ++i) {
        JsonObject shop(shops[i], strPlace + '[' + std::to_string(i) + ']');
        ShopLoader(catalogue, shops[i]["gameId"]).Load(shop);
    }
}

void LoadProduct(Catalogue& catalogue, const std::string& strGameID, const Json& given)
{
    JsonObject object(given, "");
    ShopLoader(catalogue, strGameID).LoadProduct(object);
}

Json ProductToJson(Catalogue& catalogue, const ProductKey& key)
{
    Product product;
    catalogue.FindProduct(key, product);
    Json json = RecordToJson(product.row);
    json.update({{"detailDesc", product.strDetailDesc},
                 {"movieUrl", product.strMovieURL},
                 {"direction", product.strDirection},
                 {"couponUseType", std::string(1, product.cCouponUse)},
                 {"discountType", std::string(1, product.cDiscount)},
                 {"saveOnPurchase", product.bSave}});
    Json children = Json::array(), discounts = Json::array();
    for (const Child& child : catalogue.GetChildren(key)) {
        children.push_back(RecordToJson(child.row));
        children.back().update({{"itemName", child.strItemName},
                                {"listImageUrl", child.strListImageURL},
                                {"count", child.nCount},
                                {"bonus", child.bBonus}});
    }
    for (const Discount& discount : catalogue.GetDiscounts(key)) {
        discounts.push_back(RecordToJson(discount.row, kDiscountWorkedOut));
        discounts.back().update({{"minLevel", discount.nMinLevel},
                                 {"maxLevel", discount.nMaxLevel},
                                 {"serverId", discount.strServerID}});
    }
    Wirova::RecordVector<XProductCondition> vecCondition;
    Wirova::RecordVector<XProductOption> vecOption;
    catalogue.GetConditions(key, vecCondition);
    catalogue.GetOptions(key, vecOption);
    json.update({{"children", children},
                 {"conditions", ListToJson(vecCondition)},
                 {"options", ListToJson(vecOption)},
                 {"discounts", discounts},
                 {"tags", catalogue.GetProductTags(key)}});
    return json;
}

Json ShopToJson(Catalogue& catalogue, const std::string& strGameID)
{
    Wirova::RecordVector<XMenuContents> vecMenu;
    catalogue.GetMenu(strGameID, "", vecMenu);
    Json products = Json::array();
    for (const std::string& strProductID : catalogue.GetProductIDs(strGameID))
        products.push_back(ProductToJson(catalogue, {strGameID, strProductID}));
    Wirova::RecordVector<XSpecialProductListContent> vecGroup;
    catalogue.GetGroups(strGameID, vecGroup);
    Json groups = Json::array();
    for (const XSpecialProductListContent* const pGroup : vecGroup) {
        Wirova::RecordVector<XSpecialProduct> vecProduct;
        catalogue.GetGroupProducts(strGameID, pGroup->strExposeCode, vecProduct);
        groups.push_back(RecordToJson(*pGroup));
        groups.back()["products"] = ListToJson(vecProduct, kGroupProductWorkedOut);
    }
    return {{"gameId", strGameID},
            {"menu", ListToJson(vecMenu, kMenuWorkedOut)},
            {"products", products},
            {"tags", catalogue.GetTags(strGameID)},
            {"specialGroups", groups}};
}

}  // namespace Sandbox
