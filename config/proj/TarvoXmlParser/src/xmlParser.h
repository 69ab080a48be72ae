// A small reader of XML that builds a tree in memory. It does not validate and tolerates much; it keeps
// texts, clear sections, attributes and child elements in the order they came, and reports the first
// fault with a code, a line and a column.
//
// A tree and its handles belong to one thread at a time; different trees may be used, and documents
// parsed, on several threads at once. Nothing is thrown on bad input, only std::bad_alloc without memory.
#pragma once

#include <cstddef>
#include <memory>

namespace Tarvo::XmlParser {

enum XMLError {
    eXMLErrorNone = 0,
    eXMLErrorMissingEndTag = 1,  // a warning: the tree is returned
    eXMLErrorNoXMLTagFound = 2,  // a warning: the tree is returned
    eXMLErrorEmpty = 3,
    eXMLErrorMissingTagName = 4,
    eXMLErrorMissingEndTagName = 5,
    eXMLErrorUnmatchedEndTag = 6,
    eXMLErrorUnmatchedEndClearTag = 7,
    eXMLErrorUnexpectedToken = 8,
    eXMLErrorNoElements = 9,
    eXMLErrorFileNotFound = 10,
    eXMLErrorFirstTagNotFound = 11,
    eXMLErrorUnknownCharacterEntity = 12,
    eXMLErrorCharacterCodeAbove255 = 13,
    eXMLErrorCharConversion = 14,
    eXMLErrorCannotOpenWriteFile = 15,
    eXMLErrorCannotWriteFile = 16,
    eXMLErrorBase64DataSizeIsNotMultipleOf4 = 17,
    eXMLErrorBase64DecodeIllegalCharacter = 18,
    eXMLErrorBase64DecodeTruncatedData = 19,
    eXMLErrorBase64DecodeBufferTooSmall = 20
};

// How many bytes a character has, by its first byte.
enum XMLCharEncoding {
    char_encoding_error = 0,
    char_encoding_UTF8 = 1,
    char_encoding_legacy = 2,
    char_encoding_ShiftJIS = 3,
    char_encoding_GB2312 = 4,
    char_encoding_Big5 = 5,
    char_encoding_GBK = 6
};

// Line and column count from 1; both are 0 where the fault has no place.
struct XMLResults {
    XMLError error = eXMLErrorNone;
    int nLine = 0;
    int nColumn = 0;
};

// Texts of a tree never move while they are there: pointers to them are handed out.
using OwnedText = std::unique_ptr<char[]>;

struct XMLAttribute {
    OwnedText name;
    OwnedText value;  // null for an attribute written without one
};

// The two tags are static text, or the text given to addClear, which then has to outlive the tree.
struct XMLClear {
    OwnedText value;
    const char* pszOpenTag = nullptr;
    const char* pszCloseTag = nullptr;
};

struct XMLRecord;

// More elements, attributes, texts and clear sections than that are refused (code 8): a few bytes of a
// hostile text would otherwise cost a hundred times as many here.
inline constexpr std::size_t kMaxItems = 2'000'000;
// A longer file is refused (code 10).
inline constexpr std::size_t kMaxFileSize = std::size_t{64} << 20;

// A counted handle of one node. Copying it copies no document; at the last handle the node goes, with
// everything in it that is not held elsewhere. A child that is held elsewhere survives as a tree of its
// own. Names are compared without regard to case, as ASCII. A failing lookup gives an empty node or null.
class XMLNode {
public:
    XMLNode() = default;
    XMLNode(const XMLNode& other);
    XMLNode(XMLNode&& other) noexcept;
    XMLNode& operator=(const XMLNode& other);
    XMLNode& operator=(XMLNode&& other) noexcept;
    ~XMLNode();

    // The top node of a file, after guessing its encoding. A fault, warnings included, is reported in a
    // dialog, which blocks until it is closed, or where there is none in the sink of SetReportSink. With
    // bMayShowDialog false it goes to the sink at once.
    static XMLNode openFileHelper(const char* pszFileName, const char* pszTag, bool bMayShowDialog = true);
    // The same without a report and with the options as they are. The tag may be null or empty: then the
    // node is the only element, or the nameless root over everything.
    static XMLNode parseFile(const char* pszFileName, const char* pszTag = nullptr,
                             XMLResults* pResults = nullptr);
    static XMLNode parseString(const char* pszXml, const char* pszTag = nullptr,
                               XMLResults* pResults = nullptr);

    bool isEmpty() const { return m_pRecord == nullptr; }
    bool isDeclaration() const;
    const char* getName() const;
    const char* getText(int nIndex = 0) const;
    // The value of the attribute of that name that has nPosition others of the same name before it. Null
    // also where the attribute has no value.
    const char* getAttribute(const char* pszName, int nPosition = 0) const;
    // Null for a bad index; the pointer is good until something is added to the node.
    const XMLClear* getClear(int nIndex = 0) const;

    int nChildNode() const;
    int nChildNode(const char* pszName) const;
    int nText() const;
    int nClear() const;
    int nAttribute() const;
    int nElement() const;  // children, texts, clear sections and attributes together

    XMLNode getChildNode(int nIndex) const;
    // The child with nIndex predecessors of that name; with a negative index the last one. Takes no
    // longer with many siblings: an index is made at the first call and kept until something is added.
    XMLNode getChildNode(const char* pszName, int nIndex = 0) const;
    // The position among the children called pszElement of the first one whose attribute "name" has that
    // value. A child without one ends the search: -1, as when there is none. Indexed like getChildNode.
    int findNamedChild(const char* pszElement, const char* pszName) const;

    static XMLNode createXMLTopNode(const char* pszName, bool bIsDeclaration = false);
    // These copy what they are given. A position counts children, texts and clear sections together; any
    // other value than a valid one appends. Null without a name (a text, a value) or on an empty node.
    XMLNode addChild(const char* pszName, bool bIsDeclaration = false, int nPosition = -1);
    const char* addText(const char* pszText, int nPosition = -1);
    const XMLClear* addClear(const char* pszValue, const char* pszOpenTag = nullptr,
                             const char* pszCloseTag = nullptr, int nPosition = -1);
    const XMLAttribute* addAttribute(const char* pszName, const char* pszValue);

    // A new block with the node as text, to be freed with delete[]; its length without the NUL goes to
    // pnSize unless that is null. With nFormat other than 0 elements stand on lines of their own. Null
    // on an empty node.
    char* createXMLString(int nFormat, int* pnSize = nullptr) const;

    static const char* getVersion();
    static const char* getError(int nCode);

    // Process-wide, for every parse that begins after the call. An encoding of 0, or an unknown one, is
    // not taken over; the other three always are.
    static void setGlobalOptions(int nEncoding, bool bGuessWideChar = true, bool bDropWhiteSpace = true,
                                 bool bRemoveCommentsInMiddleOfText = true);
    // 0 if it cannot be told.
    static XMLCharEncoding guessCharEncoding(const void* pBuffer, int nLength,
                                             bool bUseEncodingAttribute = true);

private:
    explicit XMLNode(XMLRecord* pRecord);  // takes one more count

    XMLRecord* m_pRecord = nullptr;

    friend struct XMLRecord;
};

// Takes the report of a bad file where no dialog is shown; any thread may call it. Null: standard error.
using ReportSink = void (*)(const char* pszTitle, const char* pszText);
void SetReportSink(ReportSink pfnSink);

}  // namespace Tarvo::XmlParser
