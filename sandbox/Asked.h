// A client of the sandbox's own HTTP interface, for its commands.
#pragma once

#include <asio/ip/tcp.hpp>
#include <string>

namespace Sandbox {

// One request to a sandbox, and what it says until it closes the connection. Blocks; a sandbox that says
// nothing for 80 seconds, which is more than a trigger waits for its game, has ended the connection.
class Asked {
public:
    // strHead is the method and the path, as in "GET /users".
    Asked(const std::string& strHost, int nPort, const std::string& strHead, const std::string& strBody);

    int GetStatus() const { return m_nStatus; }  // 0: there is no sandbox
    // The next bytes of the body; empty at its end.
    std::string Read();
    std::string ReadAll();

private:
    asio::ip::tcp::iostream m_stream;
    int m_nStatus = 0;
};

// Any bytes as a value behind a path.
std::string Encoded(const std::string& strText);

}  // namespace Sandbox
