// XMLTree and XMLRecord: a tree and its nodes. The element parser fills them, the handle (XMLNode) reads
// them, the writer walks them; no code outside this folder sees them.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "config/proj/TarvoXmlParser/src/xmlArena.h"
#include "config/proj/TarvoXmlParser/src/xmlIndex.h"
#include "config/proj/TarvoXmlParser/src/xmlParser.h"

namespace Tarvo::XmlParser {

// A text with its NUL, which a parse may lengthen while it joins pieces.
using GrowingText = ArenaArray<char>;

// What an element contains besides its attributes.
struct XMLContent {
    ArenaArray<XMLRecord*> children;
    ArenaArray<GrowingText> texts;
    ArenaArray<XMLClear> clears;
    // One entry for each child, text and clear section, in the order of the document: the item's index in the
    // array of its kind, times 4, plus its Kind.
    ArenaArray<int> order;
    ChildIndex* pIndex = nullptr;  // made when asked for, emptied when something is added; the tree owns it
};

// The memory of all nodes that belong together, counted by their handles. One thread at a time.
struct XMLTree {
    // A copy of an element's or attribute's name. The names of a document repeat, and equal ones mostly share
    // a copy.
    std::string_view CopyName(std::string_view name);

    Arena objects;  // records, contents and arrays
    Arena texts;    // names and values, apart from the arrays, so that an array at the end can grow in place
    std::array<std::string_view, 32> names;  // the last name of each hash value
    std::vector<std::unique_ptr<ChildIndex>> indexes;
    int nHandles = 0;
};

// A node. It is part of its tree's memory and stays at its address as long as the tree exists.
struct XMLRecord {
    enum Kind { Child = 0, Text = 2, Clear = 3 };  // of an item in the order

    // The top of a new tree, owned by the handle. A nameless root takes the parts of a document.
    static XMLNode NewRoot();
    static XMLNode NewTop(std::string_view strName, bool bIsDeclaration);
    static XMLRecord* Of(const XMLNode& node) { return node.m_pRecord; }

    bool HasName() const { return name.data() != nullptr; }
    const XMLContent& Content() const;
    // The value of the attribute of that name that has nPosition others of the name before it, or null.
    const char* FindAttribute(const char* pszName, int nPosition) const;

    // Additions: the new item takes nPosition in the order if that position exists, else the end. Attributes
    // have no place in the order. A null pValue is an attribute without a value. References to an item are
    // good until the next addition of its kind.
    XMLRecord* AddChild(std::string_view strName, bool bIsDeclaration, int nPosition);
    const char* AddText(std::string_view text, int nPosition);
    XMLClear* AddClear(std::string_view value, const char* pszOpen, const char* pszClose, int nPosition);
    XMLAttribute* AddAttribute(std::string_view attribute, const std::string_view* pValue);
    // Appends to the last text.
    // REQUIRES: there is a text.
    void LengthenText(std::string_view text);
    // Removes the last item of the order, a clear section.
    void RemoveLastClear();

    // The index of the children by name; made if there is none.
    ChildIndex& Index();

    XMLTree* pTree = nullptr;
    XMLRecord* pParent = nullptr;    // null at the top
    std::string_view name;           // ends in a NUL; a null pointer in the nameless root
    XMLContent* pContent = nullptr;  // null in an element without contents
    ArenaArray<XMLAttribute> attributes;
    bool bDeclaration = false;  // opened with "<?"
    std::uint32_t nLine = 0;    // of its start tag, from 1; 0 in an element that was no part of a parsed text

private:
    static XMLRecord* New(XMLTree& tree, XMLRecord* pParent, std::string_view name, bool bIsDeclaration);
    XMLContent& MakeContent();
    bool IsInside(int nPosition) const;
    std::size_t PlaceOf(Kind kind, std::size_t nCount, int nPosition) const;
    void EnterOrder(Kind kind, std::size_t nPlace, int nPosition);
};

}  // namespace Tarvo::XmlParser
