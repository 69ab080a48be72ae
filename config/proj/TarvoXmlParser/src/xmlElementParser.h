// Builds the tree from the tokens: two states, inside and outside a tag. The open elements are the current
// record and its parents, so depth costs no stack.
#pragma once

#include "config/proj/TarvoXmlParser/src/xmlRecord.h"
#include "config/proj/TarvoXmlParser/src/xmlTokeniser.h"

namespace Tarvo::XmlParser {

class ElementParser {
public:
    ElementParser(std::string_view xml, const Options& options);

    // Fills the nameless root, which must outlive this object.
    void Run(const XMLNode& root);

    XMLError Error() const { return m_error; }
    // Byte offset of the fault; of the first one noticed where there are several warnings.
    std::size_t FaultPlace() const { return m_nFault; }

private:
    enum class Outcome {
        GoOn,
        Closed,  // the current element is complete
        Stop     // so is everything, or a fault
    };
    enum class Awaited { Name, Equals, Value };  // of an attribute

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
    void LeaveTag();
    bool AddPendingText(std::size_t nEnd);
    bool JoinText(const std::string& strText);
    bool AddAttribute(std::string_view name, const std::string* pValue);
    bool DecodeText(std::string_view text);
    bool IsName(std::string_view tag) const;

    const Options m_options;
    Tokeniser m_tokens;
    XMLRecord* m_pCurrent = nullptr;
    XMLError m_error = eXMLErrorNone;
    std::size_t m_nFault = 0;
    std::size_t m_nItems = 0;

    bool m_bInside = false;
    Awaited m_awaited = Awaited::Name;
    std::string_view m_attribute;  // the name that has been read, in Awaited::Equals and Value

    bool m_bText = true;  // text may stand from m_nText on
    std::size_t m_nText = 0;
    std::string m_strDecoded;

    // Of an end tag that did not fit: closes the elements up to the first that it fits.
    std::string_view m_endTag;
    std::size_t m_nEndTag = 0;
};

}  // namespace Tarvo::XmlParser
