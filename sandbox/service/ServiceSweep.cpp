// The rules that run by time: links that have to be closed, and users, moves, reservations and connectors
// whose time is over.
#include "sandbox/base/DateText.h"
#include "sandbox/service/Service.h"

namespace Sandbox {

std::optional<std::string> Service::ReasonToClose(const Link& link) const
{
    const std::int64_t msNow = m_clock.SocketMilliseconds();
    const Connector* const pConnector = m_registry.FindByLink(link);
    if (pConnector == nullptr) {
        if (msNow - link.GetStartTime() <= kRegisterMilliseconds)
            return std::nullopt;
        return "no registration within " + std::to_string(kRegisterMilliseconds / 1000) + " s";
    }
    if (msNow - link.GetLastHeard() <= kSilentCycles * pConnector->msCycle)
        return std::nullopt;
    return "silent for " + std::to_string(kSilentCycles) + " heartbeat cycles of " +
           std::to_string(pConnector->msCycle / 1000) + " s";
}

void Service::Sweep()
{
    const std::int64_t msNow = m_clock.Milliseconds();
    Transaction transaction = m_store.Begin();
    std::vector<Connector*> vecConfirmed, vecGone;
    for (auto& [identity, connector] : m_registry.GetConnectors()) {
        if (connector.msConfirmBy && msNow > *connector.msConfirmBy) {
            ShowCheckedOut(m_store.RemoveUnconfirmed(connector.nID),
                           "nobody has confirmed it after the registration");
            vecConfirmed.push_back(&connector);
        }
        if (connector.pLink == nullptr && msNow - connector.msAwaySince > kAwayMilliseconds) {
            ShowCheckedOut(m_store.GetSessions(connector.nID), "its connector stays away");
            m_store.RemoveConnector(connector.nID);
            vecGone.push_back(&connector);
        }
    }
    const std::vector<Session> vecOverdue = RemoveOverdue();
    ShowCheckedOut(m_store.RemoveMovesBefore(m_clock.Now() - kMoveSeconds),
                   "its move has not ended anywhere");
    const int nReleased = m_ledger.ReleaseReservedBefore(m_clock.Now());
    transaction.Commit();
    if (nReleased > 0)
        m_console.Note("storage: " + std::to_string(nReleased) +
                       " reserved entries wait again, nobody ended it");
    // The registry has no part in the transaction, so it is changed only now, when nothing can fail any more.
    for (Connector* const pConnector : vecConfirmed)
        pConnector->msConfirmBy.reset();
    for (const Connector* const pConnector : vecGone) {
        m_console.Note(pConnector->identity.GetName() + ": is forgotten");
        m_registry.Remove(*pConnector);
    }
    for (const Session& session : vecOverdue)
        NotifyForced(session);
}

void Service::ShowCheckedOut(const std::vector<Session>& vecSessions, const char* pszWhy)
{
    for (const Session& session : vecSessions) {
        m_console.Note(NameOf(session.nConnector) + ": " + Printable(session.strUserID) + " (Seq No " +
                       std::to_string(session.nSeqNo) + ") is checked out: " + pszWhy);
    }
}

std::vector<Session> Service::RemoveOverdue()
{
    const std::int64_t msNow = m_clock.Milliseconds();
    std::vector<Session> vecRemoved;
    std::map<std::int64_t, std::int64_t> mapStill;
    for (const Session& session : m_store.GetOverdue(FormatDate(m_clock.Now()))) {
        const auto it = m_mapOverdue.find(session.nSeqNo);
        const std::int64_t msSince = it != m_mapOverdue.end() ? it->second : msNow;
        if (msNow - msSince <= kOverdueMilliseconds) {
            mapStill.emplace(session.nSeqNo, msSince);
            continue;
        }
        m_store.RemoveSession(session.nSeqNo);
        vecRemoved.push_back(session);
    }
    m_mapOverdue = std::move(mapStill);
    ShowCheckedOut(vecRemoved, "its time is over, and its connector has not checked it out");
    return vecRemoved;
}

}  // namespace Sandbox
