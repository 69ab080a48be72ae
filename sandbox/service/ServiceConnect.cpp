// Registration, heartbeat, the two lists that follow a registration, and what runs by time.
#include "sandbox/base/Version.h"
#include "sandbox/service/Service.h"

namespace Sandbox {
namespace {

constexpr std::size_t kMaxIdentityText = 20;  // bytes

}  // namespace

// It counts as a sign of life, as all bytes do.
void Service::Heartbeat(Call&, const XC2S_Heartbeat&) {}

void Service::VelkarConnect(Call& call, const XC2S_VelkarConnectReq& req, XS2C_VelkarConnectAns& ans)
{
    const Identity identity{req.strGID, req.strSID, req.strWID};
    if (identity.strGID.empty())
        throw Refusal(kNoGID, "The GID is empty.");
    for (const std::string* pText : {&identity.strGID, &identity.strSID, &identity.strWID}) {
        if (pText->size() > kMaxIdentityText)
            throw Refusal(kTooLong, "GID, SID and WID have at most 20 bytes each.");
    }
    if (call.pConnector != nullptr && call.pConnector->identity != identity)
        throw Refusal(kOtherConnector,
                      "This link belongs to " + call.pConnector->identity.GetName() + " already.");
    Connector* const pConnector = m_registry.FindOrAdd(identity);
    if (pConnector == nullptr)
        throw Refusal(kTooMany, "The sandbox has too many connectors.");
    m_store.SetUnconfirmed(pConnector->nID);
    ans.strConnectInfo1 = "velkar-sandbox";
    ans.strConnectInfo2 = kVersion;
    ans.strMessage = "Accepted.";

    const std::int64_t msCycle = std::max<std::int64_t>(req.nHeartbeatCycle, 1) * 1000;
    call.vecAfter.push_back([this, &link = call.link, pConnector, msCycle] {
        pConnector->msCycle = msCycle;
        pConnector->msConfirmBy = m_clock.Milliseconds() + kConfirmCycles * msCycle;
        if (Link* const pReplaced = m_registry.Attach(*pConnector, link))
            pReplaced->Close("replaced by a new link of the same connector");
    });
}

void Service::FailedCheckOut(Call& call, const XC2S_FailedCheckOutReq& req)
{
    const auto& vecInfo = req.vecCheckOutInfo;
    const int nRefused = CountRefused(call, "failed checkout", vecInfo, [&](const XCheckOutInfo& info) {
        m_store.RemoveSession(RequireSession(call, KeyOf(info), info.strSeqNo).nSeqNo);
    });
    m_console.Note(call.link.GetName() + ": failed checkouts: " +
                   std::to_string(vecInfo.size() - static_cast<std::size_t>(nRefused)) + " checked out, " +
                   std::to_string(nRefused) + " not found");
}

void Service::UserListSync(Call& call, const XC2S_UserListSyncReq& req)
{
    int nConfirmed = 0, nRestored = 0;
    const int nRefused = CountRefused(call, "user list", req.vecCheckOutInfo, [&](const XCheckOutInfo& info) {
        SyncUser(call, KeyOf(info), info) == Synced::Confirmed ? ++nConfirmed : ++nRestored;
    });
    m_console.Note(call.link.GetName() + ": user list: " + std::to_string(nConfirmed) + " confirmed, " +
                   std::to_string(nRestored) + " checked in again, " + std::to_string(nRefused) +
                   " not taken");
}

std::optional<std::string> Service::GetOverdue(const Link& link) const
{
    const std::int64_t msNow = m_clock.Milliseconds();
    const Connector* const pConnector = link.GetConnector();
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
            Dropped(m_store.RemoveUnconfirmed(connector.nID),
                    "nobody has confirmed it after the registration");
            vecConfirmed.push_back(&connector);
        }
        if (connector.pLink == nullptr && msNow - connector.msAwaySince > kAwayMilliseconds) {
            Dropped(m_store.GetSessions(connector.nID), "its connector stays away");
            m_store.RemoveConnector(connector.nID);
            vecGone.push_back(&connector);
        }
    }
    const std::vector<Session> vecOverdue = RemoveOverdue();
    Dropped(m_store.RemoveMovesBefore(m_clock.Now() - kMoveSeconds), "its move has not ended anywhere");
    const int nReleased = m_ledger.ReleaseReservedBefore(m_clock.Now());
    transaction.Commit();
    if (nReleased > 0)
        m_console.Note("storage: " + std::to_string(nReleased) +
                       " reserved entries wait again, nobody ended it");
    for (Connector* const pConnector : vecConfirmed)
        pConnector->msConfirmBy.reset();
    for (const Connector* const pConnector : vecGone) {
        m_console.Note(pConnector->identity.GetName() + ": is forgotten");
        m_registry.Remove(*pConnector);
    }
    for (const Session& session : vecOverdue)
        NotifyForced(session);
}

void Service::Dropped(const std::vector<Session>& vecSessions, const char* pszWhy)
{
    for (const Session& session : vecSessions) {
        m_console.Note(NameOf(session.nConnector) + ": " + Printable(session.strUserID) + " (Seq No " +
                       std::to_string(session.nSeqNo) + ") is checked out: " + pszWhy);
    }
}

std::string Service::NameOf(std::int64_t nConnector)
{
    const Connector* const pConnector = m_registry.Find(nConnector);
    return pConnector != nullptr ? pConnector->identity.GetName() : "(forgotten connector)";
}

}  // namespace Sandbox
