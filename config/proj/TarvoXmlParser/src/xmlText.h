// Characters: options, lengths, blanks, comparison, entities.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "config/proj/TarvoXmlParser/src/xmlParser.h"

namespace Tarvo::XmlParser {

using LengthTable = std::array<std::uint8_t, 256>;

// One parse works with one copy of them. Four bytes that are stored and loaded as one.
struct alignas(4) Options {
    std::uint8_t nEncoding = char_encoding_UTF8;
    bool bGuessWideChar = true;
    bool bDropWhiteSpace = true;
    bool bRemoveComments = true;

    const LengthTable& Lengths() const;
};
Options GetGlobalOptions();
void SetGlobalOptions(const Options& options);

const LengthTable& LengthsOf(int nEncoding);

// Bytes of the character at that place, never beyond the end of the text; a place at the end gives 0.
inline std::size_t CharLength(const LengthTable& lengths, std::string_view text, std::size_t nPos)
{
    const std::size_t nLeft = text.size() - nPos;
    if (nLeft == 0)
        return 0;
    const std::size_t nLength = lengths[static_cast<unsigned char>(text[nPos])];
    return nLength == 0 ? 1 : (nLength < nLeft ? nLength : nLeft);
}

inline bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
std::string_view StripBlanks(std::string_view text);

// ASCII letters without regard to case, in every locale.
inline char ToLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }
bool EqualsNoCase(std::string_view a, std::string_view b);
bool StartsWithNoCase(std::string_view text, std::string_view prefix);
struct LessNoCase {  // some order, not that of the alphabet
    bool operator()(std::string_view a, std::string_view b) const;
};

// Replaces the entities. On a fault the code, with the offset of the offending ampersand in nFault; the
// output is then useless.
XMLError Decode(const LengthTable& lengths, std::string_view text, std::string& strOut, std::size_t& nFault);
// The other way round, at the end of strOut.
void Encode(const LengthTable& lengths, std::string_view text, std::string& strOut);

// Sections whose contents are not looked into.
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
// The closing of a DOCTYPE that has declarations of its own.
inline constexpr const char* kSubsetClose = "]>";

}  // namespace Tarvo::XmlParser
