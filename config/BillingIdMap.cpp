// The products of the settings file.
#include "config/BillingIdMap.h"

using Kernova::XTL::ScopedLock;

void CBillingIdMap::AddBilling(std::int32_t nProductId, std::int32_t nBillingId, const std::string& strName)
{
    const ScopedLock lock(m_lock);
    if (m_mapBilling.contains(nProductId))
        return;
    const std::string* const pName = &*m_setNames.insert(strName).first;
    m_mapBilling.emplace(nProductId, Billing{nBillingId, pName});
    // A reload adds products while the charge thread may walk them by position. A product with the highest id
    // so far only makes the index of that walk longer; any other product makes the index invalid.
    if (!m_vecIds.empty() && nProductId > m_vecIds.back())
        m_vecIds.push_back(nProductId);
    else
        m_vecIds.clear();
}

std::int32_t CBillingIdMap::GetBillingId(std::int32_t nProductId) const
{
    const ScopedLock lock(m_lock);
    const auto it = m_mapBilling.find(nProductId);
    return it == m_mapBilling.end() ? 0 : it->second.nBillingId;
}

std::string CBillingIdMap::GetBillingName(std::int32_t nProductId) const { return InternName(nProductId); }

const char* CBillingIdMap::InternName(std::int32_t nProductId) const
{
    const ScopedLock lock(m_lock);
    const auto it = m_mapBilling.find(nProductId);
    return it == m_mapBilling.end() ? "" : it->second.pName->c_str();
}

std::int32_t CBillingIdMap::GetProductCount() const
{
    const ScopedLock lock(m_lock);
    return static_cast<std::int32_t>(m_mapBilling.size());
}

std::int32_t CBillingIdMap::GetProductIdAt(std::int32_t nPosition) const
{
    const ScopedLock lock(m_lock);
    if (nPosition < 0 || static_cast<std::size_t>(nPosition) >= m_mapBilling.size())
        return -1;
    if (m_vecIds.empty()) {
        m_vecIds.reserve(m_mapBilling.size());
        for (const auto& entry : m_mapBilling)
            m_vecIds.push_back(entry.first);
    }
    return m_vecIds[static_cast<std::size_t>(nPosition)];
}

void CBillingIdMap::Clear()
{
    const ScopedLock lock(m_lock);
    m_mapBilling.clear();
    m_vecIds.clear();
}
