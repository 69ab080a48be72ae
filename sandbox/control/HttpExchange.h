// A request of the HTTP interface and its reply, free of the HTTP library.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>

#include "sandbox/base/Arguments.h"
#include "sandbox/base/Json.h"

namespace Sandbox {

class EventQueue;

struct HttpRequest {
    std::string strMethod;
    std::string strPath;
    std::multimap<std::string, std::string> mapQuery;  // arguments behind the path
    std::string strBody;
};

struct HttpReply {
    int nStatus = 200;
    std::string strBody;
    const char* pszType = "application/json";
    std::shared_ptr<EventQueue> pEvents{};  // unless null, what it gives follows until it is closed
};

HttpReply JsonReply(int nStatus, const Json& json);
HttpReply ErrorReply(int nStatus, const std::string& strText);  // {"error": text}

// Takes the reply to one request. Called once, possibly after the peer has gone; the reply is dropped then.
using Respond = std::function<void(HttpReply reply)>;

// A request that cannot be done; becomes an ErrorReply with that status.
class HttpError : public std::runtime_error {
public:
    HttpError(int nStatus, const std::string& strText) : std::runtime_error(strText), m_nStatus(nStatus) {}
    int GetStatus() const { return m_nStatus; }

private:
    int m_nStatus;
};

// The arguments behind the path as JSON, with the types that the description gives them. A value that does
// not have its type stays a text, and CheckArguments refuses it.
Json QueryToJson(const HttpRequest& request, const Arguments& arguments);
// The body; an empty one is an empty object. Throws HttpError 400 for a body that is not JSON.
Json ParseBody(const HttpRequest& request);

}  // namespace Sandbox
