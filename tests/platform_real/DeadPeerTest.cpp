// A peer that vanishes without a word cannot be had on one machine without privileges; what can be looked
// at is whether the system has been told to find out.
#ifndef _WIN32

#include <gtest/gtest.h>
#include <netinet/tcp.h>

#include <asio.hpp>

#include "platform/common/SocketOptions.h"

namespace {

class ConnectedSocket {
public:
    ConnectedSocket() : m_acceptor(m_context, {asio::ip::address_v4::loopback(), 0}), m_socket(m_context)
    {
        m_socket.connect(m_acceptor.local_endpoint());
        Netrova::SetLinkOptions(static_cast<std::uintptr_t>(m_socket.native_handle()));
    }
    template <int kLevel, int kName>
    int Get()
    {
        asio::detail::socket_option::integer<kLevel, kName> option;
        m_socket.get_option(option);
        return option.value();
    }
    bool IsKeptAlive()
    {
        asio::socket_base::keep_alive option;
        m_socket.get_option(option);
        return option.value();
    }

private:
    asio::io_context m_context;
    asio::ip::tcp::acceptor m_acceptor;
    asio::ip::tcp::socket m_socket;
};

}  // namespace

TEST(DeadPeer, IsGivenUpAfterHalfAMinute)
{
    ConnectedSocket socket;
    EXPECT_TRUE(socket.IsKeptAlive());
    const int nProbing = socket.Get<IPPROTO_TCP, TCP_KEEPIDLE>() +
                         socket.Get<IPPROTO_TCP, TCP_KEEPINTVL>() * socket.Get<IPPROTO_TCP, TCP_KEEPCNT>();
    EXPECT_EQ(30, nProbing);
    EXPECT_EQ(30'000, (socket.Get<IPPROTO_TCP, TCP_USER_TIMEOUT>()));
}

#endif
