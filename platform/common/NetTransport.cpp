#include "platform/common/NetTransport.h"

#include <algorithm>
#include <utility>

#include "platform/common/NetLink.h"
#include "platform/common/SocketOptions.h"

namespace Netrova {

namespace {

// How long a closed link goes on writing what was queued before. A peer that reads takes far less.
constexpr std::chrono::milliseconds kCloseGrace{500};

// Unread bytes turn the closing of a socket into a reset, which overtakes what has just been written;
// up to so much is thrown away first.
constexpr std::size_t kMaxDrainedBytes = 1u << 20;

Socket WithOptions(Socket socket)
{
    std::error_code ignored;
    socket.set_option(asio::ip::tcp::no_delay(true), ignored);
    SetLinkOptions(static_cast<std::uintptr_t>(socket.native_handle()));
    return socket;
}

}  // namespace

Transport::Transport(asio::io_context& context, Socket socket, std::shared_ptr<Link::_THandle> pLink)
    : m_strand(asio::make_strand(context)),
      m_pSocket(std::make_shared<LinkSocket>(WithOptions(std::move(socket)))),
      m_graceTimer(context),
      m_watchTimer(context),
      m_stallTimer(context),
      m_pLink(std::move(pLink))
{
}

template <void (Transport::*kStep)()>
void Transport::Post()
{
    asio::post(m_strand, [pSelf = shared_from_this()] { (pSelf.get()->*kStep)(); });
}

void Transport::PostRead() { Post<&Transport::Read>(); }

void Transport::PostWrite() { Post<&Transport::Write>(); }

void Transport::PostWatch() { Post<&Transport::Watch>(); }

void Transport::PostClose() { Post<&Transport::BeginClose>(); }

void Transport::PostLose() { Post<&Transport::Lose>(); }

std::shared_ptr<LinkSocket> Transport::GetSocket()
{
    const Kernova::Internal::MutexLock lock(m_mutex);
    return m_pSocket;
}

LinkSocket::Sent Transport::WriteNow(const Blocks& vecBlocks, std::size_t nFront, std::size_t& nCount)
{
    const auto pSocket = GetSocket();
    nCount = 0;
    return pSocket ? pSocket->Send(vecBlocks, nFront, nCount) : LinkSocket::Sent::Failed;
}

bool Transport::MayBlock() const { return true; }

std::size_t Transport::ReadNow(char* pBytes, std::size_t nSize)
{
    const auto pSocket = GetSocket();
    return pSocket ? pSocket->Receive(pBytes, nSize) : 0;
}

void Transport::Read()
{
    const auto pSocket = GetSocket();
    if (m_bReading || m_bClosing || !pSocket)
        return;
    const std::size_t nSize = m_pLink->TakeCreditOnStrand();
    if (nSize == 0)
        return;
    try {
        m_vecRead.resize(nSize);
        pSocket->Attach().async_read_some(
            asio::buffer(m_vecRead),
            asio::bind_executor(
                m_strand, [pSelf = shared_from_this()](const std::error_code& failed, std::size_t nCount) {
                    pSelf->OnRead(failed, nCount);
                }));
        m_bReading = true;
    } catch (const std::exception&) {  // out of memory
        Lose();
    }
}

void Transport::OnRead(const std::error_code& failed, std::size_t nCount)
{
    m_bReading = false;
    if (m_bClosing)
        return;
    if (failed || !m_pLink->AddReceivedOnStrand(m_vecRead.data(), nCount))
        return Lose();
    Read();
    DetachIfIdle();
}

void Transport::Write()
{
    const auto pSocket = GetSocket();
    if (m_bWriting || !pSocket)
        return;
    std::size_t nFront = 0;
    if (!m_pLink->GetSendQueue().Take(m_vecWriting, nFront)) {
        if (m_bClosing && m_pLink->GetSendQueue().IsEmpty())
            CloseSocket();
        return;
    }
    try {
        std::vector<asio::const_buffer> vecBuffers;
        vecBuffers.reserve(m_vecWriting.size());
        for (const std::vector<char>& vecBlock : m_vecWriting)
            vecBuffers.push_back(asio::buffer(vecBlock));
        vecBuffers.front() += nFront;
        WatchStall(0);
        asio::async_write(
            pSocket->Attach(), vecBuffers,
            [pSelf = shared_from_this()](const std::error_code& failed, std::size_t nTransferred) {
                if (nTransferred != pSelf->m_nTransferred)
                    pSelf->WatchStall(nTransferred);
                return asio::transfer_all()(failed, nTransferred);
            },
            asio::bind_executor(
                m_strand, [pSelf = shared_from_this()](const std::error_code& failed, std::size_t nCount) {
                    pSelf->OnWritten(failed, nCount);
                }));
        m_bWriting = true;
    } catch (const std::exception&) {  // out of memory
        Lose();
    }
}

// Gives the writing the whole time again, because something of it has left.
void Transport::WatchStall(std::size_t nTransferred)
{
    m_nTransferred = nTransferred;
    try {
        m_stallTimer.expires_after(s_maxStall.load());
        m_stallTimer.async_wait(
            asio::bind_executor(m_strand, [pSelf = shared_from_this()](const std::error_code& cancelled) {
                if (!cancelled && pSelf->m_bWriting &&
                    pSelf->m_stallTimer.expiry() <= asio::steady_timer::clock_type::now())
                    pSelf->Lose();
            }));
    } catch (const std::exception&) {  // out of memory; the next byte or the next block tries again
    }
}

void Transport::OnWritten(const std::error_code& failed, std::size_t nCount)
{
    m_bWriting = false;
    m_stallTimer.cancel();
    m_vecWriting.clear();
    if (failed)
        return Lose();
    m_pLink->GetSendQueue().Written(nCount);
    Write();
    DetachIfIdle();
}

void Transport::DetachIfIdle()
{
    const auto pSocket = GetSocket();
    if (pSocket && !m_bReading && !m_bWriting)
        pSocket->Detach();
}

void Transport::Watch()
{
    if (!GetSocket())
        return;
    try {
        m_watchTimer.expires_after(kWatchCycle);
        m_watchTimer.async_wait(
            asio::bind_executor(m_strand, [pSelf = shared_from_this()](const std::error_code& cancelled) {
                if (!cancelled && pSelf->m_pLink->Watch())
                    pSelf->Watch();
            }));
    } catch (const std::exception&) {
        m_pLink->EndWatch();  // the next callback begins another one
    }
}

// The link has been closed on order; nothing can be queued any more.
void Transport::BeginClose()
{
    m_bClosing = true;
    m_pLink->Lost();
    Write();  // closes the socket if there is nothing to write
    if (!GetSocket())
        return;
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

// A thread that is inside the socket finds its end, and the last one closes the descriptor.
void Transport::CloseSocket()
{
    std::shared_ptr<LinkSocket> pSocket;
    {
        const Kernova::Internal::MutexLock lock(m_mutex);
        pSocket.swap(m_pSocket);
    }
    if (!pSocket)
        return;
    if (m_bClosing)
        pSocket->Drain(kMaxDrainedBytes);
    pSocket->End();
    m_graceTimer.cancel();
    m_watchTimer.cancel();
    m_stallTimer.cancel();
}

}  // namespace Netrova
