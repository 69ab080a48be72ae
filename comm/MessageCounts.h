// What has become of the messages that the connector has sent: one row of figures for each class.
#pragma once

#include <array>
#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "platform/Host.h"
#include "wirova/messages/SentMessages.h"

// The times from request to answer are counted in buckets: up to 100 microseconds, up to 200, and so on, each
// bucket up to twice the one before, and the last bucket without an end.
inline constexpr std::size_t kLatencyBuckets = 17;
inline constexpr std::int64_t kFirstBucket = 100'000;  // nanoseconds

constexpr std::size_t LatencyBucket(std::int64_t nNanoseconds)
{
    if (nNanoseconds <= 0)
        return 0;
    const auto nDoublings = static_cast<std::uint64_t>((nNanoseconds - 1) / kFirstBucket);
    const auto nBucket = static_cast<std::size_t>(std::bit_width(nDoublings));
    return nBucket < kLatencyBuckets ? nBucket : kLatencyBuckets - 1;
}

// Any thread, without a lock. Each figure is right by itself; two of them need not be of the same moment. A
// row has cache lines of its own, so that two kinds of request do not slow each other down.
struct alignas(64) MessageCounts {
    using Figure = std::atomic<std::int64_t>;

    Figure nSent{0};      // accepted by the link
    Figure nRefused{0};   // not accepted: nothing was sent
    Figure nAnswered{0};  // the waiting call has got its answer
    Figure nTimedOut{0};  // no answer came in time
    Figure nLatency{0};   // of all answers together, in nanoseconds
    // Slow answers, and the longest time of one in nanoseconds. Whoever reports them takes them away.
    Figure nSlow{0};
    Figure nLongest{0};
    std::array<Figure, kLatencyBuckets> arrLatency{};

    // An answer is slow if it takes longer; nanoseconds. For all rows.
    static Figure& SlowLimit()
    {
        static constinit Figure s_nLimit{std::numeric_limits<std::int64_t>::max()};
        return s_nLimit;
    }
    static void Add(Figure& figure, std::int64_t n = 1) { figure.fetch_add(n, std::memory_order_relaxed); }

    void CountAnswer(std::int64_t nNanoseconds)
    {
        Add(nAnswered);
        Add(nLatency, nNanoseconds);
        Add(arrLatency[LatencyBucket(nNanoseconds)]);
        if (nNanoseconds > SlowLimit().load(std::memory_order_relaxed)) [[unlikely]]
            CountSlow(nNanoseconds);
    }
    void CountSlow(std::int64_t nNanoseconds)
    {
        Add(nSlow);
        std::int64_t n = nLongest.load(std::memory_order_relaxed);
        while (n < nNanoseconds &&
               !nLongest.compare_exchange_weak(n, nNanoseconds, std::memory_order_relaxed)) {
        }
    }
};

using AllMessageCounts = std::array<MessageCounts, Wirova::kSentMessages.size()>;

// All rows, by the numbers of SentMessages.h. They have static storage and no destructor, and count through
// all lives of the library.
inline AllMessageCounts& MessageTable()
{
    static constinit AllMessageCounts s_arrCounts;
    return s_arrCounts;
}
template <class M>
MessageCounts& CountsOf()
{
    return MessageTable()[Wirova::kSentNumber<M>];
}

// Whether messages are counted. Only a measurement of what counting costs turns it off.
inline std::atomic<bool>& IsCounting()
{
    static constinit std::atomic<bool> s_bCounting{true};
    return s_bCounting;
}

// The time of one request, from before its sending until its caller is back with the answer.
template <class Request>
class RequestTimer {
public:
    RequestTimer() : m_nBegin(IsCounting().load(std::memory_order_relaxed) ? Host::GetSteadyTime() : 0) {}
    // Once, when the call is over.
    void Count(bool bAnswered) const
    {
        if (m_nBegin == 0)
            return;
        if (bAnswered)
            CountsOf<Request>().CountAnswer(Host::GetSteadyTime() - m_nBegin);
        else
            MessageCounts::Add(CountsOf<Request>().nTimedOut);
    }

private:
    const std::int64_t m_nBegin;  // nanoseconds; 0: not counted
};
