// NamedEntries: what CBillingIdMap and CEventCodeMap have in common, a map of numbers to entries that have a
// name. It takes no lock; the map that holds it does.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <map>
#include <set>
#include <string>

// A name stays valid as long as this object, also after a Clear, because the game holds pointers to it. Clear
// therefore retires the entries with their names, and a later addition under the same number uses the memory
// again.
template <class Value>
class NamedEntries {
public:
    struct Entry {
        Value value;
        const std::string* pName;  // strFirst, or one of m_setOthers
        bool bRetired;
        std::string strFirst;  // the first name that the entry has had
    };
    using Map = std::map<std::int32_t, Entry>;

    // False, and no change, if there is an entry of that number.
    bool Add(std::int32_t nKey, const Value& value, const std::string& strName)
    {
        auto it = Place(nKey);
        if (it == m_map.end() || it->first != nKey) {
            it = m_map.emplace_hint(it, nKey, Entry{value, nullptr, false, strName});
            it->second.pName = &it->second.strFirst;
        } else if (it->second.bRetired) {
            Entry& entry = it->second;
            if (*entry.pName != strName)
                entry.pName =
                    entry.strFirst == strName ? &entry.strFirst : &*m_setOthers.insert(strName).first;
            entry.value = value;
            entry.bRetired = false;
        } else {
            m_itNext = std::next(it);
            return false;
        }
        m_itNext = std::next(it);
        ++m_nCount;
        return true;
    }
    // Null if there is none.
    const Entry* Find(std::int32_t nKey) const
    {
        const auto it = m_map.find(nKey);
        return it == m_map.end() || it->second.bRetired ? nullptr : &it->second;
    }
    std::size_t Count() const { return m_nCount; }
    // In ascending order of the numbers, retired entries included.
    const Map& All() const { return m_map; }
    void Clear()
    {
        for (auto& [nKey, entry] : m_map)
            entry.bRetired = true;
        m_nCount = 0;
        m_itNext = m_map.begin();
    }

private:
    // The entry of that number, or the one in front of which it belongs. The numbers of a list mostly ascend,
    // and each is then found or added without a search.
    typename Map::iterator Place(std::int32_t nKey)
    {
        if (m_itNext != m_map.end() ? m_itNext->first == nKey : m_map.empty() || nKey > m_map.rbegin()->first)
            return m_itNext;
        return m_map.lower_bound(nKey);
    }

    Map m_map;
    typename Map::iterator m_itNext = m_map.end();  // behind the entry of the last addition
    std::size_t m_nCount = 0;                       // of the entries that are not retired
    // Names that entries have been given later, each once.
    std::set<std::string> m_setOthers;
};
