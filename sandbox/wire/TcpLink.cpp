#include "sandbox/wire/TcpLink.h"

#include <algorithm>
#include <asio/write.hpp>
#include <utility>

namespace Sandbox {
namespace {

// Queued frames are written together up to this many bytes; a longer frame is written alone.
constexpr std::size_t kMaxWrite = 256 * 1024;

std::string AddressOf(const asio::ip::tcp::socket& socket)
{
    asio::error_code error;
    const auto endpoint = socket.remote_endpoint(error);
    return error ? "(gone)" : endpoint.address().to_string() + ':' + std::to_string(endpoint.port());
}

}  // namespace

TcpLink::TcpLink(asio::ip::tcp::socket socket, IOwner& owner, const IClock& clock)
    : Link(AddressOf(socket), clock.SocketMilliseconds()),
      m_socket(std::move(socket)),
      m_timer(m_socket.get_executor()),
      m_owner(owner),
      m_clock(clock),
      m_readTimer(m_socket.get_executor()),
      m_input(MakeStream()),
      m_holdTimer(m_socket.get_executor())
{
}

void TcpLink::Start()
{
    asio::error_code ignored;
    m_socket.set_option(asio::ip::tcp::no_delay(true), ignored);
    Read();
}

void TcpLink::Close(const std::string& strWhy)
{
    if (!m_bOpen)
        return;
    m_bOpen = false;
    const auto self = shared_from_this();  // the owner may drop the last other reference in OnClosed
    StopIo();
    Release();
    m_owner.OnClosed(*this, strWhy);
}

void TcpLink::StopIo()
{
    m_timer.cancel();
    m_readTimer.cancel();
    m_holdTimer.cancel();
    m_mapQueue.clear();
}

void TcpLink::Release()
{
    asio::error_code ignored;
    m_socket.shutdown(asio::ip::tcp::socket::shutdown_both, ignored);
    m_socket.close(ignored);
}

// A read that is under way ends first; Discard takes over what comes behind it.
void TcpLink::Abandon(const std::string& strWhy)
{
    if (!m_bOpen)
        return;
    m_bOpen = false;
    const auto self = shared_from_this();
    StopIo();
    asio::error_code ignored;
    m_socket.cancel(ignored);
    Discard();
    m_owner.OnClosed(*this, strWhy);
}

void TcpLink::Discard()
{
    m_socket.async_read_some(asio::buffer(m_arrDiscarded),
                             [this, self = shared_from_this()](asio::error_code error, std::size_t) {
                                 if (!error)
                                     Discard();
                             });
}

void TcpLink::SetPace(bool bFrozen, std::size_t nBytesPerSecond)
{
    m_nBytesPerSecond = nBytesPerSecond;
    if (m_bFrozen == bFrozen)
        return;
    m_bFrozen = bFrozen;
    if (m_bFrozen || !m_bOpen)
        return;
    m_msHeard = m_clock.SocketMilliseconds();
    TakeFrames();
    Write();
}

// A slow link moves in steps of a tenth of a second.
std::size_t TcpLink::GetStep(std::size_t nMost) const
{
    return m_nBytesPerSecond == 0 ? nMost : std::min(nMost, std::max<std::size_t>(m_nBytesPerSecond / 10, 1));
}

std::chrono::milliseconds TcpLink::GetPause(std::size_t nBytes) const
{
    return std::chrono::milliseconds(m_nBytesPerSecond == 0 ? 0 : nBytes * 1000 / m_nBytesPerSecond);
}

void TcpLink::Read()
{
    if (!m_bOpen || m_bReading || IsPaused())
        return;
    m_bReading = true;
    const auto self = shared_from_this();
    m_socket.async_read_some(asio::buffer(m_arrInput.data(), GetStep(m_arrInput.size())),
                             [this, self](asio::error_code error, std::size_t nRead) {
                                 m_bReading = false;
                                 if (m_bOpen)
                                     OnRead(error, static_cast<int>(nRead));
                             });
}

// On a slow link the next read waits until the link would have carried these bytes.
void TcpLink::ReadAfter(std::size_t nRead)
{
    m_bReading = true;
    m_readTimer.expires_after(GetPause(nRead));
    m_readTimer.async_wait([this, self = shared_from_this()](asio::error_code cancelled) {
        m_bReading = false;
        if (!cancelled)
            Read();
    });
}

void TcpLink::OnRead(const asio::error_code& error, int nRead)
{
    if (error == asio::error::eof) {
        const bool bMidway = Strova::GetLength(m_input.get()) > 0;
        return Close(bMidway ? "the peer closed it in the middle of a frame" : "the peer closed it");
    }
    if (error)
        return Close(error.message());
    m_msHeard = m_clock.SocketMilliseconds();
    if (Strova::Write(m_input.get(), m_arrInput.data(), nRead) != nRead)
        return Close("out of memory");
    if (m_nBytesPerSecond != 0)
        ReadAfter(static_cast<std::size_t>(nRead));
    TakeFrames();
}

// Also called at the end of a pause, for the frames that came in before it.
void TcpLink::TakeFrames()
{
    Guard([this] {
        while (m_bOpen && !IsPaused()) {
            const StreamPtr body = TakeBody(m_input.get());
            if (body == nullptr)
                break;
            m_owner.OnFrame(*this, body.get());
        }
    });
    Read();
}

void TcpLink::Post(std::string strBytes, const Delivery& delivery)
{
    if (!m_bOpen)
        return;
    m_nQueuedBytes += strBytes.size();
    if (m_nQueuedBytes > kMaxQueuedBytes)
        return Close("the peer does not read: " + std::to_string(m_nQueuedBytes) + " bytes wait for it");
    strBytes.insert(0, std::exchange(m_strHeld, {}));
    m_holdTimer.cancel();
    if (delivery.hold.count() == 0)
        return Enqueue(std::move(strBytes), delivery);
    m_strHeld = std::move(strBytes);
    m_holdTimer.expires_after(delivery.hold);
    m_holdTimer.async_wait([this, self = shared_from_this()](asio::error_code error) {
        if (!error)
            ReleaseHeld();
    });
}

void TcpLink::ReleaseHeld()
{
    if (m_bOpen && !m_strHeld.empty())
        Enqueue(std::exchange(m_strHeld, {}), {});
}

void TcpLink::Enqueue(std::string strBytes, const Delivery& delivery)
{
    m_mapQueue.emplace(std::chrono::steady_clock::now() + delivery.delay,
                       Item{std::move(strBytes), delivery.nPiece, delivery.bLast});
    Write();
}

void TcpLink::Write()
{
    if (!m_bOpen || m_bWriting || m_bFrozen || m_mapQueue.empty())
        return;
    const Due now = std::chrono::steady_clock::now();
    if (m_mapQueue.begin()->first > now) {
        m_timer.expires_at(m_mapQueue.begin()->first);
        m_timer.async_wait([this, self = shared_from_this()](asio::error_code error) {
            if (!error)
                Write();
        });
        return;
    }
    TakeDueItems(now);
    m_bWriting = true;
    m_nWritten = m_nPieces = 0;
    WriteNextPiece();
}

void TcpLink::TakeDueItems(Due now)
{
    auto it = m_mapQueue.begin();
    m_writing = std::move(it->second);
    it = m_mapQueue.erase(it);
    if (!m_writing.IsPlain())
        return;
    while (it != m_mapQueue.end() && it->first <= now && it->second.IsPlain() &&
           m_writing.strBytes.size() + it->second.strBytes.size() <= kMaxWrite) {
        m_writing.strBytes += it->second.strBytes;
        it = m_mapQueue.erase(it);
    }
}

void TcpLink::WriteNextPiece()
{
    std::size_t nBytes = m_writing.strBytes.size() - m_nWritten;
    if (m_writing.nPiece != 0 && ++m_nPieces < kMaxPieces)
        nBytes = std::min(nBytes, m_writing.nPiece);
    nBytes = GetStep(nBytes);
    asio::async_write(m_socket, asio::buffer(m_writing.strBytes.data() + m_nWritten, nBytes),
                      [this, self = shared_from_this(), nBytes](asio::error_code error, std::size_t) {
                          if (!m_bOpen)
                              return;
                          if (error)
                              return Close(error.message());
                          m_nWritten += nBytes;
                          const bool bWhole = m_nWritten == m_writing.strBytes.size();
                          const auto pause = GetPause(nBytes);
                          if (bWhole && pause.count() == 0)
                              return OnWritten();
                          m_timer.expires_after(std::max(pause, bWhole ? pause : kPiecePause));
                          m_timer.async_wait([this, self, bWhole](asio::error_code cancelled) {
                              if (!cancelled && m_bOpen)
                                  bWhole ? OnWritten() : WriteNextPiece();
                          });
                      });
}

void TcpLink::OnWritten()
{
    m_bWriting = false;
    if (m_writing.bLast)
        return Close("cut off by a fault");
    const bool bWasPaused = IsPaused();
    m_nQueuedBytes -= m_writing.strBytes.size();
    m_writing = {};
    Write();
    if (bWasPaused && !IsPaused())
        TakeFrames();
}

}  // namespace Sandbox
