// CBillingIdMap: the products that the game bills. Filled by CConfigReader, read by anybody on any thread;
// its lock is a leaf.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "platform/KernovaXtl.h"

class CBillingIdMap {
public:
    // An entry that is there is left as it is.
    void AddBilling(std::int32_t nProductId, std::int32_t nBillingId, const std::string& strName);
    // 0 if there is no such product.
    std::int32_t GetBillingId(std::int32_t nProductId) const;
    // Empty if there is no such product.
    std::string GetBillingName(std::int32_t nProductId) const;
    // The same as a text that stays good, whatever becomes of the entry, as long as the library is loaded.
    const char* InternName(std::int32_t nProductId) const;
    std::int32_t GetProductCount() const;
    // In ascending order of the ids, from 0; -1 (all bits set) at or past the count.
    std::int32_t GetProductIdAt(std::int32_t nPosition) const;
    void Clear();

private:
    struct Billing {
        std::int32_t nBillingId;
        const std::string* pName;  // one of m_setNames
    };

    mutable Kernova::Threading::CriticalSection m_lock{Kernova::XTL::kSpinCount,
                                                       Kernova::Threading::LockRank::Leaf};
    std::map<std::int32_t, Billing> m_mapBilling GUARDED_BY(m_lock);
    // The keys of the map, once they have been asked for by position; else empty.
    mutable std::vector<std::int32_t> m_vecIds GUARDED_BY(m_lock);
    // Every name there has ever been, once; never emptied, because pointers to them are out.
    std::set<std::string> m_setNames GUARDED_BY(m_lock);
};

// The one object of the process.
inline CBillingIdMap& BillingIdMap() { return Kernova::XTL::Singleton<CBillingIdMap>::Instance(); }
