#include "sandbox/control/HttpStream.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>

namespace Sandbox {
namespace {

using namespace std::chrono_literals;

constexpr auto kWriteTime = 5s;  // for a head, a body, or a part of a stream
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

std::string_view HttpStream::Read()
{
    if (m_nLeft == 0 || !Poll(POLLIN, m_readDeadline))
        return {};
    const ssize_t n = recv(m_fd, m_arrBuffer.data(), std::min(m_arrBuffer.size(), m_nLeft), MSG_DONTWAIT);
    if (n <= 0)
        return {};
    m_nLeft -= static_cast<std::size_t>(n);
    return {m_arrBuffer.data(), static_cast<std::size_t>(n)};
}

bool HttpStream::Write(std::string_view strBytes)
{
    const auto deadline = Clock::now() + kWriteTime;
    while (!strBytes.empty()) {
        if (!Poll(POLLOUT, deadline))
            return false;
        const ssize_t n = send(m_fd, strBytes.data(), strBytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (n < 0 && errno != EAGAIN && errno != EINTR)
            return false;
        strBytes.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(n, 0)));
    }
    return true;
}

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
