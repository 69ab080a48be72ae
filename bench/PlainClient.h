// The yardstick of the way of a request: the same exchange as the library's with the least that it takes. N
// callers on one socket, each of which writes its frame and sleeps until a plain reader thread has its
// answer.
#pragma once

#include <array>
#include <asio.hpp>
#include <condition_variable>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "bench/AtOnceService.h"
#include "bench/Rounds.h"

namespace Bench {

// A checkin or a checkout of the caller's user as the library sends it; the Req ID is the caller's number.
class RequestFrame {
public:
    RequestFrame(int nCaller, bool bCheckin)
    {
        if (bCheckin)
            Write<XC2S_CheckInReq>(nCaller);
        else
            Write<XC2S_CheckOutReq>(nCaller);
    }
    const char* Data() const { return m_szFrame; }
    std::size_t Size() const { return m_nLength; }

private:
    template <class Request>
    void Write(int nCaller)
    {
        Request req;
        req.nReqID = nCaller;
        req.strUserID = "user" + std::to_string(nCaller);
        if constexpr (requires { req.strUserIP; })
            req.strUserIP = "10.0.0.1";
        else
            req.strSeqNo = "1";
        Strova::_THandle* const pStream = Strova::CreateHandle();
        Wirova::WriteFrame(pStream, req);
        m_nLength = static_cast<std::size_t>(Strova::Read(pStream, m_szFrame, sizeof(m_szFrame)));
        Strova::DestroyHandle(pStream);
    }

    char m_szFrame[256];
    std::size_t m_nLength = 0;
};

class PlainClient {
public:
    PlainClient(unsigned short nPort, int nCallers) : m_socket(m_context)
    {
        for (int n = 0; n < nCallers; ++n)
            m_vecWaiters.push_back(std::make_unique<Waiter>());
        m_socket.connect({asio::ip::address_v4::loopback(), nPort});
        m_socket.set_option(asio::ip::tcp::no_delay(true));
        m_reader = std::thread([this] { Read(); });
    }
    ~PlainClient()
    {
        m_socket.shutdown(asio::ip::tcp::socket::shutdown_both);
        m_reader.join();
    }
    PlainClient(const PlainClient&) = delete;
    PlainClient& operator=(const PlainClient&) = delete;

    void Exchange(int nCaller, bool bCheckin)
    {
        Waiter& waiter = *m_vecWaiters[static_cast<std::size_t>(nCaller)];
        const RequestFrame frame(nCaller, bCheckin);
        {
            const std::lock_guard lock(m_writing);
            asio::write(m_socket, asio::buffer(frame.Data(), frame.Size()));
        }
        std::unique_lock lock(waiter.mutex);
        waiter.cond.wait(lock, [&] { return std::exchange(waiter.bAnswered, false); });
    }

private:
    struct Waiter {
        std::mutex mutex;
        std::condition_variable cond;
        bool bAnswered = false;
    };

    void Read()
    {
        std::vector<char> vecBytes(64 << 10);
        std::size_t nHeld = 0;
        for (;;) {
            asio::error_code ended;
            nHeld +=
                m_socket.read_some(asio::buffer(vecBytes.data() + nHeld, vecBytes.size() - nHeld), ended);
            if (ended)
                return;
            std::size_t nDone = 0;
            while (nHeld - nDone >= 12) {
                const auto nLength = static_cast<std::size_t>(NumberAt(vecBytes.data() + nDone));
                if (nHeld - nDone - 4 < nLength)
                    break;
                Waiter& waiter =
                    *m_vecWaiters[static_cast<std::size_t>(NumberAt(vecBytes.data() + nDone + 8))];
                nDone += 4 + nLength;
                const std::lock_guard lock(waiter.mutex);
                waiter.bAnswered = true;
                waiter.cond.notify_one();
            }
            std::memmove(vecBytes.data(), vecBytes.data() + nDone, nHeld - nDone);
            nHeld -= nDone;
        }
    }

    asio::io_context m_context;
    asio::ip::tcp::socket m_socket;
    std::mutex m_writing;
    std::vector<std::unique_ptr<Waiter>> m_vecWaiters;
    std::thread m_reader;
};

// A round of the yardstick.
inline Result RunPlain(int nCallers, unsigned short nPort, int nMilliseconds)
{
    PlainClient client(nPort, nCallers);
    return Measure(nCallers, nMilliseconds, [&client](int nCaller, long n) {
        client.Exchange(nCaller, n % 2 == 0);
        return false;
    });
}

}  // namespace Bench
