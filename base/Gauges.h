// What there is of the library at this moment, as figures for the operator: the link, and how many of each
// thing it holds.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>

// How far the connection has come. The numbers are those of _CONNECTOR_STATUS.
enum class LinkState {
    Stopped,      // the library is not started
    Connecting,   // there is no connection; the library tries to make one
    Registering,  // connected, and the service has not accepted the registration yet
    Up,           // registered
};

// Written by the owner of each figure with the owner's own lock held, read by any thread without a lock. The
// figures have static storage and no destructor: they can be read before the library is started, after it has
// been stopped and while the process exits. Figures that only count go on through all lives of the library.
struct ConnectorGauges {
    using Figure = std::atomic<std::int64_t>;

    std::atomic<LinkState> linkState{LinkState::Stopped};
    Figure nLinkSince{0};  // of that state: milliseconds since 1970, UTC; 0 before the first start
    Figure nConnectAttempts{0};
    Figure nConnects{0};    // of those the service has accepted
    Figure nLinkLosses{0};  // of those that were accepted
    Figure nUsers{0};
    Figure nWaiters{0};
    Figure nFailedCheckouts{0};  // that wait for a connection

    // The one writer of a figure, or all writers under one lock.
    static void Set(Figure& figure, std::size_t n)
    {
        figure.store(static_cast<std::int64_t>(n), std::memory_order_relaxed);
    }
    static void Count(Figure& figure) { figure.fetch_add(1, std::memory_order_relaxed); }
    static std::int64_t Get(const Figure& figure) { return figure.load(std::memory_order_relaxed); }

    void SetLinkState(LinkState state)
    {
        if (linkState.exchange(state) == state)
            return;
        nLinkSince.store(UnixMilliseconds(), std::memory_order_relaxed);
    }
    static std::int64_t UnixMilliseconds()
    {
        const auto now = std::chrono::system_clock::now().time_since_epoch();
        return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
    }
};

// The one object of the process.
inline ConnectorGauges& Gauges()
{
    static constinit ConnectorGauges s_gauges;
    return s_gauges;
}
