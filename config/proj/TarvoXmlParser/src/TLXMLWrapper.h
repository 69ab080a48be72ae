// IXmlParser over a tree of nodes.
#pragma once

#include <vector>

#include "config/proj/TarvoXmlParser/src/TarvoXmlParser.h"
#include "config/proj/TarvoXmlParser/src/xmlParser.h"

namespace Tarvo::XmlParser {

class CTLXMLWrapper : public IXmlParser {
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

    // OpenFile, with the choice whether the report of a bad file may wait in a dialog.
    bool OpenFile(const char* pszFileName, const char* pszTag, bool bMayShowDialog);
    // The first child of the current node that is called pszElement and whose attribute "name" has that
    // value, as a position among those children; -1 if a child without a name comes first, or there is
    // none. Takes no walk over them, unlike asking for one name after the other.
    int FindNamedChild(const char* pszElement, const char* pszName) const;

private:
    bool Take(XMLNode node);

    XMLNode m_top;
    XMLNode m_current;
    std::vector<XMLNode> m_stack;  // ancestors of the current position, nearest last
};

}  // namespace Tarvo::XmlParser
