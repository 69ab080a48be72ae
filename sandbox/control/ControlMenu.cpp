// The routes that change whole shops and the branches of their menus. All shops are taken as a seed has them,
// changed and loaded again in one transaction, so that everything that a seed file is checked for is checked
// here too.
#include <algorithm>
#include <nlohmann/json.hpp>

#include "sandbox/base/Printable.h"
#include "sandbox/control/Control.h"
#include "sandbox/seed/SeedArguments.h"

namespace Sandbox {
namespace {

Json::iterator FindBy(Json& list, const char* pszKey, const Json& value)
{
    return std::find_if(list.begin(), list.end(), [&](const Json& row) { return row[pszKey] == value; });
}

// The number of sold pieces is worked out of the orders again, so that those are not counted twice.
Json ShopsToJson(Catalogue& catalogue)
{
    Json shops = Json::array();
    for (const std::string& strGameID : catalogue.GetGames()) {
        shops.push_back(ShopToJson(catalogue, strGameID));
        for (Json& product : shops.back()["products"]) {
            product["totalSellingCount"] = product["totalSellingCount"].get<int>() -
                                           catalogue.CountSold({strGameID, product["productId"]});
        }
    }
    return shops;
}

}  // namespace

void Control::EditShops(const std::function<void(Json& shops)>& edit)
{
    Transaction transaction = m_.store.Begin(Access::Change);
    Catalogue& catalogue = m_.store.GetCatalogue();
    catalogue.Hold();
    Json shops = ShopsToJson(catalogue);
    edit(shops);
    const Json checked = CheckArguments({{"shops", shops}}, SeedArguments());
    LoadShops(catalogue, checked["shops"], "shops");
    transaction.Commit();
}

// Changes the menu of the shop that the request names, and answers with the menu.
void Control::EditMenu(const Json& given, const Respond& respond, const std::function<void(Json& shop)>& edit)
{
    std::string strGameID;
    EditShops([&](Json& shops) {
        strGameID = RequireGame(given);
        edit(*FindBy(shops, "gameId", strGameID));
    });
    respond(JsonReply(200, {{"menu", ShopToJson(m_.store.GetCatalogue(), strGameID)["menu"]}}));
}

void Control::MakeShop(const Json& given, const Respond& respond)
{
    const std::string strGameID = given["gameId"];
    EditShops([&](Json& shops) {
        if (m_.store.GetCatalogue().HasGame(strGameID))
            throw HttpError(409, "There is a shop of the game " + Quoted(strGameID) + " already.");
        shops.push_back(given);
    });
    respond(JsonReply(200, ShopToJson(m_.store.GetCatalogue(), strGameID)));
}

void Control::RemoveShop(const Json& given, const Respond& respond)
{
    std::string strGameID;
    EditShops([&](Json& shops) {
        strGameID = RequireGame(given);
        shops.erase(FindBy(shops, "gameId", strGameID));
    });
    respond(JsonReply(200, {{"removed", strGameID}}));
}

void Control::MakeBranch(const Json& given, const Respond& respond)
{
    EditMenu(given, respond, [&](Json& shop) {
        if (FindBy(shop["menu"], "branchId", given["branchId"]) != shop["menu"].end())
            throw HttpError(409, "There is a branch " + Quoted(given["branchId"]) + " already.");
        shop["menu"].push_back(given);
        shop["menu"].back().erase("gameId");
    });
}

void Control::ChangeBranch(const Json& given, const Respond& respond)
{
    EditMenu(given, respond, [&](Json& shop) {
        const auto it = FindBy(shop["menu"], "branchId", given["branchId"]);
        if (it == shop["menu"].end())
            throw HttpError(404, "There is no branch " + Quoted(given["branchId"]) + ".");
        it->update(given);
        it->erase("gameId");
    });
}

void Control::RemoveBranch(const Json& given, const Respond& respond)
{
    EditMenu(given, respond, [&](Json& shop) {
        const Json& branchID = given["branchId"];
        const auto it = FindBy(shop["menu"], "branchId", branchID);
        if (it == shop["menu"].end())
            throw HttpError(404, "There is no branch " + Quoted(branchID) + ".");
        if (FindBy(shop["menu"], "superBranchId", branchID) != shop["menu"].end() ||
            FindBy(shop["products"], "branchId", branchID) != shop["products"].end())
            throw HttpError(409, "The branch " + Quoted(branchID) + " has branches or products below it.");
        shop["menu"].erase(it);
    });
}

}  // namespace Sandbox
