#include "comm/ResWaiter.h"

#include "base/Gauges.h"
#include "base/ModuleFlags.h"

bool CResWaiterMap::AddWaiter(_BASE_RESWAIT* pWaiter)
{
    if (BeingTerminatedFlag().IsSet())
        return false;
    const Kernova::XTL::ScopedLock lock(m_lock);
    _BASE_RESWAIT*& pFound = Find(pWaiter->nReqID);
    if (pFound == nullptr) {  // of two waiters with one id the first one stays
        pFound = pWaiter;
        ConnectorGauges::Set(Gauges().nWaiters, ++m_nCount);
    }
    return true;
}

void CResWaiterMap::RemoveWaiter(int nReqID)
{
    const Kernova::XTL::ScopedLock lock(m_lock);
    _BASE_RESWAIT*& pFound = Find(nReqID);
    if (pFound == nullptr)
        return;
    pFound = pFound->pNext;
    ConnectorGauges::Set(Gauges().nWaiters, --m_nCount);
}

std::size_t CResWaiterMap::GetCount()
{
    const Kernova::XTL::ScopedLock lock(m_lock);
    return m_nCount;
}

void WaiterAutoRemover::Remove()
{
    // The map cannot be gone: the export that owns the waiter keeps the process-wide objects alive.
    if (!m_bRemoved)
        ResWaiterMap().RemoveWaiter(m_waiter.nReqID);
    m_bRemoved = true;
}
