// What the server does about the outages that are ordered: it owns the links and accepts connections.
#include "platform/common/SocketOptions.h"
#include "sandbox/Server.h"
#include "sandbox/ServerIo.h"

namespace Sandbox {

void Server::BeginOutage(const Outage& outage)
{
    if (outage.kind == Outage::Kind::Refuse)
        m_coverage.OnOutage("", outage.kind);
    const auto setLinks = m_setLinks;  // a copy, because closing a link removes it from the set
    for (const auto& link : setLinks) {
        if (!outage.strConnector.empty() && outage.strConnector != link->GetName())
            continue;
        m_coverage.OnOutage(link->GetName(), outage.kind);
        if (outage.kind == Outage::Kind::Cut) {
            link->Close("cut by an outage");
        } else if (outage.kind == Outage::Kind::HalfOpen) {
            m_mapAbandoned[outage.nID].push_back(link);
            link->Abandon("half-open by an outage");
        }
    }
    ApplyOutages();
}

void Server::EndOutage(const Outage& outage)
{
    ReleaseAbandoned(outage.nID);
    ApplyOutages();
}

void Server::ReleaseAbandoned(int nOutage)
{
    for (const auto& link : m_mapAbandoned[nOutage])
        link->Release();
    m_mapAbandoned.erase(nOutage);
}

std::size_t Server::CountAbandoned() const
{
    std::size_t nCount = 0;
    for (const auto& [nOutage, vecLinks] : m_mapAbandoned)
        nCount += vecLinks.size();
    return nCount;
}

// Also called now and then, because a link gets its connector's name only with the registration.
void Server::ApplyOutages()
{
    const auto setLinks = m_setLinks;
    for (const auto& link : setLinks) {
        const Outages::Pace pace = m_outages.PaceOf(link->GetName());
        link->SetPace(pace.bFrozen, pace.nBytesPerSecond);
    }
    if (m_outages.RefusesConnections() != m_bRefusing)
        m_bRefusing ? ListenAgain() : StopListening();
}

void Server::StopListening()
{
    m_bRefusing = true;
    m_io->acceptTimer.cancel();
    asio::error_code ignored;
    m_io->acceptor.close(ignored);
}

// If another process has taken the port meanwhile, the next sweep tries again.
void Server::ListenAgain()
{
    asio::error_code error;
    auto& acceptor = m_io->acceptor;
    acceptor.open(m_io->endpoint.protocol(), error);
    if (!error)
        Netrova::SetListenOptions(static_cast<std::uintptr_t>(acceptor.native_handle()));
    acceptor.bind(m_io->endpoint, error);
    if (!error)
        acceptor.listen(asio::socket_base::max_listen_connections, error);
    if (error) {
        acceptor.close(error);
        return;
    }
    m_bRefusing = false;
    Accept();
}

}  // namespace Sandbox
