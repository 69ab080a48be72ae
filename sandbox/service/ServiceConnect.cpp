// Registration, heartbeat, and the two lists that follow a registration: failed checkouts, and the users that
// play.
#include "sandbox/base/Version.h"
#include "sandbox/service/Service.h"

namespace Sandbox {
namespace {

constexpr std::size_t kMaxIdentityText = 20;  // bytes

}  // namespace

// Nothing to do: the link has noted that bytes came in, which is all that a heartbeat is for.
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
    // The connector's list tells which of its users still play. Those whom it does not confirm in time are
    // checked out by the sweep.
    m_store.SetUnconfirmed(pConnector->nID);
    ans.strConnectInfo1 = "velkar-sandbox";
    ans.strConnectInfo2 = kVersion;
    ans.strMessage = "Accepted.";

    const std::int64_t msCycle = std::max<std::int64_t>(req.nHeartbeatCycle, 1) * 1000;
    Studio* const pStudio = m_store.GetStudio();
    const std::int64_t nBefore = pStudio != nullptr ? pStudio->Claim(pConnector->nID) : 0;
    if (nBefore != 0 && nBefore != pStudio->GetID())
        pStudio->Post({.nTo = nBefore, .nKind = Letter::Replaced, .nConnector = pConnector->nID});
    // Only once the store has taken the registration does the link become the connector's.
    call.vecAfter.push_back([this, &link = call.link, pConnector, msCycle] {
        pConnector->msCycle = msCycle;
        pConnector->bClaimed = true;
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

std::string Service::NameOf(std::int64_t nConnector)
{
    const Connector* const pConnector = m_registry.Find(nConnector);
    return pConnector != nullptr ? pConnector->identity.GetName() : "(forgotten connector)";
}

}  // namespace Sandbox
