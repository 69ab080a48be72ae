// XMLRecord: a node of the tree. The element parser fills it, the handle (XMLNode) reads it, the writer walks
// it; no code outside this folder sees it.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "config/proj/TarvoXmlParser/src/xmlParser.h"
#include "config/proj/TarvoXmlParser/src/xmlText.h"

namespace Tarvo::XmlParser {

// An index of a node's children by name. A caller that asks for each of many children by name would otherwise
// walk all of them every time. The keys are texts of the tree; an addition frees the index, and the next
// look-up makes it anew.
struct ChildIndex {
    template <class T>
    using ByName = std::map<std::string_view, T, LessNoCase>;

    // For each element name, the positions of its children among all children, in ascending order.
    ByName<std::vector<int>> positions;
    // For each element name that has been asked for: for each value of the attribute "name", the first child
    // with it, as a position among the children of that element. Ends at the first child without the
    // attribute.
    ByName<ByName<int>> named;
};

// Counted by its handles. One thread at a time.
struct XMLRecord {
    enum Kind { Child = 0, Text = 2, Clear = 3 };  // of an item in the order

    XMLRecord(std::string_view strName, bool bIsDeclaration);
    static XMLNode NewRoot();  // a nameless node, to take the parts of a document
    static XMLRecord* Of(const XMLNode& node) { return node.m_pRecord; }

    OwnedText name;
    // One entry for each child, text and clear section, in the order of the document: the item's index in the
    // array of its kind, times 4, plus its Kind.
    std::vector<int> order;
    std::vector<XMLNode> children;
    std::vector<std::unique_ptr<std::string>> texts;  // may grow while a parse joins pieces
    std::vector<XMLClear> clears;
    std::vector<XMLAttribute> attributes;
    std::unique_ptr<ChildIndex> index;  // made when asked for, freed when something is added
    XMLRecord* pParent = nullptr;       // not counted; null at the top
    int nRefs = 0;                      // handles of this node, among them the one in its parent's children
    bool bDeclaration = false;          // opened with "<?"

    // Additions: the new item takes nPosition in the order if that position exists, else the end. Attributes
    // have no place in the order. A null pValue is an attribute without a value.
    XMLRecord* AddChild(std::string_view strName, bool bIsDeclaration, int nPosition);
    std::string* AddText(std::string_view text, int nPosition);
    XMLClear* AddClear(std::string_view value, const char* pszOpen, const char* pszClose, int nPosition);
    XMLAttribute* AddAttribute(std::string_view attribute, const std::string* pValue);

    // Frees the reserve of the arrays, once the element is complete.
    void CutArrays();
    // The index; made if there is none.
    ChildIndex& Index();

    void AddRef() { ++nRefs; }
    // Takes one handle off, and frees the node and what is below it at the last one. Needs neither memory
    // nor, for a deep tree, stack. Null is allowed.
    static void Release(XMLRecord* pRecord) noexcept;

private:
    XMLRecord() = default;
    bool IsInside(int nPosition) const;
    std::size_t PlaceOf(Kind kind, std::size_t nCount, int nPosition) const;
    void EnterOrder(Kind kind, std::size_t nPlace, int nPosition);
};

// A copy that ends in a NUL, and the view of such a text, which is empty for null.
OwnedText CopyText(std::string_view text);
inline std::string_view View(const OwnedText& text)
{
    return text ? std::string_view(text.get()) : std::string_view();
}

}  // namespace Tarvo::XmlParser
