// The index of children by their element names and by their attributes "name".
#include "config/proj/TarvoXmlParser/src/xmlIndex.h"

#include <algorithm>

#include "config/proj/TarvoXmlParser/src/xmlRecord.h"

namespace Tarvo::XmlParser {

void ChildIndex::Clear()
{
    m_mapKinds.clear();
    m_pLast = nullptr;
}

// Neighbours mostly have one name, and a copy of it in common.
void ChildIndex::Add(XMLRecord* pChild)
{
    if (m_pLast == nullptr ||
        (m_pLast->first.data() != pChild->name.data() && !EqualsNoCase(m_pLast->first, pChild->name)))
        m_pLast = &*m_mapKinds.try_emplace(pChild->name).first;
    m_pLast->second.children.push_back(pChild);
}

ChildIndex::Kind* ChildIndex::Find(std::string_view strElement)
{
    if (m_pLast == nullptr || !EqualsNoCase(m_pLast->first, strElement)) {
        const auto it = m_mapKinds.find(strElement);
        if (it == m_mapKinds.end())
            return nullptr;
        m_pLast = &*it;
    }
    return &m_pLast->second;
}

// The names of a list are mostly in their order already, since LessNoCase puts "9" in front of "10". Of two
// children with one name the first is kept.
void ChildIndex::MakeNamed(Kind& kind)
{
    const auto less = [](const Kind::Named& a, const Kind::Named& b) { return LessNoCase()(a.name, b.name); };
    const auto equal = [](const Kind::Named& a, const Kind::Named& b) {
        return EqualsNoCase(a.name, b.name);
    };
    std::vector<Kind::Named> made;
    made.reserve(kind.children.size());
    for (const XMLRecord* pChild : kind.children) {
        const char* const pszName = pChild->FindAttribute("name", 0);
        if (pszName == nullptr)
            break;
        made.push_back({pszName, static_cast<int>(made.size())});
    }
    if (!std::is_sorted(made.begin(), made.end(), less))
        std::stable_sort(made.begin(), made.end(), less);
    made.erase(std::unique(made.begin(), made.end(), equal), made.end());
    kind.named = std::move(made);
    kind.bNamed = true;
}

// Callers mostly ask for one name several times, and then for the next.
int ChildIndex::FindNamed(Kind& kind, std::string_view strName)
{
    if (!kind.bNamed)
        MakeNamed(kind);
    const auto& named = kind.named;
    for (const std::size_t n : {kind.nLast, kind.nLast + 1}) {
        if (n < named.size() && EqualsNoCase(named[n].name, strName)) {
            kind.nLast = n;
            return named[n].nPosition;
        }
    }
    const auto it = std::lower_bound(
        named.begin(), named.end(), strName,
        [](const Kind::Named& entry, std::string_view name) { return LessNoCase()(entry.name, name); });
    if (it == named.end() || !EqualsNoCase(it->name, strName))
        return -1;
    kind.nLast = static_cast<std::size_t>(it - named.begin());
    return it->nPosition;
}

}  // namespace Tarvo::XmlParser
