#include "tests/support/LoopbackService.h"

#include <array>
#include <asio.hpp>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <future>
#include <map>
#include <mutex>
#include <thread>

namespace Support {

using asio::ip::tcp;
using std::chrono::steady_clock;

namespace {

constexpr std::chrono::milliseconds kAnswerDelay{30};
constexpr std::chrono::milliseconds kQuiet{50};

struct Connection {
    explicit Connection(tcp::socket s) : socket(std::move(s)) {}

    tcp::socket socket;
    std::deque<std::string> deqOut;
    std::array<char, 16384> buffer{};
    bool bReading = false;
    bool bEnding = false;  // the sending side is shut down once the queue is empty
};
using ConnectionPtr = std::shared_ptr<Connection>;

}  // namespace

// Everything but the first members belongs to the one thread that runs the context.
class LoopbackService::Impl {
public:
    Impl() { Listen(0); }

    // Runs on the context's thread and waits for it.
    template <class Function>
    void Do(Function function)
    {
        std::promise<void> done;
        asio::dispatch(m_context, [&] {
            function();
            done.set_value();
        });
        done.get_future().wait();
    }

    void Start(Sink& sink)
    {
        m_pSink = &sink;
        AcceptNext();
        m_thread = std::thread([this] { m_context.run(); });
    }
    void Stop()
    {
        if (!m_thread.joinable())
            return;
        Do([this] { m_context.stop(); });
        m_thread.join();
        m_mapConnections.clear();
        m_acceptor.close();
    }

    void Listen(unsigned short nPort)
    {
        const tcp::endpoint endpoint(asio::ip::address_v4::loopback(), nPort);
        m_acceptor.open(endpoint.protocol());
        m_acceptor.set_option(tcp::acceptor::reuse_address(true));
        m_acceptor.bind(endpoint);
        m_acceptor.listen();
        m_nPort = m_acceptor.local_endpoint().port();
    }

    void AcceptNext()
    {
        m_acceptor.async_accept([this](const asio::error_code& failed, tcp::socket socket) {
            if (failed == asio::error::operation_aborted || !m_acceptor.is_open())
                return;
            if (!failed)
                Open(std::move(socket));
            AcceptNext();
        });
    }

    void Open(tcp::socket socket)
    {
        asio::error_code ignored;
        socket.set_option(tcp::no_delay(true), ignored);
        const auto p = std::make_shared<Connection>(std::move(socket));
        const int nConnection = ++m_nLastConnection;
        m_mapConnections[nConnection] = p;
        m_pSink->OnOpen(nConnection);
        Noticed();
        Read(nConnection, p);
    }

    void Read(int nConnection, const ConnectionPtr& p)
    {
        if (p->bReading || m_bHoldReading)
            return;
        p->bReading = true;
        p->socket.async_read_some(asio::buffer(p->buffer),
                                  [this, nConnection, p](const asio::error_code& failed, std::size_t nSize) {
                                      p->bReading = false;
                                      if (m_mapConnections.count(nConnection) == 0)
                                          return;
                                      if (failed) {
                                          End(nConnection);
                                          return;
                                      }
                                      m_pSink->OnBytes(nConnection, std::string(p->buffer.data(), nSize));
                                      Noticed();
                                      Read(nConnection, p);
                                  });
    }

    void Write(int nConnection, const std::string& strBytes)
    {
        const auto it = m_mapConnections.find(nConnection);
        if (it == m_mapConnections.end() || it->second->bEnding)
            return;
        it->second->deqOut.push_back(strBytes);
        if (it->second->deqOut.size() == 1)
            WriteNext(nConnection, it->second);
    }
    void WriteNext(int nConnection, const ConnectionPtr& p)
    {
        asio::async_write(p->socket, asio::buffer(p->deqOut.front()),
                          [this, nConnection, p](const asio::error_code& failed, std::size_t) {
                              if (failed || m_mapConnections.count(nConnection) == 0)
                                  return;  // the reader finds out
                              p->deqOut.pop_front();
                              if (!p->deqOut.empty())
                                  WriteNext(nConnection, p);
                              else if (p->bEnding)
                                  Shut(*p);
                          });
    }
    // The other side reads to the end and closes; closing here with bytes unread would lose what it has
    // not read yet.
    static void Shut(Connection& connection)
    {
        asio::error_code ignored;
        connection.socket.shutdown(tcp::socket::shutdown_send, ignored);
    }

    void Close(int nConnection, bool bAbruptly)
    {
        const auto it = m_mapConnections.find(nConnection);
        if (it == m_mapConnections.end())
            return;
        Connection& connection = *it->second;
        if (!bAbruptly) {
            connection.bEnding = true;
            if (connection.deqOut.empty())
                Shut(connection);
            return;
        }
        asio::error_code ignored;
        connection.socket.set_option(asio::socket_base::linger(true, 0), ignored);
        End(nConnection);
    }
    void End(int nConnection)
    {
        const ConnectionPtr p = m_mapConnections.at(nConnection);
        m_mapConnections.erase(nConnection);
        asio::error_code ignored;
        p->socket.close(ignored);
        m_pSink->OnClose(nConnection);
        Noticed();
    }

    // In the order of the calls, each kAnswerDelay after its own.
    void Later(std::function<void()> task)
    {
        const std::lock_guard lock(m_mutexLater);
        m_deqLater.emplace_back(steady_clock::now() + kAnswerDelay, std::move(task));
        if (m_deqLater.size() == 1)
            ArmTimer();
    }
    void ArmTimer()
    {
        m_timer.expires_at(m_deqLater.front().first);
        m_timer.async_wait([this](const asio::error_code&) {
            std::unique_lock lock(m_mutexLater);
            const auto task = std::move(m_deqLater.front().second);
            lock.unlock();
            task();
            lock.lock();
            m_deqLater.pop_front();
            if (!m_deqLater.empty())
                ArmTimer();
        });
    }

    void Accept(bool bAccept)
    {
        if (bAccept == m_acceptor.is_open())
            return;
        if (bAccept) {
            Listen(m_nPort);
            AcceptNext();
        } else {
            m_acceptor.close();
        }
    }
    void HoldReading(bool bHold)
    {
        m_bHoldReading = bHold;
        for (const auto& [nConnection, p] : m_mapConnections)
            Read(nConnection, p);
    }

    void Noticed()
    {
        const std::lock_guard lock(m_mutexNotices);
        ++m_nNotices;
        m_cond.notify_all();
    }
    void WaitForQuiet()
    {
        std::unique_lock lock(m_mutexNotices);
        int nSeen = m_nNotices;
        while (m_cond.wait_for(lock, kQuiet, [&] { return m_nNotices != nSeen; }))
            nSeen = m_nNotices;
    }

    unsigned short m_nPort = 0;  // stays the same from the constructor on

private:
    asio::io_context m_context;
    tcp::acceptor m_acceptor{m_context};
    asio::executor_work_guard<asio::io_context::executor_type> m_work{m_context.get_executor()};
    std::thread m_thread;
    std::map<int, ConnectionPtr> m_mapConnections;
    int m_nLastConnection = 0;
    bool m_bHoldReading = false;
    Sink* m_pSink = nullptr;

    std::mutex m_mutexLater;  // guards the next two
    std::deque<std::pair<steady_clock::time_point, std::function<void()>>> m_deqLater;
    asio::steady_timer m_timer{m_context};

    std::mutex m_mutexNotices;
    std::condition_variable m_cond;
    int m_nNotices = 0;
};

LoopbackService::LoopbackService() : m_pImpl(std::make_unique<Impl>()) {}

LoopbackService::~LoopbackService() { m_pImpl->Stop(); }

void LoopbackService::Start(Sink& sink) { m_pImpl->Start(sink); }

void LoopbackService::Stop() { m_pImpl->Stop(); }

unsigned short LoopbackService::Port() const { return m_pImpl->m_nPort; }

void LoopbackService::Send(int nConnection, const std::string& strBytes)
{
    m_pImpl->Later([this, nConnection, strBytes] { m_pImpl->Write(nConnection, strBytes); });
}

void LoopbackService::Close(int nConnection, bool bAbruptly)
{
    if (bAbruptly)
        m_pImpl->Do([&] { m_pImpl->Close(nConnection, true); });
    else
        m_pImpl->Later([this, nConnection] { m_pImpl->Close(nConnection, false); });
}

void LoopbackService::Accept(bool bAccept)
{
    m_pImpl->Do([&] { m_pImpl->Accept(bAccept); });
}

void LoopbackService::HoldReading(bool bHold)
{
    m_pImpl->Do([&] { m_pImpl->HoldReading(bHold); });
}

void LoopbackService::WaitForSilence() { m_pImpl->WaitForQuiet(); }

}  // namespace Support
