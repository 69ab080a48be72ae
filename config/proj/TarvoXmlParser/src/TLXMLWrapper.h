// CTLXMLWrapper: the only implementation of IXmlParser, over the tree that xmlParser.h builds.
#pragma once

#include <vector>

#include "config/proj/TarvoXmlParser/src/TarvoXmlParser.h"
#include "config/proj/TarvoXmlParser/src/xmlParser.h"

namespace Tarvo::XmlParser {

// Holds the document by its top node, and the current position by its node and the ancestors of that node.
// Handles are counted, so moving copies no document. One thread at a time.
class CTLXMLWrapper final : public IXmlParser {
public:
    CTLXMLWrapper() = default;
    explicit CTLXMLWrapper(const XMLNode& TopNode) : m_top(TopNode), m_current(TopNode) {}
    CTLXMLWrapper(const CTLXMLWrapper&) = delete;
    CTLXMLWrapper& operator=(const CTLXMLWrapper&) = delete;

    bool ParseString(const char* pszXml, const char* pszTag) override;
    bool OpenFile(const char* pszFileName, const char* pszTag) override;
    bool MoveToChild(const char* pszName, int nIndex) override;
    bool MoveToParent() override;
    void MoveToTop() override;

    bool GetText(char* out, int size) override;
    const char* GetText() override;
    bool GetName(char* out, int size) override;
    const char* GetName() override;
    bool GetAttribute(char* out, int size, const char* pszAttribute) override;
    const char* GetAttribute(const char* pszAttribute) override;
    bool GetClear(char* out, int size, int nIndex) override;
    const char* GetClear(int nIndex) override;

    int GetChildCount(const char* pszName) override;
    bool GetChildText(char* out, int size, const char* pszChild, int nIndex) override;
    const char* GetChildText(const char* pszChild, int nIndex) override;
    bool GetChildAttribute(char* out, int size, const char* pszChild, const char* pszAttribute,
                           int nIndex) override;
    const char* GetChildAttribute(const char* pszChild, const char* pszAttribute, int nIndex) override;
    bool GetChildClear(char* out, int size, int nChildPosition, int nClearIndex) override;
    const char* GetChildClear(int nChildPosition, int nClearIndex) override;

    bool AddChild(const char* pszName) override;
    bool AddAttribute(const char* pszName, const char* pszValue) override;
    bool AddText(const char* pszText) override;
    bool AddClear(const char* pszValue, const char* pszOpenTag, const char* pszCloseTag) override;

    bool CreateString(char* out, int size, bool bFormat) override;
    bool CreateString(char** ppszOut, int* pnLength) override;
    bool FreeString(char** ppszText) override;

    // OpenFile of the interface, except that bMayShowDialog false sends the report of a bad file to the sink
    // at once. pResults as for OpenXmlFile.
    bool OpenFile(const char* pszFileName, const char* pszTag, bool bMayShowDialog, XMLResults* pResults);
    // The first child of the current node whose element is pszElement and whose attribute "name" is pszName,
    // as a position among the children of that element; -1 if there is none, or if a child without the
    // attribute comes before it. Uses an index, so that a file with thousands of properties is not walked for
    // each of them. The child found goes to `child`.
    int FindNamedChild(const char* pszElement, const char* pszName, XMLNode& child) const;

private:
    // Makes the node the document, with the position at its top. False, and no change, for an empty node.
    bool Take(XMLNode node);

    XMLNode m_top;  // empty until a document has been read
    XMLNode m_current;
    std::vector<XMLNode> m_stack;  // ancestors of the current position, nearest last
};

}  // namespace Tarvo::XmlParser
