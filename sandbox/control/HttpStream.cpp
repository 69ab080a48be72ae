#include "sandbox/control/HttpStream.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace Sandbox {
namespace {

using namespace std::chrono_literals;

constexpr auto kWriteTime = 5s;  // for a whole reply
constexpr auto kLingerTime = 500ms;
constexpr std::size_t kMaxLingered = 4u << 20;  // bytes

}  // namespace

HttpStream::HttpStream(int fd, std::size_t nMaxBytes, std::chrono::milliseconds readTime)
    : m_fd(fd), m_nLeft(nMaxBytes), m_readDeadline(Clock::now() + readTime)
{
}

bool HttpStream::Poll(short nEvents, Clock::time_point deadline) const
{
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
        pollfd wait{m_fd, nEvents, 0};
        const int nReady = poll(&wait, 1, static_cast<int>(std::max<decltype(left)>(left, 0)));
        if (nReady >= 0 || errno != EINTR)
            return nReady > 0;
    }
}

bool HttpStream::is_readable() const { return m_nBegin < m_nEnd || Poll(POLLIN, m_readDeadline); }

bool HttpStream::is_writable() const { return Poll(POLLOUT, Clock::now() + kWriteTime); }

ssize_t HttpStream::read(char* pBytes, size_t nSize)
{
    if (m_nBegin == m_nEnd) {
        if (m_nLeft == 0 || !Poll(POLLIN, m_readDeadline))
            return -1;
        const ssize_t n = recv(m_fd, m_arrBuffer.data(), std::min(m_arrBuffer.size(), m_nLeft), MSG_DONTWAIT);
        if (n <= 0)
            return n;
        m_nBegin = 0;
        m_nEnd = static_cast<std::size_t>(n);
        m_nLeft -= m_nEnd;
    }
    const std::size_t nTaken = std::min(nSize, m_nEnd - m_nBegin);
    std::memcpy(pBytes, m_arrBuffer.data() + m_nBegin, nTaken);
    m_nBegin += nTaken;
    return static_cast<ssize_t>(nTaken);
}

// Writes all bytes or fails.
ssize_t HttpStream::write(const char* pBytes, size_t nSize)
{
    if (m_writeDeadline == Clock::time_point{})
        m_writeDeadline = Clock::now() + kWriteTime;
    for (std::size_t nSent = 0; nSent < nSize;) {
        if (!Poll(POLLOUT, m_writeDeadline))
            return -1;
        const ssize_t n = send(m_fd, pBytes + nSent, nSize - nSent, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (n < 0 && errno != EAGAIN && errno != EINTR)
            return -1;
        nSent += static_cast<std::size_t>(std::max<ssize_t>(n, 0));
    }
    return static_cast<ssize_t>(nSize);
}

// Nothing in the sandbox uses the addresses of a connection, so they stay empty.
void HttpStream::get_remote_ip_and_port(std::string&, int&) const {}
void HttpStream::get_local_ip_and_port(std::string&, int&) const {}

void HttpStream::Linger()
{
    shutdown(m_fd, SHUT_WR);
    const auto deadline = Clock::now() + kLingerTime;
    for (std::size_t nTaken = 0; nTaken < kMaxLingered && Poll(POLLIN, deadline);) {
        const ssize_t n = recv(m_fd, m_arrBuffer.data(), m_arrBuffer.size(), MSG_DONTWAIT);
        if (n <= 0)
            return;
        nTaken += static_cast<std::size_t>(n);
    }
}

}  // namespace Sandbox
