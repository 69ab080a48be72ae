// Takes the status, and hands the log's thread what it has to do for the operator.
#include "comm/Status.h"

#include <atomic>
#include <cstring>
#include <limits>

#include "base/Gauges.h"
#include "base/Logger.h"
#include "base/ModuleFlags.h"
#include "base/TextField.h"
#include "comm/CommHandler.h"
#include "comm/MessageCounts.h"
#include "comm/RequestWatch.h"

static_assert(sizeof(_MESSAGE_STATUS::arrLatency) / sizeof(long long) == kLatencyBuckets);
static_assert(sizeof(_CONNECTOR_STATUS::arrMessages) / sizeof(_MESSAGE_STATUS) >=
              Wirova::kSentMessages.size());

namespace {

void TakeMessage(_MESSAGE_STATUS& row, const MessageCounts& counts, const char* pszName)
{
    CopyText(row.szName, pszName);
    row.nSent = ConnectorGauges::Get(counts.nSent);
    row.nRefused = ConnectorGauges::Get(counts.nRefused);
    row.nTimedOut = ConnectorGauges::Get(counts.nTimedOut);
    row.nLatencyMicroseconds = ConnectorGauges::Get(counts.nLatency) / 1000;
    // The sum of the buckets, so that a reader's own sum is this number.
    row.nAnswered = 0;
    for (std::size_t n = 0; n < kLatencyBuckets; ++n) {
        row.arrLatency[n] = ConnectorGauges::Get(counts.arrLatency[n]);
        row.nAnswered += row.arrLatency[n];
    }
}

// The log's thread. A thread of an earlier life that was left behind does not look beside it.
void LookAtRequests()
{
    static constinit CRequestWatch s_watch;
    static constinit std::atomic_flag s_bLooking;
    static constinit unsigned int s_nLife = 0;
    const Kernova::XTL::ExitGate::Scope inside;
    if (s_bLooking.test_and_set(std::memory_order_acquire))
        return;
    struct Behind {
        ~Behind() { s_bLooking.clear(std::memory_order_release); }
    } const behind;
    const bool bFresh = s_nLife != ModuleLife::Current();
    s_nLife = ModuleLife::Current();
    s_watch.Look(Host::GetSteadyTime(), bFresh);
}

std::string MakeStatusText(bool bJson)
{
    const Kernova::XTL::ExitGate::Scope inside;
    _CONNECTOR_STATUS status;
    TakeStatus(status);
    return StatusText(status, {CommHandler().GetId(), ConnectorGauges::UnixMilliseconds()}, bJson);
}

}  // namespace

void TakeStatus(_CONNECTOR_STATUS& status) noexcept
{
    const ConnectorGauges& gauges = Gauges();
    status = {};
    status.nSize = sizeof(status);
    status.nLinkState = static_cast<int>(gauges.linkState.load());
    status.nLinkSince = ConnectorGauges::Get(gauges.nLinkSince);
    status.nConnectAttempts = ConnectorGauges::Get(gauges.nConnectAttempts);
    status.nConnects = ConnectorGauges::Get(gauges.nConnects);
    status.nLinkLosses = ConnectorGauges::Get(gauges.nLinkLosses);
    status.nUsers = ConnectorGauges::Get(gauges.nUsers);
    status.nWaiters = ConnectorGauges::Get(gauges.nWaiters);
    status.nQueuedBytes = static_cast<long long>(Netrova::Link::GetQueuedBytes());
    status.nFailedCheckouts = ConnectorGauges::Get(gauges.nFailedCheckouts);
    status.nMessages = static_cast<int>(Wirova::kSentMessages.size());
    for (std::size_t n = 0; n < Wirova::kSentMessages.size(); ++n)
        TakeMessage(status.arrMessages[n], MessageTable()[n], Wirova::kSentMessages[n].pszName);
}

void StartReporting()
{
    const int nSlow = Logger().GetSlowLimit();
    MessageCounts::SlowLimit().store(nSlow == 0 ? std::numeric_limits<std::int64_t>::max()
                                                : std::int64_t{nSlow} * 1'000'000);
    Logger().SetReporter({&LookAtRequests, &MakeStatusText});
}
