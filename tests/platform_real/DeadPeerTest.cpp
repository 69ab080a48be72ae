// A peer that vanishes without a word cannot be had on one machine without privileges; what can be looked
// at is whether the system has been told to find out.
#ifndef _WIN32

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include "platform/common/SocketOptions.h"

TEST(DeadPeer, IsGivenUpAfterHalfAMinute)
{
    const int nSocket = socket(AF_INET, SOCK_STREAM, 0);
    Netrova::SetLinkOptions(static_cast<std::uintptr_t>(nSocket));
    const auto get = [nSocket](int nLevel, int nName) {
        int nValue = 0;
        socklen_t nSize = sizeof(nValue);
        getsockopt(nSocket, nLevel, nName, &nValue, &nSize);
        return nValue;
    };
    EXPECT_NE(0, get(SOL_SOCKET, SO_KEEPALIVE));
    EXPECT_EQ(
        30, get(IPPROTO_TCP, TCP_KEEPIDLE) + get(IPPROTO_TCP, TCP_KEEPINTVL) * get(IPPROTO_TCP, TCP_KEEPCNT));
    EXPECT_EQ(30'000, get(IPPROTO_TCP, TCP_USER_TIMEOUT));
    close(nSocket);
}

#endif
