// The rules that run by time: links that have to be closed, and users, moves, reservations and connectors
// whose time is over.
#include "sandbox/base/DateText.h"
#include "sandbox/service/Service.h"

namespace Sandbox {
namespace {

constexpr std::chrono::seconds kLookAtStudio{2};  // how often the other sandboxes are looked at

}  // namespace

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

// What a sweep leaves to be done once its changes are committed.
struct Service::Swept {
    std::vector<Connector*> vecConfirmed, vecGone, vecClaimed, vecReleased;
    std::vector<std::int64_t> vecReplaced;
};

void Service::SweepOnce()
{
    const std::int64_t msNow = m_clock.Milliseconds();
    Studio* const pStudio = m_store.GetStudio();
    Swept swept;
    Transaction transaction = m_store.Begin(Access::Change);
    if (pStudio != nullptr)
        SweepStudio(swept);
    for (auto& [identity, connector] : m_registry.GetConnectors()) {
        if (connector.msConfirmBy && msNow > *connector.msConfirmBy) {
            // A connector that has registered at another sandbox since then is confirmed there.
            if (pStudio == nullptr || pStudio->Owns(connector.nID)) {
                ShowCheckedOut(m_store.RemoveUnconfirmed(connector.nID),
                               "nobody has confirmed it after the registration");
            }
            swept.vecConfirmed.push_back(&connector);
        }
        if (pStudio == nullptr && connector.pLink == nullptr &&
            msNow - connector.msAwaySince > kAwayMilliseconds) {
            ShowCheckedOut(m_store.GetSessions(connector.nID), "its connector stays away");
            m_store.RemoveConnector(connector.nID);
            swept.vecGone.push_back(&connector);
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
    for (Connector* const pConnector : swept.vecConfirmed)
        pConnector->msConfirmBy.reset();
    for (Connector* const pConnector : swept.vecClaimed)
        pConnector->bClaimed = true;
    for (Connector* const pConnector : swept.vecReleased)
        pConnector->bClaimed = false;
    for (const Connector* const pConnector : swept.vecGone) {
        m_console.Note(pConnector->identity.GetName() + ": is forgotten");
        m_registry.Remove(*pConnector);
    }
    for (const std::int64_t nConnector : swept.vecReplaced)
        m_registry.CloseReplaced(nConnector);
    for (const Session& session : vecOverdue)
        NotifyForced(session);
}

// Brings what the database says of the links of this sandbox to what they are, and does for all connectors of
// the studio what a single sandbox does for its own.
void Service::SweepStudio(Swept& swept)
{
    Studio& studio = *m_store.GetStudio();
    const std::time_t now = m_clock.Now();
    const auto steady = std::chrono::steady_clock::now();
    if (steady - m_studioLooked > kLookAtStudio) {
        m_studioLooked = steady;
        const bool bMissed = studio.EnterAgain();
        studio.Clean(now);
        m_registry.Refresh();
        for (auto& [identity, connector] : m_registry.GetConnectors())
            connector.bClaimed &= !bMissed;
    }
    for (auto& [identity, connector] : m_registry.GetConnectors()) {
        if (connector.pLink != nullptr && !connector.bClaimed) {
            if (studio.ClaimFree(connector.nID))
                swept.vecClaimed.push_back(&connector);
            else
                swept.vecReplaced.push_back(connector.nID);
        } else if (connector.pLink == nullptr && connector.bClaimed) {
            studio.Release(connector.nID, now - (m_clock.Milliseconds() - connector.msAwaySince) / 1000);
            swept.vecReleased.push_back(&connector);
        }
    }
    for (const std::int64_t nConnector : studio.GetAwayBefore(now - kAwayMilliseconds / 1000)) {
        Connector* const pConnector = m_registry.Find(nConnector);
        ShowCheckedOut(m_store.GetSessions(nConnector), "its connector stays away");
        m_store.RemoveConnector(nConnector);
        if (pConnector != nullptr && pConnector->pLink == nullptr)
            swept.vecGone.push_back(pConnector);
    }
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
        if (m_store.RemoveSession(session.nSeqNo))  // unless another sandbox has been quicker
            vecRemoved.push_back(session);
    }
    m_mapOverdue = std::move(mapStill);
    ShowCheckedOut(vecRemoved, "its time is over, and its connector has not checked it out");
    return vecRemoved;
}

}  // namespace Sandbox
