// The element parser: one function for each state and token. A function returns what the loop in Run does
// next.
#include "config/proj/TarvoXmlParser/src/xmlElementParser.h"

#include <algorithm>

namespace Tarvo::XmlParser {

ElementParser::ElementParser(std::string_view xml, const Options& options)
    : m_options(options), m_tokens(xml, m_options.Lengths())
{
}

void ElementParser::Run(const XMLNode& root)
{
    m_pCurrent = XMLRecord::Of(root);
    Outcome outcome = Outcome::GoOn;
    while (outcome != Outcome::Stop) {
        if (!m_bInside)
            m_tokens.SkipContent();
        const Token token = m_tokens.Next();
        if (token.type == TokenType::End)
            outcome = AtEnd();
        else
            outcome = m_bInside ? Inside(token) : Outside(token);
        if (outcome == Outcome::Closed)
            outcome = Unwind();
    }
    if (m_error == eXMLErrorNone)
        m_nFault = m_tokens.Place();
}

// ---- faults ----

// An error ends the parse; its place is a byte offset.
ElementParser::Outcome ElementParser::Fault(XMLError error, std::size_t nPlace)
{
    m_error = error;
    m_nFault = nPlace;
    return Outcome::Stop;
}

// A missing or unfitting end tag is a warning: the parse goes on, and the first warning is the one reported.
void ElementParser::Warn(std::size_t nPlace)
{
    if (m_error == eXMLErrorNone)
        Fault(eXMLErrorMissingEndTag, nPlace);
}

// Counts an element, attribute, text or clear section. More than kMaxItems are refused, because each costs
// far more memory than the few bytes that a hostile file needs for it.
bool ElementParser::CountItem()
{
    if (++m_nItems <= kMaxItems)
        return true;
    Fault(eXMLErrorUnexpectedToken, m_tokens.Place());
    return false;
}

// The line of a byte, from 1. The parser asks in ascending order of the bytes, so each byte is looked at
// once.
std::uint32_t ElementParser::LineOf(std::size_t nPlace)
{
    const std::string_view passed = m_tokens.Xml().substr(m_nCounted, nPlace - m_nCounted);
    m_nLine += static_cast<std::uint32_t>(std::count(passed.begin(), passed.end(), '\n'));
    m_nCounted = nPlace;
    return m_nLine;
}

// ---- closing ----

// The text is over. An element that is still open, other than the root or a declaration, lacks its end tag.
ElementParser::Outcome ElementParser::AtEnd()
{
    if (!m_pCurrent->bDeclaration && m_pCurrent->pParent != nullptr)
        Warn(m_tokens.Place());
    if (!m_bInside)
        AddPendingText(m_tokens.Place());
    return Outcome::Stop;
}

bool ElementParser::IsName(std::string_view tag) const
{
    return m_pCurrent->HasName() && EqualsNoCase(m_pCurrent->name, tag);
}

// The current element is complete, and its parent becomes the current one. If the element was ended by an end
// tag of another name, the parents are complete too, up to and with the first that has this name. If no open
// element has it, the document is in error.
ElementParser::Outcome ElementParser::Unwind()
{
    for (;;) {
        if (m_pCurrent->pParent == nullptr)
            return Outcome::Stop;
        m_pCurrent = m_pCurrent->pParent;
        m_bInside = false;
        if (m_endTag.empty())
            return Outcome::GoOn;
        if (!m_pCurrent->HasName())
            return Fault(eXMLErrorUnmatchedEndTag, m_nEndTag);
        if (IsName(m_endTag))
            m_endTag = {};
    }
}

// ---- inside a tag ----

ElementParser::Outcome ElementParser::Inside(const Token& token)
{
    switch (m_awaited) {
        case Awaited::Name:
            return InsideName(token);
        case Awaited::Equals:
            return InsideEquals(token);
        default:
            return InsideValue(token);
    }
}

// The tag, or the clear section, is complete: text may begin behind it.
void ElementParser::LeaveTag()
{
    m_bInside = false;
    m_bText = true;
    m_nText = m_tokens.Place();
}

// Behind the element's name or a whole attribute: an attribute's name, or the end of the tag.
ElementParser::Outcome ElementParser::InsideName(const Token& token)
{
    switch (token.type) {
        case TokenType::Text:
            m_attribute = token.text;
            m_awaited = Awaited::Equals;
            return Outcome::GoOn;
        case TokenType::CloseTag:
            LeaveTag();
            return Outcome::GoOn;
        case TokenType::ShortHandClose:
            LeaveTag();
            return Outcome::Closed;
        default:
            return Fault(eXMLErrorUnexpectedToken, token.nStart);
    }
}

// Behind an attribute's name. An attribute without "=" is kept with a null value.
ElementParser::Outcome ElementParser::InsideEquals(const Token& token)
{
    switch (token.type) {
        case TokenType::Text:
            if (!AddAttribute(m_attribute, nullptr))
                return Outcome::Stop;
            m_attribute = token.text;
            return Outcome::GoOn;
        case TokenType::Equals:
            m_awaited = Awaited::Value;
            return Outcome::GoOn;
        case TokenType::CloseTag:
        case TokenType::ShortHandClose: {
            LeaveTag();
            bool bClosed = token.type == TokenType::ShortHandClose;
            // The "?" of "?>" has been read as the end of a name, or as a name of its own.
            if (m_pCurrent->bDeclaration && m_attribute.ends_with('?')) {
                m_attribute.remove_suffix(1);
                // A declaration at the top of the document stays open and takes the elements behind it as its
                // children; any other declaration ends here.
                bClosed = bClosed || m_pCurrent->pParent->pParent != nullptr;
            }
            if (!m_attribute.empty() && !AddAttribute(m_attribute, nullptr))
                return Outcome::Stop;
            return bClosed ? Outcome::Closed : Outcome::GoOn;
        }
        default:
            return Fault(eXMLErrorUnexpectedToken, token.nStart);
    }
}

// Behind "=": the value, quoted or bare, whose entities are replaced.
ElementParser::Outcome ElementParser::InsideValue(const Token& token)
{
    std::string_view value = token.text;
    if (token.type == TokenType::QuotedText)
        value = value.substr(1, value.size() - 2);
    else if (token.type != TokenType::Text)
        return Fault(eXMLErrorUnexpectedToken, token.nStart);
    else if (m_pCurrent->bDeclaration && value.ends_with('?'))
        value.remove_suffix(1);
    if (!DecodeText(value) || !AddAttribute(m_attribute, &value))
        return Outcome::Stop;
    m_awaited = Awaited::Name;
    return Outcome::GoOn;
}

// pValue is null for an attribute without a value. False if the document has too many items.
bool ElementParser::AddAttribute(std::string_view name, const std::string_view* pValue)
{
    if (!CountItem())
        return false;
    m_pCurrent->AddAttribute(name, pValue);
    return true;
}

// ---- outside ----

ElementParser::Outcome ElementParser::Outside(const Token& token)
{
    switch (token.type) {
        case TokenType::TagStart:
        case TokenType::Declaration:
            return OpenElement(token);
        case TokenType::TagEnd:
            return CloseElement(token);
        case TokenType::Clear:
            return AddClear(token);
        default:
            return Outcome::GoOn;  // only tags and sections stand here: the text between them is skipped
    }
}

ElementParser::Outcome ElementParser::OpenElement(const Token& token)
{
    if (!AddPendingText(token.nStart))
        return Outcome::Stop;
    const Token name = m_tokens.Next();
    if (name.type != TokenType::Text)
        return Fault(eXMLErrorMissingTagName, name.nStart);
    if (!CountItem())
        return Outcome::Stop;
    m_pCurrent = m_pCurrent->AddChild(name.text, token.type == TokenType::Declaration, -1);
    m_pCurrent->nLine = LineOf(token.nStart);
    m_bInside = true;
    m_awaited = Awaited::Name;
    return Outcome::GoOn;
}

ElementParser::Outcome ElementParser::CloseElement(const Token& token)
{
    if (!AddPendingText(token.nStart))
        return Outcome::Stop;
    const Token name = m_tokens.Next();
    if (name.type != TokenType::Text)
        return Fault(eXMLErrorMissingEndTagName, name.nStart);
    if (const Token close = m_tokens.Next(); close.type != TokenType::CloseTag)
        return Fault(eXMLErrorMissingEndTagName, close.nStart);
    LeaveTag();
    if (!IsName(name.text)) {
        Warn(token.nStart);
        m_endTag = name.text;
        m_nEndTag = token.nStart;
    }
    return Outcome::Closed;
}

ElementParser::Outcome ElementParser::AddClear(const Token& token)
{
    if (!AddPendingText(token.nStart))
        return Outcome::Stop;
    std::string_view value;
    const char* pszClose = nullptr;
    if (!m_tokens.ReadClear(*token.pForm, value, pszClose))
        return Fault(eXMLErrorUnmatchedEndClearTag, token.nStart);
    if (!CountItem())
        return Outcome::Stop;
    m_pCurrent->AddClear(value, token.pForm->pszOpen, pszClose, -1);
    LeaveTag();
    return Outcome::GoOn;
}

// ---- text ----

// Replaces the entities of the text, a piece of the document, which gives the place of a fault. A text with
// entities becomes a view of m_strDecoded, any other stays where it is.
bool ElementParser::DecodeText(std::string_view& text)
{
    if (text.find('&') == std::string_view::npos)
        return true;
    std::size_t nFault = 0;
    const XMLError error = Decode(m_options.Lengths(), text, m_strDecoded, nFault);
    if (error == eXMLErrorNone) {
        text = m_strDecoded;
        return true;
    }
    Fault(error, static_cast<std::size_t>(text.data() - m_tokens.Xml().data()) + nFault);
    return false;
}

// Adds the text between the last tag or section and the byte nEnd to the current element. Blank text is left
// out if that option is on. False on an error.
bool ElementParser::AddPendingText(std::size_t nEnd)
{
    if (!m_bText)
        return true;
    m_bText = false;
    std::string_view text = m_tokens.Xml().substr(m_nText, nEnd - m_nText);
    if (m_options.bDropWhiteSpace)
        text = StripBlanks(text);
    if (text.empty())
        return true;
    if (!DecodeText(text))
        return false;
    if (JoinText(text))
        return true;
    if (!CountItem())
        return false;
    m_pCurrent->AddText(text, -1);
    return true;
}

// If the current element's last two items are a text and a comment, and that option is on, removes the
// comment and joins the new text to the text before it. False if there is nothing to join.
bool ElementParser::JoinText(std::string_view text)
{
    const XMLContent& content = m_pCurrent->Content();
    const auto& order = content.order;
    if (!m_options.bRemoveComments || order.size() < 2 || order[order.size() - 2] % 4 != XMLRecord::Text ||
        order.back() % 4 != XMLRecord::Clear ||
        content.clears.back().pszOpenTag != std::string_view(kCommentOpen))
        return false;
    m_pCurrent->RemoveLastClear();
    --m_nItems;
    m_pCurrent->LengthenText(text);
    return true;
}

}  // namespace Tarvo::XmlParser
