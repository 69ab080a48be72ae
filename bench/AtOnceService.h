// The fastest service there can be: it accepts one connection after the other and answers registrations,
// checkins and checkouts as soon as their bytes have arrived, or a set time later. Of what arrives it only
// remembers how often, how much, and when the last one was there.
#pragma once

#include <asio.hpp>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "wirova/Frame.h"
#include "wirova/messages/BaseMessages.h"
#include "wirova/messages/SessionMessages.h"

namespace Bench {

class AtOnceService {
public:
    explicit AtOnceService(std::chrono::microseconds delay = {})
        : m_delay(delay),
          m_acceptor(m_context, {asio::ip::address_v4::loopback(), 0}),
          m_thread([this] { Accept(); })
    {
    }
    ~AtOnceService()
    {
        m_bEnd = true;
        asio::error_code ignored;
        asio::ip::tcp::socket poke(m_context);  // wakes the accept
        poke.connect({asio::ip::address_v4::loopback(), Port()}, ignored);
        m_thread.join();
    }
    AtOnceService(const AtOnceService&) = delete;
    AtOnceService& operator=(const AtOnceService&) = delete;

    unsigned short Port() const { return m_acceptor.local_endpoint().port(); }

    using Clock = std::chrono::steady_clock;
    struct Arrivals {
        int nFrames = 0;
        std::size_t nBytes = 0;
        Clock::time_point last;  // when the newest one had arrived to its last byte
    };
    // Blocks until so many of that message have arrived since the last Forget.
    template <class Message>
    Arrivals WaitFor(int nFrames)
    {
        std::unique_lock lock(m_mutex);
        m_arrived.wait(lock, [&] { return m_mapArrivals[Message::kMsgID].nFrames >= nFrames; });
        return m_mapArrivals[Message::kMsgID];
    }
    void Forget()
    {
        const std::lock_guard lock(m_mutex);
        m_mapArrivals.clear();
    }
    // A frame that answers every request of that message, with the request's Req ID put into it. It is kept
    // and never copied. Before the first request.
    template <class Message>
    void SetAnswer(const Wirova::IMessage& answer)
    {
        Append(answer, m_mapAnswers[Message::kMsgID]);
    }
    void Drop()
    {
        const std::lock_guard lock(m_mutex);
        asio::error_code ignored;
        if (m_pSocket != nullptr)
            m_pSocket->shutdown(asio::ip::tcp::socket::shutdown_both, ignored);
    }

private:
    // Answers that are not due yet, and the thread that writes them when they are.
    class DelayedWriter {
    public:
        DelayedWriter(asio::ip::tcp::socket& socket) : m_socket(socket), m_thread([this] { Run(); }) {}
        ~DelayedWriter()
        {
            {
                const std::lock_guard lock(m_mutex);
                m_bEnd = true;
            }
            m_cond.notify_one();
            m_thread.join();
        }
        void Add(Clock::time_point due, std::string strBytes)
        {
            {
                const std::lock_guard lock(m_mutex);
                m_waiting.emplace_back(due, std::move(strBytes));
            }
            m_cond.notify_one();
        }

    private:
        void Run()
        {
            std::unique_lock lock(m_mutex);
            while (!m_bEnd) {
                if (m_waiting.empty()) {
                    m_cond.wait(lock);
                } else if (const auto due = m_waiting.front().first; due > Clock::now()) {
                    m_cond.wait_until(lock, due);
                } else {
                    const std::string strBytes = std::move(m_waiting.front().second);
                    m_waiting.pop_front();
                    lock.unlock();
                    asio::error_code ignored;
                    asio::write(m_socket, asio::buffer(strBytes), ignored);
                    lock.lock();
                }
            }
        }

        asio::ip::tcp::socket& m_socket;
        std::mutex m_mutex;
        std::condition_variable m_cond;
        std::deque<std::pair<Clock::time_point, std::string>> m_waiting;
        bool m_bEnd = false;
        std::thread m_thread;
    };

    void Accept()
    {
        for (;;) {
            asio::ip::tcp::socket socket(m_context);
            asio::error_code error;
            m_acceptor.accept(socket, error);
            if (m_bEnd || error)
                return;
            socket.set_option(asio::ip::tcp::no_delay(true));
            Use(&socket);
            Serve(socket);
            Use(nullptr);
        }
    }

    void Use(asio::ip::tcp::socket* pSocket)
    {
        const std::lock_guard lock(m_mutex);
        m_pSocket = pSocket;
    }

    void Note(Wirova::int32 nMsgID, std::size_t nBytes)
    {
        const std::lock_guard lock(m_mutex);
        auto& arrivals = m_mapArrivals[nMsgID];
        ++arrivals.nFrames;
        arrivals.nBytes += nBytes;
        arrivals.last = Clock::now();
        m_arrived.notify_all();
    }

    void Serve(asio::ip::tcp::socket& socket)
    {
        DelayedWriter writer(socket);
        std::string strIn;
        std::vector<char> szBuffer(1 << 18);
        asio::error_code error;
        while (const std::size_t n = socket.read_some(asio::buffer(szBuffer), error)) {
            strIn.append(szBuffer.data(), n);
            const std::string strOut = AnswerAll(strIn, socket);
            if (strOut.empty())
                continue;
            if (m_delay.count() > 0)
                writer.Add(Clock::now() + m_delay, strOut);
            else
                asio::write(socket, asio::buffer(strOut), error);
        }
    }

    // Takes whole frames off the front and returns the answers to them.
    std::string AnswerAll(std::string& strIn, asio::ip::tcp::socket& socket)
    {
        std::string strOut;
        std::size_t nDone = 0;
        Strova::_THandle* const pStream = Strova::CreateHandle();
        while (strIn.size() - nDone >= 8) {
            unsigned char length[4], id[4];
            std::copy_n(strIn.data() + nDone, 4, reinterpret_cast<char*>(length));
            std::copy_n(strIn.data() + nDone + 4, 4, reinterpret_cast<char*>(id));
            const auto nLength = static_cast<std::size_t>(Wirova::GetBigEndian<Wirova::int32>(length));
            if (strIn.size() - nDone - 4 < nLength)
                break;
            Note(Wirova::GetBigEndian<Wirova::int32>(id), nLength + 4);
            const auto itAnswer = m_mapAnswers.find(Wirova::GetBigEndian<Wirova::int32>(id));
            if (itAnswer != m_mapAnswers.end()) {
                asio::error_code ignored;
                itAnswer->second.replace(8, 4, strIn, nDone + 8, 4);
                asio::write(socket, asio::buffer(itAnswer->second), ignored);
            }
            Strova::Write(pStream, strIn.data() + nDone + 4, static_cast<int>(nLength));
            Answer(pStream, Wirova::GetBigEndian<Wirova::int32>(id), strOut);
            Strova::RemoveLeft(pStream, Strova::GetLength(pStream));
            nDone += 4 + nLength;
        }
        Strova::DestroyHandle(pStream);
        strIn.erase(0, nDone);
        return strOut;
    }

    static void Answer(Strova::_THandle* pStream, Wirova::int32 nMsgID, std::string& strOut)
    {
        if (nMsgID == XC2S_VelkarConnectReq::kMsgID) {
            Append(XS2C_VelkarConnectAns(), strOut);
        } else if (nMsgID == XC2S_CheckInReq::kMsgID) {
            XC2S_CheckInReq req;
            XS2C_CheckInAns ans;
            req.Load(pStream);
            ans.nReqID = req.nReqID;
            ans.strUserID = req.strUserID;
            ans.strUserIP = req.strUserIP;
            ans.strSeqNo = "1";
            Append(ans, strOut);
        } else if (nMsgID == XC2S_CheckOutReq::kMsgID) {
            XC2S_CheckOutReq req;
            XS2C_CheckOutAns ans;
            req.Load(pStream);
            ans.nReqID = req.nReqID;
            ans.bSuccess = true;
            Append(ans, strOut);
        }
    }

    static void Append(const Wirova::IMessage& msg, std::string& strOut)
    {
        Strova::_THandle* const pStream = Strova::CreateHandle();
        Wirova::WriteFrame(pStream, msg);
        const auto nOld = strOut.size();
        strOut.resize(nOld + static_cast<std::size_t>(Strova::GetLength(pStream)));
        Strova::Read(pStream, strOut.data() + nOld, Strova::GetLength(pStream));
        Strova::DestroyHandle(pStream);
    }

    const std::chrono::microseconds m_delay;
    std::mutex m_mutex;
    std::condition_variable m_arrived;
    std::map<Wirova::int32, Arrivals> m_mapArrivals;
    std::map<Wirova::int32, std::string> m_mapAnswers;
    asio::ip::tcp::socket* m_pSocket = nullptr;
    std::atomic<bool> m_bEnd{false};
    asio::io_context m_context;
    asio::ip::tcp::acceptor m_acceptor;
    std::thread m_thread;
};

}  // namespace Bench
