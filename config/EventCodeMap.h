// CEventCodeMap: the names of the billing event codes. Filled by CConfigReader, read by anybody on any
// thread; its lock is a leaf.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>

#include "platform/KernovaXtl.h"

class CEventCodeMap {
public:
    // An entry that is there is left as it is.
    void AddEvent(std::int32_t nEventCode, const std::string& strName);
    // Empty if there is no such code.
    std::string GetEventName(std::int32_t nEventCode) const;
    // The same as a text that stays good, whatever becomes of the entry, as long as the library is loaded.
    const char* InternName(std::int32_t nEventCode) const;
    void Clear();

private:
    mutable Kernova::Threading::CriticalSection m_lock{Kernova::XTL::kSpinCount,
                                                       Kernova::Threading::LockRank::Leaf};
    std::map<std::int32_t, const std::string*> m_mapEvents GUARDED_BY(m_lock);
    // Every name there has ever been, once; never emptied, because pointers to them are out.
    std::set<std::string> m_setNames GUARDED_BY(m_lock);
};

// The one object of the process.
inline CEventCodeMap& EventCodeMap() { return Kernova::XTL::Singleton<CEventCodeMap>::Instance(); }
