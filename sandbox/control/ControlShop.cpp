// The routes that show what is sold and what has been bought.
#include <nlohmann/json.hpp>

#include "sandbox/base/Printable.h"
#include "sandbox/control/Control.h"
#include "sandbox/seed/SeedRecords.h"

namespace Sandbox {

void Control::Shops(const Json& given, const Respond& respond)
{
    Catalogue& catalogue = m_.store.GetCatalogue();
    const std::string strGameID = given.value("game", "");
    if (!strGameID.empty() && !catalogue.HasGame(strGameID))
        throw HttpError(404, "There is no shop of the game " + Quoted(strGameID) + ".");
    Json list = Json::array();
    for (const std::string& strGame : catalogue.GetGames()) {
        if (strGameID.empty() || strGameID == strGame)
            list.push_back(ShopToJson(catalogue, strGame));
    }
    respond(JsonReply(200, {{"shops", list}}));
}

Json Control::WalletToJson(const User& user)
{
    const Wallet wallet = m_.store.GetLedger().GetWallet(user.nID);
    Json coupons = Json::array();
    for (const Coupon& coupon : m_.store.GetLedger().GetCoupons(user.nID)) {
        coupons.push_back(RecordToJson(coupon.row));
        coupons.back().update({{"productId", coupon.strProductID},
                               {"orderSeq", coupon.nOrderSeq != 0 ? Json(coupon.nOrderSeq) : Json()}});
    }
    return {
        {"ruvCoin", wallet.nRuvCoin}, {"passWordAsked", !wallet.strPassWord.empty()}, {"coupons", coupons}};
}

Json Control::OrderToJson(const Order& order)
{
    const auto nameOf = [&](std::int64_t nUser) {
        return m_.store.GetUser(nUser).value_or(User()).strUserID;
    };
    return {{"orderSeq", order.nOrderSeq},
            {"gameId", order.strGameID},
            {"productId", order.strProductID},
            {"user", nameOf(order.nBuyer)},
            {"receiver", nameOf(order.nReceiver)},
            {"count", order.nCount},
            {"price", order.nPrice},
            {"date", order.strDate},
            {"storageSeqs", m_.store.GetLedger().GetEntriesOf(order.nOrderSeq)}};
}

void Control::Orders(const Json& given, const Respond& respond)
{
    std::optional<std::int64_t> nBuyer;
    if (const std::string strUser = given.value("user", ""); !strUser.empty())
        nBuyer = RequireUser(strUser).nID;
    Json list = Json::array();
    for (const Order& order : m_.store.GetLedger().GetOrders(nBuyer, given["limit"]))
        list.push_back(OrderToJson(order));
    respond(JsonReply(200, {{"orders", list}}));
}

}  // namespace Sandbox
