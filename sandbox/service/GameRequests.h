// Requests that the service sends to a game, each waiting for the game's answer. Belongs to the server's
// thread.
#pragma once

#include <chrono>
#include <functional>
#include <list>
#include <string>

#include "sandbox/base/Timers.h"
#include "sandbox/wire/Traffic.h"

namespace Sandbox {

class GameRequests {
public:
    GameRequests(Traffic& traffic, Timers& timers) : m_traffic(traffic), m_timers(timers) {}

    // Why a request has no answer.
    enum class Failure { None, Timeout, LinkClosed, NoLink };
    // Gets the game's answer or, with null, the failure and a text for people. Must not throw.
    using Heard =
        std::function<void(const Wirova::IMessage* pAnswer, Failure failure, const std::string& strWhy)>;
    // Sends a request under a new Req ID. heard is called once, possibly before Ask returns; if the server
    // ends first, heard is never called.
    void Ask(Link& link, Wirova::IMessage& req, std::chrono::milliseconds timeout, Heard heard);

    // Gives the message the next Req ID; does nothing for a class without one.
    void GiveReqID(Wirova::IMessage& msg);

    // Whether messages of that id answer a request of the service.
    static bool IsAnswer(Wirova::int32 nMsgID);
    // Gives the answer to its request's heard. False if no request of that link waits for it.
    bool OnAnswer(const Link& link, const Wirova::IMessage& ans);
    // Ends the requests of a link that has closed. Called before the registry forgets the link's connector.
    void OnClosed(const Link& link);

private:
    struct Waiting {
        const Link* pLink;
        Wirova::int32 nAnswerID;  // message id of the answer
        Wirova::int32 nReqID;
        Heard heard;
        std::uint64_t nTimer;
    };

    Traffic& m_traffic;
    Timers& m_timers;
    Wirova::int32 m_nLastReqID = 0;
    std::list<Waiting> m_listWaiting;
};

}  // namespace Sandbox
