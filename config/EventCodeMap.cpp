// The names of the billing event codes.
#include "config/EventCodeMap.h"

using Kernova::XTL::ScopedLock;

void CEventCodeMap::AddEvent(std::int32_t nEventCode, const std::string& strName)
{
    const ScopedLock lock(m_lock);
    if (!m_mapEvents.contains(nEventCode))
        m_mapEvents.emplace(nEventCode, &*m_setNames.insert(strName).first);
}

std::string CEventCodeMap::GetEventName(std::int32_t nEventCode) const { return InternName(nEventCode); }

const char* CEventCodeMap::InternName(std::int32_t nEventCode) const
{
    const ScopedLock lock(m_lock);
    const auto it = m_mapEvents.find(nEventCode);
    return it == m_mapEvents.end() ? "" : it->second->c_str();
}

void CEventCodeMap::Clear()
{
    const ScopedLock lock(m_lock);
    m_mapEvents.clear();
}
