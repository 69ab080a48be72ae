// Brings messages to a connector wherever it is linked: here, or at another sandbox that shares the database.
// Belongs to the server's thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <string>

#include "sandbox/base/Console.h"
#include "sandbox/service/ConnectorRegistry.h"
#include "sandbox/service/GameRequests.h"
#include "sandbox/store/Store.h"
#include "sandbox/wire/Traffic.h"

namespace Sandbox {

class Courier {
public:
    // The arguments must outlive the courier.
    Courier(Store& store, ConnectorRegistry& registry, Traffic& traffic, GameRequests& requests,
            Timers& timers, const Console& console)
        : m_store(store),
          m_registry(registry),
          m_traffic(traffic),
          m_requests(requests),
          m_timers(timers),
          m_console(console)
    {
    }

    bool Reaches(std::int64_t nConnector);  // whether the connector is linked anywhere; throws StoreError
    // Sends a notice, and nothing if the connector has no link. Does not throw.
    void Send(std::int64_t nConnector, Wirova::IMessage& notice);
    // Sends a request and hands its answer to heard, or a notice and hands heard the notice as it was sent.
    // heard is called once, possibly before Ask returns, and must not throw. Throws StoreError and has done
    // nothing then.
    void Ask(std::int64_t nConnector, Wirova::IMessage& msg, std::chrono::milliseconds timeout,
             GameRequests::Heard heard);

    // Does what the letters of other sandboxes ask for. Throws StoreError.
    void TakeLetters();
    // Takes the letters that are about the sandbox as a whole: Letter::Reset, Clock and Order.
    void SetListener(std::function<void(const Letter& letter)> listener) { m_listener = std::move(listener); }
    void TellOthers(const Letter& letter);  // does nothing without a studio; throws StoreError

private:
    struct Waiting {
        GameRequests::Heard heard;
        std::uint64_t nTimer;
    };
    void Deliver(const Letter& letter);
    void Hear(std::int64_t nNumber, const Wirova::IMessage* pAnswer, GameRequests::Failure failure,
              const std::string& strWhy);

    Store& m_store;
    ConnectorRegistry& m_registry;
    Traffic& m_traffic;
    GameRequests& m_requests;
    Timers& m_timers;
    const Console& m_console;
    std::function<void(const Letter& letter)> m_listener;
    std::int64_t m_nLastNumber = 0;
    std::map<std::int64_t, Waiting> m_mapWaiting;  // by the number of the letter
};

}  // namespace Sandbox
