// Additions to a node, its order of items, its index, and the release of a whole tree.
#include "config/proj/TarvoXmlParser/src/xmlRecord.h"

#include <algorithm>
#include <utility>

namespace Tarvo::XmlParser {

OwnedText CopyText(std::string_view text)
{
    OwnedText copy(new char[text.size() + 1]);
    std::copy(text.begin(), text.end(), copy.get());
    copy[text.size()] = '\0';
    return copy;
}

XMLNode XMLRecord::NewRoot() { return XMLNode(new XMLRecord()); }

XMLRecord::XMLRecord(std::string_view strName, bool bIsDeclaration)
    : name(CopyText(strName)), bDeclaration(bIsDeclaration)
{
}

bool XMLRecord::IsInside(int nPosition) const
{
    return nPosition >= 0 && static_cast<std::size_t>(nPosition) < order.size();
}

// The index that a new item gets in the array of its kind, which holds nCount items, if the item takes
// nPosition in the order: the index of the next item of its kind from there on, or the end.
std::size_t XMLRecord::PlaceOf(Kind kind, std::size_t nCount, int nPosition) const
{
    if (IsInside(nPosition)) {
        const auto it = std::find_if(order.begin() + nPosition, order.end(),
                                     [kind](int nEntry) { return nEntry % 4 == kind; });
        if (it != order.end())
            return static_cast<std::size_t>(*it / 4);
    }
    return nCount;
}

// Enters a new item into the order. The later items of its kind have moved up by one in their array, so their
// entries grow by one index, which is 4.
void XMLRecord::EnterOrder(Kind kind, std::size_t nPlace, int nPosition)
{
    const auto it = IsInside(nPosition) ? order.begin() + nPosition : order.end();
    for (auto later = it; later != order.end(); ++later)
        *later += *later % 4 == kind ? 4 : 0;
    order.insert(it, static_cast<int>(nPlace) * 4 + kind);
}

XMLRecord* XMLRecord::AddChild(std::string_view strName, bool bIsDeclaration, int nPosition)
{
    const XMLNode node(new XMLRecord(strName, bIsDeclaration));
    index.reset();
    const std::size_t nPlace = PlaceOf(Child, children.size(), nPosition);
    children.insert(children.begin() + static_cast<std::ptrdiff_t>(nPlace), node);
    node.m_pRecord->pParent = this;
    EnterOrder(Child, nPlace, nPosition);
    return node.m_pRecord;
}

std::string* XMLRecord::AddText(std::string_view text, int nPosition)
{
    auto copy = std::make_unique<std::string>(text);
    std::string* const pText = copy.get();
    const std::size_t nPlace = PlaceOf(Text, texts.size(), nPosition);
    texts.insert(texts.begin() + static_cast<std::ptrdiff_t>(nPlace), std::move(copy));
    EnterOrder(Text, nPlace, nPosition);
    return pText;
}

XMLClear* XMLRecord::AddClear(std::string_view value, const char* pszOpen, const char* pszClose,
                              int nPosition)
{
    XMLClear clear{CopyText(value), pszOpen, pszClose};
    const std::size_t nPlace = PlaceOf(Clear, clears.size(), nPosition);
    clears.insert(clears.begin() + static_cast<std::ptrdiff_t>(nPlace), std::move(clear));
    EnterOrder(Clear, nPlace, nPosition);
    return &clears[nPlace];
}

XMLAttribute* XMLRecord::AddAttribute(std::string_view attribute, const std::string* pValue)
{
    attributes.push_back({CopyText(attribute), pValue == nullptr ? nullptr : CopyText(*pValue)});
    // The attribute may be the "name" by which the parent's index finds this node.
    if (pParent != nullptr)
        pParent->index.reset();
    return &attributes.back();
}

void XMLRecord::CutArrays()
{
    children.shrink_to_fit();
    texts.shrink_to_fit();
    for (const auto& text : texts)
        text->shrink_to_fit();
    clears.shrink_to_fit();
    attributes.shrink_to_fit();
    order.shrink_to_fit();
}

ChildIndex& XMLRecord::Index()
{
    if (index)
        return *index;
    auto made = std::make_unique<ChildIndex>();
    for (std::size_t n = 0; n < children.size(); ++n)
        made->positions[View(children[n].m_pRecord->name)].push_back(static_cast<int>(n));
    index = std::move(made);
    return *index;
}

void XMLRecord::Release(XMLRecord* pRecord) noexcept
{
    if (pRecord == nullptr || --pRecord->nRefs > 0)
        return;
    // A list of the nodes that are still to be freed. Dead nodes have no parent, so their parent pointers
    // link the list: neither recursion nor memory is needed, however deep the tree is. A child with another
    // handle survives.
    XMLRecord* pDead = pRecord;
    pDead->pParent = nullptr;
    while (pDead != nullptr) {
        XMLRecord* const p = pDead;
        pDead = p->pParent;
        for (XMLNode& child : p->children) {
            XMLRecord* const pChild = std::exchange(child.m_pRecord, nullptr);
            pChild->pParent = nullptr;
            if (--pChild->nRefs > 0)
                continue;
            pChild->pParent = pDead;
            pDead = pChild;
        }
        delete p;
    }
}

}  // namespace Tarvo::XmlParser
