// The operations of the node handle: counting of references, look-up of texts, attributes and children,
// additions.
#include <algorithm>
#include <utility>

#include "config/proj/TarvoXmlParser/src/xmlRecord.h"

namespace Tarvo::XmlParser {
namespace {

// With fewer children than this, walking them is cheaper than making an index.
constexpr std::size_t kIndexFrom = 16;

// Counts are int in this interface; kMaxItems keeps them far below its limit.
int Count(std::size_t n) { return static_cast<int>(n); }

// The item at that index, or null for an index outside the list.
template <class List>
auto* At(const List& items, int nIndex)
{
    return nIndex >= 0 && nIndex < Count(items.size()) ? &items[static_cast<std::size_t>(nIndex)] : nullptr;
}

}  // namespace

XMLNode::XMLNode(XMLRecord* pRecord) : m_pRecord(pRecord)
{
    if (m_pRecord != nullptr)
        ++m_pRecord->pTree->nHandles;
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

// Freeing a tree frees the blocks of its memory: it needs no walk, and for a deep tree no stack.
XMLNode::~XMLNode()
{
    if (m_pRecord != nullptr && --m_pRecord->pTree->nHandles == 0)
        delete m_pRecord->pTree;
}

int XMLNode::getLine() const { return m_pRecord == nullptr ? 0 : static_cast<int>(m_pRecord->nLine); }

bool XMLNode::isDeclaration() const { return m_pRecord != nullptr && m_pRecord->bDeclaration; }

const char* XMLNode::getName() const { return m_pRecord == nullptr ? nullptr : m_pRecord->name.data(); }

const char* XMLNode::getText(int nIndex) const
{
    const auto* const pText = m_pRecord == nullptr ? nullptr : At(m_pRecord->Content().texts, nIndex);
    return pText == nullptr ? nullptr : pText->begin();
}

const XMLClear* XMLNode::getClear(int nIndex) const
{
    return m_pRecord == nullptr ? nullptr : At(m_pRecord->Content().clears, nIndex);
}

const char* XMLNode::getAttribute(const char* pszName, int nPosition) const
{
    return m_pRecord == nullptr || pszName == nullptr ? nullptr
                                                      : m_pRecord->FindAttribute(pszName, nPosition);
}

int XMLNode::nChildNode() const
{
    return m_pRecord == nullptr ? 0 : Count(m_pRecord->Content().children.size());
}

int XMLNode::nText() const { return m_pRecord == nullptr ? 0 : Count(m_pRecord->Content().texts.size()); }

int XMLNode::nClear() const { return m_pRecord == nullptr ? 0 : Count(m_pRecord->Content().clears.size()); }

int XMLNode::nAttribute() const { return m_pRecord == nullptr ? 0 : Count(m_pRecord->attributes.size()); }

int XMLNode::nElement() const { return nChildNode() + nText() + nClear() + nAttribute(); }

int XMLNode::nChildNode(const char* pszName) const
{
    if (m_pRecord == nullptr || pszName == nullptr)
        return 0;
    const auto& children = m_pRecord->Content().children;
    if (children.size() >= kIndexFrom) {
        const ChildIndex::Kind* const pKind = m_pRecord->Index().Find(pszName);
        return pKind == nullptr ? 0 : Count(pKind->children.size());
    }
    return Count(static_cast<std::size_t>(
        std::count_if(children.begin(), children.end(),
                      [pszName](const XMLRecord* pChild) { return EqualsNoCase(pChild->name, pszName); })));
}

XMLNode XMLNode::getChildNode(int nIndex) const
{
    XMLRecord* const* const ppChild =
        m_pRecord == nullptr ? nullptr : At(m_pRecord->Content().children, nIndex);
    return ppChild == nullptr ? XMLNode() : XMLNode(*ppChild);
}

XMLNode XMLNode::getChildNode(const char* pszName, int nIndex) const
{
    if (m_pRecord == nullptr || pszName == nullptr)
        return {};
    // A negative index means the last child of that name.
    if (nIndex < 0 && (nIndex = nChildNode(pszName) - 1) < 0)
        return {};
    const auto& children = m_pRecord->Content().children;
    if (children.size() >= kIndexFrom) {
        const ChildIndex::Kind* const pKind = m_pRecord->Index().Find(pszName);
        XMLRecord* const* const ppChild = pKind == nullptr ? nullptr : At(pKind->children, nIndex);
        return ppChild == nullptr ? XMLNode() : XMLNode(*ppChild);
    }
    for (XMLRecord* pChild : children) {
        if (EqualsNoCase(pChild->name, pszName) && nIndex-- == 0)
            return XMLNode(pChild);
    }
    return {};
}

int XMLNode::findNamedChild(const char* pszElement, const char* pszName, XMLNode* pChild) const
{
    if (m_pRecord == nullptr || pszElement == nullptr || pszName == nullptr)
        return -1;
    ChildIndex::Kind* const pKind = m_pRecord->Index().Find(pszElement);
    const int nFound = pKind == nullptr ? -1 : ChildIndex::FindNamed(*pKind, pszName);
    if (nFound >= 0 && pChild != nullptr)
        *pChild = XMLNode(pKind->children[static_cast<std::size_t>(nFound)]);
    return nFound;
}

XMLNode XMLNode::createXMLTopNode(const char* pszName, bool bIsDeclaration)
{
    return pszName == nullptr ? XMLNode() : XMLRecord::NewTop(pszName, bIsDeclaration);
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
    return m_pRecord->AddText(pszText, nPosition);
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
    const std::string_view strValue = pszValue;
    return m_pRecord->AddAttribute(pszName, &strValue);
}

}  // namespace Tarvo::XmlParser
