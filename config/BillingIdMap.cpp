// The products of the settings file.
#include "config/BillingIdMap.h"

using Kernova::XTL::ScopedLock;

void CBillingIdMap::AddBilling(std::int32_t nProductId, std::int32_t nBillingId, const std::string& strName)
{
    const ScopedLock lock(m_lock);
    if (!m_entries.Add(nProductId, nBillingId, strName))
        return;
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
    const auto* const pEntry = m_entries.Find(nProductId);
    return pEntry == nullptr ? 0 : pEntry->value;
}

std::string CBillingIdMap::GetBillingName(std::int32_t nProductId) const { return InternName(nProductId); }

const char* CBillingIdMap::InternName(std::int32_t nProductId) const
{
    const ScopedLock lock(m_lock);
    const auto* const pEntry = m_entries.Find(nProductId);
    return pEntry == nullptr ? "" : pEntry->pszName;
}

bool CBillingIdMap::GetFirstProductId(std::int32_t& nFirst) const
{
    const ScopedLock lock(m_lock);
    const auto* const pEntry = m_entries.FindFrom(std::numeric_limits<std::int32_t>::min());
    if (pEntry == nullptr)
        return false;
    nFirst = pEntry->first;
    return true;
}

bool CBillingIdMap::GetProductIdAbove(std::int32_t nProductId, std::int32_t& nAbove) const
{
    const ScopedLock lock(m_lock);
    const auto* const pEntry = m_entries.FindFrom(std::int64_t{nProductId} + 1);
    if (pEntry == nullptr)
        return false;
    nAbove = pEntry->first;
    return true;
}

std::int32_t CBillingIdMap::GetProductCount() const
{
    const ScopedLock lock(m_lock);
    return static_cast<std::int32_t>(m_entries.Count());
}

std::int32_t CBillingIdMap::GetProductIdAt(std::int32_t nPosition) const
{
    const ScopedLock lock(m_lock);
    if (nPosition < 0 || static_cast<std::size_t>(nPosition) >= m_entries.Count())
        return -1;
    if (m_vecIds.empty()) {
        m_vecIds.reserve(m_entries.Count());
        for (const auto& [nId, entry] : m_entries.All()) {
            if (!entry.bRetired)
                m_vecIds.push_back(nId);
        }
    }
    return m_vecIds[static_cast<std::size_t>(nPosition)];
}

void CBillingIdMap::Clear()
{
    const ScopedLock lock(m_lock);
    m_entries.Clear();
    m_vecIds.clear();
}
