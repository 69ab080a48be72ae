// The other end of a client's links, a plain blocking one on real sockets.
#pragma once

#include <gtest/gtest.h>

#include <asio.hpp>
#include <stdexcept>
#include <string>

#include "platform/Platova.h"
#include "tests/platform/NetClient.h"

namespace Loopback {

using namespace NetClient;

inline unsigned int Code(const std::error_code& code) { return static_cast<unsigned int>(code.value()); }

// The far end of one link. Every call blocks; the limit of the test ends one that never returns.
class Peer {
public:
    explicit Peer(asio::ip::tcp::socket socket) : m_socket(std::move(socket)) {}

    void Write(const std::string& str) { asio::write(m_socket, asio::buffer(str)); }
    std::string Read(std::size_t nSize)
    {
        std::string strResult(nSize, '\0');
        std::error_code failed;
        strResult.resize(asio::read(m_socket, asio::buffer(strResult), failed));
        return strResult;
    }
    std::string ReadToTheEnd(std::error_code& ended)
    {
        std::string strResult;
        asio::read(m_socket, asio::dynamic_buffer(strResult), ended);
        return strResult;
    }
    // So much as goes without waiting, until nothing more goes for a while.
    std::size_t WriteWhatGoes()
    {
        const std::string strBlock(64 << 10, 'x');
        m_socket.non_blocking(true);
        std::size_t nTotal = 0;
        for (int nIdle = 0; nIdle < 100;) {
            std::error_code failed;
            nTotal += m_socket.write_some(asio::buffer(strBlock), failed);
            if (failed) {
                ++nIdle;
                std::this_thread::sleep_for(std::chrono::milliseconds(2));
            } else {
                nIdle = 0;
            }
        }
        m_socket.non_blocking(false);
        return nTotal;
    }
    void ShutdownSend() { m_socket.shutdown(asio::ip::tcp::socket::shutdown_send); }
    void Reset()
    {
        m_socket.set_option(asio::socket_base::linger(true, 0));
        m_socket.close();
    }
    void Close() { m_socket.close(); }

private:
    asio::ip::tcp::socket m_socket;
};

class Server {
public:
    explicit Server(const std::string& strAddress = "127.0.0.1", int nBacklog = 64) : m_acceptor(m_context)
    {
        const asio::ip::tcp::endpoint endpoint(asio::ip::make_address(strAddress), 0);
        m_acceptor.open(endpoint.protocol());
        m_acceptor.bind(endpoint);
        m_acceptor.listen(nBacklog);
    }
    unsigned short Port() const { return m_acceptor.local_endpoint().port(); }
    Peer Accept() { return Peer(m_acceptor.accept()); }
    void Close() { m_acceptor.close(); }

private:
    asio::io_context m_context;
    asio::ip::tcp::acceptor m_acceptor;
};

// A new link's far end.
inline Peer Meet(Server& server, Client& client)
{
    if (!client.Connect(server.Port()))
        throw std::runtime_error("not connected");
    return server.Accept();
}

// One link between a client and its peer, for tests whose callbacks use nothing of their own.
class Linked : public testing::Test {
protected:
    Linked() { Link::AddRef(m_pLink); }
    ~Linked() override
    {
        m_client.Destroy();
        EXPECT_EQ(0, Link::Release(m_pLink)) << "a reference is left";
    }

    Server m_server;
    Client m_client;
    Peer m_peer = Meet(m_server, m_client);
    LinkHandle* const m_pLink = m_client.Active();  // with a reference
};

// A door that callbacks wait at.
class Gate {
public:
    void Open() { m_bOpen.store(true); }
    void Wait() const
    {
        EXPECT_TRUE(Eventually([this] { return m_bOpen.load(); }));
    }

private:
    std::atomic<bool> m_bOpen{false};
};

}  // namespace Loopback
