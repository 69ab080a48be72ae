// Shops from the JSON of a seed file into the catalogue, and back for GET /shop.
#include <charconv>
#include <nlohmann/json.hpp>
#include <set>

#include "sandbox/base/DateText.h"
#include "sandbox/seed/Seed.h"
#include "sandbox/seed/SeedRecords.h"

namespace Sandbox {
namespace {

constexpr char kMoneyCode[] = "RUV";  // Ruv coin, which is all that the shops take
constexpr std::size_t kMaxID = 20;    // bytes
constexpr std::size_t kMaxTag = 100;  // bytes

// Keys that a seed may not have, because the sandbox works their values out.
using Keys = std::initializer_list<const char*>;
constexpr Keys kMenuWorkedOut = {"branchDepth", "productCount"};
constexpr Keys kDiscountWorkedOut = {"use"};
constexpr Keys kGroupProductWorkedOut = {"exposeCode"};

char ReadLetter(JsonObject& object, const char* pszKey, const char* pszLetters)
{
    const std::string strLetter = object.Text(pszKey, 1, std::string(pszLetters, 1).c_str());
    if (strLetter.empty() || std::string_view(pszLetters).find(strLetter) == std::string_view::npos)
        object.Fail(pszKey, std::string("one of the letters ") + pszLetters + " is expected");
    return strLetter[0];
}

// Loads one shop. Throws JsonError at the first mistake.
class ShopLoader {
public:
    ShopLoader(Catalogue& catalogue, JsonObject& shop) : m_catalogue(catalogue), m_shop(shop)
    {
        m_strGameID = shop.Text("gameId", kMaxID, nullptr);
        if (m_strGameID.empty())
            shop.Fail("gameId", "must not be empty");
        if (catalogue.HasGame(m_strGameID))
            shop.Fail("gameId", "there are two shops of '" + m_strGameID + "'");
    }
    void Load()
    {
        m_catalogue.AddGame(m_strGameID);
        Each(m_shop, "menu", &ShopLoader::LoadBranch);
        Each(m_shop, "products", &ShopLoader::LoadProduct);
        LoadTexts(m_shop, "tags",
                  [&](const std::string& strTag) { m_catalogue.AddTag(m_strGameID, strTag); });
        Each(m_shop, "specialGroups", &ShopLoader::LoadGroup);
        m_shop.Done();
    }

private:
    // Calls load for every object of a list, and Done behind it.
    void Each(JsonObject& object, const char* pszKey, void (ShopLoader::*load)(JsonObject& element))
    {
        object.List(pszKey, [&](const Json& json, const std::string& strPlace) {
            JsonObject element(json, strPlace);
            (this->*load)(element);
            element.Done();
        });
    }
    // Calls add for every text of a list. A text that is there twice is an error.
    template <class Add>
    void LoadTexts(JsonObject& object, const char* pszKey, const Add& add)
    {
        std::set<std::string> setTexts;
        object.List(pszKey, [&](const Json& json, const std::string& strPlace) {
            const std::string strText = json.is_string() ? json.get<std::string>() : "";
            if (strText.empty() || strText.size() > kMaxTag)
                throw JsonError(strPlace + ": a text of 1 to " + std::to_string(kMaxTag) +
                                " bytes is expected");
            if (!setTexts.insert(strText).second)
                throw JsonError(strPlace + ": '" + strText + "' is there twice");
            add(strText);
        });
    }

    // A branch must stand behind its superior branch in the file. So branches cannot form a circle.
    void LoadBranch(JsonObject& object)
    {
        XMenuContents row;
        ReadRecord(row, object, {"branchId"}, kMenuWorkedOut);
        if (m_catalogue.DepthOf(m_strGameID, row.strBranchID) != 0)
            object.Fail("branchId", "there are two branches '" + row.strBranchID + "'");
        const int nAbove = m_catalogue.DepthOf(m_strGameID, row.strSuperBranchID);
        if (!row.strSuperBranchID.empty() && nAbove == 0)
            object.Fail("superBranchId", "there is no branch '" + row.strSuperBranchID + "' before this one");
        row.nBranchDepth = nAbove + 1;
        m_catalogue.AddBranch(m_strGameID, row);
    }

    void LoadProduct(JsonObject& object)
    {
        Product product;
        XProductListContents& row = product.row;
        row.strMoneyCode = kMoneyCode;
        row.strRegDate = row.strStartDate = "20260101000000";
        row.strEndDate = kNoEnd;
        row.bGift = row.bDuplicateSell = true;
        ReadRecord(row, object, {"productId", "productName", "branchId", "price"});
        if (m_catalogue.DepthOf(m_strGameID, row.strBranchID) == 0)
            object.Fail("branchId", "there is no branch '" + row.strBranchID + "'");
        if (row.strMoneyCode != kMoneyCode)
            object.Fail("moneyCode", std::string("only '") + kMoneyCode + "' is taken");
        if (row.nDiscountRate > 100)
            object.Fail("discountRate", "at most 100 percent are expected");
        CheckDate(object, "regDate", row.strRegDate);
        CheckDate(object, "startDate", row.strStartDate);
        CheckDate(object, "endDate", row.strEndDate);
        product.strDetailDesc = object.Text("detailDesc", 2000, "");
        product.strMovieURL = object.Text("movieUrl", 200, "");
        product.strDirection = object.Text("direction", 200, "");
        product.cCouponUse = ReadLetter(object, "couponUseType", "YON");
        product.cDiscount = ReadLetter(object, "discountType", "YN");
        product.bSave = object.Flag("saveOnPurchase");
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

    void LoadChild(JsonObject& object)
    {
        Child child;
        ReadRecord(child.row, object, {"childProductId"});
        child.strItemName = object.Text("itemName", 40, m_strItemName.c_str());
        child.strListImageURL = object.Text("listImageUrl", 100, "");
        child.nCount = static_cast<int>(object.Number("count", 1, INT32_MAX, 1));
        child.bBonus = object.Flag("bonus");
        if (child.row.nValidTerm > 36'500)
            object.Fail("validTerm", "at most 36500 days are expected");
        m_catalogue.AddChild(m_key, child);
    }

    void LoadCondition(JsonObject& object)
    {
        XProductCondition row;
        ReadRecord(row, object, {"conditionType", "conditionValue"});
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
        ReadRecord(row, object, {"optionCode", "optionValue"});
        m_catalogue.AddOption(m_key, row);
    }

    void LoadDiscount(JsonObject& object)
    {
        Discount discount;
        ReadRecord(discount.row, object, {}, kDiscountWorkedOut);
        CheckDiscount(object, discount.row.nDiscountRate, discount.row.nDiscountAmt);
        discount.nMinLevel = static_cast<int>(object.Number("minLevel", INT32_MIN, INT32_MAX, 0));
        discount.nMaxLevel = static_cast<int>(object.Number("maxLevel", INT32_MIN, INT32_MAX, INT32_MAX));
        discount.strServerID = object.Text("serverId", kMaxID, "");
        m_catalogue.AddDiscount(m_key, discount);
    }

    void LoadGroup(JsonObject& object)
    {
        XSpecialProductListContent row;
        ReadRecord(row, object, {"exposeCode"});
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
        ReadRecord(row, object, {"productId"}, kGroupProductWorkedOut);
        row.strExposeCode = m_strExposeCode;
        Product product;
        if (!m_catalogue.FindProduct({m_strGameID, row.strProductID}, product))
            object.Fail("productId", "there is no product '" + row.strProductID + "'");
        if (!m_setGrouped.insert(row.strProductID).second)
            object.Fail("productId", "'" + row.strProductID + "' is there twice");
        m_catalogue.AddGroupProduct(m_strGameID, row);
    }

    Catalogue& m_catalogue;
    JsonObject& m_shop;
    std::string m_strGameID;
    // The product and the group that are being loaded.
    ProductKey m_key;
    std::string m_strItemName;
    std::string m_strExposeCode;
    std::set<std::string> m_setGrouped;
};

template <class List>
Json ListToJson(const List& list, Keys workedOut = {})
{
    Json json = Json::array();
    for (const auto* const pRow : list)
        json.push_back(RecordToJson(*pRow, workedOut));
    return json;
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

}  // namespace

void LoadShops(Catalogue& catalogue, const Json& shops, const std::string& strPlace)
{
    if (!shops.is_array())
        throw JsonError(strPlace + ": a list is expected");
    catalogue.Clear();
    for (std::size_t i = 0; i < shops.size(); ++i) {
        JsonObject shop(shops[i], strPlace + '[' + std::to_string(i) + ']');
        ShopLoader(catalogue, shop).Load();
    }
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
