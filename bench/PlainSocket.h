// The yardstick of the network: the time of so many bytes through a bare loopback connection.
#pragma once

#include <asio.hpp>
#include <chrono>
#include <thread>
#include <vector>

namespace Bench {

// In milliseconds.
inline double PlainSocket(std::size_t nBytes)
{
    using Clock = std::chrono::steady_clock;
    asio::io_context context;
    asio::ip::tcp::acceptor acceptor(context, {asio::ip::address_v4::loopback(), 0});
    asio::ip::tcp::socket out(context);
    out.connect(acceptor.local_endpoint());
    asio::ip::tcp::socket in = acceptor.accept();
    const std::vector<char> vecBytes(nBytes, 'x');
    std::vector<char> vecRead(1 << 18);
    const auto begin = Clock::now();
    std::thread reader([&] {
        for (std::size_t nRead = 0; nRead < nBytes;)
            nRead += in.read_some(asio::buffer(vecRead));
    });
    asio::write(out, asio::buffer(vecBytes));
    reader.join();
    return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
}

}  // namespace Bench
