#include "platform/common/SocketOptions.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace Netrova {

void SetLinkOptions(std::uintptr_t nSocket)
{
    const int nHandle = static_cast<int>(nSocket);
    fcntl(nHandle, F_SETFD, FD_CLOEXEC);
    const auto set = [nHandle](int nLevel, int nOption, int nValue) {
        setsockopt(nHandle, nLevel, nOption, &nValue, sizeof(nValue));
    };
    set(SOL_SOCKET, SO_KEEPALIVE, 1);
    set(IPPROTO_TCP, TCP_KEEPIDLE, kKeepAliveIdle);
    set(IPPROTO_TCP, TCP_KEEPINTVL, kKeepAliveInterval);
    set(IPPROTO_TCP, TCP_KEEPCNT, kKeepAliveCount);
    set(IPPROTO_TCP, TCP_USER_TIMEOUT, kDeadPeer * 1000);
}

void SetListenOptions(std::uintptr_t nSocket)
{
    const int nHandle = static_cast<int>(nSocket), nOn = 1;
    fcntl(nHandle, F_SETFD, FD_CLOEXEC);
    setsockopt(nHandle, SOL_SOCKET, SO_REUSEADDR, &nOn, sizeof(nOn));
}

}  // namespace Netrova
