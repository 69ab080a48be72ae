// The routes of the HTTP interface: what can be seen of the sandbox and done to it. Belongs to the server's
// thread.
#pragma once

#include <string>
#include <vector>

#include "sandbox/seed/Seed.h"
#include "sandbox/service/Registry.h"
#include "sandbox/service/Reply.h"
#include "sandbox/service/Triggers.h"
#include "sandbox/store/Store.h"
#include "sandbox/wire/Faults.h"
#include "sandbox/wire/MessageLog.h"

namespace Sandbox {

class Control {
public:
    // seed: what a reset restores; outlives the control.
    Control(Store& store, Registry& registry, MessageLog& log, Faults& faults, Triggers& triggers,
            const Console& console, const IClock& clock, const Seed& seed);

    // Responds in any case, also to what is wrong. Does not throw.
    void Handle(const ControlRequest& request, const Respond& respond);

private:
    struct Route;
    static const Route kRoutes[];

    void Dispatch(const ControlRequest& request, const Respond& respond);

    void Index(const ControlRequest& request, const Respond& respond);
    void Connectors(const ControlRequest& request, const Respond& respond);
    void Users(const ControlRequest& request, const Respond& respond);
    void Messages(const ControlRequest& request, const Respond& respond);
    void Trigger(const ControlRequest& request, const Respond& respond);
    void ListFaults(const ControlRequest& request, const Respond& respond);
    void AddFault(const ControlRequest& request, const Respond& respond);
    void RemoveFaults(const ControlRequest& request, const Respond& respond);
    void Reset(const ControlRequest& request, const Respond& respond);

    void Shops(const ControlRequest& request, const Respond& respond);
    void Orders(const ControlRequest& request, const Respond& respond);
    void Storage(const ControlRequest& request, const Respond& respond);
    void FillStorage(const ControlRequest& request, const Respond& respond);

    User FindUser(const std::string& strUser);  // by id; throws RequestError
    Json UserToJson(const User& user);
    Json WalletToJson(const User& user);
    Json OrderToJson(const Order& order);

    Store& m_store;
    Registry& m_registry;
    MessageLog& m_log;
    Faults& m_faults;
    Triggers& m_triggers;
    const Console& m_console;
    const IClock& m_clock;
    const Seed& m_seed;
};

// The argument of that name behind the path; empty if it is not there.
std::string Query(const ControlRequest& request, const std::string& strKey);
// Throws RequestError.
std::int64_t QueryNumber(const ControlRequest& request, const std::string& strKey, std::int64_t nMin,
                         std::int64_t nMax, std::int64_t nDefault);
Json ParseBody(const ControlRequest& request);

}  // namespace Sandbox
