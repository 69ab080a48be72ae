// CBillingIdMap: the products that the game bills, from the group BILLING_ID_INFO of the settings file. Each
// product has a billing id, which decides whether its users are charged and whether they expire (see
// CUserInfo), and a name. Filled by CConfigReader at each load, read on any thread. No other lock is taken
// under its lock.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "config/NamedEntries.h"
#include "platform/KernovaXtl.h"

class CBillingIdMap {
public:
    // An entry of the same product id is left as it is: a reload adds products but changes none.
    void AddBilling(std::int32_t nProductId, std::int32_t nBillingId, const std::string& strName);
    // 0 if there is no such product.
    std::int32_t GetBillingId(std::int32_t nProductId) const;
    // Empty if there is no such product.
    std::string GetBillingName(std::int32_t nProductId) const;
    // The same name as a text that stays valid as long as the library is loaded, also after a Clear. Empty if
    // there is no such product. For the export GetBillingName, whose caller owns nothing.
    const char* InternName(std::int32_t nProductId) const;
    // A walk over all products that a reload in the middle does not confuse: the lowest id, then the lowest
    // one above the last. False, with the result left as it is, if there is none.
    bool GetFirstProductId(std::int32_t& nFirst) const;
    bool GetProductIdAbove(std::int32_t nProductId, std::int32_t& nAbove) const;
    std::int32_t GetProductCount() const;
    // The product id at that position, from 0, in ascending order of the ids; -1 (all bits set) for a
    // position outside the map. Made for a walk over all products: a position costs no walk of its own.
    std::int32_t GetProductIdAt(std::int32_t nPosition) const;
    // Removes all entries; the names stay valid.
    void Clear();

private:
    mutable Kernova::Threading::CriticalSection m_lock{Kernova::XTL::kSpinCount,
                                                       Kernova::Threading::LockRank::Leaf};
    NamedEntries<std::int32_t> m_entries GUARDED_BY(m_lock);  // billing ids
    // The keys of the map by position. Empty until a position is asked for, and emptied again by an entry
    // that does not belong at its end.
    mutable std::vector<std::int32_t> m_vecIds GUARDED_BY(m_lock);
};

// The one object of the process.
inline CBillingIdMap& BillingIdMap() { return Kernova::XTL::Singleton<CBillingIdMap>::Instance(); }
