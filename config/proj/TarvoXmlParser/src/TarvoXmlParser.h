// TL2 files, of which the settings file is one: an XML document in which a top element holds modules, a
// module holds groups, and a group holds properties and property arrays, each found by its attribute "name".
// Declared here are IXmlParser, which walks any XML document by a current position, and the functions that
// find the items of a TL2 file.
//
// A parser belongs to one thread at a time. Bad input gives false or null; only std::bad_alloc is thrown.
#pragma once

namespace Tarvo::XmlParser {

struct XMLResults;

// Texts returned by pointer are owned by the document and valid as long as the document is. `out` is a buffer
// of `size` bytes; an operation that copies never writes more than `size` bytes, ends the text with a NUL,
// and leaves "" when it fails. A text that does not fit is a failure, except in GetName, GetClear and
// GetChildClear, which cut the text between two characters. Names are compared without regard to case, and
// indexes count from 0. A clear section is a CDATA section, a comment or another piece of the document whose
// contents are not parsed.
class IXmlParser {
public:
    virtual ~IXmlParser() = default;

    // Reads a document with the top element pszTag, to which the position then moves. False if the text is
    // bad or has no such top element; document and position then stay what they were.
    virtual bool ParseString(const char* pszXml, const char* pszTag) = 0;
    // The same for a file. A bad file is reported in a dialog, and the call blocks until the dialog is
    // closed. Where no dialog can be shown, the report goes to the sink of SetReportSink.
    virtual bool OpenFile(const char* pszFileName, const char* pszTag) = 0;

    // ---- the position: false, and no move, if there is no such element ----
    // To the child with that name that has nIndex others of the same name before it.
    virtual bool MoveToChild(const char* pszName, int nIndex) = 0;
    virtual bool MoveToParent() = 0;
    virtual void MoveToTop() = 0;

    // ---- the current element: its first text, its name, an attribute, a clear section ----
    virtual bool GetText(char* out, int size) = 0;
    virtual const char* GetText() = 0;
    virtual bool GetName(char* out, int size) = 0;
    virtual const char* GetName() = 0;
    virtual bool GetAttribute(char* out, int size, const char* pszAttribute) = 0;
    virtual const char* GetAttribute(const char* pszAttribute) = 0;
    virtual bool GetClear(char* out, int size, int nIndex) = 0;
    virtual const char* GetClear(int nIndex) = 0;

    // ---- children of the current element, without a move ----
    virtual int GetChildCount(const char* pszName) = 0;
    virtual bool GetChildText(char* out, int size, const char* pszChild, int nIndex) = 0;
    virtual const char* GetChildText(const char* pszChild, int nIndex) = 0;
    virtual bool GetChildAttribute(char* out, int size, const char* pszChild, const char* pszAttribute,
                                   int nIndex) = 0;
    virtual const char* GetChildAttribute(const char* pszChild, const char* pszAttribute, int nIndex) = 0;
    // nChildPosition counts all children, whatever their names, unlike the index of the other operations.
    virtual bool GetChildClear(char* out, int size, int nChildPosition, int nClearIndex) = 0;
    virtual const char* GetChildClear(int nChildPosition, int nClearIndex) = 0;

    // ---- additions at the end of the current element: false on a null argument ----
    // The texts are copied, except for the two tags of AddClear, which have to outlive the document.
    virtual bool AddChild(const char* pszName) = 0;
    virtual bool AddAttribute(const char* pszName, const char* pszValue) = 0;
    virtual bool AddText(const char* pszText) = 0;  // false in every case, also when it has added the text
    virtual bool AddClear(const char* pszValue, const char* pszOpenTag, const char* pszCloseTag) = 0;

    // The current node as text, formatted whatever bFormat says, and cut to the buffer.
    virtual bool CreateString(char* out, int size, bool bFormat) = 0;
    // The same in a new block, to be given to FreeString. The length goes to pnLength unless that is null.
    virtual bool CreateString(char** ppszOut, int* pnLength) = 0;
    virtual bool FreeString(char** ppszText) = 0;
};

// The three functions that make a parser; the caller ends it with DestroyXmlParser.
// A document of one element of that name and nothing in it. Null for a null name.
IXmlParser* CreateXmlParser(const char* pszName);
// The document of that text. Null if it cannot be parsed or has no such top element.
IXmlParser* ParseXmlString(const char* pszXml, const char* pszTag);
// The same for a file. With bMayShowDialog false the report of a bad file goes to the sink at once, so that
// the call never waits for a person. What was wrong and where goes to pResults unless that is null; it may be
// a warning about a document that is returned.
IXmlParser* OpenXmlFile(const char* pszFileName, const char* pszTag, bool bMayShowDialog = true,
                        XMLResults* pResults = nullptr);
// Frees the parser and its document. The holder is left as it is; the caller nulls it.
void DestroyXmlParser(IXmlParser** ppHolder);

// The search in a TL2 file. Names are compared without regard to case. A child without a name ends a search
// with false. Names of 256 bytes and more (for properties 1024) are never found. False on a null argument.

// Moves to a module. The position has to be the top element.
bool MoveToModule(IXmlParser* pParser, const char* pszName);
// Moves from a module to one of its groups, or from a group to another group of the same module. A failed
// search leaves the position at the module.
bool MoveToGroup(IXmlParser* pParser, const char* pszName);

// Copies the value of a property of the current group: its attribute `value` without the blanks around it; if
// there is no such attribute, its text as the document has it; if there is no text, its first clear section
// without the blanks around it. False, with "" in `out`, if there is no such property, if its attribute or
// clear section is blank, and if the value does not fit.
bool GetProperty(IXmlParser* pParser, char* out, int size, const char* pszName);
// The same for the element of a property array at that position, from 0: the attribute "value" followed by
// the position, or the clear section at that position. False for a position at or past the attribute `size`.
bool GetPropertyArray(IXmlParser* pParser, char* out, int size, const char* pszName, int nPosition);

}  // namespace Tarvo::XmlParser
