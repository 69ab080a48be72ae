// The tokeniser. It steps by whole characters, because the second byte of a character may look like markup.
#include "config/proj/TarvoXmlParser/src/xmlTokeniser.h"

#include <cstring>

namespace Tarvo::XmlParser {

Tokeniser::Tokeniser(std::string_view xml, const LengthTable& lengths)
    : m_xml(xml.substr(0, xml.find('\0'))), m_lengths(lengths)
{
}

// Makes the token of those bytes and moves behind it.
Token Tokeniser::Make(TokenType type, std::size_t nStart, std::size_t nLength)
{
    m_nPlace = nStart + nLength;
    return {type, nStart, std::string_view(m_xml.data() + nStart, nLength), nullptr};
}

bool Tokeniser::StartsHere(std::string_view text) const
{
    return m_xml.compare(m_nPlace, text.size(), text) == 0;
}

// Moves to the next character that has the flag in the table and is not the first byte of a longer one; gives
// that character, and NUL at the end. Only the bytes that end a run of plain characters are looked at twice.
char Tokeniser::SkipTo(std::uint8_t nFlag)
{
    const char* const pXml = m_xml.data();
    for (;;) {
        while ((m_lengths[static_cast<unsigned char>(pXml[m_nPlace])] & nFlag) == 0)
            ++m_nPlace;
        if ((m_lengths[static_cast<unsigned char>(pXml[m_nPlace])] & kLengthBits) <= 1)
            return pXml[m_nPlace];
        m_nPlace += CharLength(m_lengths, m_xml, m_nPlace);
    }
}

// Moves behind the quote that closes the one at the current place. False, without a move, if a '<' or the end
// comes first: the character is then part of a text. Each kind of quote can fail in this way once between two
// '<', so no byte is read over and over.
bool Tokeniser::SkipQuoted(char cQuote)
{
    const std::size_t nStart = m_nPlace;
    char c = '\0';
    do {
        ++m_nPlace;  // the first quote, or one of the other kind
        c = SkipTo(kEndsQuoted);
    } while (c != cQuote && c != '<' && c != '\0');
    m_nPlace = c == cQuote ? m_nPlace + 1 : nStart;
    return c == cQuote;
}

// Moves to the end of a text: to a blank, a bracket, an equals sign, or the slash of "/>".
void Tokeniser::SkipText()
{
    while (SkipTo(kEndsText) == '/' && Here()[1] != '>')
        ++m_nPlace;
}

// The token of a '<'. No opening of a clear section begins with another second character.
Token Tokeniser::NextTag(std::size_t nStart)
{
    switch (Here()[1]) {
        case '/':
            return Make(TokenType::TagEnd, nStart, 2);
        case '?':
            return Make(TokenType::Declaration, nStart, 2);
        case '!':
        case 'P':
            for (const ClearForm& form : kClearForms) {
                if (StartsHere(form.pszOpen)) {
                    Token token = Make(TokenType::Clear, nStart, std::strlen(form.pszOpen));
                    token.pForm = &form;
                    return token;
                }
            }
            break;
        default:
            break;
    }
    return Make(TokenType::TagStart, nStart, 1);
}

Token Tokeniser::Next()
{
    while (IsBlank(*Here()))
        ++m_nPlace;
    const std::size_t nStart = m_nPlace;
    const char c = *Here();
    switch (c) {
        case '\0':
            return Make(TokenType::End, nStart, 0);
        case '<':
            return NextTag(nStart);
        case '>':
            return Make(TokenType::CloseTag, nStart, 1);
        case '=':
            return Make(TokenType::Equals, nStart, 1);
        case '/':
            if (Here()[1] == '>')
                return Make(TokenType::ShortHandClose, nStart, 2);
            break;
        case '"':
        case '\'':
            if (SkipQuoted(c))
                return Make(TokenType::QuotedText, nStart, m_nPlace - nStart);
            break;
        default:
            break;
    }
    // A text. Its first character belongs to it even if it is a quote without a partner or a slash.
    m_nPlace += CharLength(m_lengths, m_xml, m_nPlace);
    SkipText();
    return Make(TokenType::Text, nStart, m_nPlace - nStart);
}

// The offset of the first occurrence of the text from nFrom on, searched by whole characters; npos if there
// is none.
std::size_t Tokeniser::Find(std::string_view text, std::size_t nFrom) const
{
    for (std::size_t n = nFrom; n < m_xml.size(); n += CharLength(m_lengths, m_xml, n)) {
        if (m_xml[n] == text[0] && m_xml.compare(n, text.size(), text) == 0)
            return n;
    }
    return std::string_view::npos;
}

bool Tokeniser::ReadClear(const ClearForm& form, std::string_view& value, const char*& pszClose)
{
    pszClose = form.pszClose;
    std::size_t nEnd = Find(pszClose, m_nPlace);
    if (&form == kDocType) {
        const std::size_t nOpen = Find("<", m_nPlace);
        // A '<' before the first '>' means that the DOCTYPE has declarations of its own, which end in "]>".
        if (nOpen < nEnd) {
            pszClose = kSubsetClose;
            nEnd = Find(pszClose, m_nPlace);
        }
    }
    if (nEnd == std::string_view::npos)
        return false;
    value = m_xml.substr(m_nPlace, nEnd - m_nPlace);
    m_nPlace = nEnd + std::strlen(pszClose);
    return true;
}

}  // namespace Tarvo::XmlParser
