// Additions to a node, its order of items, and its index.
#include "config/proj/TarvoXmlParser/src/xmlRecord.h"

#include <algorithm>
#include <utility>

namespace Tarvo::XmlParser {

std::string_view XMLTree::CopyName(std::string_view name)
{
    const auto byte = [](char c) { return static_cast<std::size_t>(static_cast<unsigned char>(c)); };
    const std::size_t nHash = name.empty() ? 0 : name.size() + 3 * byte(name.front()) + 5 * byte(name.back());
    std::string_view& known = names[nHash % names.size()];
    if (known != name || known.data() == nullptr)
        known = {texts.CopyText(name), name.size()};
    return known;
}

XMLRecord* XMLRecord::New(XMLTree& tree, XMLRecord* pParent, std::string_view name, bool bIsDeclaration)
{
    auto* const pRecord = new (tree.objects.Allocate(sizeof(XMLRecord), alignof(XMLRecord))) XMLRecord();
    pRecord->pTree = &tree;
    pRecord->pParent = pParent;
    pRecord->bDeclaration = bIsDeclaration;
    if (name.data() != nullptr)
        pRecord->name = tree.CopyName(name);
    return pRecord;
}

XMLNode XMLRecord::NewRoot() { return NewTop({}, false); }

XMLNode XMLRecord::NewTop(std::string_view strName, bool bIsDeclaration)
{
    auto tree = std::make_unique<XMLTree>();
    XMLNode node(New(*tree, nullptr, strName, bIsDeclaration));
    static_cast<void>(tree.release());  // the handle owns the tree
    return node;
}

const XMLContent& XMLRecord::Content() const
{
    static const XMLContent kNone;
    return pContent == nullptr ? kNone : *pContent;
}

XMLContent& XMLRecord::MakeContent()
{
    if (pContent == nullptr)
        pContent = new (pTree->objects.Allocate(sizeof(XMLContent), alignof(XMLContent))) XMLContent();
    return *pContent;
}

const char* XMLRecord::FindAttribute(const char* pszName, int nPosition) const
{
    for (const XMLAttribute& attribute : attributes) {
        if (EqualsNoCase(attribute.name, pszName) && nPosition-- == 0)
            return attribute.value;
    }
    return nullptr;
}

bool XMLRecord::IsInside(int nPosition) const
{
    return nPosition >= 0 && static_cast<std::size_t>(nPosition) < Content().order.size();
}

// The index that a new item gets in the array of its kind, which holds nCount items, if the item takes
// nPosition in the order: the index of the next item of its kind from there on, or the end.
std::size_t XMLRecord::PlaceOf(Kind kind, std::size_t nCount, int nPosition) const
{
    if (IsInside(nPosition)) {
        const auto& order = pContent->order;
        const int* const pEntry = std::find_if(order.begin() + nPosition, order.end(),
                                               [kind](int nEntry) { return nEntry % 4 == kind; });
        if (pEntry != order.end())
            return static_cast<std::size_t>(*pEntry / 4);
    }
    return nCount;
}

// Enters a new item into the order. The later items of its kind have moved up by one in their array, so their
// entries grow by one index, which is 4.
void XMLRecord::EnterOrder(Kind kind, std::size_t nPlace, int nPosition)
{
    auto& order = pContent->order;
    const std::size_t nAt = IsInside(nPosition) ? static_cast<std::size_t>(nPosition) : order.size();
    for (int* pLater = order.begin() + nAt; pLater != order.end(); ++pLater)
        *pLater += *pLater % 4 == kind ? 4 : 0;
    order.Insert(pTree->objects, nAt, static_cast<int>(nPlace) * 4 + kind);
}

XMLRecord* XMLRecord::AddChild(std::string_view strName, bool bIsDeclaration, int nPosition)
{
    XMLContent& content = MakeContent();
    XMLRecord* const pChild = New(*pTree, this, strName, bIsDeclaration);
    if (content.pIndex != nullptr)
        content.pIndex->Clear();
    const std::size_t nPlace = PlaceOf(Child, content.children.size(), nPosition);
    content.children.Insert(pTree->objects, nPlace, pChild);
    EnterOrder(Child, nPlace, nPosition);
    return pChild;
}

const char* XMLRecord::AddText(std::string_view text, int nPosition)
{
    XMLContent& content = MakeContent();
    GrowingText copy;
    copy.Append(pTree->texts, text.data(), text.size());
    copy.Append(pTree->texts, "", 1);
    const std::size_t nPlace = PlaceOf(Text, content.texts.size(), nPosition);
    content.texts.Insert(pTree->objects, nPlace, copy);
    EnterOrder(Text, nPlace, nPosition);
    return copy.begin();
}

void XMLRecord::LengthenText(std::string_view text)
{
    GrowingText& last = pContent->texts.back();
    last.pop_back();
    last.Append(pTree->texts, text.data(), text.size());
    last.Append(pTree->texts, "", 1);
}

XMLClear* XMLRecord::AddClear(std::string_view value, const char* pszOpen, const char* pszClose,
                              int nPosition)
{
    XMLContent& content = MakeContent();
    const XMLClear clear{pTree->texts.CopyText(value), pszOpen, pszClose};
    const std::size_t nPlace = PlaceOf(Clear, content.clears.size(), nPosition);
    XMLClear& added = content.clears.Insert(pTree->objects, nPlace, clear);
    EnterOrder(Clear, nPlace, nPosition);
    return &added;
}

void XMLRecord::RemoveLastClear()
{
    pContent->order.pop_back();
    pContent->clears.pop_back();
}

XMLAttribute* XMLRecord::AddAttribute(std::string_view attribute, const std::string_view* pValue)
{
    const XMLAttribute added{pTree->CopyName(attribute).data(),
                             pValue == nullptr ? nullptr : pTree->texts.CopyText(*pValue)};
    // The attribute may be the "name" by which the parent's index finds this node.
    if (pParent != nullptr && pParent->pContent->pIndex != nullptr)
        pParent->pContent->pIndex->Clear();
    return &attributes.Insert(pTree->objects, attributes.size(), added);
}

ChildIndex& XMLRecord::Index()
{
    XMLContent& content = MakeContent();
    if (content.pIndex == nullptr) {
        pTree->indexes.push_back(std::make_unique<ChildIndex>());
        content.pIndex = pTree->indexes.back().get();
    }
    if (content.pIndex->IsEmpty() && !content.children.empty()) {
        ChildIndex made;
        for (XMLRecord* pChild : content.children)
            made.Add(pChild);
        *content.pIndex = std::move(made);
    }
    return *content.pIndex;
}

}  // namespace Tarvo::XmlParser
