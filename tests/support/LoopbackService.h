// A service's end of real TCP connections: listens on 127.0.0.1, on a port that the system chooses.
#pragma once

#include <array>
#include <asio.hpp>
#include <atomic>
#include <chrono>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <thread>

#include "tests/support/Transport.h"

namespace Support {

class LoopbackService final : public Transport {
public:
    // What is sent leaves that much later.
    explicit LoopbackService(std::chrono::microseconds delay = {});
    ~LoopbackService() override { Stop(); }

    void Start(Sink& sink) override;
    void Stop() override;
    unsigned short Port() const override { return m_nPort; }
    void Send(int nConnection, const std::string& strBytes) override;
    // The same without a copy; nobody changes the bytes meanwhile.
    void SendShared(int nConnection, std::shared_ptr<const std::string> pBytes);
    void Close(int nConnection, bool bAbruptly) override;
    void Accept(bool bAccept) override;
    void HoldReading(bool bHold) override;
    // Over sockets nobody knows what is still on its way: there is nothing to wait for...
    void Settle() override {}
    // ...but that nothing comes for a while.
    void WaitForSilence() override;
    // Whether something that was sent on the connection has not left yet.
    bool IsHeldUp(int nConnection);

private:
    struct Connection {
        explicit Connection(asio::ip::tcp::socket s) : socket(std::move(s)) {}

        asio::ip::tcp::socket socket;
        std::deque<std::shared_ptr<const std::string>> deqOut;
        std::array<char, 65536> buffer{};
        bool bReading = false;
        bool bEnding = false;  // the sending side is shut down once the queue is empty
    };
    using ConnectionPtr = std::shared_ptr<Connection>;

    // All of these run on the context's thread.
    void Listen();
    void AcceptNext();
    void Read(int nConnection, const ConnectionPtr& p);
    void WriteNext(int nConnection, const ConnectionPtr& p);
    void End(int nConnection, bool bAbruptly);
    // Runs the work on an open connection, after the delay; in the order of the calls.
    void Later(int nConnection, std::function<void(const ConnectionPtr&)> work);
    void RunOn(int nConnection, const std::function<void(const ConnectionPtr&)>& work);

    void DoAndWait(const std::function<void()>& work);

    const std::chrono::microseconds m_delay;
    asio::io_context m_context;
    asio::ip::tcp::acceptor m_acceptor{m_context};
    asio::executor_work_guard<asio::io_context::executor_type> m_work{m_context.get_executor()};
    std::thread m_thread;
    unsigned short m_nPort = 0;  // stays the same from the constructor on
    std::map<int, ConnectionPtr> m_mapConnections;
    int m_nLastConnection = 0;
    bool m_bHoldReading = false;
    Sink* m_pSink = nullptr;
    std::chrono::steady_clock::time_point m_lastDue;

    std::atomic<int> m_nNotices{0};  // of the sink
};

}  // namespace Support
