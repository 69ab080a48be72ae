// Parsing of a text with its place of error, conversion of a file's bytes, and the guess of an encoding.
#include "config/proj/TarvoXmlParser/src/xmlDocument.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>

#include "config/proj/TarvoXmlParser/src/xmlElementParser.h"
#include "platform/Host.h"

namespace Tarvo::XmlParser {
namespace {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";

// Whether the eight bytes at p are ASCII characters, which have one byte in every encoding, and none is a
// newline.
bool IsPlainRun(const char* p)
{
    constexpr std::uint64_t kOnes = 0x0101010101010101, kTopBits = 0x80 * kOnes;
    std::uint64_t nBytes = 0;
    std::memcpy(&nBytes, p, sizeof(nBytes));
    // A newline is a zero byte here, and only zero bytes have a top bit after the subtraction that they did
    // not have before it.
    const std::uint64_t nDiffer = nBytes ^ ('\n' * kOnes);
    return (nBytes & kTopBits) == 0 && ((nDiffer - kOnes) & ~nDiffer & kTopBits) == 0;
}

// Turns the byte offset of a fault into a line and a column, both from 1; columns count characters, not
// bytes.
void FindPlace(std::string_view xml, const LengthTable& lengths, std::size_t nPlace, XMLResults& results)
{
    constexpr std::size_t kRun = 8;
    nPlace = std::min(nPlace, xml.size());
    results.nLine = 1;
    results.nColumn = 1;
    for (std::size_t n = 0; n < nPlace;) {
        if (nPlace - n >= kRun && IsPlainRun(xml.data() + n)) {
            results.nColumn += static_cast<int>(kRun);
            n += kRun;
            continue;
        }
        results.nColumn = xml[n] == '\n' ? 1 : results.nColumn + 1;
        results.nLine += xml[n] == '\n' ? 1 : 0;
        n += CharLength(lengths, xml, n);
    }
}

// Finds the element pszTag: the node itself, one of its children, or a child of a declaration among its
// children. The last case is the usual one: an XML declaration ("<?xml ... ?>") takes the elements behind it
// as its children.
XMLNode FindTag(const XMLNode& node, const char* pszTag)
{
    const char* const pszName = node.getName();
    if (pszName != nullptr && EqualsNoCase(pszName, pszTag))
        return node;
    XMLNode found = node.getChildNode(pszTag);
    for (int n = 0; found.isEmpty() && n < node.nChildNode(); ++n) {
        const XMLNode child = node.getChildNode(n);
        if (child.isDeclaration())
            found = child.getChildNode(pszTag);
    }
    return found;
}

bool IsTextUnicode(std::string_view bytes)
{
    return bytes.size() <= static_cast<std::size_t>(std::numeric_limits<int>::max()) &&
           Host::IsTextUnicode(bytes.data(), static_cast<int>(bytes.size()));
}

}  // namespace

XMLNode ParseText(std::string_view xml, const char* pszTag, const Options& options, bool bWantEnd,
                  XMLResults& results)
{
    xml = xml.substr(0, xml.find('\0'));
    const XMLNode root = XMLRecord::NewRoot();
    ElementParser parser(xml, options);
    parser.Run(root);
    results = {};
    results.error = root.nChildNode() == 0 ? eXMLErrorNoXMLTagFound : parser.Error();

    // Warnings keep the tree. A document that is one element and nothing else is that element; any other is
    // the nameless root over all its parts.
    const bool bWarning = results.error == eXMLErrorMissingEndTag || results.error == eXMLErrorNoXMLTagFound;
    XMLNode node;
    if (results.error == eXMLErrorNone || bWarning) {
        node = root.nChildNode() == 1 && root.nElement() == 1 ? root.getChildNode(0) : root;
        if (pszTag != nullptr && *pszTag != '\0') {
            node = FindTag(node, pszTag);
            if (node.isEmpty()) {
                results.error = eXMLErrorFirstTagNotFound;
                return node;
            }
        }
    }
    if (results.error != eXMLErrorNone || bWantEnd)
        FindPlace(xml, options.Lengths(), parser.FaultPlace(), results);
    return node;
}

XMLNode ParseFileBytes(const std::string& strBytes, const char* pszTag, const Options& options, bool bWantEnd,
                       XMLResults& results)
{
    results = {};
    std::string_view text = strBytes;
    std::string strConverted;
    if (options.bGuessWideChar) {
        // UTF-16 has two bytes a unit: a mark of two bytes is skipped, and an odd byte at the end left out.
        if (IsTextUnicode(text)) {
            if (text.starts_with("\xEF\xFF") || text.starts_with("\xFF\xFE"))
                text.remove_prefix(2);
            const int nLength = static_cast<int>(text.size() / 2 * 2);
            if (!Host::WideToMultiByte(text.data(), nLength, options.nEncoding == char_encoding_UTF8,
                                       strConverted)) {
                results.error = eXMLErrorCharConversion;
                return {};
            }
            text = strConverted;
        } else if (text.starts_with(kUtf8Mark)) {
            text.remove_prefix(kUtf8Mark.size());
        }
    }
    return ParseText(text, pszTag, options, bWantEnd, results);
}

namespace {

// Whether the bytes up to the first NUL can be UTF-8: every first byte of a longer character is followed by
// as many continuation bytes as it announces.
bool LooksLikeUtf8(std::string_view bytes)
{
    const LengthTable& lengths = LengthsOf(char_encoding_UTF8);
    bytes = bytes.substr(0, bytes.find('\0'));
    for (std::size_t n = 0; n < bytes.size();) {
        const std::size_t nEnd = n + CharLength(lengths, bytes, n);
        for (++n; n < nEnd; ++n) {
            if ((static_cast<unsigned char>(bytes[n]) & 0xC0) != 0x80)
                return false;
        }
    }
    return true;
}

void SkipBlanks(std::string_view& text)
{
    while (!text.empty() && IsBlank(text.front()))
        text.remove_prefix(1);
}

// Cuts the text to what stands behind the opening quote of encoding="...". False if there is no such
// attribute.
bool FindEncodingAttribute(std::string_view& text)
{
    constexpr std::string_view kWord = "encoding";
    const std::size_t nPos = text.find(kWord);
    if (nPos == std::string_view::npos)
        return false;
    text.remove_prefix(nPos + kWord.size());
    SkipBlanks(text);
    if (!text.starts_with('='))
        return false;
    text.remove_prefix(1);
    SkipBlanks(text);
    if (!text.starts_with('"') && !text.starts_with('\''))
        return false;
    text.remove_prefix(1);
    SkipBlanks(text);
    return true;
}

// The names that a file may give its encoding, compared without regard to case, as prefixes.
struct EncodingName {
    std::string_view text;
    XMLCharEncoding encoding;
};
constexpr EncodingName kEncodingNames[] = {
    {"utf-8", char_encoding_UTF8},        {"utf8", char_encoding_UTF8},
    {"shiftjis", char_encoding_ShiftJIS}, {"shift-jis", char_encoding_ShiftJIS},
    {"sjis", char_encoding_ShiftJIS},     {"GB2312", char_encoding_GB2312},
    {"Big5", char_encoding_Big5},         {"GBK", char_encoding_GBK},
};

}  // namespace

XMLCharEncoding GuessEncoding(std::string_view bytes, bool bGuessWideChar, bool bUseEncodingAttribute)
{
    constexpr std::size_t kShortest = 25;          // bytes; fewer tell nothing
    constexpr std::size_t kAttributeWithin = 200;  // bytes in which the attribute is looked for
    if (bytes.size() < kShortest || (bGuessWideChar && IsTextUnicode(bytes)))
        return char_encoding_error;
    if (bytes.starts_with(kUtf8Mark))
        return char_encoding_UTF8;
    const bool bUtf8 = LooksLikeUtf8(bytes);
    const XMLCharEncoding best = bUtf8 ? char_encoding_UTF8 : char_encoding_legacy;
    std::string_view text = bytes.substr(0, kAttributeWithin);
    text = text.substr(0, text.find('\0'));
    if (!bUseEncodingAttribute || !FindEncodingAttribute(text))
        return best;
    // A file that calls itself UTF-8 and is not gives no guess; an unknown name counts as a single-byte
    // encoding.
    for (const EncodingName& name : kEncodingNames) {
        if (!StartsWithNoCase(text, name.text))
            continue;
        return name.encoding == char_encoding_UTF8 && !bUtf8 ? char_encoding_error : name.encoding;
    }
    return char_encoding_legacy;
}

}  // namespace Tarvo::XmlParser
