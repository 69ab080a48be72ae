// The bytes of one HTTP connection, with two bounds that the HTTP library does not have: how long a request
// may take to arrive, and how large it may be. Used by the connection's thread alone.
#pragma once

#include <httplib.h>

#include <array>
#include <chrono>

namespace Sandbox {

class HttpStream final : public httplib::Stream {
public:
    // The caller keeps and closes the socket. Reading fails after nMaxBytes or after readTime; writing fails
    // five seconds after its first byte.
    HttpStream(int fd, std::size_t nMaxBytes, std::chrono::milliseconds readTime);

    bool is_readable() const override;
    bool is_writable() const override;
    ssize_t read(char* pBytes, size_t nSize) override;
    ssize_t write(const char* pBytes, size_t nSize) override;
    void get_remote_ip_and_port(std::string& strIP, int& nPort) const override;
    void get_local_ip_and_port(std::string& strIP, int& nPort) const override;
    socket_t socket() const override { return m_fd; }

    // Ends the sending and reads on for half a second at most. If the socket were closed with bytes unread,
    // the system would reset the connection, and the peer could lose the reply.
    void Linger();

private:
    using Clock = std::chrono::steady_clock;
    bool Poll(short nEvents, Clock::time_point deadline) const;

    const int m_fd;
    std::size_t m_nLeft;  // bytes that may still be read
    const Clock::time_point m_readDeadline;
    Clock::time_point m_writeDeadline{};
    std::array<char, 4096> m_arrBuffer;
    std::size_t m_nBegin = 0, m_nEnd = 0;  // the unread part of m_arrBuffer
};

}  // namespace Sandbox
