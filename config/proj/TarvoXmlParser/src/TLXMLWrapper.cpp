// The operations of IXmlParser. Each is a short step on the tree; the copies into the caller's buffer are
// bounded.
#include "config/proj/TarvoXmlParser/src/TLXMLWrapper.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <utility>

#include "config/proj/TarvoXmlParser/src/xmlText.h"

namespace Tarvo::XmlParser {
namespace {

// Puts "" into the buffer, which it keeps if the operation fails. False for a buffer that cannot take even
// that.
bool Empty(char* out, int size)
{
    if (out == nullptr || size < 1)
        return false;
    *out = '\0';
    return true;
}

// The caller has made sure that the text and its NUL fit.
void Copy(char* out, std::string_view text)
{
    std::copy(text.begin(), text.end(), out);
    out[text.size()] = '\0';
}

// For texts and attributes: copies the whole text, or fails if it does not fit, because a setting cut short
// would be a wrong setting.
bool CopyWhole(char* out, int size, const char* pszText)
{
    if (!Empty(out, size) || pszText == nullptr)
        return false;
    const std::string_view text = pszText;
    if (text.size() >= static_cast<std::size_t>(size))
        return false;
    Copy(out, text);
    return true;
}

// For names and clear sections: copies as many whole characters as fit in front of the NUL. Characters have
// the lengths of the current encoding option, so that none is cut in two.
bool CopyBounded(char* out, int size, const char* pszText)
{
    if (!Empty(out, size) || pszText == nullptr)
        return false;
    const std::string_view text = pszText;
    const auto nRoom = static_cast<std::size_t>(size) - 1;
    std::size_t nLength = text.size();
    if (nLength > nRoom) {
        const LengthTable& lengths = GetGlobalOptions().Lengths();
        nLength = 0;
        for (std::size_t n = 0; n <= nRoom; n += CharLength(lengths, text, n))
            nLength = n;
    }
    Copy(out, text.substr(0, nLength));
    return true;
}

const char* ClearValue(const XMLNode& node, int nIndex)
{
    const XMLClear* const pClear = node.getClear(nIndex);
    return pClear == nullptr ? nullptr : pClear->value;
}

}  // namespace

bool CTLXMLWrapper::Take(XMLNode node)
{
    if (node.isEmpty())
        return false;
    m_top = std::move(node);
    MoveToTop();
    return true;
}

bool CTLXMLWrapper::ParseString(const char* pszXml, const char* pszTag)
{
    return Take(XMLNode::parseString(pszXml, pszTag));
}

bool CTLXMLWrapper::OpenFile(const char* pszFileName, const char* pszTag)
{
    return OpenFile(pszFileName, pszTag, true, nullptr);
}

bool CTLXMLWrapper::OpenFile(const char* pszFileName, const char* pszTag, bool bMayShowDialog,
                             XMLResults* pResults)
{
    return Take(XMLNode::openFileHelper(pszFileName, pszTag, bMayShowDialog, pResults));
}

bool CTLXMLWrapper::MoveToChild(const char* pszName, int nIndex)
{
    XMLNode child = m_current.getChildNode(pszName, nIndex);
    if (child.isEmpty())
        return false;
    m_stack.push_back(m_current);
    m_current = std::move(child);
    return true;
}

bool CTLXMLWrapper::MoveToParent()
{
    if (m_stack.empty())
        return false;
    m_current = std::move(m_stack.back());
    m_stack.pop_back();
    return true;
}

void CTLXMLWrapper::MoveToTop()
{
    m_stack.clear();
    m_current = m_top;
}

bool CTLXMLWrapper::GetText(char* out, int size) { return CopyWhole(out, size, GetText()); }

const char* CTLXMLWrapper::GetText() { return m_current.getText(); }

bool CTLXMLWrapper::GetName(char* out, int size) { return CopyBounded(out, size, GetName()); }

const char* CTLXMLWrapper::GetName() { return m_current.getName(); }

bool CTLXMLWrapper::GetAttribute(char* out, int size, const char* pszAttribute)
{
    return CopyWhole(out, size, GetAttribute(pszAttribute));
}

const char* CTLXMLWrapper::GetAttribute(const char* pszAttribute)
{
    return m_current.getAttribute(pszAttribute);
}

bool CTLXMLWrapper::GetClear(char* out, int size, int nIndex)
{
    return CopyBounded(out, size, GetClear(nIndex));
}

const char* CTLXMLWrapper::GetClear(int nIndex) { return ClearValue(m_current, nIndex); }

int CTLXMLWrapper::GetChildCount(const char* pszName) { return m_current.nChildNode(pszName); }

bool CTLXMLWrapper::GetChildText(char* out, int size, const char* pszChild, int nIndex)
{
    return CopyWhole(out, size, GetChildText(pszChild, nIndex));
}

const char* CTLXMLWrapper::GetChildText(const char* pszChild, int nIndex)
{
    return m_current.getChildNode(pszChild, nIndex).getText();
}

bool CTLXMLWrapper::GetChildAttribute(char* out, int size, const char* pszChild, const char* pszAttribute,
                                      int nIndex)
{
    return CopyWhole(out, size, GetChildAttribute(pszChild, pszAttribute, nIndex));
}

const char* CTLXMLWrapper::GetChildAttribute(const char* pszChild, const char* pszAttribute, int nIndex)
{
    return m_current.getChildNode(pszChild, nIndex).getAttribute(pszAttribute);
}

bool CTLXMLWrapper::GetChildClear(char* out, int size, int nChildPosition, int nClearIndex)
{
    return CopyBounded(out, size, GetChildClear(nChildPosition, nClearIndex));
}

const char* CTLXMLWrapper::GetChildClear(int nChildPosition, int nClearIndex)
{
    return ClearValue(m_current.getChildNode(nChildPosition), nClearIndex);
}

bool CTLXMLWrapper::AddChild(const char* pszName) { return !m_current.addChild(pszName).isEmpty(); }

bool CTLXMLWrapper::AddAttribute(const char* pszName, const char* pszValue)
{
    return m_current.addAttribute(pszName, pszValue) != nullptr;
}

// The interface promises false in every case.
bool CTLXMLWrapper::AddText(const char* pszText)
{
    m_current.addText(pszText);
    return false;
}

bool CTLXMLWrapper::AddClear(const char* pszValue, const char* pszOpenTag, const char* pszCloseTag)
{
    return pszOpenTag != nullptr && pszCloseTag != nullptr &&
           m_current.addClear(pszValue, pszOpenTag, pszCloseTag) != nullptr;
}

// The whole buffer is zeroed first, so the text ends in a NUL wherever it is cut.
bool CTLXMLWrapper::CreateString(char* out, int size, bool)
{
    if (out == nullptr || size < 1)
        return false;
    const auto nSize = static_cast<std::size_t>(size);
    std::memset(out, 0, nSize);
    int nLength = 0;
    const std::unique_ptr<char[]> text(m_current.createXMLString(1, &nLength));
    if (!text || nLength == 0)
        return false;
    std::memcpy(out, text.get(), std::min(static_cast<std::size_t>(nLength), nSize - 1));
    return true;
}

bool CTLXMLWrapper::CreateString(char** ppszOut, int* pnLength)
{
    if (pnLength != nullptr)
        *pnLength = 0;
    if (ppszOut == nullptr)
        return false;
    *ppszOut = m_current.createXMLString(1, pnLength);
    return *ppszOut != nullptr;
}

bool CTLXMLWrapper::FreeString(char** ppszText)
{
    if (ppszText == nullptr || *ppszText == nullptr)
        return false;
    delete[] * ppszText;
    *ppszText = nullptr;
    return true;
}

int CTLXMLWrapper::FindNamedChild(const char* pszElement, const char* pszName, XMLNode& child) const
{
    return m_current.findNamedChild(pszElement, pszName, &child);
}

}  // namespace Tarvo::XmlParser
