#include "sandbox/control/HttpStream.h"

#include <algorithm>
#include <asio/post.hpp>
#include <asio/write.hpp>
#include <future>
#include <memory>
#include <utility>

namespace Sandbox {
namespace {

using namespace std::chrono_literals;

constexpr auto kWriteTime = 5s;  // for a head, a body, or a part of a stream
constexpr auto kLingerTime = 500ms;
constexpr std::size_t kMaxLingered = 4u << 20;  // bytes

}  // namespace

HttpStream::HttpStream(asio::ip::tcp::socket socket, std::size_t nMaxBytes,
                       std::chrono::milliseconds readTime)
    : m_socket(std::move(socket)), m_nLeft(nMaxBytes), m_readDeadline(Clock::now() + readTime)
{
    Post([this] {
        asio::error_code ignored;
        m_socket.set_option(asio::ip::tcp::no_delay(true), ignored);
    });
}

// What was posted before uses this object, and has run when the last one has.
HttpStream::~HttpStream()
{
    const auto pClosed = std::make_shared<std::promise<void>>();
    auto closed = pClosed->get_future();
    Post([this, pClosed] {
        asio::error_code ignored;
        m_socket.close(ignored);
        pClosed->set_value();
    });
    closed.wait();
}

void HttpStream::Post(std::function<void()> work) { asio::post(m_socket.get_executor(), std::move(work)); }

std::size_t HttpStream::Wait(Clock::time_point deadline, const Begin& begin)
{
    const auto pBytes = std::make_shared<std::promise<std::size_t>>();
    auto bytes = pBytes->get_future();
    Post([begin, pBytes] {
        begin(
            [pBytes](asio::error_code error, std::size_t nBytes) { pBytes->set_value(error ? 0 : nBytes); });
    });
    if (bytes.wait_until(deadline) != std::future_status::ready) {
        Post([this] {
            asio::error_code ignored;
            m_socket.cancel(ignored);
        });
    }
    return bytes.get();
}

std::size_t HttpStream::ReadSome(std::size_t nMost, Clock::time_point deadline)
{
    return Wait(deadline, [this, nMost](const Done& done) {
        if (m_bEndReading)
            return done(asio::error::eof, 0);
        m_bReading = true;
        m_socket.async_read_some(asio::buffer(m_arrBuffer.data(), nMost),
                                 [this, done](asio::error_code error, std::size_t nBytes) {
                                     m_bReading = false;
                                     done(error, nBytes);
                                 });
    });
}

std::string_view HttpStream::Read()
{
    const std::size_t nMost = std::min(m_arrBuffer.size(), m_nLeft);
    const std::size_t nRead = nMost != 0 ? ReadSome(nMost, m_readDeadline) : 0;
    m_nLeft -= nRead;
    return {m_arrBuffer.data(), nRead};
}

bool HttpStream::Write(std::string_view strBytes)
{
    return strBytes.empty() || Wait(Clock::now() + kWriteTime, [this, strBytes](const Done& done) {
                                   asio::async_write(m_socket, asio::buffer(strBytes), done);
                               }) == strBytes.size();
}

void HttpStream::Linger()
{
    Post([this] {
        asio::error_code ignored;
        m_socket.shutdown(asio::ip::tcp::socket::shutdown_send, ignored);
    });
    const auto deadline = Clock::now() + kLingerTime;
    for (std::size_t nTaken = 0; nTaken < kMaxLingered && Clock::now() < deadline;) {
        const std::size_t nRead = ReadSome(m_arrBuffer.size(), deadline);
        if (nRead == 0)
            return;
        nTaken += nRead;
    }
}

void HttpStream::EndReading()
{
    Post([this] {
        m_bEndReading = true;
        asio::error_code ignored;
        if (m_bReading)
            m_socket.cancel(ignored);
    });
}

void HttpStream::EndAll()
{
    Post([this] {
        m_bEndReading = true;
        asio::error_code ignored;
        m_socket.close(ignored);
    });
}

}  // namespace Sandbox
