// NamedEntries: what CBillingIdMap and CEventCodeMap have in common, a map of numbers to entries that have a
// name. It takes no lock; the map that holds it does.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <memory_resource>
#include <set>
#include <string>
#include <utility>

// A name stays valid as long as this object, also after a Clear, because the game holds pointers to it. Clear
// therefore retires the entries with their names, and a later addition under the same number uses the memory
// again.
template <class Value>
class NamedEntries {
public:
    struct Entry {
        Value value;
        bool bRetired;
        const char* pszName;  // in m_memory, or one of m_setOthers
    };
    using Map = std::pmr::map<std::int32_t, Entry>;

    // False, and no change, if there is an entry of that number.
    bool Add(std::int32_t nKey, const Value& value, const std::string& strName)
    {
        m_itNext = Place(nKey);
        if (m_itNext == m_map.end() || m_itNext->first != nKey) {
            m_map.emplace_hint(m_itNext, nKey, Entry{value, false, CopyName(strName)});
            ++m_nCount;
            return true;
        }
        Entry& entry = (m_itNext++)->second;
        if (!entry.bRetired)
            return false;
        if (strName != entry.pszName)
            entry.pszName = m_setOthers.insert(strName).first->c_str();
        entry.value = value;
        entry.bRetired = false;
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
    // The entry of the lowest number that is not below nLowest; null if there is none.
    const std::pair<const std::int32_t, Entry>* FindFrom(std::int64_t nLowest) const
    {
        if (nLowest > std::numeric_limits<std::int32_t>::max())
            return nullptr;
        auto it = m_map.lower_bound(static_cast<std::int32_t>(nLowest));
        while (it != m_map.end() && it->second.bRetired)
            ++it;
        return it == m_map.end() ? nullptr : &*it;
    }
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

    const char* CopyName(const std::string& strName)
    {
        const std::size_t nSize = strName.size() + 1;  // with the NUL
        char* const pName = static_cast<char*>(m_memory.allocate(nSize, 1));
        std::copy_n(strName.c_str(), nSize, pName);
        return pName;
    }

    // Entries and names are never freed before this object, so their memory is one growing piece.
    std::pmr::monotonic_buffer_resource m_memory;
    Map m_map{&m_memory};
    typename Map::iterator m_itNext = m_map.end();  // behind the entry of the last addition
    std::size_t m_nCount = 0;                       // of the entries that are not retired
    // Names that have been given to an entry in place of its first, each once.
    std::set<std::string> m_setOthers;
};
