// What the reader knows of characters: the options of a parse, the lengths of characters, blanks, comparison
// without case, entities, and the forms of clear sections.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "config/proj/TarvoXmlParser/src/xmlParser.h"

namespace Tarvo::XmlParser {

// What a byte means as the first of a character, in one encoding: the length of the character in bytes, and
// whether it ends the run of plain characters of one byte in a kind of text. The first byte of a longer
// character and the NUL end every run.
using LengthTable = std::array<std::uint8_t, 256>;
inline constexpr std::uint8_t kLengthBits = 7;
inline constexpr std::uint8_t kEndsContent = 8;  // '<'
inline constexpr std::uint8_t kEndsQuoted = 16;  // '<' and the two quotes
inline constexpr std::uint8_t kEndsText = 32;    // blanks, brackets, '=' and '/'

// The options of setGlobalOptions. A parse works with one copy of them from its beginning to its end. The
// four bytes are aligned so that an atomic can load and store them as one.
struct alignas(4) Options {
    std::uint8_t nEncoding = char_encoding_UTF8;
    bool bGuessWideChar = true;
    bool bDropWhiteSpace = true;
    bool bRemoveComments = true;

    const LengthTable& Lengths() const;
};
Options GetGlobalOptions();  // any thread, like its counterpart
void SetGlobalOptions(const Options& options);

// The table of an XMLCharEncoding; an unknown value gives the single-byte table.
const LengthTable& LengthsOf(int nEncoding);

// Length in bytes of the character at nPos, cut at the end of the text. 0 at the end of the text and never
// elsewhere, so a loop that steps by this length always gets on.
inline std::size_t CharLength(const LengthTable& lengths, std::string_view text, std::size_t nPos)
{
    const std::size_t nLeft = text.size() - nPos;
    if (nLeft == 0)
        return 0;
    const std::size_t nLength = lengths[static_cast<unsigned char>(text[nPos])] & kLengthBits;
    return nLength == 0 ? 1 : (nLength < nLeft ? nLength : nLeft);
}

// Blanks are the four characters that XML knows, in every locale.
inline bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
std::string_view StripBlanks(std::string_view text);

// Comparison without regard to the case of ASCII letters, in every locale; other bytes are compared as they
// are.
inline char ToLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }
bool StartsWithNoCase(std::string_view text, std::string_view prefix);
inline bool EqualsNoCase(std::string_view a, std::string_view b)
{
    return a.size() == b.size() && (a == b || StartsWithNoCase(a, b));
}
inline bool EqualsNoCase(const char* pszA, const char* pszB)
{
    for (; *pszA == *pszB || ToLower(*pszA) == ToLower(*pszB); ++pszA, ++pszB) {
        if (*pszA == '\0')
            return true;
    }
    return false;
}
// An order for maps: shorter texts come first, so it is not that of the alphabet.
struct LessNoCase {
    bool operator()(std::string_view a, std::string_view b) const;
};

// Writes the text with its entities replaced to strOut. On a fault returns its code and leaves the offset of
// the ampersand at fault in nFault; strOut is then of no use.
XMLError Decode(const LengthTable& lengths, std::string_view text, std::string& strOut, std::size_t& nFault);
// Appends the text to strOut with the five special characters replaced by their entities.
void Encode(const LengthTable& lengths, std::string_view text, std::string& strOut);

// The opening and closing of a clear section, compared with regard to case.
struct ClearForm {
    const char* pszOpen;
    const char* pszClose;
};
inline constexpr const char* kCommentOpen = "<!--";
inline constexpr std::array<ClearForm, 4> kClearForms{{
    {"<![CDATA[", "]]>"},
    {"<!DOCTYPE", ">"},
    {kCommentOpen, "-->"},
    {"<PRE>", "</PRE>"},
}};
inline constexpr const ClearForm* kCData = &kClearForms[0];
inline constexpr const ClearForm* kDocType = &kClearForms[1];
// The closing of a DOCTYPE that has declarations of its own in brackets.
inline constexpr const char* kSubsetClose = "]>";

}  // namespace Tarvo::XmlParser
