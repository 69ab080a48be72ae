#include "comm/ResWaiter.h"

#include "base/ModuleFlags.h"

bool CResWaiterMap::AddWaiter(_BASE_RESWAIT* pWaiter)
{
    if (BeingTerminatedFlag().IsSet())
        return false;
    const Kernova::XTL::ScopedLock lock(m_lock);
    m_mapWaiters.emplace(pWaiter->nReqID, pWaiter);
    return true;
}

void CResWaiterMap::RemoveWaiter(int nReqID)
{
    const Kernova::XTL::ScopedLock lock(m_lock);
    m_mapWaiters.erase(nReqID);
}

std::size_t CResWaiterMap::GetCount()
{
    const Kernova::XTL::ScopedLock lock(m_lock);
    return m_mapWaiters.size();
}

WaiterAutoRemover::~WaiterAutoRemover()
{
    // The map cannot be gone: the export that owns the waiter keeps the process-wide objects alive.
    ResWaiterMap().RemoveWaiter(m_waiter.nReqID);
}
