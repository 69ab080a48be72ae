// The bytes of one HTTP connection, with two bounds: how long a request may take to arrive, and how large it
// may be. Used by the connection's thread alone, which waits while the context's thread moves the bytes.
#pragma once

#include <array>
#include <asio/ip/tcp.hpp>
#include <chrono>
#include <cstddef>
#include <functional>
#include <string_view>

namespace Sandbox {

class HttpStream {
public:
    // The context runs on another thread until the stream is gone. Reading fails after nMaxBytes or after
    // readTime; a write fails after five seconds.
    HttpStream(asio::ip::tcp::socket socket, std::size_t nMaxBytes, std::chrono::milliseconds readTime);
    ~HttpStream();  // closes the connection

    // The bytes that have come, at least one; valid until the next call. Empty at the end and after a
    // failure.
    std::string_view Read();
    // Writes all bytes; false is a failure.
    bool Write(std::string_view strBytes);

    // Ends the sending and reads on for half a second at most. If the socket were closed with bytes unread,
    // the system would reset the connection, and the peer could lose the reply.
    void Linger();

    // From any other thread: nothing more is read, and with the second one nothing more is written either.
    void EndReading();
    void EndAll();

private:
    using Clock = std::chrono::steady_clock;
    using Done = std::function<void(asio::error_code error, std::size_t nBytes)>;
    using Begin = std::function<void(const Done& done)>;
    // Begins an operation on the context's thread and waits for it. Returns its bytes; 0 is a failure.
    std::size_t Wait(Clock::time_point deadline, const Begin& begin);
    std::size_t ReadSome(std::size_t nMost, Clock::time_point deadline);
    void Post(std::function<void()> work);

    asio::ip::tcp::socket m_socket;  // touched on the context's thread alone
    bool m_bReading = false;         // and so are these two
    bool m_bEndReading = false;
    std::size_t m_nLeft;  // bytes that may still be read
    const Clock::time_point m_readDeadline;
    std::array<char, 4096> m_arrBuffer;
};

}  // namespace Sandbox
