// Builds the tree from the tokens. The parser is in one of two states: inside a tag, where attributes are
// read, and outside, where texts, clear sections and tags are read. The open elements are the current record
// and its parents; they are no recursion, so a deeply nested document cannot exhaust the stack.
#pragma once

#include "config/proj/TarvoXmlParser/src/xmlRecord.h"
#include "config/proj/TarvoXmlParser/src/xmlTokeniser.h"

namespace Tarvo::XmlParser {

// Reads one text once. Text and root must outlive the parser; options are copied.
class ElementParser {
public:
    ElementParser(std::string_view xml, const Options& options);

    // Fills the nameless root with the document, up to the first error.
    // REQUIRES: a NUL stands behind the text.
    void Run(const XMLNode& root);

    XMLError Error() const { return m_error; }
    // Byte offset of the error, or of the first warning if there are several; without a fault, where reading
    // ended.
    std::size_t FaultPlace() const { return m_nFault; }

private:
    // What the loop in Run does after a token.
    enum class Outcome {
        GoOn,
        Closed,  // the current element is complete
        Stop     // the document is complete, or an error ends it
    };
    // Inside a tag: the part of an attribute that the next token may be.
    enum class Awaited { Name, Equals, Value };

    Outcome AtEnd();
    Outcome Inside(const Token& token);
    Outcome InsideName(const Token& token);
    Outcome InsideEquals(const Token& token);
    Outcome InsideValue(const Token& token);
    Outcome Outside(const Token& token);
    Outcome OpenElement(const Token& token);
    Outcome CloseElement(const Token& token);
    Outcome AddClear(const Token& token);
    Outcome Unwind();

    Outcome Fault(XMLError error, std::size_t nPlace);
    void Warn(std::size_t nPlace);
    bool CountItem();
    std::uint32_t LineOf(std::size_t nPlace);
    void LeaveTag();
    bool AddPendingText(std::size_t nEnd);
    bool JoinText(std::string_view text);
    bool AddAttribute(std::string_view name, const std::string_view* pValue);
    bool DecodeText(std::string_view& text);
    bool IsName(std::string_view tag) const;

    const Options m_options;
    Tokeniser m_tokens;
    XMLRecord* m_pCurrent = nullptr;   // the innermost open element
    XMLError m_error = eXMLErrorNone;  // the error, or else the first warning, which does not stop the parse
    std::size_t m_nFault = 0;
    std::size_t m_nItems = 0;  // of the whole document, limited by kMaxItems
    // The line of the last start tag, and the byte up to which lines have been counted.
    std::uint32_t m_nLine = 1;
    std::size_t m_nCounted = 0;

    bool m_bInside = false;
    Awaited m_awaited = Awaited::Name;
    std::string_view m_attribute;  // the name that has been read, in Awaited::Equals and Value

    bool m_bText = true;  // text may stand from the byte m_nText on; the next tag or section ends it
    std::size_t m_nText = 0;
    std::string m_strDecoded;  // the last text with entities, decoded

    // The name of an end tag that did not fit its element, until an element further out has that name; and
    // its place.
    std::string_view m_endTag;
    std::size_t m_nEndTag = 0;
};

}  // namespace Tarvo::XmlParser
