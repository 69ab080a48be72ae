// The search for modules, groups and properties in a TL2 file, over any IXmlParser.
#include "config/proj/TarvoXmlParser/src/TarvoXmlParser.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

#include "config/proj/TarvoXmlParser/src/TLXMLWrapper.h"
#include "config/proj/TarvoXmlParser/src/TextToInteger.h"
#include "config/proj/TarvoXmlParser/src/xmlText.h"
#include "platform/Assertion.h"

namespace Tarvo::XmlParser {
namespace {

// The words of the file format: elements first, attributes second.
constexpr const char* kModule = "module";
constexpr const char* kGroup = "group";
constexpr const char* kProperty = "property";
constexpr const char* kPropertyArray = "property_array";
constexpr const char* kName = "name";
constexpr const char* kValue = "value";
constexpr const char* kSize = "size";

// Bytes of the longest name of a module or group, and of the longest name or value of a property, with the
// NUL. A longer name is never found, a longer value counts as missing.
constexpr std::size_t kNameSize = 256;
constexpr std::size_t kPropertySize = 1024;

// Whether the current element is one of that kind.
bool IsAt(IXmlParser& parser, const char* pszElement)
{
    const char* const pszName = parser.GetName();
    return pszName != nullptr && EqualsNoCase(pszName, pszElement);
}

// The first of the nCount children of that kind whose attribute "name" is pszName, as a position among them;
// -1 if there is none. nSize is the longest name with its NUL. The wrapper of this folder has an index for
// the search; any other implementation of IXmlParser is asked for one name after the other.
int FindByName(IXmlParser& parser, const char* pszChild, int nCount, const char* pszName, std::size_t nSize)
{
    if (std::strlen(pszName) >= nSize)
        return -1;
    if (const auto* const pWrapper = dynamic_cast<CTLXMLWrapper*>(&parser)) {
        const int nFound = pWrapper->FindNamedChild(pszChild, pszName);
        return nFound < nCount ? nFound : -1;
    }
    for (int n = 0; n < nCount; ++n) {
        const char* const pszFound = parser.GetChildAttribute(pszChild, kName, n);
        if (pszFound == nullptr)
            return -1;
        if (EqualsNoCase(pszFound, pszName))
            return n;
    }
    return -1;
}

// False, and nothing copied, if the value and its NUL do not fit.
bool CopyValue(char* out, int size, std::string_view value)
{
    if (value.size() >= static_cast<std::size_t>(size))
        return false;
    value.copy(out, value.size());
    out[value.size()] = '\0';
    return true;
}

// The value without the blanks around it; a blank value is refused like a missing one.
bool CopyStripped(char* out, int size, const char* pszValue)
{
    if (std::strlen(pszValue) >= kPropertySize)
        return false;
    const std::string_view value = StripBlanks(pszValue);
    return !value.empty() && CopyValue(out, size, value);
}

// Whether the arguments of a read are usable. Empties the buffer first, so that every failure leaves "".
bool MayRead(const IXmlParser* pParser, char* out, int size, const char* pszName)
{
    if (out != nullptr && size > 0)
        *out = '\0';
    return pParser != nullptr && out != nullptr && size > 0 && pszName != nullptr;
}

// The position of a property or a property array in the current group, among those of its kind; -1 if there
// is none or the current element is no group.
int FindInGroup(IXmlParser& parser, const char* pszKind, const char* pszName)
{
    if (!IsAt(parser, kGroup))
        return -1;
    return FindByName(parser, pszKind, parser.GetChildCount(pszKind), pszName, kPropertySize);
}

}  // namespace

IXmlParser* CreateXmlParser(const char* pszName)
{
    const XMLNode TopNode = XMLNode::createXMLTopNode(pszName);
    if (TopNode.isEmpty())
        return nullptr;
    auto* const pNewInst = new (std::nothrow) CTLXMLWrapper(TopNode);
    if (pNewInst == nullptr)
        RaiseAssertion("pNewInst");
    return pNewInst;
}

IXmlParser* ParseXmlString(const char* pszXml, const char* pszTag)
{
    if (pszXml == nullptr || pszTag == nullptr)
        return nullptr;
    auto parser = std::make_unique<CTLXMLWrapper>();
    return parser->ParseString(pszXml, pszTag) ? parser.release() : nullptr;
}

IXmlParser* OpenXmlFile(const char* pszFileName, const char* pszTag, bool bMayShowDialog)
{
    if (pszFileName == nullptr || pszTag == nullptr)
        return nullptr;
    auto parser = std::make_unique<CTLXMLWrapper>();
    return parser->OpenFile(pszFileName, pszTag, bMayShowDialog) ? parser.release() : nullptr;
}

void DestroyXmlParser(IXmlParser** ppHolder)
{
    if (ppHolder != nullptr)
        delete *ppHolder;
}

bool MoveToModule(IXmlParser* pParser, const char* pszName)
{
    if (pParser == nullptr || pszName == nullptr)
        return false;
    // Counted before the move to the top: without modules below the current element the position stays.
    const int nCount = pParser->GetChildCount(kModule);
    if (nCount < 1)
        return false;
    pParser->MoveToTop();
    const int nFound = FindByName(*pParser, kModule, nCount, pszName, kNameSize);
    return nFound >= 0 && pParser->MoveToChild(kModule, nFound);
}

bool MoveToGroup(IXmlParser* pParser, const char* pszName)
{
    if (pParser == nullptr || pszName == nullptr)
        return false;
    if (IsAt(*pParser, kGroup))
        pParser->MoveToParent();
    else if (!IsAt(*pParser, kModule))
        return false;
    const int nFound = FindByName(*pParser, kGroup, pParser->GetChildCount(kGroup), pszName, kNameSize);
    return nFound >= 0 && pParser->MoveToChild(kGroup, nFound);
}

bool GetProperty(IXmlParser* pParser, char* out, int size, const char* pszName)
{
    if (!MayRead(pParser, out, size, pszName))
        return false;
    const int nFound = FindInGroup(*pParser, kProperty, pszName);
    if (nFound < 0)
        return false;
    if (const char* const pszValue = pParser->GetChildAttribute(kProperty, kValue, nFound))
        return CopyStripped(out, size, pszValue);
    if (const char* const pszText = pParser->GetChildText(kProperty, nFound))
        return CopyValue(out, size, pszText);
    // GetChildClear counts all children of the group, while nFound counts the properties. A clear section is
    // therefore only found where no other element stands before the property.
    const char* const pszClear = pParser->GetChildClear(nFound, 0);
    return pszClear != nullptr && CopyStripped(out, size, pszClear);
}

bool GetPropertyArray(IXmlParser* pParser, char* out, int size, const char* pszName, int nPosition)
{
    if (!MayRead(pParser, out, size, pszName) || nPosition < 0)
        return false;
    const int nFound = FindInGroup(*pParser, kPropertyArray, pszName);
    if (nFound < 0)
        return false;
    const char* const pszSize = pParser->GetChildAttribute(kPropertyArray, kSize, nFound);
    const int nSize = pszSize == nullptr ? 0 : TextToInteger(pszSize);
    if (nSize < 1 || nPosition >= nSize)
        return false;
    char szAttribute[128];
    std::snprintf(szAttribute, sizeof(szAttribute), "%s%d", kValue, nPosition);
    if (const char* const pszValue = pParser->GetChildAttribute(kPropertyArray, szAttribute, nFound))
        return CopyStripped(out, size, pszValue);
    // Clear sections are read only if the array has one for every element. The position is that of
    // GetProperty: no other element may stand before the array.
    for (int n = 0; n < nSize; ++n) {
        if (pParser->GetChildClear(nFound, n) == nullptr)
            return false;
    }
    return CopyStripped(out, size, pParser->GetChildClear(nFound, nPosition));
}

}  // namespace Tarvo::XmlParser
