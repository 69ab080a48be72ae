// Carries the HTTP interface: reads requests on threads of its own, hands each to an answerer, and waits for
// the reply for a bounded time. Meant for people and scripts on this machine; of browser pages only its own
// is served.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "sandbox/control/HttpExchange.h"

namespace Sandbox {

class HttpServer {
public:
    static constexpr std::size_t kMaxConnections = 24;  // at a time; further ones wait to be accepted
    static constexpr std::size_t kMaxBody = 1u << 20;   // bytes

    // Called on the interface's threads. Answers by calling respond, on any thread, at once or later.
    using Answerer = std::function<void(HttpRequest request, Respond respond)>;

    // Listens and begins to serve. Throws StartError.
    HttpServer(const std::string& strHost, unsigned short nPort, Answerer answerer);
    ~HttpServer();

    const std::string& GetHost() const;
    unsigned short GetPort() const;  // the bound port
    bool IsLoopback() const;

    // Answers waiting requests with 503 and ends all threads, within about a second. Not to be called from an
    // answerer.
    void Stop();

private:
    class Impl;
    std::unique_ptr<Impl> m_pImpl;
};

}  // namespace Sandbox
