// CEventCodeMap: the names of the billing event codes, from the group SPECIFIC_EVENT_CODE_INFO of the
// settings file. The library itself treats events by their number; the names serve the export GetEventName.
// Filled by CConfigReader at each load, read on any thread. No other lock is taken under its lock.
#pragma once

#include <cstdint>
#include <string>
#include <variant>

#include "config/NamedEntries.h"
#include "platform/KernovaXtl.h"

class CEventCodeMap {
public:
    // An entry of the same code is left as it is: a reload adds codes but changes none.
    void AddEvent(std::int32_t nEventCode, const std::string& strName);
    // Empty if there is no such code.
    std::string GetEventName(std::int32_t nEventCode) const;
    // The same name as a text that stays valid as long as the library is loaded, also after a Clear. Empty if
    // there is no such code.
    const char* InternName(std::int32_t nEventCode) const;
    // Removes all entries; the names stay valid.
    void Clear();

private:
    mutable Kernova::Threading::CriticalSection m_lock{Kernova::XTL::kSpinCount,
                                                       Kernova::Threading::LockRank::Leaf};
    NamedEntries<std::monostate> m_entries GUARDED_BY(m_lock);
};

// The one object of the process.
inline CEventCodeMap& EventCodeMap() { return Kernova::XTL::Singleton<CEventCodeMap>::Instance(); }
