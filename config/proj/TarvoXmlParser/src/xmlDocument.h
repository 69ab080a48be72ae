// The steps from a file to the node that was asked for: read the bytes, guess their encoding, turn UTF-16
// into characters, parse the text, find the tag. Each step gives an XMLError; xmlFile.cpp runs them for
// XMLNode.
#pragma once

#include <string>
#include <string_view>

#include "config/proj/TarvoXmlParser/src/xmlParser.h"
#include "config/proj/TarvoXmlParser/src/xmlText.h"

namespace Tarvo::XmlParser {

// Reads a whole regular file. A directory, and a pipe or device, which could block or never end, counts as
// not found. pszDetail becomes a static text that explains a code that would mislead by itself, or "".
XMLError ReadWholeFile(const char* pszFileName, std::string& strBytes, const char*& pszDetail);

// Parses the text up to its first NUL and finds the element pszTag, for which null or "" stands for the whole
// document. Empty on any error that is no warning, and if there is no such element.
// Without a fault the place in the results is where reading ended, if bWantEnd asks for it.
// REQUIRES: a NUL stands in the text or behind it.
XMLNode ParseText(std::string_view xml, const char* pszTag, const Options& options, bool bWantEnd,
                  XMLResults& results);
// The same for the bytes of a file: converts UTF-16 and skips a byte-order mark before it parses.
XMLNode ParseFileBytes(const std::string& strBytes, const char* pszTag, const Options& options, bool bWantEnd,
                       XMLResults& results);

// The encoding of the bytes at the start of a file; char_encoding_error if it cannot be told, as from fewer
// than 25 bytes. Looks for a byte-order mark, for bytes that UTF-8 does not allow, and for the attribute
// "encoding".
XMLCharEncoding GuessEncoding(std::string_view bytes, bool bGuessWideChar, bool bUseEncodingAttribute);

}  // namespace Tarvo::XmlParser
