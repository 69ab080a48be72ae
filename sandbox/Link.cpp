#include "sandbox/Link.h"

namespace Sandbox {
namespace {

constexpr std::size_t kMaxWrite = 256 * 1024;  // bytes that one write gathers, or one frame

std::string AddressOf(const asio::ip::tcp::socket& socket)
{
    asio::error_code error;
    const auto endpoint = socket.remote_endpoint(error);
    return error ? "(gone)" : endpoint.address().to_string() + ':' + std::to_string(endpoint.port());
}

}  // namespace

Link::Link(asio::ip::tcp::socket socket, IOwner& owner, const IClock& clock)
    : m_socket(std::move(socket)),
      m_timer(m_socket.get_executor()),
      m_owner(owner),
      m_clock(clock),
      m_strName(AddressOf(m_socket)),
      m_msStarted(clock.Milliseconds()),
      m_msHeard(m_msStarted),
      m_input(MakeStream())
{
}

void Link::Start()
{
    asio::error_code ignored;
    m_socket.set_option(asio::ip::tcp::no_delay(true), ignored);
    Read();
}

void Link::SetConnector(Connector* pConnector, const std::string& strName)
{
    m_pConnector = pConnector;
    m_strName = strName;
}

void Link::Close(const std::string& strWhy)
{
    if (!m_bOpen)
        return;
    m_bOpen = false;
    const auto self = shared_from_this();  // the owner may let go of it
    asio::error_code ignored;
    m_socket.shutdown(asio::ip::tcp::socket::shutdown_both, ignored);
    m_socket.close(ignored);
    m_timer.cancel();
    m_mapQueue.clear();
    m_owner.OnClosed(*this, strWhy);
}

void Link::Read()
{
    if (!m_bOpen || m_bReading || IsPaused())
        return;
    m_bReading = true;
    const auto self = shared_from_this();
    m_socket.async_read_some(asio::buffer(m_arrInput),
                             [this, self](asio::error_code error, std::size_t nRead) {
                                 m_bReading = false;
                                 if (m_bOpen)
                                     OnRead(error, static_cast<int>(nRead));
                             });
}

void Link::OnRead(const asio::error_code& error, int nRead)
{
    if (error == asio::error::eof) {
        const bool bMidway = Strova::GetLength(m_input.get()) > 0;
        return Close(bMidway ? "the peer closed it in the middle of a frame" : "the peer closed it");
    }
    if (error)
        return Close(error.message());
    m_msHeard = m_clock.Milliseconds();
    if (Strova::Write(m_input.get(), m_arrInput.data(), nRead) != nRead)
        return Close("out of memory");
    TakeFrames();
}

// Also goes on with what a pause has left over.
void Link::TakeFrames()
{
    try {
        while (m_bOpen && !IsPaused()) {
            const StreamPtr body = TakeBody(m_input.get());
            if (body == nullptr)
                break;
            m_owner.OnFrame(*this, body.get());
        }
    } catch (const ProtocolError& e) {
        Close(std::string("protocol broken: ") + e.what());
    } catch (const std::exception& e) {
        Close(std::string("internal failure: ") + e.what());
    }
    Read();
}

void Link::Post(std::string strFrame, std::chrono::milliseconds delay)
{
    if (!m_bOpen)
        return;
    m_nQueuedBytes += strFrame.size();
    if (m_nQueuedBytes > kMaxQueuedBytes)
        return Close("the peer does not read: " + std::to_string(m_nQueuedBytes) + " bytes wait for it");
    m_mapQueue.emplace(std::chrono::steady_clock::now() + delay, std::move(strFrame));
    Write();
}

void Link::Write()
{
    if (!m_bOpen || m_bWriting || m_mapQueue.empty())
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
    m_strWriting.clear();
    for (auto it = m_mapQueue.begin(); it != m_mapQueue.end() && it->first <= now;) {
        if (!m_strWriting.empty() && m_strWriting.size() + it->second.size() > kMaxWrite)
            break;
        m_strWriting += it->second;
        it = m_mapQueue.erase(it);
    }
    m_bWriting = true;
    const auto self = shared_from_this();
    asio::async_write(m_socket, asio::buffer(m_strWriting),
                      [this, self](asio::error_code error, std::size_t) {
                          m_bWriting = false;
                          if (m_bOpen)
                              error ? Close(error.message()) : OnWritten();
                      });
}

void Link::OnWritten()
{
    const bool bWasPaused = IsPaused();
    m_nQueuedBytes -= m_strWriting.size();
    m_strWriting.clear();
    if (m_strWriting.capacity() > kMaxWrite)
        m_strWriting.shrink_to_fit();
    Write();
    if (bWasPaused && !IsPaused())
        TakeFrames();
}

}  // namespace Sandbox
