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
    : m_context(context),
      m_pSocket(std::make_shared<LinkSocket>(WithOptions(std::move(socket)))),
      m_graceTimer(context),
      m_watchTimer(context),
      m_stallTimer(context),
      m_pLink(std::move(pLink))
{
}

// One thread at a time runs the steps, and what is noted meanwhile is run by that thread. The room for its
// order is free again by the time it has run out of steps.
void Transport::Post(Step step)
{
    {
        const Kernova::Internal::MutexLock lock(m_mutex);
        m_nDue |= step;
        if (m_bRunning)
            return;
        m_bRunning = true;
    }
    asio::post(m_context, In(m_stepMemory, [pSelf = shared_from_this()] { pSelf->RunSteps(); }));
}

void Transport::RunSteps()
{
    for (;;) {
        unsigned int nSteps = 0;
        {
            const Kernova::Internal::MutexLock lock(m_mutex);
            std::swap(nSteps, m_nDue);
            m_bRunning = nSteps != 0;
        }
        if (nSteps == 0)
            return;
        try {
            RunRound(nSteps);
        } catch (const std::exception&) {  // out of memory, or the system refuses
            Lose();
        }
    }
}

void Transport::RunRound(unsigned int nSteps)
{
    if (nSteps & kReadDone)
        OnRead();
    if (nSteps & kWriteDone)
        OnWritten();
    if (nSteps & kRead)
        Read();
    if (nSteps & kWrite)
        Write();
    if (nSteps & kWatch || (nSteps & kWatchDue && m_pLink->Watch()))
        Watch();
    if (nSteps & kStallDue && m_bWriting && m_stallTimer.expiry() <= asio::steady_timer::clock_type::now()) {
        m_pLink->NoteEnd(Link::End::Stalled, 0);
        Lose();
    }
    if (nSteps & kClose)
        BeginClose();
    if (nSteps & kGraceOver)
        CloseSocket();
    if (nSteps & kLose)
        Lose();
}

void Transport::PostRead() { Post(kRead); }

void Transport::PostWrite() { Post(kWrite); }

void Transport::PostWatch() { Post(kWatch); }

void Transport::PostClose() { Post(kClose); }

void Transport::PostLose() { Post(kLose); }

std::shared_ptr<LinkSocket> Transport::GetSocket()
{
    const Kernova::Internal::MutexLock lock(m_mutex);
    return m_pSocket;
}

LinkSocket::Sent Transport::WriteNow(const Blocks& vecBlocks, std::size_t nFront, std::size_t& nCount)
{
    const auto pSocket = GetSocket();
    nCount = 0;
    const auto sent = pSocket ? pSocket->Send(vecBlocks, nFront, nCount) : LinkSocket::Sent::Failed;
    if (pSocket && sent == LinkSocket::Sent::Failed)
        m_pLink->NoteSocketEnd(pSocket->GetError());
    return sent;
}

bool Transport::MayBlock() const { return true; }

std::size_t Transport::ReadNow(char* pBytes, std::size_t nSize)
{
    const auto pSocket = GetSocket();
    const std::size_t nCount = pSocket ? pSocket->Receive(pBytes, nSize) : 0;
    if (pSocket && nCount == 0)
        m_pLink->NoteSocketEnd(pSocket->GetError());
    return nCount;
}

void Transport::Read()
{
    const auto pSocket = GetSocket();
    if (m_bReading || m_bClosing || !pSocket)
        return;
    const std::size_t nSize = m_pLink->TakeCreditOnStrand();
    if (nSize == 0)
        return;
    m_vecRead.resize(nSize);
    pSocket->Attach().async_read_some(
        asio::buffer(m_vecRead),
        In(m_readMemory, [pSelf = shared_from_this()](const std::error_code& failed, std::size_t nCount) {
            pSelf->m_readOutcome = {failed, nCount};
            pSelf->Post(kReadDone);
        }));
    m_bReading = true;
}

void Transport::OnRead()
{
    m_bReading = false;
    if (m_bClosing)
        return;
    if (m_readOutcome.failed)
        NoteEnd(m_readOutcome.failed);
    if (m_readOutcome.failed || !m_pLink->AddReceivedOnStrand(m_vecRead.data(), m_readOutcome.nCount))
        return Lose();
    Read();
    DetachIfIdle();
}

void Transport::Write()
{
    const auto pSocket = GetSocket();
    if (m_bWriting || !pSocket)
        return;
    if (!m_pLink->GetSendQueue().Take(m_vecWriting, m_nFront)) {
        if (m_bClosing && m_pLink->GetSendQueue().IsEmpty())
            CloseSocket();
        return;
    }
    m_nBlock = 0;
    WatchStall();
    WriteBlock();
}

void Transport::WriteBlock()
{
    const auto pSocket = GetSocket();
    if (!pSocket)
        return;
    pSocket->Attach().async_write_some(
        asio::buffer(m_vecWriting[m_nBlock]) + m_nFront,
        In(m_writeMemory, [pSelf = shared_from_this()](const std::error_code& failed, std::size_t nCount) {
            pSelf->m_writeOutcome = {failed, nCount};
            pSelf->Post(kWriteDone);
        }));
    m_bWriting = true;
}

// Gives the writing the whole time again, because something of it has left. Without memory for that, the next
// bytes try again.
void Transport::WatchStall()
{
    try {
        m_stallTimer.expires_after(s_maxStall.load());
        m_stallTimer.async_wait(Then(kStallDue, m_stallMemory));
    } catch (const std::exception&) {
    }
}

void Transport::OnWritten()
{
    m_bWriting = false;
    if (m_writeOutcome.failed) {
        NoteEnd(m_writeOutcome.failed);
        return Lose();
    }
    m_pLink->GetSendQueue().Written(m_writeOutcome.nCount);
    m_nFront += m_writeOutcome.nCount;
    if (m_nFront == m_vecWriting[m_nBlock].size()) {
        ++m_nBlock;
        m_nFront = 0;
    }
    if (m_nBlock < m_vecWriting.size()) {
        WatchStall();
        return WriteBlock();
    }
    m_stallTimer.cancel();
    m_vecWriting.clear();
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
        m_watchTimer.async_wait(Then(kWatchDue, m_watchMemory));
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
        m_graceTimer.async_wait(Then(kGraceOver, m_graceMemory));
    } catch (const std::exception&) {
        CloseSocket();
    }
}

void Transport::NoteEnd(const std::error_code& failed)
{
    m_pLink->NoteSocketEnd(failed == asio::error::eof ? 0 : failed.value());
}

// Without a reason noted before, memory has run out.
void Transport::Lose()
{
    m_pLink->NoteEnd(Link::End::Failed, static_cast<int>(std::errc::not_enough_memory));
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
