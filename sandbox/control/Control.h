// The routes of the HTTP interface, one function each: what can be looked at, changed and done. A new route
// is a row in ControlRoutes.cpp and its function. The row's description checks the arguments before the
// function runs. Belongs to the server's thread.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "sandbox/base/Arguments.h"
#include "sandbox/control/HttpExchange.h"
#include "sandbox/control/MessageFeed.h"
#include "sandbox/control/Recorder.h"
#include "sandbox/control/Triggers.h"
#include "sandbox/seed/Seed.h"
#include "sandbox/service/ConnectorRegistry.h"
#include "sandbox/service/Coverage.h"
#include "sandbox/service/Service.h"
#include "sandbox/store/Store.h"
#include "sandbox/wire/Faults.h"
#include "sandbox/wire/MessageLog.h"
#include "sandbox/wire/Outages.h"

namespace Sandbox {

class Control {
public:
    // What the routes work on. Everything must outlive the control.
    struct Parts {
        Store& store;
        ConnectorRegistry& registry;
        MessageLog& log;
        Faults& faults;
        Outages& outages;
        Triggers& triggers;
        Service& service;
        Courier& courier;
        MessageFeed& feed;
        Coverage& coverage;
        Recorder& recorder;
        const Console& console;
        MovableClock& clock;
        const Seed& seed;  // what POST /reset restores
    };
    explicit Control(const Parts& parts) : m_(parts), m_msStarted(parts.clock.SocketMilliseconds())
    {
        m_.courier.SetListener([this](const Letter& letter) { OnLetter(letter); });
    }

    // Responds in any case: what is wrong with the request becomes an error reply. Does not throw.
    void Handle(const HttpRequest& request, const Respond& answer);

private:
    // given has been checked by the route's description and has its defaults.
    using Run = std::function<void(Control& control, const Json& given, const Respond& respond)>;
    struct Route {
        std::string strMethod;
        std::string strPath;
        std::string strHelp;  // a sentence without its full stop
        Arguments arguments;  // behind the path of GET and DELETE, in the body of others
        Run run;
        bool IsAskedByQuery() const { return strMethod == "GET" || strMethod == "DELETE"; }
    };
    // The argument of routes that can be run at every sandbox of a studio.
    static constexpr char kEverywhere[] = "everywhere";
    static Argument Everywhere();

    static const std::vector<Route>& GetRoutes();
    static std::vector<Route> RoutesToLook();
    static std::vector<Route> RoutesToChangeUsers();
    static std::vector<Route> RoutesToChangeGoods();
    static std::vector<Route> RoutesToProvoke();

    // Finds the route and runs it. Throws HttpError if there is none, and JsonError.
    void Dispatch(const HttpRequest& request, const Respond& respond);
    // For a route that responds before it returns.
    void RunEverywhere(const Route& route, Json given, const Respond& respond);

    void Routes(const Json& given, const Respond& respond);
    void OpenApi(const Json& given, const Respond& respond);
    void Health(const Json& given, const Respond& respond);
    void Metrics(const Json& given, const Respond& respond);
    void ShowCoverage(const Json& given, const Respond& respond);
    void ResetCoverage(const Json& given, const Respond& respond);
    void Connectors(const Json& given, const Respond& respond);
    void Users(const Json& given, const Respond& respond);
    void Messages(const Json& given, const Respond& respond);
    void Events(const Json& given, const Respond& respond);
    void Shops(const Json& given, const Respond& respond);
    void Orders(const Json& given, const Respond& respond);
    void Storage(const Json& given, const Respond& respond);

    void MakeUser(const Json& given, const Respond& respond);
    void ChangeUser(const Json& given, const Respond& respond);
    void RemoveUser(const Json& given, const Respond& respond);
    void StopUser(const Json& given, const Respond& respond);
    void ChangeBalance(const Json& given, const Respond& respond);
    void MakeCoupon(const Json& given, const Respond& respond);
    void ChangeCoupon(const Json& given, const Respond& respond);
    void RemoveCoupon(const Json& given, const Respond& respond);
    void MakeProduct(const Json& given, const Respond& respond);
    void ChangeProduct(const Json& given, const Respond& respond);
    void RemoveProduct(const Json& given, const Respond& respond);
    void MakeShop(const Json& given, const Respond& respond);
    void RemoveShop(const Json& given, const Respond& respond);
    void MakeBranch(const Json& given, const Respond& respond);
    void ChangeBranch(const Json& given, const Respond& respond);
    void RemoveBranch(const Json& given, const Respond& respond);
    void FillStorage(const Json& given, const Respond& respond);
    void EmptyStorage(const Json& given, const Respond& respond);
    void MakeEntry(const Json& given, const Respond& respond);
    void ChangeEntry(const Json& given, const Respond& respond);
    void RemoveEntry(const Json& given, const Respond& respond);
    void Reset(const Json& given, const Respond& respond);
    void ShowClock(const Json& given, const Respond& respond);
    void AdvanceClock(const Json& given, const Respond& respond);

    void ListFaults(const Json& given, const Respond& respond);
    void AddFault(const Json& given, const Respond& respond);
    void RemoveFaults(const Json& given, const Respond& respond);
    void ListOutages(const Json& given, const Respond& respond);
    void AddOutage(const Json& given, const Respond& respond);
    void RemoveOutages(const Json& given, const Respond& respond);

    void ForgetOrders();
    void OnLetter(const Letter& letter);
    void Obey(const Letter& letter);

    // Those named Require throw HttpError 404 for what is not there.
    User RequireUser(const std::string& strUser);
    std::string RequireGame(const Json& given);  // "gameId", or the first shop's game
    ProductKey RequireProduct(const Json& given);
    Coupon& RequireCoupon(const Json& given, Coupon& coupon);
    Entry& RequireEntry(const Json& given, Entry& entry);
    void RequireFreeNo(const std::string& strUserNo, const std::string& strUserID);  // 409
    void GiveCoupon(const Coupon& coupon);                                           // 409

    void EditShops(const std::function<void(Json& shops)>& edit);
    void EditMenu(const Json& given, const Respond& respond, const std::function<void(Json& shop)>& edit);

    Json UserToJson(const User& user);
    Json WalletToJson(const User& user);
    Json OrderToJson(const Order& order);

    const Parts m_;
    const std::int64_t m_msStarted;  // of the clock of the sockets
    std::uint64_t m_nRequests = 0;   // since the start
    int m_nLastFault = 0;            // id of the fault or outage that was ordered last
};

}  // namespace Sandbox
