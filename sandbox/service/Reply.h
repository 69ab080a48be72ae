// A request of the HTTP interface, apart from HTTP, and what it is answered.
#pragma once

#include <functional>
#include <map>
#include <stdexcept>
#include <string>

#include "sandbox/base/JsonObject.h"

namespace Sandbox {

struct ControlRequest {
    std::string strMethod;
    std::string strPath;
    std::multimap<std::string, std::string> mapQuery;
    std::string strBody;
};

struct Reply {
    int nStatus = 200;  // of HTTP
    std::string strBody;
    const char* pszType = "application/json";
};

Reply JsonReply(int nStatus, const Json& json);
Reply ErrorReply(int nStatus, const std::string& strText);  // {"error": text}

// Called once, at any time, also after whoever asked has gone.
using Respond = std::function<void(Reply reply)>;

// The request cannot be done: becomes an ErrorReply.
class RequestError : public std::runtime_error {
public:
    RequestError(int nStatus, const std::string& strText) : std::runtime_error(strText), m_nStatus(nStatus) {}
    int GetStatus() const { return m_nStatus; }

private:
    int m_nStatus;
};

}  // namespace Sandbox
