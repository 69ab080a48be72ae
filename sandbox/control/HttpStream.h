// The bytes of one HTTP connection, with two bounds: how long a request may take to arrive, and how large it
// may be. Used by the connection's thread alone.
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <string_view>

namespace Sandbox {

class HttpStream {
public:
    // The caller keeps and closes the socket. Reading fails after nMaxBytes or after readTime; a write fails
    // after five seconds.
    HttpStream(int fd, std::size_t nMaxBytes, std::chrono::milliseconds readTime);

    // The bytes that have come, at least one; valid until the next call. Empty at the end and after a
    // failure.
    std::string_view Read();
    // Writes all bytes; false is a failure.
    bool Write(std::string_view strBytes);

    // Ends the sending and reads on for half a second at most. If the socket were closed with bytes unread,
    // the system would reset the connection, and the peer could lose the reply.
    void Linger();

private:
    using Clock = std::chrono::steady_clock;
    bool Poll(short nEvents, Clock::time_point deadline) const;

    const int m_fd;
    std::size_t m_nLeft;  // bytes that may still be read
    const Clock::time_point m_readDeadline;
    std::array<char, 4096> m_arrBuffer;
};

}  // namespace Sandbox
