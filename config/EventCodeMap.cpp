// The names of the billing event codes.
#include "config/EventCodeMap.h"

using Kernova::XTL::ScopedLock;

void CEventCodeMap::AddEvent(std::int32_t nEventCode, const std::string& strName)
{
    const ScopedLock lock(m_lock);
    m_entries.Add(nEventCode, {}, strName);
}

std::string CEventCodeMap::GetEventName(std::int32_t nEventCode) const { return InternName(nEventCode); }

const char* CEventCodeMap::InternName(std::int32_t nEventCode) const
{
    const ScopedLock lock(m_lock);
    const auto* const pEntry = m_entries.Find(nEventCode);
    return pEntry == nullptr ? "" : pEntry->pszName;
}

void CEventCodeMap::Clear()
{
    const ScopedLock lock(m_lock);
    m_entries.Clear();
}
