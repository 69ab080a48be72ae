#include "tests/support/LoopbackService.h"

#include <future>

namespace Support {

using asio::ip::tcp;

namespace {
constexpr std::chrono::milliseconds kQuiet{50};
}

LoopbackService::LoopbackService(std::chrono::microseconds delay) : m_delay(delay) { Listen(); }

void LoopbackService::Start(Sink& sink)
{
    m_pSink = &sink;
    AcceptNext();
    m_thread = std::thread([this] { m_context.run(); });
}

void LoopbackService::Stop()
{
    if (!m_thread.joinable())
        return;
    m_context.stop();
    m_thread.join();
    m_mapConnections.clear();
    m_acceptor.close();
}

void LoopbackService::Listen()
{
    const tcp::endpoint endpoint(asio::ip::address_v4::loopback(), m_nPort);
    m_acceptor.open(endpoint.protocol());
    m_acceptor.set_option(tcp::acceptor::reuse_address(true));
    m_acceptor.bind(endpoint);
    m_acceptor.listen();
    m_nPort = m_acceptor.local_endpoint().port();
}

void LoopbackService::AcceptNext()
{
    m_acceptor.async_accept([this](const asio::error_code& failed, tcp::socket socket) {
        if (failed == asio::error::operation_aborted || !m_acceptor.is_open())
            return;
        if (!failed) {
            asio::error_code ignored;
            socket.set_option(tcp::no_delay(true), ignored);
            const auto p = std::make_shared<Connection>(std::move(socket));
            m_mapConnections[++m_nLastConnection] = p;
            m_pSink->OnOpen(m_nLastConnection);
            ++m_nNotices;
            Read(m_nLastConnection, p);
        }
        AcceptNext();
    });
}

void LoopbackService::Read(int nConnection, const ConnectionPtr& p)
{
    if (p->bReading || m_bHoldReading)
        return;
    p->bReading = true;
    const auto onRead = [this, nConnection, p](const asio::error_code& failed, std::size_t nSize) {
        p->bReading = false;
        if (m_mapConnections.count(nConnection) == 0)
            return;
        if (failed)
            return End(nConnection, failed != asio::error::eof);
        m_pSink->OnBytes(nConnection, std::string(p->buffer.data(), nSize));
        ++m_nNotices;
        Read(nConnection, p);
    };
    p->socket.async_read_some(asio::buffer(p->buffer), onRead);
}

void LoopbackService::WriteNext(int nConnection, const ConnectionPtr& p)
{
    asio::error_code ignored;
    // The other side reads to the end and closes; closing here with bytes unread would lose what it has not
    // read yet.
    if (p->deqOut.empty() && p->bEnding)
        p->socket.shutdown(tcp::socket::shutdown_send, ignored);
    if (p->deqOut.empty())
        return;
    asio::async_write(p->socket, asio::buffer(*p->deqOut.front()),
                      [this, nConnection, p](const asio::error_code& failed, std::size_t) {
                          if (failed || m_mapConnections.count(nConnection) == 0)
                              return;  // the reader finds out
                          p->deqOut.pop_front();
                          WriteNext(nConnection, p);
                      });
}

void LoopbackService::End(int nConnection, bool bAbruptly)
{
    asio::error_code ignored;
    m_mapConnections.at(nConnection)->socket.close(ignored);
    m_mapConnections.erase(nConnection);
    m_pSink->OnClose(nConnection, bAbruptly);
    ++m_nNotices;
}

void LoopbackService::Later(int nConnection, std::function<void(const ConnectionPtr&)> work)
{
    asio::dispatch(m_context, [this, nConnection, work = std::move(work)] {
        if (m_delay.count() == 0)
            return RunOn(nConnection, work);
        // No two are due at the same time, so that they keep their order.
        m_lastDue =
            std::max(std::chrono::steady_clock::now() + m_delay, m_lastDue + std::chrono::microseconds(1));
        const auto pTimer = std::make_shared<asio::steady_timer>(m_context, m_lastDue);
        pTimer->async_wait(
            [this, nConnection, work, pTimer](const asio::error_code&) { RunOn(nConnection, work); });
    });
}

void LoopbackService::RunOn(int nConnection, const std::function<void(const ConnectionPtr&)>& work)
{
    const auto it = m_mapConnections.find(nConnection);
    if (it != m_mapConnections.end())
        work(ConnectionPtr(it->second));
}

void LoopbackService::DoAndWait(const std::function<void()>& work)
{
    std::promise<void> done;
    asio::dispatch(m_context, [&] {
        work();
        done.set_value();
    });
    done.get_future().wait();
}

void LoopbackService::Send(int nConnection, const std::string& strBytes)
{
    SendShared(nConnection, std::make_shared<const std::string>(strBytes));
}

void LoopbackService::SendShared(int nConnection, std::shared_ptr<const std::string> pBytes)
{
    Later(nConnection, [this, nConnection, pBytes = std::move(pBytes)](const ConnectionPtr& p) {
        p->deqOut.push_back(pBytes);
        if (p->deqOut.size() == 1)
            WriteNext(nConnection, p);
    });
}

void LoopbackService::Close(int nConnection, bool bAbruptly)
{
    const auto reset = [this, nConnection](const ConnectionPtr& p) {
        asio::error_code ignored;
        p->socket.set_option(asio::socket_base::linger(true, 0), ignored);
        End(nConnection, true);
    };
    if (bAbruptly)
        return DoAndWait([&] { RunOn(nConnection, reset); });
    Later(nConnection, [this, nConnection](const ConnectionPtr& p) {
        p->bEnding = true;
        if (p->deqOut.empty())
            WriteNext(nConnection, p);
    });
}

void LoopbackService::Accept(bool bAccept)
{
    DoAndWait([&] {
        if (bAccept == m_acceptor.is_open())
            return;
        if (!bAccept) {
            m_acceptor.close();
            return;
        }
        Listen();
        AcceptNext();
    });
}

void LoopbackService::HoldReading(bool bHold)
{
    DoAndWait([&] {
        m_bHoldReading = bHold;
        for (const auto& [nConnection, p] : m_mapConnections)
            Read(nConnection, p);
    });
}

bool LoopbackService::IsHeldUp(int nConnection)
{
    bool bHeldUp = false;
    DoAndWait([&] { RunOn(nConnection, [&](const ConnectionPtr& p) { bHeldUp = !p->deqOut.empty(); }); });
    return bHeldUp;
}

void LoopbackService::WaitForSilence()
{
    for (int nSeen = -1; nSeen != m_nNotices;) {
        nSeen = m_nNotices;
        std::this_thread::sleep_for(kQuiet);
    }
}

}  // namespace Support
