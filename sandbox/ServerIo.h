// Everything of Asio that the server owns, which only the server's own files have to compile.
#pragma once

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/signal_set.hpp>
#include <asio/steady_timer.hpp>
#include <optional>

#include "sandbox/Server.h"

namespace Sandbox {

struct Server::Io {
    asio::io_context context{1};
    asio::ip::tcp::acceptor acceptor{context};
    asio::ip::tcp::endpoint endpoint;  // the bound one
    asio::steady_timer acceptTimer{context};
    asio::steady_timer sweepTimer{context};
    std::optional<asio::signal_set> signals;
};

}  // namespace Sandbox
