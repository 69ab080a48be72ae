// The operations of the node handle: counting of references, look-up of texts, attributes and children,
// additions.
#include <utility>

#include "config/proj/TarvoXmlParser/src/xmlRecord.h"

namespace Tarvo::XmlParser {
namespace {

// With fewer children than this, walking them is cheaper than making an index.
constexpr std::size_t kIndexFrom = 16;

// Counts are int in this interface; kMaxItems keeps them far below its limit.
int Count(std::size_t n) { return static_cast<int>(n); }

// The item at that index, or null for an index outside the vector.
template <class T>
const T* At(const std::vector<T>& items, int nIndex)
{
    return nIndex >= 0 && nIndex < Count(items.size()) ? &items[static_cast<std::size_t>(nIndex)] : nullptr;
}

}  // namespace

XMLNode::XMLNode(XMLRecord* pRecord) : m_pRecord(pRecord)
{
    if (m_pRecord != nullptr)
        m_pRecord->AddRef();
}

XMLNode::XMLNode(const XMLNode& other) : XMLNode(other.m_pRecord) {}

XMLNode::XMLNode(XMLNode&& other) noexcept : m_pRecord(std::exchange(other.m_pRecord, nullptr)) {}

XMLNode& XMLNode::operator=(const XMLNode& other)
{
    XMLNode copy(other);
    std::swap(m_pRecord, copy.m_pRecord);
    return *this;
}

XMLNode& XMLNode::operator=(XMLNode&& other) noexcept
{
    XMLNode moved(std::move(other));
    std::swap(m_pRecord, moved.m_pRecord);
    return *this;
}

XMLNode::~XMLNode() { XMLRecord::Release(m_pRecord); }

bool XMLNode::isDeclaration() const { return m_pRecord != nullptr && m_pRecord->bDeclaration; }

const char* XMLNode::getName() const { return m_pRecord == nullptr ? nullptr : m_pRecord->name.get(); }

const char* XMLNode::getText(int nIndex) const
{
    const auto* const pText = m_pRecord == nullptr ? nullptr : At(m_pRecord->texts, nIndex);
    return pText == nullptr ? nullptr : (*pText)->c_str();
}

const XMLClear* XMLNode::getClear(int nIndex) const
{
    return m_pRecord == nullptr ? nullptr : At(m_pRecord->clears, nIndex);
}

const char* XMLNode::getAttribute(const char* pszName, int nPosition) const
{
    if (m_pRecord == nullptr || pszName == nullptr)
        return nullptr;
    const std::string_view strName = pszName;
    for (const XMLAttribute& attribute : m_pRecord->attributes) {
        if (EqualsNoCase(View(attribute.name), strName) && nPosition-- == 0)
            return attribute.value.get();
    }
    return nullptr;
}

int XMLNode::nChildNode() const { return m_pRecord == nullptr ? 0 : Count(m_pRecord->children.size()); }

int XMLNode::nText() const { return m_pRecord == nullptr ? 0 : Count(m_pRecord->texts.size()); }

int XMLNode::nClear() const { return m_pRecord == nullptr ? 0 : Count(m_pRecord->clears.size()); }

int XMLNode::nAttribute() const { return m_pRecord == nullptr ? 0 : Count(m_pRecord->attributes.size()); }

int XMLNode::nElement() const { return nChildNode() + nText() + nClear() + nAttribute(); }

int XMLNode::nChildNode(const char* pszName) const
{
    if (m_pRecord == nullptr || pszName == nullptr)
        return 0;
    if (m_pRecord->children.size() >= kIndexFrom) {
        const ChildIndex& index = m_pRecord->Index();
        const auto it = index.positions.find(pszName);
        return it == index.positions.end() ? 0 : Count(it->second.size());
    }
    int nCount = 0;
    for (const XMLNode& child : m_pRecord->children)
        nCount += EqualsNoCase(View(child.m_pRecord->name), pszName) ? 1 : 0;
    return nCount;
}

XMLNode XMLNode::getChildNode(int nIndex) const
{
    const XMLNode* const pChild = m_pRecord == nullptr ? nullptr : At(m_pRecord->children, nIndex);
    return pChild == nullptr ? XMLNode() : *pChild;
}

XMLNode XMLNode::getChildNode(const char* pszName, int nIndex) const
{
    if (m_pRecord == nullptr || pszName == nullptr)
        return {};
    // A negative index means the last child of that name.
    if (nIndex < 0 && (nIndex = nChildNode(pszName) - 1) < 0)
        return {};
    if (m_pRecord->children.size() >= kIndexFrom) {
        const ChildIndex& index = m_pRecord->Index();
        const auto it = index.positions.find(pszName);
        const int* const pPosition = it == index.positions.end() ? nullptr : At(it->second, nIndex);
        return pPosition == nullptr ? XMLNode() : getChildNode(*pPosition);
    }
    for (const XMLNode& child : m_pRecord->children) {
        if (EqualsNoCase(View(child.m_pRecord->name), pszName) && nIndex-- == 0)
            return child;
    }
    return {};
}

int XMLNode::findNamedChild(const char* pszElement, const char* pszName) const
{
    if (m_pRecord == nullptr || pszElement == nullptr || pszName == nullptr)
        return -1;
    ChildIndex& index = m_pRecord->Index();
    const auto element = index.positions.find(pszElement);
    if (element == index.positions.end())
        return -1;
    // The index of names is made once for each element. emplace keeps the first of two children with one
    // name, and the first child without a name ends the index, as it would end a search.
    auto names = index.named.find(element->first);
    if (names == index.named.end()) {
        ChildIndex::ByName<int> made;
        int nPosition = 0;
        for (const int nChild : element->second) {
            const char* const pszText = getChildNode(nChild).getAttribute("name");
            if (pszText == nullptr)
                break;
            made.emplace(pszText, nPosition++);
        }
        names = index.named.emplace(element->first, std::move(made)).first;
    }
    const auto found = names->second.find(pszName);
    return found == names->second.end() ? -1 : found->second;
}

XMLNode XMLNode::createXMLTopNode(const char* pszName, bool bIsDeclaration)
{
    return pszName == nullptr ? XMLNode() : XMLNode(new XMLRecord(pszName, bIsDeclaration));
}

XMLNode XMLNode::addChild(const char* pszName, bool bIsDeclaration, int nPosition)
{
    if (m_pRecord == nullptr || pszName == nullptr)
        return {};
    return XMLNode(m_pRecord->AddChild(pszName, bIsDeclaration, nPosition));
}

const char* XMLNode::addText(const char* pszText, int nPosition)
{
    if (m_pRecord == nullptr || pszText == nullptr)
        return nullptr;
    return m_pRecord->AddText(pszText, nPosition)->c_str();
}

const XMLClear* XMLNode::addClear(const char* pszValue, const char* pszOpenTag, const char* pszCloseTag,
                                  int nPosition)
{
    if (m_pRecord == nullptr || pszValue == nullptr)
        return nullptr;
    return m_pRecord->AddClear(pszValue, pszOpenTag == nullptr ? kCData->pszOpen : pszOpenTag,
                               pszCloseTag == nullptr ? kCData->pszClose : pszCloseTag, nPosition);
}

const XMLAttribute* XMLNode::addAttribute(const char* pszName, const char* pszValue)
{
    if (m_pRecord == nullptr || pszName == nullptr || pszValue == nullptr)
        return nullptr;
    const std::string strValue = pszValue;
    return m_pRecord->AddAttribute(pszName, &strValue);
}

}  // namespace Tarvo::XmlParser
