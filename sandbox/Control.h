// The routes of the HTTP interface: what can be seen of the sandbox and done to it. Belongs to the server's
// thread.
#pragma once

#include <string>
#include <vector>

#include "sandbox/Faults.h"
#include "sandbox/MessageLog.h"
#include "sandbox/Registry.h"
#include "sandbox/Reply.h"
#include "sandbox/Store.h"
#include "sandbox/Triggers.h"

namespace Sandbox {

class Control {
public:
    // vecSeed: the users that a reset restores; outlives the control.
    Control(Store& store, Registry& registry, MessageLog& log, Faults& faults, Triggers& triggers,
            const Console& console, const std::vector<User>& vecSeed);

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

    Json UserToJson(const User& user);

    Store& m_store;
    Registry& m_registry;
    MessageLog& m_log;
    Faults& m_faults;
    Triggers& m_triggers;
    const Console& m_console;
    const std::vector<User>& m_vecSeed;
};

}  // namespace Sandbox
