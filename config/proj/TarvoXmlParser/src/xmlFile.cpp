// Reading of files, the report of a bad file to the operator, and the static operations of XMLNode.

#include <atomic>
#include <cstdio>
#include <memory>

#include "config/proj/TarvoXmlParser/src/xmlDocument.h"
#include "platform/Host.h"

namespace Tarvo::XmlParser {
namespace {

constexpr const char* kErrorTitle = "XML Parsing error";
constexpr std::size_t kGuessFrom = 200;  // bytes at the start of a file from which its encoding is guessed

std::atomic<ReportSink> g_pfnSink{nullptr};  // null: reports go to standard error

struct CloseFile {
    void operator()(std::FILE* pFile) const { std::fclose(pFile); }
};

// Shows the report in a dialog if that is allowed and possible, and waits for it to be closed; otherwise
// hands the report to the sink.
void Report(const std::string& strText, bool bMayShowDialog)
{
    if (bMayShowDialog && Host::ShowErrorBox(kErrorTitle, strText.c_str()))
        return;
    if (const ReportSink pfnSink = g_pfnSink.load())
        pfnSink(kErrorTitle, strText.c_str());
    else
        Host::PrintError("%s: %s", kErrorTitle, strText.c_str());
}

// The report names the file, the error, the place and, if the top element is missing, the tag that was
// expected.
std::string ReportText(const char* pszFileName, const char* pszTag, const XMLResults& results,
                       const char* pszDetail)
{
    std::string strText = "XML Parsing error inside file '" + Host::TextFromPath(pszFileName) + "'.\n" +
                          XMLNode::getError(results.error) + "\nAt line " + std::to_string(results.nLine) +
                          ", column " + std::to_string(results.nColumn) + ".\n";
    if (results.error == eXMLErrorFirstTagNotFound)
        strText += std::string("First Tag should be '") + pszTag + "'.\n";
    return strText + pszDetail;
}

}  // namespace

void SetReportSink(ReportSink pfnSink) { g_pfnSink.store(pfnSink); }

XMLError ReadWholeFile(const char* pszFileName, std::string& strBytes, const char*& pszDetail)
{
    strBytes.clear();
    pszDetail = "";
    if (pszFileName == nullptr || !Host::IsRegularFile(pszFileName))
        return eXMLErrorFileNotFound;
    const std::unique_ptr<std::FILE, CloseFile> file(Host::OpenForReading(pszFileName));
    if (!file || std::fseek(file.get(), 0, SEEK_END) != 0)
        return eXMLErrorFileNotFound;
    const long nLength = std::ftell(file.get());
    if (nLength < 0 || static_cast<unsigned long>(nLength) > kMaxFileSize) {
        pszDetail = "The file is larger than 64 MiB.\n";
        return eXMLErrorFileNotFound;
    }
    std::rewind(file.get());
    // A file that has become shorter since its length was asked for gives the bytes that are there.
    strBytes.resize(static_cast<std::size_t>(nLength));
    strBytes.resize(std::fread(strBytes.data(), 1, strBytes.size(), file.get()));
    return strBytes.empty() ? eXMLErrorEmpty : eXMLErrorNone;
}

XMLNode XMLNode::parseString(const char* pszXml, const char* pszTag, XMLResults* pResults)
{
    XMLResults results;
    XMLNode node;
    if (pszXml == nullptr)
        results.error = eXMLErrorNoElements;
    else
        node = ParseText(pszXml, pszTag, GetGlobalOptions(), pResults != nullptr, results);
    if (pResults != nullptr)
        *pResults = results;
    return node;
}

XMLNode XMLNode::parseFile(const char* pszFileName, const char* pszTag, XMLResults* pResults)
{
    XMLResults results;
    XMLNode node;
    std::string strBytes;
    const char* pszDetail = "";
    results.error = ReadWholeFile(pszFileName, strBytes, pszDetail);
    if (results.error == eXMLErrorNone)
        node = ParseFileBytes(strBytes, pszTag, GetGlobalOptions(), pResults != nullptr, results);
    if (pResults != nullptr)
        *pResults = results;
    return node;
}

// The guessed encoding becomes the process-wide option as well. The parse itself works with one copy of the
// options from the guess to the end, whatever another thread sets meanwhile.
XMLNode XMLNode::openFileHelper(const char* pszFileName, const char* pszTag, bool bMayShowDialog,
                                XMLResults* pResults)
{
    XMLResults results;
    XMLNode node;
    std::string strBytes;
    const char* pszDetail = "";
    results.error = ReadWholeFile(pszFileName, strBytes, pszDetail);
    if (results.error == eXMLErrorNone || results.error == eXMLErrorEmpty) {
        Options options = GetGlobalOptions();
        const std::string_view start = std::string_view(strBytes).substr(0, kGuessFrom);
        if (const XMLCharEncoding guess = GuessEncoding(start, options.bGuessWideChar, true))
            options.nEncoding = static_cast<std::uint8_t>(guess);
        SetGlobalOptions(options);
        if (results.error == eXMLErrorNone)
            node = ParseFileBytes(strBytes, pszTag, options, false, results);
    }
    if (results.error != eXMLErrorNone) {
        Report(ReportText(pszFileName == nullptr ? "" : pszFileName, pszTag == nullptr ? "" : pszTag, results,
                          pszDetail),
               bMayShowDialog);
    }
    if (pResults != nullptr)
        *pResults = results;
    return node;
}

// The version of the reader's behaviour, not of this library.
const char* XMLNode::getVersion() { return "v2.41"; }

const char* XMLNode::getError(int nCode)
{
    // By the values of XMLError.
    static constexpr const char* kTexts[] = {
        "No error",
        "Warning: Unmatched end tag",
        "Warning: No XML tag found",
        "Error: No XML data",
        "Error: Missing start tag name",
        "Error: Missing end tag name",
        "Error: Unmatched end tag",
        "Error: Unmatched clear tag end",
        "Error: Unexpected token found",
        "Error: No elements found",
        "Error: File not found",
        "Error: First Tag not found",
        "Error: Unknown character entity",
        "Error: Character code above 255 is forbidden in MultiByte char mode.",
        "Error: unable to convert between WideChar and MultiByte chars",
        "Error: unable to open file for writing",
        "Error: cannot write into file",
        "Warning: Base64-string length is not a multiple of 4",
        "Error: Base64-string contains an illegal character",
        "Warning: Base64-string is truncated",
        "Error: Base64 decode output buffer is too small",
    };
    constexpr int kCount = static_cast<int>(sizeof(kTexts) / sizeof(kTexts[0]));
    return nCode >= 0 && nCode < kCount ? kTexts[nCode] : "Unknown";
}

void XMLNode::setGlobalOptions(int nEncoding, bool bGuessWideChar, bool bDropWhiteSpace,
                               bool bRemoveCommentsInMiddleOfText)
{
    Options options = GetGlobalOptions();
    if (nEncoding > char_encoding_error && nEncoding <= char_encoding_GBK)
        options.nEncoding = static_cast<std::uint8_t>(nEncoding);
    options.bGuessWideChar = bGuessWideChar;
    options.bDropWhiteSpace = bDropWhiteSpace;
    options.bRemoveComments = bRemoveCommentsInMiddleOfText;
    SetGlobalOptions(options);
}

XMLCharEncoding XMLNode::guessCharEncoding(const void* pBuffer, int nLength, bool bUseEncodingAttribute)
{
    if (pBuffer == nullptr || nLength < 0)
        return char_encoding_error;
    const std::string_view bytes(static_cast<const char*>(pBuffer), static_cast<std::size_t>(nLength));
    return GuessEncoding(bytes, GetGlobalOptions().bGuessWideChar, bUseEncodingAttribute);
}

}  // namespace Tarvo::XmlParser
