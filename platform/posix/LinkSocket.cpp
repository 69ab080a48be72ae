// A blocking socket outside the event loop, which would wake a thread for all bytes that arrive.
#include "platform/common/LinkSocket.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace Netrova {

namespace {

constexpr std::size_t kMostParts = 64;  // blocks in one system call

// Asynchronous operations leave the descriptor non-blocking.
void SetBlocking(int nHandle) { fcntl(nHandle, F_SETFL, fcntl(nHandle, F_GETFL) & ~O_NONBLOCK); }

bool IsTemporary(int nError)
{
    return nError == EAGAIN || nError == EWOULDBLOCK || nError == ENOBUFS || nError == ENOMEM;
}

// What the socket takes at once. The call for one block costs less.
ssize_t SendNow(int nHandle, iovec* pParts, std::size_t nParts)
{
    constexpr int kFlags = MSG_DONTWAIT | MSG_NOSIGNAL;
    if (nParts == 1)
        return send(nHandle, pParts[0].iov_base, pParts[0].iov_len, kFlags);
    msghdr message{};
    message.msg_iov = pParts;
    message.msg_iovlen = nParts;
    return sendmsg(nHandle, &message, kFlags);
}

}  // namespace

LinkSocket::LinkSocket(Socket socket) : m_socket(std::move(socket))
{
    m_nHandle = static_cast<std::uintptr_t>(m_socket.release());
    SetBlocking(static_cast<int>(m_nHandle));
}

LinkSocket::~LinkSocket()
{
    if (!m_socket.is_open())
        close(static_cast<int>(m_nHandle));
}

LinkSocket::Sent LinkSocket::Send(const Blocks& vecBlocks, std::size_t nFront, std::size_t& nCount)
{
    nCount = 0;
    for (std::size_t nBlock = 0; nBlock < vecBlocks.size();) {
        iovec parts[kMostParts];
        std::size_t nParts = 0, nAsked = 0;
        for (; nParts < kMostParts && nBlock + nParts < vecBlocks.size(); ++nParts) {
            const std::vector<char>& vecBlock = vecBlocks[nBlock + nParts];
            const std::size_t nSkipped = nBlock + nParts == 0 ? nFront : 0;
            parts[nParts].iov_base = const_cast<char*>(vecBlock.data()) + nSkipped;
            parts[nParts].iov_len = vecBlock.size() - nSkipped;
            nAsked += parts[nParts].iov_len;
        }
        const ssize_t nResult = SendNow(static_cast<int>(m_nHandle), parts, nParts);
        if (nResult < 0 && errno == EINTR)
            continue;
        if (nResult < 0 && IsTemporary(errno))
            return Sent::Part;
        if (nResult < 0) {
            m_nError.store(errno);
            return Sent::Failed;
        }
        nCount += static_cast<std::size_t>(nResult);
        if (static_cast<std::size_t>(nResult) < nAsked)
            return Sent::Part;
        nBlock += nParts;
    }
    return Sent::All;
}

std::size_t LinkSocket::Receive(char* pBytes, std::size_t nSize)
{
    for (;;) {
        const ssize_t nResult = recv(static_cast<int>(m_nHandle), pBytes, nSize, 0);
        if (nResult >= 0)
            return static_cast<std::size_t>(nResult);
        if (errno == EAGAIN || errno == EWOULDBLOCK) {
            pollfd entry{static_cast<int>(m_nHandle), POLLIN, 0};
            poll(&entry, 1, -1);
        } else if (errno != EINTR) {
            m_nError.store(errno);
            return 0;
        }
    }
}

Socket& LinkSocket::Attach()
{
    if (!m_socket.is_open())
        m_socket.assign(asio::ip::tcp::v4(), static_cast<Socket::native_handle_type>(m_nHandle));
    return m_socket;
}

void LinkSocket::Detach()
{
    if (!m_socket.is_open())
        return;
    std::error_code failed;
    m_socket.release(failed);
    SetBlocking(static_cast<int>(m_nHandle));
}

void LinkSocket::Drain(std::size_t nMost)
{
    char szUnread[4096];
    for (std::size_t nDrained = 0; nDrained < nMost;) {
        const ssize_t nResult = recv(static_cast<int>(m_nHandle), szUnread, sizeof(szUnread), MSG_DONTWAIT);
        if (nResult <= 0)
            return;
        nDrained += static_cast<std::size_t>(nResult);
    }
}

void LinkSocket::End()
{
    std::error_code ignored;
    if (m_socket.is_open())
        m_socket.cancel(ignored);
    shutdown(static_cast<int>(m_nHandle), SHUT_RDWR);
}

}  // namespace Netrova
