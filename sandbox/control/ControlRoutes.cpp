// The table of the routes: what each takes and does. GET /routes and GET /openapi.json show it.
#include <climits>

#include "sandbox/control/Control.h"
#include "sandbox/seed/SeedArguments.h"
#include "sandbox/wire/AnyMessage.h"

namespace Sandbox {
namespace {

constexpr int kMaxName = 64;  // bytes
constexpr int kMaxRows = 100'000;
// Entries that one request may add: while they are added, no connector is served.
constexpr int kMaxFilled = 10'000;

constexpr int kMaxAdvance = 366 * 24 * 60 * 60;  // seconds of one request

Argument TheUser() { return Argument::Text("user", kMaxName, "a user id").Required(); }
Argument OneUser() { return Argument::Text("user", kMaxName, "only this user's, by user id"); }
Argument Game() { return Argument::Text("gameId", kMaxGameID, "the first shop's, unless given"); }
Argument ProductID() { return Argument::Text("productId", 20, "").Required(); }
Argument BranchID() { return Argument::Text("branchId", 20, "").Required(); }
Argument CouponUseID() { return Argument::Text("couponUseId", 20, "").Required(); }
Argument StorageSeq() { return Argument::Number("storageSeq", 1, INT_MAX, "number of the entry"); }

Argument Limit(int nMax, int nDefault)
{
    return Argument::Number("limit", 1, nMax, "rows at most").Default(std::to_string(nDefault));
}

}  // namespace

std::vector<Control::Route> Control::RoutesToLook()
{
    std::vector<std::string> vecClasses;
    for (const Wirova::ClassInfo& info : Wirova::AllClasses()) {
        if (!info.bRecord)
            vecClasses.emplace_back(info.pszName);
    }
    const Arguments filter = {
        Argument::Text("user", kMaxName, "a user id or number that the message is about"),
        Argument::Text("class", kMaxName, "a message class").OneOf(vecClasses),
        Argument::Text("connector", kMaxName, "GID/SID/WID, or a peer's address before its registration")};
    return {
        {"GET", "/routes", "What there is, and what it takes", {}, &Control::Routes},
        {"GET", "/clock", "The time that the rules go by", {}, &Control::ShowClock},
        {"GET", "/connectors", "Who is linked, and who is remembered", {}, &Control::Connectors},
        {"GET",
         "/users",
         "Users, their billing and their sessions",
         {OneUser(), Limit(kMaxRows, 1000)},
         &Control::Users},
        {"GET", "/messages", "The last messages, decoded",
         filter + Arguments{Limit(static_cast<int>(MessageLog::kMaxMessages), 50),
                            Argument::Number("since", 0, INT64_MAX, "only numbers above, the first ones")},
         &Control::Messages},
        {"GET", "/events", "Messages as they pass, as server-sent events", filter, &Control::Events},
        {"GET", "/health", "Whether the sandbox can do its work", {}, &Control::Health},
        {"GET", "/metrics", "Figures, as Prometheus reads them", {}, &Control::Metrics},
        {"GET", "/openapi.json", "The routes, as OpenAPI has them", {}, &Control::OpenApi},
        {"GET",
         "/coverage",
         "What game servers have met of what they should, and how to get to the rest",
         {Argument::Text("connector", kMaxName, "GID/SID/WID: only what this one has met"),
          Argument::Text("group", kMaxName, "").OneOf(CoverageGroups())},
         &Control::ShowCoverage},
        {"GET",
         "/shop",
         "What is sold, as a seed file has it",
         {Argument::Text("game", kMaxGameID, "only the shop of this game")},
         &Control::Shops},
        {"GET", "/orders", "Orders, the last first", {OneUser(), Limit(kMaxRows, 100)}, &Control::Orders},
        {"GET",
         "/storage",
         "A user's storage box, whatever state its entries are in",
         {TheUser(), Limit(kMaxRows, 100)},
         &Control::Storage},
    };
}

std::vector<Control::Route> Control::RoutesToChangeUsers()
{
    const Arguments userChange = ForChange(Without(UserArguments(), {"userId", "fillStorage", "coupons"}));
    const Arguments couponChange =
        ForChange(Without(CouponArguments(), {"couponUseId"})) +
        Arguments{ForChange({Argument::Flag("used", "false: the coupon can be used again")}).front()};
    return {
        {"POST", "/users", "Make a user", UserArguments(), &Control::MakeUser},
        {"PATCH", "/users", "Change a user", Arguments{TheUser()} + userChange, &Control::ChangeUser},
        {"DELETE", "/users", "Remove a user with all that is the user's", {TheUser()}, &Control::RemoveUser},
        {"POST",
         "/users/stop",
         "End a user's term and minutes now, and tell the game",
         {TheUser()},
         &Control::StopUser},
        {"POST",
         "/balance",
         "Set or change a user's Ruv coin",
         {TheUser(), Argument::Number("ruvCoin", 0, INT_MAX, "the new balance"),
          Argument::Number("change", -INT_MAX, INT_MAX, "what is added, in place of a new balance")},
         &Control::ChangeBalance},
        {"POST", "/coupons", "Give a user a coupon", Arguments{TheUser()} + CouponArguments(),
         &Control::MakeCoupon},
        {"PATCH", "/coupons", "Change a coupon", Arguments{CouponUseID()} + couponChange,
         &Control::ChangeCoupon},
        {"DELETE", "/coupons", "Remove a coupon", {CouponUseID()}, &Control::RemoveCoupon},
    };
}

std::vector<Control::Route> Control::RoutesToChangeGoods()
{
    const Arguments productChange = ForChange(Without(ProductArguments(), {"productId"}));
    const Arguments branchChange = ForChange(Without(BranchArguments(), {"branchId"}));
    return {
        {"POST", "/products", "Put a product into a shop", Arguments{Game()} + ProductArguments(),
         &Control::MakeProduct},
        {"PATCH", "/products", "Change a product", Arguments{Game(), ProductID()} + productChange,
         &Control::ChangeProduct},
        {"POST", "/shop", "Open a shop", ShopArguments(), &Control::MakeShop},
        {"DELETE",
         "/shop",
         "Close a shop; what has been bought of it stays",
         {Argument::Text("gameId", kMaxGameID, "").Required()},
         &Control::RemoveShop},
        {"POST", "/menu", "Put a branch into the menu of a shop", Arguments{Game()} + BranchArguments(),
         &Control::MakeBranch},
        {"PATCH", "/menu", "Change a branch of a menu", Arguments{Game(), BranchID()} + branchChange,
         &Control::ChangeBranch},
        {"DELETE",
         "/menu",
         "Remove a branch that has nothing below it",
         {Game(), BranchID()},
         &Control::RemoveBranch},
        {"DELETE", "/products", "Take a product off a shop", {Game(), ProductID()}, &Control::RemoveProduct},
        {"POST",
         "/storage",
         "Put made-up entries into a storage box",
         {TheUser(), Argument::Number("entries", 1, kMaxFilled, "").Required(), Game()},
         &Control::FillStorage},
        {"DELETE", "/storage", "Empty a storage box", {TheUser()}, &Control::EmptyStorage},
        {"POST", "/storage/entry", "Put an entry into a storage box",
         Arguments{TheUser(), Game(), Argument::Text("itemId", 20, "").Required()} +
             Without(EntryArguments(), {"itemId"}),
         &Control::MakeEntry},
        {"PATCH", "/storage/entry", "Change an entry of a storage box",
         Arguments{StorageSeq().Required(),
                   Argument::Text("state", 20, "").OneOf({"waiting", "used", "deleted"})} +
             EntryArguments(),
         &Control::ChangeEntry},
        {"DELETE",
         "/storage/entry",
         "Remove an entry of a storage box",
         {StorageSeq().Required()},
         &Control::RemoveEntry},
        {"POST",
         "/clock",
         "Advance the time that the rules go by",
         {Argument::Number("seconds", 1, kMaxAdvance, "by so many seconds"),
          Argument::Date("to", "to this time, YYYYMMDDhhmmss, in place of seconds")},
         &Control::AdvanceClock},
        {"DELETE", "/coverage", "Forget what game servers have met", {}, &Control::ResetCoverage},
        {"POST",
         "/reset",
         "No faults, outages and messages, users as seeded, nobody checked in",
         {},
         &Control::Reset},
    };
}

Argument Control::Everywhere()
{
    return Argument::Flag(kEverywhere, "at every sandbox of the studio, each with a count of its own");
}

std::vector<Control::Route> Control::RoutesToProvoke()
{
    std::vector<Route> vecRoutes = {
        {"GET", "/fault", "The faults that are waiting to happen", {}, &Control::ListFaults},
        {"POST", "/fault", "Order a fault for messages", Faults::Describe() + Arguments{Everywhere()},
         &Control::AddFault},
        {"DELETE",
         "/fault",
         "Remove one fault or all",
         {Argument::Number("id", 1, INT_MAX, "of the fault; all, unless given"), Everywhere()},
         &Control::RemoveFaults},
        {"GET", "/outage", "The outages that go on", {}, &Control::ListOutages},
        {"POST", "/outage", "Begin an outage of links or connections",
         Outages::Describe() + Arguments{Everywhere()}, &Control::AddOutage},
        {"DELETE",
         "/outage",
         "End one outage or all",
         {Argument::Number("id", 1, INT_MAX, "of the outage; all, unless given"), Everywhere()},
         &Control::RemoveOutages},
    };
    for (const Triggers::Trigger& trigger : Triggers::GetAll()) {
        vecRoutes.push_back({"POST", "/trigger/" + trigger.strName, trigger.strHelp, trigger.arguments,
                             [&trigger](Control& control, const Json& given, const Respond& respond) {
                                 control.m_.triggers.Fire(trigger, given, respond);
                             }});
    }
    return vecRoutes;
}

const std::vector<Control::Route>& Control::GetRoutes()
{
    static const std::vector<Route> kRoutes = [] {
        std::vector<Route> vecAll;
        for (const auto& vecSome :
             {RoutesToLook(), RoutesToChangeUsers(), RoutesToChangeGoods(), RoutesToProvoke()})
            vecAll.insert(vecAll.end(), vecSome.begin(), vecSome.end());
        return vecAll;
    }();
    return kRoutes;
}

}  // namespace Sandbox
