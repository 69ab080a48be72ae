// Cuts the text of a document into tokens for the element parser. Every byte is read a bounded number of
// times, so no text, however it is made, takes more than linear time.
#pragma once

#include <string_view>

#include "config/proj/TarvoXmlParser/src/xmlText.h"

namespace Tarvo::XmlParser {

enum class TokenType {
    End,         // the text is over
    Clear,       // the opening of a clear section
    QuotedText,  // with its quotes
    Text,
    TagStart,        // <
    TagEnd,          // </
    Declaration,     // <?
    ShortHandClose,  // />
    CloseTag,        // >
    Equals
};

struct Token {
    TokenType type = TokenType::End;
    std::size_t nStart = 0;            // offset of its first byte; blanks in front of a token are skipped
    std::string_view text;             // its bytes, a piece of the document
    const ClearForm* pForm = nullptr;  // of a Clear: its opening and closing
};

// Works on the caller's text, which has to outlive it together with its tokens.
class Tokeniser {
public:
    // The text ends at its first NUL, if it has one.
    // REQUIRES: a NUL stands behind the text, which every scan may read.
    Tokeniser(std::string_view xml, const LengthTable& lengths);

    // The next token; End again and again when the text is over.
    Token Next();
    // Skips what stands between two tags: moves to the next '<', or to the end.
    void SkipContent() { SkipTo(kEndsContent); }
    // Reads the rest of the clear section whose opening was the last token: its contents and its closing tag.
    // False, and no move, if the closing tag is missing.
    bool ReadClear(const ClearForm& form, std::string_view& value, const char*& pszClose);

    std::size_t Place() const { return m_nPlace; }  // behind the last token
    std::string_view Xml() const { return m_xml; }

private:
    // The bytes from the current place on, up to the NUL behind the text.
    const char* Here() const { return m_xml.data() + m_nPlace; }
    char SkipTo(std::uint8_t nFlag);
    Token NextTag(std::size_t nStart);
    Token Make(TokenType type, std::size_t nStart, std::size_t nLength);
    bool SkipQuoted(char cQuote);
    void SkipText();
    bool StartsHere(std::string_view text) const;
    std::size_t Find(std::string_view text, std::size_t nFrom) const;

    std::string_view m_xml;
    const LengthTable& m_lengths;
    std::size_t m_nPlace = 0;
};

}  // namespace Tarvo::XmlParser
