// The interface by which the system walks an XML document with a current position, and what finds the
// items of a TL2 file by name: modules hold groups, groups hold properties and property arrays.
//
// A parser belongs to one thread at a time. Bad input gives false or null; only std::bad_alloc is thrown.
#pragma once

namespace Tarvo::XmlParser {

// Texts returned by pointer are owned by the document and good as long as it is. `out` is a buffer of `size`
// bytes; an operation that copies never writes more, ends the text with a NUL and leaves "" when it fails.
// A text that does not fit is a failure, except for GetName, GetClear and GetChildClear, which cut it
// between two characters.
class IXmlParser {
public:
    virtual ~IXmlParser() = default;

    // False, and the document stays what it was, if the text is bad or has no such top element. After
    // success the position is that element.
    virtual bool ParseString(const char* pszXml, const char* pszTag) = 0;
    // The same; a bad file is reported in a dialog, which blocks until it is closed, or where there is
    // none in the sink of SetReportSink.
    virtual bool OpenFile(const char* pszFileName, const char* pszTag) = 0;

    virtual bool MoveToChild(const char* pszName, int nIndex) = 0;
    virtual bool MoveToParent() = 0;
    virtual void MoveToTop() = 0;

    virtual bool GetText(char* out, int size) = 0;
    virtual const char* GetText() = 0;
    virtual bool GetName(char* out, int size) = 0;
    virtual const char* GetName() = 0;
    virtual bool GetAttribute(char* out, int size, const char* pszAttribute) = 0;
    virtual const char* GetAttribute(const char* pszAttribute) = 0;
    virtual bool GetClear(char* out, int size, int nIndex) = 0;
    virtual const char* GetClear(int nIndex) = 0;

    virtual int GetChildCount(const char* pszName) = 0;
    virtual bool GetChildText(char* out, int size, const char* pszChild, int nIndex) = 0;
    virtual const char* GetChildText(const char* pszChild, int nIndex) = 0;
    virtual bool GetChildAttribute(char* out, int size, const char* pszChild, const char* pszAttribute,
                                   int nIndex) = 0;
    virtual const char* GetChildAttribute(const char* pszChild, const char* pszAttribute, int nIndex) = 0;
    // The child by its position among all children, whatever their names.
    virtual bool GetChildClear(char* out, int size, int nChildPosition, int nClearIndex) = 0;
    virtual const char* GetChildClear(int nChildPosition, int nClearIndex) = 0;

    // These copy what they are given, except for the two tags of AddClear, which have to outlive the
    // document.
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

// A document that is nothing but an element of that name. Null for a null name.
IXmlParser* CreateXmlParser(const char* pszName);
// Null if it cannot be parsed or has no such top element. Given to DestroyXmlParser by the caller.
IXmlParser* ParseXmlString(const char* pszXml, const char* pszTag);
// The same for a file. Without bMayShowDialog the report of a bad file goes to the sink at once, so that
// the call never waits for a person.
IXmlParser* OpenXmlFile(const char* pszFileName, const char* pszTag, bool bMayShowDialog = true);
// The caller nulls the holder afterwards.
void DestroyXmlParser(IXmlParser** ppHolder);

// Names are compared without regard to case. A child without a name ends a search, and names of 256
// characters (of properties: 1024) and more fit nothing. False on a null argument.

// From the top element.
bool MoveToModule(IXmlParser* pParser, const char* pszName);
// From a module, or from a group: then of the same module. A failed search leaves the position at the module.
bool MoveToGroup(IXmlParser* pParser, const char* pszName);

// The value of a property of the current group: its attribute `value` without the blanks around it, or its
// text as the document has it, or its first clear section without blanks. False, with "" in `out`, if there
// is none, if it is blank, and if it does not fit.
bool GetProperty(IXmlParser* pParser, char* out, int size, const char* pszName);
// The same for one element of a property array, from 0: an attribute, or a clear section.
bool GetPropertyArray(IXmlParser* pParser, char* out, int size, const char* pszName, int nPosition);

}  // namespace Tarvo::XmlParser
