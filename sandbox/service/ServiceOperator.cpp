// What an operator orders for a user. docs/sandbox-change.md tells the same in prose.
#include "sandbox/base/DateText.h"
#include "sandbox/service/BillingEvents.h"
#include "sandbox/service/Service.h"

namespace Sandbox {

void Service::StopTerm(const std::string& strUserID)
{
    Transaction transaction = m_store.Begin(Access::Change);
    auto user = m_store.FindUser({strUserID, false});
    if (!user)
        return;
    user->billing.strEndDate = FormatDate(m_clock.Now() - 1);
    user->billing.nRemainMinutes = 0;
    user->nTermSeconds = 0;
    user->vecOther = m_store.GetOtherBillings(user->nID);
    m_store.RestoreUser(*user);
    const auto session = m_store.FindSessionOf(user->nID);
    if (session)
        m_store.SetEndDate(session->nSeqNo, user->billing.strEndDate);
    transaction.Commit();
    if (session && session->nMovingSince == 0)
        Notify(*session, kBillingExpire, 0, "The term has been stopped.");
}

void Service::RemoveUser(const std::string& strUserID)
{
    Transaction transaction = m_store.Begin(Access::Change);
    const auto user = m_store.FindUser({strUserID, false});
    if (!user)
        return;
    const auto session = m_store.FindSessionOf(user->nID);
    m_store.RemoveUser(user->nID);
    transaction.Commit();
    if (!session)
        return;
    ShowCheckedOut({*session}, "the user has been removed");
    if (session->nMovingSince == 0)
        Notify(*session, kForceCheckout, 0, "The user has been removed.");
}

}  // namespace Sandbox
