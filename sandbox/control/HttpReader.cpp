#include "sandbox/control/HttpReader.h"

#include <http_parser.h>

#include <algorithm>
#include <charconv>
#include <climits>
#include <string_view>
#include <utility>

namespace Sandbox {
namespace {

// What is known of a request while its bytes come in.
struct Reading {
    HttpStream& stream;
    const std::size_t nMaxBody;
    const Objection& object;
    HttpIncoming& incoming;
    std::string strTarget, strName, strValue;
    bool bInValue = false;
    bool bWhole = false;
    std::optional<HttpReply> refusal;

    void EndHeader()
    {
        if (!bInValue)
            return;
        std::transform(strName.begin(), strName.end(), strName.begin(),
                       [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
        incoming.mapHeaders.emplace(std::exchange(strName, {}), std::exchange(strValue, {}));
        bInValue = false;
    }
};

Reading& Of(http_parser* pParser) { return *static_cast<Reading*>(pParser->data); }

// "%20" is a blank, and so is '+' in an argument. What is no such code stays as it is.
std::string Decode(std::string_view strText, bool bArgument)
{
    std::string strPlain;
    for (std::size_t i = 0; i < strText.size(); ++i) {
        const std::string_view strCode = strText.substr(i + 1, 2);
        unsigned char nCode = 0;
        if (strText[i] == '%' && strCode.size() == 2 &&
            std::from_chars(strCode.begin(), strCode.end(), nCode, 16).ptr == strCode.end()) {
            strPlain += static_cast<char>(nCode);
            i += 2;
        } else {
            strPlain += strText[i] == '+' && bArgument ? ' ' : strText[i];
        }
    }
    return strPlain;
}

// The functions that http_parser calls. A result that is not 0 ends the parsing.
int OnUrl(http_parser* pParser, const char* pText, std::size_t nSize)
{
    Of(pParser).strTarget.append(pText, nSize);
    return 0;
}

int OnHeaderField(http_parser* pParser, const char* pText, std::size_t nSize)
{
    Of(pParser).EndHeader();
    Of(pParser).strName.append(pText, nSize);
    return 0;
}

int OnHeaderValue(http_parser* pParser, const char* pText, std::size_t nSize)
{
    Of(pParser).bInValue = true;
    Of(pParser).strValue.append(pText, nSize);
    return 0;
}

int OnHeadersComplete(http_parser* pParser)
{
    Reading& reading = Of(pParser);
    reading.EndHeader();
    HttpRequest& request = reading.incoming.request;
    request.strMethod = http_method_str(static_cast<http_method>(pParser->method));
    SplitTarget(reading.strTarget, request);
    reading.refusal = reading.object(reading.incoming);
    const bool bHasLength = pParser->content_length != ULLONG_MAX;
    if (!reading.refusal && bHasLength && pParser->content_length > reading.nMaxBody)
        reading.refusal = ErrorReply(413, "The body is too long.");
    if (reading.refusal)
        return -1;
    if (reading.incoming.mapHeaders.contains("expect"))
        reading.stream.Write("HTTP/1.1 100 Continue\r\n\r\n");
    return 0;
}

int OnBody(http_parser* pParser, const char* pText, std::size_t nSize)
{
    Of(pParser).incoming.request.strBody.append(pText, nSize);
    return 0;
}

int OnMessageComplete(http_parser* pParser)
{
    Of(pParser).bWhole = true;
    return -1;  // a connection carries one request
}

}  // namespace

void SplitTarget(std::string_view strTarget, HttpRequest& request)
{
    strTarget = strTarget.substr(0, strTarget.find('#'));
    const std::size_t nQuery = std::min(strTarget.find('?'), strTarget.size());
    request.strPath = Decode(strTarget.substr(0, nQuery), false);
    for (strTarget.remove_prefix(nQuery); !strTarget.empty();) {
        strTarget.remove_prefix(1);
        const std::string_view strPair = strTarget.substr(0, strTarget.find('&'));
        const std::size_t nEquals = std::min(strPair.find('='), strPair.size());
        if (!strPair.empty())
            request.mapQuery.emplace(Decode(strPair.substr(0, nEquals), true),
                                     Decode(strPair.substr(std::min(nEquals + 1, strPair.size())), true));
        strTarget.remove_prefix(strPair.size());
    }
}

std::optional<HttpReply> ReadRequest(HttpStream& stream, std::size_t nMaxBody, const Objection& object,
                                     HttpIncoming& incoming)
{
    Reading reading{stream, nMaxBody, object, incoming, {}, {}, {}, false, false, std::nullopt};
    http_parser parser;
    http_parser_init(&parser, HTTP_REQUEST);
    parser.data = &reading;
    http_parser_settings settings;
    http_parser_settings_init(&settings);
    settings.on_url = OnUrl;
    settings.on_header_field = OnHeaderField;
    settings.on_header_value = OnHeaderValue;
    settings.on_headers_complete = OnHeadersComplete;
    settings.on_body = OnBody;
    settings.on_message_complete = OnMessageComplete;
    while (HTTP_PARSER_ERRNO(&parser) == HPE_OK) {
        const std::string_view strBytes = stream.Read();
        if (strBytes.empty())
            break;
        http_parser_execute(&parser, &settings, strBytes.data(), strBytes.size());
    }
    if (reading.bWhole || reading.refusal)
        return reading.refusal;
    return ErrorReply(400, "The request cannot be read.");
}

}  // namespace Sandbox
