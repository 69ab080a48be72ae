// POST /trigger/...: messages that a real service would start by itself, sent on order. Notices are only
// sent; requests wait for the game's answer. Belongs to the server's thread.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "sandbox/base/Arguments.h"
#include "sandbox/control/HttpExchange.h"
#include "sandbox/service/ConnectorRegistry.h"
#include "sandbox/service/Courier.h"
#include "sandbox/store/Store.h"

namespace Sandbox {

class Triggers {
public:
    Triggers(Store& store, ConnectorRegistry& registry, Courier& courier)
        : m_store(store), m_registry(registry), m_courier(courier)
    {
    }

    struct Trigger;
    static const std::vector<Trigger>& GetAll();

    // Sends the trigger's message. given has been checked by its arguments. Responds at once for a notice;
    // for a request with the game's answer, or when the time is over or the link has closed. If it throws
    // HttpError, JsonError or StoreError, nothing has been sent.
    void Fire(const Trigger& trigger, const Json& given, Respond respond);

private:
    // Where a message goes.
    struct Target {
        Connector& connector;
        std::optional<Session> session;  // of the user, if the body names one
    };
    Target FindTarget(const Json& given, Wirova::IMessage& msg);
    void EndIfForced(const Wirova::IMessage& msg, const Target& target);
    Session FindSessionOf(const std::string& strUser);

    Store& m_store;
    ConnectorRegistry& m_registry;
    Courier& m_courier;
};

// One path below /trigger/. All but the help follows from the message's class.
struct Triggers::Trigger {
    std::string strName;
    std::string strHelp;
    Wirova::int32 nMsgID;
    Arguments arguments;
};

}  // namespace Sandbox
