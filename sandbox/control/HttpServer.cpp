#include "sandbox/control/HttpServer.h"

#include <http_parser.h>

#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/post.hpp>
#include <chrono>
#include <condition_variable>
#include <future>
#include <mutex>
#include <optional>
#include <set>
#include <thread>
#include <vector>

#include "platform/common/SocketOptions.h"
#include "sandbox/base/StartError.h"
#include "sandbox/control/EventQueue.h"
#include "sandbox/control/HttpReader.h"

namespace Sandbox {
namespace {

using namespace std::chrono_literals;

constexpr auto kReadTime = 10'000ms;        // for a whole request to arrive
constexpr std::size_t kMaxHead = 64 << 10;  // bytes before the body
constexpr auto kAnswerTime = 75s;           // more than the longest "timeoutMs" of a trigger
constexpr auto kKeepAlive = 5s;             // of a stream in which nothing comes
constexpr auto kStopGrace = 500ms;          // for the last replies to leave
constexpr auto kAcceptPause = 100ms;        // after a failed accept, as when descriptors have run out

using asio::ip::tcp;

// Where a thread of the interface waits for a reply that another thread gives. The first reply counts.
class Ticket {
public:
    void Give(HttpReply reply)
    {
        {
            const std::lock_guard lock(m_mutex);
            if (m_reply)
                return;
            m_reply = std::move(reply);
        }
        m_given.notify_one();
    }
    HttpReply Take()
    {
        std::unique_lock lock(m_mutex);
        if (!m_given.wait_for(lock, kAnswerTime, [this] { return m_reply.has_value(); }))
            return ErrorReply(504, "The sandbox has not answered.");
        return *m_reply;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_given;
    std::optional<HttpReply> m_reply;
};

// The host of a Host header: "[::1]:80" and "localhost:80" without the port and the brackets.
std::string HostOf(std::string strHeader)
{
    if (strHeader.starts_with('['))
        return strHeader.substr(1, strHeader.find(']') - 1);
    return strHeader.substr(0, strHeader.find(':'));
}

std::optional<asio::ip::address> ParseAddress(const std::string& strHost)
{
    asio::error_code error;
    const auto address = asio::ip::make_address(strHost, error);
    return error ? std::nullopt : std::optional(address);
}

// A page of the sandbox runs its own scripts and no others, and no other page can frame or read it.
constexpr char kSecurity[] =
    "Content-Security-Policy: default-src 'none'; script-src 'self'; style-src 'self'; connect-src 'self';"
    " img-src 'self' data:; base-uri 'none'; form-action 'none'; frame-ancestors 'none'\r\n"
    "X-Content-Type-Options: nosniff\r\nCross-Origin-Resource-Policy: same-origin\r\n"
    "Referrer-Policy: no-referrer\r\nCache-Control: no-store\r\n";

// A reply to HEAD has no body. A stream has no length: its end is that of the connection.
bool Write(HttpStream& stream, const HttpReply& reply, bool bHead)
{
    std::string strHead = "HTTP/1.1 " + std::to_string(reply.nStatus) + ' ' +
                          http_status_str(static_cast<http_status>(reply.nStatus)) + "\r\n" + kSecurity;
    if (reply.pEvents != nullptr)
        strHead += "Content-Type: text/event-stream\r\n";
    else
        strHead += std::string("Content-Type: ") + reply.pszType +
                   "\r\nContent-Length: " + std::to_string(reply.strBody.size()) + "\r\n";
    strHead += "Connection: close\r\n\r\n";
    return stream.Write(bHead ? strHead : strHead + reply.strBody);
}

std::string Header(const HttpIncoming& incoming, const char* pszName)
{
    const auto it = incoming.mapHeaders.find(pszName);
    return it == incoming.mapHeaders.end() ? "" : it->second;
}

}  // namespace

class HttpServer::Impl {
public:
    Impl(const std::string& strHost, unsigned short nPort, Answerer answerer);
    ~Impl() { Stop(); }

    void Stop();

    const std::string m_strHost;
    unsigned short m_nPort = 0;

private:
    void Listen(unsigned short nPort);
    void Accept();
    std::optional<tcp::socket> AcceptOne();
    void ServeConnection(tcp::socket socket);
    // The refusal of a request that may not be served, whatever it asks for; nothing if it may.
    std::optional<HttpReply> Object(const HttpIncoming& incoming) const;
    bool IsOwnHost(const std::string& strHost) const;
    HttpReply Answer(HttpRequest request);
    bool Stream(EventQueue& events, HttpStream& stream, bool bWanted);

    Answerer m_answerer;
    asio::io_context m_context{1};  // moves all bytes, on a thread of its own
    asio::executor_work_guard<asio::io_context::executor_type> m_work{m_context.get_executor()};
    tcp::acceptor m_acceptor{m_context};  // touched on the context's thread once that runs
    std::mutex m_mutex;
    bool m_bStopping = false;
    std::set<HttpStream*> m_setConnections;
    std::set<std::shared_ptr<Ticket>> m_setTickets;
    std::set<EventQueue*> m_setStreams;
    std::condition_variable m_closed;  // notified when a connection has ended
    // Each accepts a connection and serves it. While all are busy, further connections wait in the system's
    // queue.
    std::vector<std::thread> m_vecThreads;
    std::thread m_contextThread;
};

HttpServer::Impl::Impl(const std::string& strHost, unsigned short nPort, Answerer answerer)
    : m_strHost(strHost), m_answerer(std::move(answerer))
{
    Listen(nPort);
    m_contextThread = std::thread([this] { m_context.run(); });
    try {
        while (m_vecThreads.size() < HttpServer::kMaxConnections)
            m_vecThreads.emplace_back([this] { Accept(); });
    } catch (...) {
        Stop();
        throw;
    }
}

// Listens on the first of the host's addresses that can be had.
void HttpServer::Impl::Listen(unsigned short nPort)
{
    asio::error_code error;
    const auto found =
        tcp::resolver(m_context).resolve(m_strHost, std::to_string(nPort), tcp::resolver::passive, error);
    for (const auto& entry : found) {
        m_acceptor.close(error);
        m_acceptor.open(entry.endpoint().protocol(), error);
        if (!error)
            Netrova::SetListenOptions(static_cast<std::uintptr_t>(m_acceptor.native_handle()));
        if (!error)
            m_acceptor.bind(entry.endpoint(), error);
        if (!error)
            m_acceptor.listen(tcp::acceptor::max_listen_connections, error);
        if (!error)
            m_nPort = m_acceptor.local_endpoint(error).port();
        if (!error)
            return;
    }
    throw StartError("Cannot listen for HTTP on " + m_strHost + ':' + std::to_string(nPort) + ": " +
                     error.message() + " (--http-port takes another port, --no-http none)");
}

// Nothing if the accept has failed or the interface stops.
std::optional<tcp::socket> HttpServer::Impl::AcceptOne()
{
    const auto pAccepted = std::make_shared<std::promise<std::optional<tcp::socket>>>();
    auto accepted = pAccepted->get_future();
    asio::post(m_context, [this, pAccepted] {
        m_acceptor.async_accept([pAccepted](asio::error_code error, tcp::socket socket) {
            pAccepted->set_value(error ? std::nullopt : std::optional(std::move(socket)));
        });
    });
    return accepted.get();
}

void HttpServer::Impl::Accept()
{
    for (;;) {
        std::optional<tcp::socket> socket = AcceptOne();
        {
            const std::lock_guard lock(m_mutex);
            if (m_bStopping)
                return;
        }
        if (socket)
            ServeConnection(std::move(*socket));
        else
            std::this_thread::sleep_for(kAcceptPause);
    }
}

void HttpServer::Impl::ServeConnection(tcp::socket socket)
{
    HttpStream stream(std::move(socket), kMaxHead + kMaxBody, kReadTime);
    {
        const std::lock_guard lock(m_mutex);
        m_setConnections.insert(&stream);
        if (m_bStopping)
            stream.EndReading();
    }
    HttpIncoming incoming;
    const auto refusal = ReadRequest(
        stream, kMaxBody, [this](const HttpIncoming& all) { return Object(all); }, incoming);
    const bool bHead = incoming.request.strMethod == "HEAD";
    if (bHead)
        incoming.request.strMethod = "GET";
    const HttpReply reply = refusal ? *refusal : Answer(std::move(incoming.request));
    bool bWritten = Write(stream, reply, bHead);
    if (reply.pEvents != nullptr)
        bWritten = Stream(*reply.pEvents, stream, bWritten && !bHead);
    if (bWritten)
        stream.Linger();
    {
        const std::lock_guard lock(m_mutex);
        m_setConnections.erase(&stream);
    }
    m_closed.notify_all();
}

// A page in a browser can send requests to this port, also under a host name that its owner has pointed at
// this machine. The headers Origin, Host and Sec-Fetch-Site give such requests away. A link on another page
// may lead to the sandbox's own page.
std::optional<HttpReply> HttpServer::Impl::Object(const HttpIncoming& incoming) const
{
    const std::string strHost = Header(incoming, "host");
    if (incoming.mapHeaders.count("host") != 1 || !IsOwnHost(HostOf(strHost)))
        return ErrorReply(403, "The Host header names another machine.");
    const std::string strSite = Header(incoming, "sec-fetch-site");
    const bool bOwnSite =
        strSite.empty() || strSite == "same-origin" || strSite == "none" ||
        (incoming.request.strMethod == "GET" && Header(incoming, "sec-fetch-dest") == "document");
    const bool bOwnOrigin =
        !incoming.mapHeaders.contains("origin") || Header(incoming, "origin") == "http://" + strHost;
    if (!bOwnSite || !bOwnOrigin)
        return ErrorReply(403, "Other pages in a browser may not ask.");
    if (incoming.mapHeaders.contains("transfer-encoding"))
        return ErrorReply(411, "The body needs a Content-Length.");
    if (incoming.mapHeaders.contains("content-encoding"))
        return ErrorReply(415, "The body must be plain JSON.");
    return std::nullopt;
}

bool HttpServer::Impl::IsOwnHost(const std::string& strHost) const
{
    if (strHost == "localhost" || strHost == m_strHost)
        return true;
    const auto address = ParseAddress(strHost);
    const auto own = ParseAddress(m_strHost);
    // A server that listens on all addresses takes every address for its own, but no name.
    return address && (address->is_loopback() || (own && own->is_unspecified()));
}

HttpReply HttpServer::Impl::Answer(HttpRequest request)
{
    const auto pTicket = std::make_shared<Ticket>();
    {
        const std::lock_guard lock(m_mutex);
        if (m_bStopping)
            return ErrorReply(503, "The sandbox ends.");
        m_setTickets.insert(pTicket);
    }
    m_answerer(std::move(request), [pTicket](HttpReply reply) { pTicket->Give(std::move(reply)); });
    HttpReply reply = pTicket->Take();
    const std::lock_guard lock(m_mutex);
    m_setTickets.erase(pTicket);
    return reply;
}

// Sends what the queue gives until the reader leaves or the sandbox ends. Closes the queue in any case.
bool HttpServer::Impl::Stream(EventQueue& events, HttpStream& stream, bool bWanted)
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_bStopping || !bWanted)
            events.Close();
        m_setStreams.insert(&events);
    }
    bool bWritten = true;
    while (bWritten) {
        const std::string strText = events.Take(kKeepAlive);
        if (strText.empty())
            break;
        bWritten = stream.Write(strText);
    }
    events.Close();
    const std::lock_guard lock(m_mutex);
    m_setStreams.erase(&events);
    return bWritten;
}

void HttpServer::Impl::Stop()
{
    if (!m_contextThread.joinable())
        return;
    {
        std::unique_lock lock(m_mutex);
        m_bStopping = true;
        for (const auto& pTicket : m_setTickets)
            pTicket->Give(ErrorReply(503, "The sandbox ends."));
        for (EventQueue* const pEvents : m_setStreams)
            pEvents->Close();
        for (HttpStream* const pStream : m_setConnections)
            pStream->EndReading();
        m_closed.wait_for(lock, kStopGrace, [this] { return m_setConnections.empty(); });
        for (HttpStream* const pStream : m_setConnections)
            pStream->EndAll();
    }
    // Wakes the threads that accept.
    asio::post(m_context, [this] {
        asio::error_code ignored;
        m_acceptor.close(ignored);
    });
    for (std::thread& thread : m_vecThreads)
        thread.join();
    m_vecThreads.clear();
    m_work.reset();
    m_contextThread.join();
}

HttpServer::HttpServer(const std::string& strHost, unsigned short nPort, Answerer answerer)
    : m_pImpl(std::make_unique<Impl>(strHost, nPort, std::move(answerer)))
{
}

HttpServer::~HttpServer() = default;

const std::string& HttpServer::GetHost() const { return m_pImpl->m_strHost; }

unsigned short HttpServer::GetPort() const { return m_pImpl->m_nPort; }

bool HttpServer::IsLoopback() const
{
    const auto address = ParseAddress(m_pImpl->m_strHost);
    return address ? address->is_loopback() : m_pImpl->m_strHost == "localhost";
}

void HttpServer::Stop() { m_pImpl->Stop(); }

}  // namespace Sandbox
