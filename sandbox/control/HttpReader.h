// Reads one HTTP request off a connection. The grammar is that of the library http_parser.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "sandbox/control/HttpExchange.h"
#include "sandbox/control/HttpStream.h"

namespace Sandbox {

struct HttpIncoming {
    HttpRequest request;
    std::multimap<std::string, std::string> mapHeaders;  // names in small letters
};

// "/orders?user=alice" as path and query.
void SplitTarget(std::string_view strTarget, HttpRequest& request);

// Looks at a request whose body has not been read yet. Its reply, if it has one, refuses the request.
using Objection = std::function<std::optional<HttpReply>(const HttpIncoming& incoming)>;

// Reads head and body, at most nMaxBody bytes of it. Returns the refusal of a request that the objection does
// not let pass, that is too long or that cannot be read; nothing if the request is whole.
std::optional<HttpReply> ReadRequest(HttpStream& stream, std::size_t nMaxBody, const Objection& object,
                                     HttpIncoming& incoming);

}  // namespace Sandbox
