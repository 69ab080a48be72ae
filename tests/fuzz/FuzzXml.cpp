// A text as an XML document, walked with the keys of the settings file, written and read again.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "config/proj/TarvoXmlParser/src/TarvoXmlParser.h"
#include "config/proj/TarvoXmlParser/src/TextToInteger.h"
#include "config/proj/TarvoXmlParser/src/xmlParser.h"

using namespace Tarvo::XmlParser;

namespace {

void WalkSettings(IXmlParser& document)
{
    char szValue[255];
    // A value that has been read is whole: it ends within the buffer and is not empty.
    const auto isWhole = [&szValue](bool bRead) {
        if (bRead && (*szValue == '\0' || strnlen(szValue, sizeof(szValue)) == sizeof(szValue)))
            std::abort();
        return bRead;
    };
    for (const char* pszGroup :
         {"CONNECTOR_INFO", "BILLING_ID_INFO", "SPECIFIC_EVENT_CODE_INFO", "LOGOVA_INFO"}) {
        if (!MoveToGroup(&document, pszGroup))
            continue;
        int nCount = 0;
        for (const char* pszKey : {"SERVER_IP", "SERVER_PORT", "USE_USER_NUMBER", "ID_COUNT",
                                   "EVENT_CODE_COUNT", "LOGOVA_SERVICE"}) {
            if (isWhole(GetProperty(&document, szValue, sizeof(szValue), pszKey)))
                nCount = TextToInteger(szValue);
        }
        bool bFound = true;
        for (int n = 0; n <= nCount && bFound; ++n) {
            const std::string strName = std::to_string(n);
            bFound = isWhole(GetProperty(&document, szValue, sizeof(szValue), strName.c_str())) || n == 0;
            for (const int nElement : {0, 1, 2})
                bFound |=
                    isWhole(GetPropertyArray(&document, szValue, sizeof(szValue), strName.c_str(), nElement));
        }
    }
}

void WriteAndReadAgain(const XMLNode& node)
{
    for (const int nFormat : {0, 1}) {
        int nSize = -1;
        const std::unique_ptr<char[]> text(node.createXMLString(nFormat, &nSize));
        if (!text ||
            strnlen(text.get(), static_cast<std::size_t>(nSize) + 1) != static_cast<std::size_t>(nSize))
            std::abort();
        XMLNode::parseString(text.get());
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize)
{
    const std::string strXml(reinterpret_cast<const char*>(pData), nSize);
    const int nEncoding =
        XMLNode::guessCharEncoding(pData, static_cast<int>(nSize < 200 ? nSize : std::size_t{200}));
    XMLNode::setGlobalOptions(nEncoding, true, nSize % 5 != 0, nSize % 3 != 0);

    XMLResults results;
    const XMLNode node = XMLNode::parseString(strXml.c_str(), nullptr, &results);
    const bool bTree = results.error <= eXMLErrorNoXMLTagFound;
    if (bTree == node.isEmpty() || results.nLine < 1 || results.nColumn < 1)
        std::abort();
    if (bTree)
        WriteAndReadAgain(node);

    const std::unique_ptr<IXmlParser> document(ParseXmlString(strXml.c_str(), "TARVO"));
    if (document && MoveToModule(document.get(), "VELKAR"))
        WalkSettings(*document);
    XMLNode::setGlobalOptions(char_encoding_UTF8);
    return 0;
}
