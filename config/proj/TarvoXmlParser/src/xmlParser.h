// A small reader of XML that builds a tree in memory. It does not validate a document and tolerates many
// faults. It keeps texts, clear sections, attributes and child elements in the order of the document, and
// reports the first fault with a code, a line and a column. A clear section is a piece whose contents are not
// parsed: CDATA, DOCTYPE, a comment, or <PRE>.
//
// A tree and its handles belong to one thread at a time; different trees may be used, and documents
// parsed, on several threads at once. Nothing is thrown on bad input, only std::bad_alloc without memory.
#pragma once

#include <cstddef>

namespace Tarvo::XmlParser {

// The faults of a document, and of operations that this library does not offer (15 to 20). getError gives the
// text. Every code other than 0, 1 and 2 leaves the result empty.
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

// The encodings that are told apart. An encoding only says how many bytes a character has, by its first byte,
// so that the second byte of a character is not taken for markup; texts stay in the encoding of the document.
enum XMLCharEncoding {
    char_encoding_error = 0,
    char_encoding_UTF8 = 1,
    char_encoding_legacy = 2,
    char_encoding_ShiftJIS = 3,
    char_encoding_GB2312 = 4,
    char_encoding_Big5 = 5,
    char_encoding_GBK = 6
};

// The outcome of a parse. Line and column count from 1; both are 0 where the fault has no place in the
// document.
struct XMLResults {
    XMLError error = eXMLErrorNone;
    int nLine = 0;
    int nColumn = 0;
};

// One attribute of an element. The texts here and below end in a NUL and are good as long as their tree.
struct XMLAttribute {
    const char* name = nullptr;
    const char* value = nullptr;  // null for an attribute written without one
};

// One clear section. The two tags are not owned: they are static text, or the texts given to addClear, which
// then have to outlive the tree.
struct XMLClear {
    const char* value = nullptr;
    const char* pszOpenTag = nullptr;
    const char* pszCloseTag = nullptr;
};

struct XMLRecord;  // a node of the tree

// The most elements, attributes, texts and clear sections of a document, all together. More are refused with
// code 8: an item of a few bytes in a hostile text costs fifty times as many bytes in the tree.
inline constexpr std::size_t kMaxItems = 2'000'000;
// The longest file, in bytes. A longer one is refused with code 10.
inline constexpr std::size_t kMaxFileSize = std::size_t{64} << 20;

// A counted handle of one node; a copy of the handle refers to the same node. A tree, which is a parsed
// document or the top node that createXMLTopNode has made with all that was added to it, lives as long as
// there is a handle to any of its nodes; the last handle frees the whole tree. Names are compared without
// regard to case, as ASCII. A look-up that finds nothing gives an empty node or null.
class XMLNode {
public:
    XMLNode() = default;
    XMLNode(const XMLNode& other);
    XMLNode(XMLNode&& other) noexcept;
    XMLNode& operator=(const XMLNode& other);
    XMLNode& operator=(XMLNode&& other) noexcept;
    ~XMLNode();

    // The element pszTag of a file, whose encoding is guessed first. A fault, warnings included, is reported
    // in a dialog, and the call blocks until the dialog is closed. Where no dialog can be shown, or
    // bMayShowDialog is false, the report goes to the sink of SetReportSink at once. pResults may be null.
    static XMLNode openFileHelper(const char* pszFileName, const char* pszTag, bool bMayShowDialog = true,
                                  XMLResults* pResults = nullptr);
    // The same for a file or a text, without a report and with the options as they are. If pszTag is null or
    // empty, the result is the document's only element, or the nameless root over all its parts. pResults may
    // be null.
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
    // The line of the start tag in the parsed text, from 1; 0 for an element that was added.
    int getLine() const;

    XMLNode getChildNode(int nIndex) const;
    // The child with that name that has nIndex others of the name before it; with a negative index the last
    // one. With many siblings an index is made at the first call and kept until something is added to the
    // node.
    XMLNode getChildNode(const char* pszName, int nIndex = 0) const;
    // The first child whose element is pszElement and whose attribute "name" is pszName, as a position among
    // the children of that element. -1 if there is none, or if a child without the attribute comes before it.
    // Uses an index as getChildNode does. The child found goes to pChild unless that is null.
    int findNamedChild(const char* pszElement, const char* pszName, XMLNode* pChild = nullptr) const;

    // A new tree of one element. Empty for a null name.
    static XMLNode createXMLTopNode(const char* pszName, bool bIsDeclaration = false);
    // Additions. The texts are copied. A position counts children, texts and clear sections together; a
    // position that does not exist, such as -1, appends. Null or empty for a null text, and on an empty node.
    XMLNode addChild(const char* pszName, bool bIsDeclaration = false, int nPosition = -1);
    const char* addText(const char* pszText, int nPosition = -1);
    const XMLClear* addClear(const char* pszValue, const char* pszOpenTag = nullptr,
                             const char* pszCloseTag = nullptr, int nPosition = -1);
    const XMLAttribute* addAttribute(const char* pszName, const char* pszValue);

    // The node as text, in a new block that the caller frees with delete[]. The length without the NUL goes
    // to pnSize unless that is null. If nFormat is not 0, every element stands on a line of its own. Null on
    // an empty node.
    char* createXMLString(int nFormat, int* pnSize = nullptr) const;

    static const char* getVersion();
    static const char* getError(int nCode);  // "Unknown" for a code outside XMLError

    // Sets the options of the whole process, for every parse that begins after the call. An encoding of 0 or
    // an unknown one leaves the encoding as it is; the other three options are always taken over.
    //   bGuessWideChar                 a file that looks like UTF-16 is converted
    //   bDropWhiteSpace                texts lose the blanks at both ends, and blank texts are left out
    //   bRemoveCommentsInMiddleOfText  a comment between two texts vanishes, and the texts become one
    static void setGlobalOptions(int nEncoding, bool bGuessWideChar = true, bool bDropWhiteSpace = true,
                                 bool bRemoveCommentsInMiddleOfText = true);
    // The encoding of the bytes at the start of a file; char_encoding_error if it cannot be told.
    static XMLCharEncoding guessCharEncoding(const void* pBuffer, int nLength,
                                             bool bUseEncodingAttribute = true);

private:
    explicit XMLNode(XMLRecord* pRecord);  // takes one more count

    XMLRecord* m_pRecord = nullptr;  // null in an empty handle

    friend struct XMLRecord;
};

// The function that takes the report of a bad file where no dialog is shown. It is called on the thread that
// opens the file. Null, as at the start, sends reports to standard error.
using ReportSink = void (*)(const char* pszTitle, const char* pszText);
void SetReportSink(ReportSink pfnSink);

}  // namespace Tarvo::XmlParser
