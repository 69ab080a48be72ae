// The HTTP interface's transport: takes requests on threads of its own, hands each to whoever answers it and
// waits, bounded. For people and scripts on this machine, not for browsers.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "sandbox/service/Reply.h"

namespace Sandbox {

class HttpServer {
public:
    static constexpr std::size_t kMaxConnections = 16;  // at a time; more wait to be accepted
    static constexpr std::size_t kMaxBody = 1u << 20;   // bytes

    // Answers a request by calling respond, on any thread, now or later. Called on the interface's threads.
    using Answerer = std::function<void(ControlRequest request, Respond respond)>;

    // Listens and serves. Throws StartError.
    HttpServer(const std::string& strHost, unsigned short nPort, Answerer answerer);
    ~HttpServer();

    const std::string& GetHost() const;
    unsigned short GetPort() const;  // the bound one
    bool IsLoopback() const;

    // Who still waits is answered 503. Returns within a second or so, with all threads ended. Not from one
    // of them.
    void Stop();

private:
    class Impl;
    std::unique_ptr<Impl> m_pImpl;
};

}  // namespace Sandbox
