// The search for modules, groups and properties in a TL2 file, over any IXmlParser.
#include "config/proj/TarvoXmlParser/src/TarvoXmlParser.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <iterator>
#include <memory>
#include <new>
#include <typeinfo>

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

// A child of the current element that has been found by its name.
struct NamedChild {
    const char* pszKind = nullptr;
    int nPosition = -1;  // among the children of its kind; -1 if there is none
    XMLNode node;        // empty unless the parser is the wrapper of this folder

    // Spares the wrapper a second search by the position.
    const char* Attribute(IXmlParser& parser, const char* pszName) const
    {
        return node.isEmpty() ? parser.GetChildAttribute(pszKind, pszName, nPosition)
                              : node.getAttribute(pszName);
    }
};

// The first child of that kind whose attribute "name" is pszName. nSize is the longest name with its NUL. The
// wrapper of this folder has an index for the search; any other implementation of IXmlParser is asked for one
// name after the other.
NamedChild FindByName(IXmlParser& parser, const char* pszKind, const char* pszName, std::size_t nSize)
{
    NamedChild found{pszKind, -1, {}};
    if (std::strlen(pszName) >= nSize)
        return found;
    if (typeid(parser) == typeid(CTLXMLWrapper)) {  // a final class
        const auto& wrapper = static_cast<const CTLXMLWrapper&>(parser);
        found.nPosition = wrapper.FindNamedChild(pszKind, pszName, found.node);
        return found;
    }
    const int nCount = parser.GetChildCount(pszKind);
    for (int n = 0; n < nCount; ++n) {
        const char* const pszFound = parser.GetChildAttribute(pszKind, kName, n);
        if (pszFound == nullptr)
            break;
        if (EqualsNoCase(pszFound, pszName)) {
            found.nPosition = n;
            break;
        }
    }
    return found;
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

// A property or a property array of the current group; none if the current element is no group.
NamedChild FindInGroup(IXmlParser& parser, const char* pszKind, const char* pszName)
{
    return IsAt(parser, kGroup) ? FindByName(parser, pszKind, pszName, kPropertySize) : NamedChild();
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

IXmlParser* OpenXmlFile(const char* pszFileName, const char* pszTag, bool bMayShowDialog,
                        XMLResults* pResults)
{
    if (pszFileName == nullptr || pszTag == nullptr)
        return nullptr;
    auto parser = std::make_unique<CTLXMLWrapper>();
    return parser->OpenFile(pszFileName, pszTag, bMayShowDialog, pResults) ? parser.release() : nullptr;
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
    const NamedChild found = FindByName(*pParser, kModule, pszName, kNameSize);
    return found.nPosition >= 0 && found.nPosition < nCount && pParser->MoveToChild(kModule, found.nPosition);
}

bool MoveToGroup(IXmlParser* pParser, const char* pszName)
{
    if (pParser == nullptr || pszName == nullptr)
        return false;
    if (IsAt(*pParser, kGroup))
        pParser->MoveToParent();
    else if (!IsAt(*pParser, kModule))
        return false;
    const NamedChild found = FindByName(*pParser, kGroup, pszName, kNameSize);
    return found.nPosition >= 0 && pParser->MoveToChild(kGroup, found.nPosition);
}

bool GetProperty(IXmlParser* pParser, char* out, int size, const char* pszName)
{
    if (!MayRead(pParser, out, size, pszName))
        return false;
    const NamedChild found = FindInGroup(*pParser, kProperty, pszName);
    if (found.nPosition < 0)
        return false;
    if (const char* const pszValue = found.Attribute(*pParser, kValue))
        return CopyStripped(out, size, pszValue);
    if (const char* const pszText = pParser->GetChildText(kProperty, found.nPosition))
        return CopyValue(out, size, pszText);
    // GetChildClear counts all children of the group, while the position counts the properties. A clear
    // section is therefore only found where no other element stands before the property.
    const char* const pszClear = pParser->GetChildClear(found.nPosition, 0);
    return pszClear != nullptr && CopyStripped(out, size, pszClear);
}

bool GetPropertyArray(IXmlParser* pParser, char* out, int size, const char* pszName, int nPosition)
{
    if (!MayRead(pParser, out, size, pszName) || nPosition < 0)
        return false;
    const NamedChild found = FindInGroup(*pParser, kPropertyArray, pszName);
    if (found.nPosition < 0)
        return false;
    const char* const pszSize = found.Attribute(*pParser, kSize);
    const int nSize = pszSize == nullptr ? 0 : TextToInteger(pszSize);
    if (nSize < 1 || nPosition >= nSize)
        return false;
    char szAttribute[32];
    char* const pDigits = std::copy_n(kValue, std::strlen(kValue), szAttribute);
    *std::to_chars(pDigits, std::end(szAttribute) - 1, nPosition).ptr = '\0';
    if (const char* const pszValue = found.Attribute(*pParser, szAttribute))
        return CopyStripped(out, size, pszValue);
    // Clear sections are read only if the array has one for every element. The position is that of
    // GetProperty: no other element may stand before the array.
    for (int n = 0; n < nSize; ++n) {
        if (pParser->GetChildClear(found.nPosition, n) == nullptr)
            return false;
    }
    return CopyStripped(out, size, pParser->GetChildClear(found.nPosition, nPosition));
}

}  // namespace Tarvo::XmlParser
