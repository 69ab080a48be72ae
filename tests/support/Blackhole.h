// A peer that never answers a connect.
#pragma once

#include <asio.hpp>
#include <chrono>
#include <memory>
#include <stdexcept>
#include <vector>

namespace Support {

// A port of this machine that answers nobody: its queue of connections is full.
class Blackhole {
public:
    Blackhole() : m_acceptor(m_context)
    {
        m_acceptor.open(asio::ip::tcp::v4());
        m_acceptor.bind({asio::ip::address_v4::loopback(), 0});
        m_acceptor.listen(0);
        // A connection that does not stand soon stands in front of a full queue.
        for (int n = 0; n < 16; ++n) {
            m_vecFillers.emplace_back(m_context);
            auto& socket = m_vecFillers.back();
            const auto pDone = std::make_shared<bool>(false);
            socket.async_connect({asio::ip::address_v4::loopback(), Port()},
                                 [pDone](const std::error_code&) { *pDone = true; });
            m_context.restart();
            m_context.run_for(std::chrono::milliseconds(200));
            if (!*pDone)
                return;
        }
        throw std::runtime_error("the queue never became full");
    }
    ~Blackhole()
    {
        m_vecFillers.clear();
        m_context.restart();
        m_context.run();
    }
    unsigned short Port() const { return m_acceptor.local_endpoint().port(); }

private:
    asio::io_context m_context;
    asio::ip::tcp::acceptor m_acceptor;
    std::vector<asio::ip::tcp::socket> m_vecFillers;
};

}  // namespace Support
