// What a node is made of. Only the parser, the handles and the writer see it.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "config/proj/TarvoXmlParser/src/xmlParser.h"
#include "config/proj/TarvoXmlParser/src/xmlText.h"

namespace Tarvo::XmlParser {

// Where children are, by name, so that walking many siblings one by one takes no walk for each. The keys
// are texts of the tree.
struct ChildIndex {
    template <class T>
    using ByName = std::map<std::string_view, T, LessNoCase>;

    // Element name: positions among all children, in order.
    ByName<std::vector<int>> positions;
    // Element name: value of the attribute "name" of those children: the first position among them, as
    // far as the first child without such an attribute.
    ByName<ByName<int>> named;
};

struct XMLRecord {
    enum Kind { Child = 0, Text = 2, Clear = 3 };

    XMLRecord(std::string_view strName, bool bIsDeclaration);
    static XMLNode NewRoot();  // of a document, without a name
    static XMLRecord* Of(const XMLNode& node) { return node.m_pRecord; }

    OwnedText name;
    // One entry for each child, text and clear section, in document order: the index in its own array
    // times 4, and its Kind.
    std::vector<int> order;
    std::vector<XMLNode> children;
    std::vector<std::unique_ptr<std::string>> texts;  // may grow while a parse joins pieces
    std::vector<XMLClear> clears;
    std::vector<XMLAttribute> attributes;
    std::unique_ptr<ChildIndex> index;  // made when asked for, gone when something is added
    XMLRecord* pParent = nullptr;       // not counted
    int nRefs = 0;
    bool bDeclaration = false;

    // Each takes a place in the order: that position if it is a valid one, else the end.
    XMLRecord* AddChild(std::string_view strName, bool bIsDeclaration, int nPosition);
    std::string* AddText(std::string_view text, int nPosition);
    XMLClear* AddClear(std::string_view value, const char* pszOpen, const char* pszClose, int nPosition);
    XMLAttribute* AddAttribute(std::string_view attribute, const std::string* pValue);

    // Gives back what the arrays have in reserve.
    void CutArrays();
    // The index with the positions of the children; makes it.
    ChildIndex& Index();

    void AddRef() { ++nRefs; }
    // Takes no stack for a deep tree, and no memory.
    static void Release(XMLRecord* pRecord) noexcept;

private:
    XMLRecord() = default;
    bool IsInside(int nPosition) const;
    std::size_t PlaceOf(Kind kind, std::size_t nCount, int nPosition) const;
    void EnterOrder(Kind kind, std::size_t nPlace, int nPosition);
};

OwnedText CopyText(std::string_view text);
inline std::string_view View(const OwnedText& text)
{
    return text ? std::string_view(text.get()) : std::string_view();
}

}  // namespace Tarvo::XmlParser
