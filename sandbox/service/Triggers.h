// What the service starts by itself, on order: notices to a game, and requests whose answers are waited for.
// Belongs to the server's thread.
#pragma once

#include <list>
#include <optional>
#include <string>
#include <vector>

#include "sandbox/base/Timers.h"
#include "sandbox/service/Registry.h"
#include "sandbox/service/Reply.h"
#include "sandbox/store/Store.h"
#include "sandbox/wire/Traffic.h"

namespace Sandbox {

class Triggers {
public:
    Triggers(Store& store, Registry& registry, Traffic& traffic, Timers& timers)
        : m_store(store), m_registry(registry), m_traffic(traffic), m_timers(timers)
    {
    }

    static std::vector<std::string> GetNames();

    // Sends the message. Responds at once for a notice; for a request with the game's answer, or when the
    // time is over or the link has closed. Throws RequestError, JsonError, StoreError and has sent nothing.
    void Fire(const std::string& strName, const Json& body, Respond respond);

    // Hears the game's answer or, with null, why none comes: a status of HTTP and a text. Must not throw.
    using Heard =
        std::function<void(const Wirova::IMessage* pAnswer, int nStatus, const std::string& strWhy)>;
    // Sends a request under a new Req ID. Unless the server ends first, heard is called once, possibly
    // within.
    void Ask(Link& link, Wirova::IMessage& req, std::chrono::milliseconds timeout, Heard heard);

    static bool IsAnswer(Wirova::int32 nMsgID);  // to one of the requests
    // Gives the answer to who waits for it; false if nobody does.
    bool OnAnswer(const Link& link, const Wirova::IMessage& ans);
    void OnClosed(const Link& link);  // before the link loses its connector

private:
    struct Trigger;
    static const Trigger kTriggers[];
    struct Waiting {
        const Link* pLink;
        Wirova::int32 nAnswerID;  // message id
        Wirova::int32 nReqID;
        Heard heard;
        std::uint64_t nTimer;
    };

    struct Target {
        Connector& connector;
        std::optional<Session> session;  // of the user that was named
    };
    Target FindTarget(JsonObject& object, Wirova::IMessage& msg);
    void EndIfForced(const Wirova::IMessage& msg, const Target& target);
    Session FindSessionOf(const std::string& strUser);
    void GiveReqID(Wirova::IMessage& msg);

    Store& m_store;
    Registry& m_registry;
    Traffic& m_traffic;
    Timers& m_timers;
    Wirova::int32 m_nLastReqID = 0;
    std::list<Waiting> m_listWaiting;
};

}  // namespace Sandbox
