#include "comm/LinkWatch.h"

#include <cstdio>
#include <utility>

#include "base/Logger.h"
#include "base/ModuleFlags.h"
#include "platform/Host.h"

using Kernova::XTL::ScopedLock;

namespace {

int SecondsSince(std::int64_t nTime)
{
    return static_cast<int>((Host::GetSteadyTime() - nTime) / 1'000'000'000);
}

// The reason of a loss as the end of a sentence.
void DescribeEnd(Netrova::Link::End end, int nCode, char (&szReason)[80])
{
    using Netrova::Link::End;
    switch (end) {
        case End::ByPeer:
            std::snprintf(szReason, sizeof(szReason), "the service has ended it");
            break;
        case End::ClosedHere:
            std::snprintf(szReason, sizeof(szReason), "it was closed here");
            break;
        case End::Stalled:
            std::snprintf(szReason, sizeof(szReason), "the service has taken no byte for %d seconds",
                          Netrova::Link::kMaxStall);
            break;
        case End::Failed:
            std::snprintf(szReason, sizeof(szReason), "it has failed with error code %d", nCode);
            break;
    }
}

}  // namespace

void CLinkWatch::OnStart()
{
    const ScopedLock lock(m_lock);
    m_nUpAt = 0;
    m_nLostAt = 0;
    m_nAttempts = 0;
    Gauges().SetLinkState(LinkState::Connecting);
}

void CLinkWatch::OnStop() { Gauges().SetLinkState(LinkState::Stopped); }

void CLinkWatch::OnAttempt(const std::string& strServerIP, int nServerPort)
{
    Address address;
    std::snprintf(address.sz, sizeof(address.sz), "%s:%d", strServerIP.c_str(), nServerPort);
    ConnectorGauges::Count(Gauges().nConnectAttempts);
    const ScopedLock lock(m_lock);
    ++m_nAttempts;
    m_address = address;
}

void CLinkWatch::OnConnected() { Gauges().SetLinkState(LinkState::Registering); }

void CLinkWatch::OnAccepted()
{
    ConnectorGauges::Count(Gauges().nConnects);
    Gauges().SetLinkState(LinkState::Up);
    Address address;
    std::int64_t nLostAt = 0;
    int nAttempts = 0;
    {
        const ScopedLock lock(m_lock);
        m_nUpAt = Host::GetSteadyTime();
        address = m_address;
        std::swap(nLostAt, m_nLostAt);
        std::swap(nAttempts, m_nAttempts);
    }
    if (nLostAt != 0)
        Log::WarningFmt("[Comm Handler] The connection to %s is up again after %d s. [Attempts: %d]",
                        address.sz, SecondsSince(nLostAt), nAttempts);
}

void CLinkWatch::OnDisconnected(bool bWasUp, Netrova::Link::End end, int nCode)
{
    if (BeingTerminatedFlag().IsSet())
        return;
    Gauges().SetLinkState(LinkState::Connecting);
    if (!bWasUp)
        return;
    ConnectorGauges::Count(Gauges().nLinkLosses);
    Address address;
    std::int64_t nUpAt = 0;
    {
        const ScopedLock lock(m_lock);
        m_nLostAt = Host::GetSteadyTime();
        m_nAttempts = 0;
        nUpAt = m_nUpAt;
        address = m_address;
    }
    char szReason[80];
    DescribeEnd(end, nCode, szReason);
    Log::WarningFmt("[Comm Handler] The connection to %s is lost after %d s: %s.", address.sz,
                    SecondsSince(nUpAt), szReason);
}
