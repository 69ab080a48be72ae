// The routes of the HTTP interface, one function each: what can be looked at and what can be done. A new
// route is a row of kRoutes and its function. Belongs to the server's thread.
#pragma once

#include <string>
#include <vector>

#include "sandbox/control/HttpExchange.h"
#include "sandbox/control/Triggers.h"
#include "sandbox/seed/Seed.h"
#include "sandbox/service/ConnectorRegistry.h"
#include "sandbox/store/Store.h"
#include "sandbox/wire/Faults.h"
#include "sandbox/wire/MessageLog.h"

namespace Sandbox {

class Control {
public:
    // seed is what POST /reset restores. All arguments must outlive the control.
    Control(Store& store, ConnectorRegistry& registry, MessageLog& log, Faults& faults, Triggers& triggers,
            const Console& console, const IClock& clock, const Seed& seed);

    // Responds in any case: what is wrong with the request becomes an error reply. Does not throw.
    void Handle(const HttpRequest& request, const Respond& respond);

private:
    struct Route;
    static const Route kRoutes[];

    // Finds the route and runs it. Throws HttpError if there is none.
    void Dispatch(const HttpRequest& request, const Respond& respond);

    void Index(const HttpRequest& request, const Respond& respond);
    void Connectors(const HttpRequest& request, const Respond& respond);
    void Users(const HttpRequest& request, const Respond& respond);
    void Messages(const HttpRequest& request, const Respond& respond);
    void Trigger(const HttpRequest& request, const Respond& respond);
    void ListFaults(const HttpRequest& request, const Respond& respond);
    void AddFault(const HttpRequest& request, const Respond& respond);
    void RemoveFaults(const HttpRequest& request, const Respond& respond);
    void Reset(const HttpRequest& request, const Respond& respond);

    void Shops(const HttpRequest& request, const Respond& respond);
    void Orders(const HttpRequest& request, const Respond& respond);
    void Storage(const HttpRequest& request, const Respond& respond);
    void FillStorage(const HttpRequest& request, const Respond& respond);

    User FindUser(const std::string& strUser);  // by id; throws HttpError
    Json UserToJson(const User& user);
    Json WalletToJson(const User& user);
    Json OrderToJson(const Order& order);

    Store& m_store;
    ConnectorRegistry& m_registry;
    MessageLog& m_log;
    Faults& m_faults;
    Triggers& m_triggers;
    const Console& m_console;
    const IClock& m_clock;
    const Seed& m_seed;
};

}  // namespace Sandbox
