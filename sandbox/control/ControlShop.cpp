// The routes of the shop: what is sold, what has been bought, what lies in the storage boxes.
#include <nlohmann/json.hpp>

#include "sandbox/base/Printable.h"
#include "sandbox/control/Control.h"
#include "sandbox/seed/SeedRecords.h"

namespace Sandbox {
namespace {

constexpr std::int64_t kDefaultRows = 100;  // unless the request gives a limit
constexpr std::int64_t kMaxListedRows = 100'000;
// Entries that one request may add: while they are added, no connector is served.
constexpr std::int64_t kMaxFilled = 10'000;
constexpr std::size_t kMaxNameText = 64;  // bytes
constexpr const char* kStates[] = {"waiting", "reserved", "used", "deleted"};

}  // namespace

void Control::Shops(const HttpRequest& request, const Respond& respond)
{
    Catalogue& catalogue = m_store.GetCatalogue();
    const std::string strGameID = Query(request, "game");
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
    const Wallet wallet = m_store.GetLedger().GetWallet(user.nID);
    Json coupons = Json::array();
    for (const Coupon& coupon : m_store.GetLedger().GetCoupons(user.nID)) {
        coupons.push_back(RecordToJson(coupon.row));
        coupons.back().update({{"productId", coupon.strProductID},
                               {"orderSeq", coupon.nOrderSeq != 0 ? Json(coupon.nOrderSeq) : Json()}});
    }
    return {
        {"ruvCoin", wallet.nRuvCoin}, {"passWordAsked", !wallet.strPassWord.empty()}, {"coupons", coupons}};
}

Json Control::OrderToJson(const Order& order)
{
    const auto nameOf = [&](std::int64_t nUser) { return m_store.GetUser(nUser).value_or(User()).strUserID; };
    return {{"orderSeq", order.nOrderSeq},
            {"gameId", order.strGameID},
            {"productId", order.strProductID},
            {"user", nameOf(order.nBuyer)},
            {"receiver", nameOf(order.nReceiver)},
            {"count", order.nCount},
            {"price", order.nPrice},
            {"date", order.strDate},
            {"storageSeqs", m_store.GetLedger().GetEntriesOf(order.nOrderSeq)}};
}

void Control::Orders(const HttpRequest& request, const Respond& respond)
{
    const auto nLimit = QueryNumber(request, "limit", 1, kMaxListedRows, kDefaultRows);
    std::optional<std::int64_t> nBuyer;
    if (const std::string strUser = Query(request, "user"); !strUser.empty())
        nBuyer = FindUser(strUser).nID;
    Json list = Json::array();
    for (const Order& order : m_store.GetLedger().GetOrders(nBuyer, nLimit))
        list.push_back(OrderToJson(order));
    respond(JsonReply(200, {{"orders", list}}));
}

void Control::Storage(const HttpRequest& request, const Respond& respond)
{
    const auto nLimit = QueryNumber(request, "limit", 1, kMaxListedRows, kDefaultRows);
    const std::string strUser = Query(request, "user");
    if (strUser.empty())
        throw HttpError(400, "'user': is missing");
    Json list = Json::array();
    m_store.GetLedger().ForEachEntry(FindUser(strUser).nID, nLimit, [&](const Entry& entry) {
        list.push_back({{"gameId", entry.strGameID}, {"state", kStates[static_cast<int>(entry.state)]}});
        list.back().update(RecordToJson(entry.row, {"new"}));
    });
    respond(JsonReply(200, {{"user", strUser}, {"storage", list}}));
}

void Control::FillStorage(const HttpRequest& request, const Respond& respond)
{
    const Json body = ParseBody(request);
    JsonObject object(body, "");
    const std::string strUser = object.Text("user", kMaxNameText, nullptr);
    const auto nEntries = static_cast<int>(object.Number("entries", 1, kMaxFilled));
    const auto vecGames = m_store.GetCatalogue().GetGames();
    const std::string strGameID =
        object.Text("gameId", kMaxNameText, vecGames.empty() ? "" : vecGames.front().c_str());
    object.Done();
    const User user = FindUser(strUser);
    if (!m_store.GetCatalogue().HasGame(strGameID))
        throw HttpError(404, "There is no shop of the game " + Quoted(strGameID) + ".");
    Transaction transaction = m_store.Begin();
    FillBox(m_store, user, strGameID, nEntries, m_clock.Now());
    transaction.Commit();
    respond(JsonReply(200, {{"user", strUser}, {"gameId", strGameID}, {"entries", nEntries}}));
}

}  // namespace Sandbox
