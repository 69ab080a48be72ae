#include "platform/common/NetTransport.h"

#include <algorithm>
#include <chrono>

#include "platform/common/NetLink.h"
#include "platform/common/SocketOptions.h"

namespace Netrova {

namespace {

// No matter how much a Recv asks for, this is what one read takes at most.
constexpr std::size_t kMaxReadBytes = 64u << 10;

// How long a closed link goes on writing what was queued before. A peer that reads takes far less.
constexpr std::chrono::milliseconds kCloseGrace{500};

// Unread bytes turn the closing of a socket into a reset, which overtakes what has just been written;
// up to so much is thrown away first.
constexpr std::size_t kMaxDrainedBytes = 1u << 20;

}  // namespace

Transport::Transport(asio::io_context& context, Socket socket, std::shared_ptr<Link::_THandle> pLink)
    : m_strand(asio::make_strand(context)),
      m_socket(std::move(socket)),
      m_graceTimer(context),
      m_pLink(std::move(pLink))
{
    std::error_code ignored;
    m_socket.set_option(asio::ip::tcp::no_delay(true), ignored);
    SetLinkOptions(static_cast<std::uintptr_t>(m_socket.native_handle()));
}

void Transport::PostRead()
{
    asio::post(m_strand, [pSelf = shared_from_this()] { pSelf->Read(); });
}

void Transport::PostWrite()
{
    asio::post(m_strand, [pSelf = shared_from_this()] { pSelf->Write(); });
}

void Transport::PostClose()
{
    asio::post(m_strand, [pSelf = shared_from_this()] { pSelf->BeginClose(); });
}

void Transport::Read()
{
    if (m_bClosing || !m_socket.is_open())
        return;
    const std::size_t nSize = std::min(m_pLink->TakeCredit(), kMaxReadBytes);
    if (nSize == 0)
        return;
    try {
        m_vecRead.resize(nSize);
        m_socket.async_read_some(
            asio::buffer(m_vecRead),
            asio::bind_executor(
                m_strand, [pSelf = shared_from_this()](const std::error_code& failed, std::size_t nCount) {
                    pSelf->OnRead(failed, nCount);
                }));
    } catch (const std::exception&) {  // out of memory
        Lose();
    }
}

void Transport::OnRead(const std::error_code& failed, std::size_t nCount)
{
    if (m_bClosing)
        return;
    if (failed || !m_pLink->AddReceived(m_vecRead.data(), nCount))
        Lose();
    else
        Read();
}

void Transport::Write()
{
    if (m_bWriting || !m_socket.is_open())
        return;
    if (!m_pLink->TakeQueued(m_vecWriting)) {
        if (m_bClosing)
            CloseSocket();
        return;
    }
    try {
        std::vector<asio::const_buffer> vecBuffers;
        vecBuffers.reserve(m_vecWriting.size());
        for (const std::vector<char>& vecBlock : m_vecWriting)
            vecBuffers.push_back(asio::buffer(vecBlock));
        asio::async_write(
            m_socket, std::move(vecBuffers),
            asio::bind_executor(
                m_strand, [pSelf = shared_from_this()](const std::error_code& failed, std::size_t nCount) {
                    pSelf->OnWritten(failed, nCount);
                }));
        m_bWriting = true;
    } catch (const std::exception&) {  // out of memory
        Lose();
    }
}

void Transport::OnWritten(const std::error_code& failed, std::size_t nCount)
{
    m_bWriting = false;
    m_vecWriting.clear();
    if (failed) {
        Lose();
        return;
    }
    m_pLink->Written(nCount);
    Write();
}

// The link has been closed on order; nothing can be queued any more.
void Transport::BeginClose()
{
    m_bClosing = true;
    m_pLink->Lost();
    if (!m_bWriting) {
        CloseSocket();
        return;
    }
    try {
        m_graceTimer.expires_after(kCloseGrace);
        m_graceTimer.async_wait(asio::bind_executor(
            m_strand, [pSelf = shared_from_this()](const std::error_code&) { pSelf->CloseSocket(); }));
    } catch (const std::exception&) {
        CloseSocket();
    }
}

void Transport::Lose()
{
    m_pLink->Lost();
    CloseSocket();
}

void Transport::CloseSocket()
{
    if (!m_socket.is_open())
        return;
    std::error_code ignored;
    m_socket.cancel(ignored);  // not every system ends what is in flight when the socket is closed
    if (m_bClosing) {
        std::error_code failed;
        m_socket.non_blocking(true, failed);
        char szUnread[4096];
        for (std::size_t nDrained = 0; !failed && nDrained < kMaxDrainedBytes;)
            nDrained += m_socket.read_some(asio::buffer(szUnread), failed);
    }
    m_socket.shutdown(Socket::shutdown_both, ignored);
    m_socket.close(ignored);
    m_graceTimer.cancel();
}

}  // namespace Netrova
