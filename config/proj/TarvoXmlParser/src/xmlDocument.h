// From a text or a file to the node that was asked for.
#pragma once

#include <string>
#include <string_view>

#include "config/proj/TarvoXmlParser/src/xmlParser.h"
#include "config/proj/TarvoXmlParser/src/xmlText.h"

namespace Tarvo::XmlParser {

// The bytes of a regular file. Anything that could block or go on for ever (a directory, a pipe, a device)
// counts as not found. pszDetail, a static text, says more where the code alone would mislead.
XMLError ReadWholeFile(const char* pszFileName, std::string& strBytes, const char*& pszDetail);

XMLNode ParseText(std::string_view xml, const char* pszTag, const Options& options, XMLResults& results);
// Turns UTF-16 into characters and skips a byte-order mark before it parses.
XMLNode ParseFileBytes(const std::string& strBytes, const char* pszTag, const Options& options,
                       XMLResults& results);

XMLCharEncoding GuessEncoding(std::string_view bytes, bool bGuessWideChar, bool bUseEncodingAttribute);

}  // namespace Tarvo::XmlParser
