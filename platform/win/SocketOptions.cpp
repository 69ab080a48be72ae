#include "platform/common/SocketOptions.h"

#include <winsock2.h>

#include <mstcpip.h>

namespace Netrova {

void SetLinkOptions(std::uintptr_t nSocket)
{
    const SOCKET socket = static_cast<SOCKET>(nSocket);
    SetHandleInformation(reinterpret_cast<HANDLE>(nSocket), HANDLE_FLAG_INHERIT, 0);
    tcp_keepalive keepAlive{};
    keepAlive.onoff = 1;
    keepAlive.keepalivetime = kKeepAliveIdle * 1000;
    keepAlive.keepaliveinterval = kKeepAliveInterval * 1000;
    DWORD nReturned = 0;
    WSAIoctl(socket, SIO_KEEPALIVE_VALS, &keepAlive, sizeof(keepAlive), nullptr, 0, &nReturned, nullptr,
             nullptr);
    const int kTcpMaxRt = 5;  // TCP_MAXRT: seconds without an acknowledgement; not in every header
    const DWORD nSeconds = kDeadPeer;
    setsockopt(socket, IPPROTO_TCP, kTcpMaxRt, reinterpret_cast<const char*>(&nSeconds), sizeof(nSeconds));
}

// SO_REUSEADDR would let another process take the port as well.
void SetListenOptions(std::uintptr_t nSocket)
{
    const BOOL bOn = TRUE;
    SetHandleInformation(reinterpret_cast<HANDLE>(nSocket), HANDLE_FLAG_INHERIT, 0);
    setsockopt(static_cast<SOCKET>(nSocket), SOL_SOCKET, SO_EXCLUSIVEADDRUSE,
               reinterpret_cast<const char*>(&bOn), sizeof(bOn));
}

}  // namespace Netrova
