// One HTTP connection's bytes, with bounds that the HTTP library does not have: on the time that a request
// may take and on its size.
#pragma once

#include <httplib.h>

#include <array>
#include <chrono>

namespace Sandbox {

class HttpStream final : public httplib::Stream {
public:
    // The socket stays the caller's. Reading ends with an error after nMaxBytes or at the deadline; writing
    // has kWriteTime from its first byte on.
    HttpStream(int fd, std::size_t nMaxBytes, std::chrono::milliseconds readTime);

    bool is_readable() const override;
    bool is_writable() const override;
    ssize_t read(char* pBytes, size_t nSize) override;
    ssize_t write(const char* pBytes, size_t nSize) override;
    void get_remote_ip_and_port(std::string& strIP, int& nPort) const override;
    void get_local_ip_and_port(std::string& strIP, int& nPort) const override;
    socket_t socket() const override { return m_fd; }

    // Ends the sending and takes what the peer still sends, for a moment: a close with bytes unread would
    // take the answer away from it.
    void Linger();

private:
    using Clock = std::chrono::steady_clock;
    bool Poll(short nEvents, Clock::time_point deadline) const;

    const int m_fd;
    std::size_t m_nLeft;  // bytes that may still be read
    const Clock::time_point m_readDeadline;
    Clock::time_point m_writeDeadline{};
    std::array<char, 4096> m_arrBuffer;
    std::size_t m_nBegin = 0, m_nEnd = 0;  // what of it is unread
};

}  // namespace Sandbox
