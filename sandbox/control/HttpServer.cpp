#include "sandbox/control/HttpServer.h"

#include <netdb.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <asio/ip/address.hpp>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <optional>
#include <semaphore>
#include <set>
#include <string_view>
#include <thread>

#include "sandbox/base/StartError.h"
#include "sandbox/control/HttpStream.h"

namespace Sandbox {
namespace {

using namespace std::chrono_literals;

constexpr auto kReadTime = 10'000ms;        // for a whole request to arrive
constexpr std::size_t kMaxHead = 64 << 10;  // bytes before the body
constexpr auto kAnswerTime = 75s;           // more than the longest "timeoutMs" of a trigger
constexpr auto kStopGrace = 500ms;          // for the last replies to leave

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

// One thread for each connection. While all threads are busy, enqueue blocks the accepting thread, so that
// further connections wait in the system's queue.
class Workers final : public httplib::TaskQueue {
public:
    Workers() : m_pool(HttpServer::kMaxConnections) {}
    void enqueue(std::function<void()> work) override
    {
        m_free.acquire();
        m_pool.enqueue([this, work = std::move(work)] {
            work();
            m_free.release();
        });
    }
    void shutdown() override { m_pool.shutdown(); }

private:
    std::counting_semaphore<> m_free{HttpServer::kMaxConnections};
    httplib::ThreadPool m_pool;
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

}  // namespace

class HttpServer::Impl final : public httplib::Server {
public:
    Impl(const std::string& strHost, unsigned short nPort, Answerer answerer);
    ~Impl() override { Stop(); }

    void Stop();

    const std::string m_strHost;
    unsigned short m_nPort = 0;

private:
    bool process_and_close_socket(socket_t fd) override;
    // The refusal of a request that may not be served, whatever it asks for; nothing if it may.
    std::optional<HttpReply> Object(const httplib::Request& req) const;
    bool IsOwnHost(const std::string& strHost) const;
    void Serve(const httplib::Request& req, httplib::Response& res);
    void Bind(unsigned short nPort);
    void ServeFirst();

    Answerer m_answerer;
    std::mutex m_mutex;
    bool m_bStopping = false;
    std::set<int> m_setSockets;
    std::set<std::shared_ptr<Ticket>> m_setTickets;
    std::condition_variable m_closed;     // notified when a connection has ended
    std::atomic<bool> m_bFailed = false;  // accepting has failed and does not begin again
    std::thread m_thread;                 // accepts connections
};

namespace {

void Set(httplib::Response& res, const HttpReply& reply)
{
    res.status = reply.nStatus;
    res.set_content(reply.strBody, reply.pszType);
}

bool HasBody(const httplib::Request& req)
{
    return (req.method == "POST" || req.method == "DELETE") &&
           req.get_header_value("Content-Length").find_first_not_of('0') != std::string::npos;
}

}  // namespace

HttpServer::Impl::Impl(const std::string& strHost, unsigned short nPort, Answerer answerer)
    : m_strHost(strHost), m_answerer(std::move(answerer))
{
    new_task_queue = [] { return new Workers; };
    set_payload_max_length(kMaxBody);
    set_tcp_nodelay(true);
    // The library's own option would let two processes listen on one port, and neither would notice.
    set_socket_options([](socket_t fd) {
        const int nOn = 1;
        setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &nOn, sizeof(nOn));
    });
    // The library waits for a body whenever a method may have one. A request without a body is served here,
    // before the library waits in vain.
    set_pre_routing_handler([this](const httplib::Request& req, httplib::Response& res) {
        if (const auto objection = Object(req))
            Set(res, *objection);
        else if (HasBody(req))
            return HandlerResponse::Unhandled;
        else
            Serve(req, res);
        return HandlerResponse::Handled;
    });
    const auto serve = [this](const httplib::Request& req, httplib::Response& res) { Serve(req, res); };
    constexpr char kAnyPath[] = "/[-a-z/]{0,60}";
    Post(kAnyPath, serve);
    Delete(kAnyPath, serve);
    set_error_handler([](const httplib::Request&, httplib::Response& res) {
        if (res.body.empty())
            Set(res, ErrorReply(res.status, res.status == 404   ? "There is no such path."
                                            : res.status == 413 ? "The body is too long."
                                                                : "The request cannot be read."));
    });
    Bind(nPort);
    ServeFirst();
    m_thread = std::thread([this] {
        if (!listen_after_bind())
            m_bFailed = true;
    });
    // The library ignores a stop before it runs, so the constructor waits until it does.
    while (!is_running() && !m_bFailed)
        std::this_thread::yield();
}

void HttpServer::Impl::Bind(unsigned short nPort)
{
    errno = 0;
    const int nBound =
        nPort == 0 ? bind_to_any_port(m_strHost) : (bind_to_port(m_strHost, nPort) ? nPort : -1);
    if (nBound <= 0) {
        throw StartError("Cannot listen for HTTP on " + m_strHost + ':' + std::to_string(nPort) + ": " +
                         (errno != 0 ? std::strerror(errno) : "no such address") +
                         " (--http-port takes another port, --no-http none)");
    }
    m_nPort = static_cast<unsigned short>(nBound);
}

// The HTTP library makes its tables at the first request that it serves. This function is that request, on
// the one thread that there is so far; the request itself is refused. Otherwise the thread sanitizer would
// report a race in the library, which is not compiled with it.
void HttpServer::Impl::ServeFirst()
{
    int arrFd[2];
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, arrFd) != 0)
        return;
    constexpr std::string_view kRequest = "GET / HTTP/1.1\r\n\r\n";
    const bool bSent = send(arrFd[1], kRequest.data(), kRequest.size(), MSG_NOSIGNAL) > 0;
    shutdown(arrFd[1], SHUT_WR);
    if (bSent)
        process_and_close_socket(arrFd[0]);
    else
        close(arrFd[0]);
    close(arrFd[1]);
}

bool HttpServer::Impl::process_and_close_socket(socket_t fd)
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_bStopping)
            shutdown(fd, SHUT_RDWR);
        m_setSockets.insert(fd);
    }
    HttpStream stream(fd, kMaxHead + kMaxBody, kReadTime);
    bool bClosed = false;
    const bool bServed = process_request(stream, true, bClosed, [](httplib::Request& req) {
        req.ranges.clear();                 // replies are never cut into ranges
        req.headers.erase("Content-Type");  // every body is read as JSON; curl calls it a form
    });
    if (bServed)
        stream.Linger();
    {
        const std::lock_guard lock(m_mutex);
        m_setSockets.erase(fd);
        close(fd);
    }
    m_closed.notify_all();
    return bServed;
}

// A page in a browser can send requests to this port, also under a host name that its owner has pointed at
// this machine. The headers Origin and Host give such requests away.
std::optional<HttpReply> HttpServer::Impl::Object(const httplib::Request& req) const
{
    if (req.has_header("Origin"))
        return ErrorReply(403, "Pages in a browser may not ask.");
    if (req.get_header_value_count("Host") != 1 || !IsOwnHost(HostOf(req.get_header_value("Host"))))
        return ErrorReply(403, "The Host header names another machine.");
    if (req.has_header("Transfer-Encoding"))
        return ErrorReply(411, "The body needs a Content-Length.");
    if (req.has_header("Content-Encoding"))
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

void HttpServer::Impl::Serve(const httplib::Request& req, httplib::Response& res)
{
    const auto pTicket = std::make_shared<Ticket>();
    {
        const std::lock_guard lock(m_mutex);
        if (m_bStopping)
            return Set(res, ErrorReply(503, "The sandbox ends."));
        m_setTickets.insert(pTicket);
    }
    HttpRequest request{req.method, req.path, {}, req.body};
    if (req.target.find('?') != std::string::npos)
        request.mapQuery.insert(req.params.begin(), req.params.end());
    m_answerer(std::move(request), [pTicket](HttpReply reply) { pTicket->Give(std::move(reply)); });
    Set(res, pTicket->Take());
    const std::lock_guard lock(m_mutex);
    m_setTickets.erase(pTicket);
}

void HttpServer::Impl::Stop()
{
    if (!m_thread.joinable())
        return;
    {
        std::unique_lock lock(m_mutex);
        m_bStopping = true;
        for (const auto& pTicket : m_setTickets)
            pTicket->Give(ErrorReply(503, "The sandbox ends."));
        for (const int fd : m_setSockets)
            shutdown(fd, SHUT_RD);
        m_closed.wait_for(lock, kStopGrace, [this] { return m_setSockets.empty(); });
        for (const int fd : m_setSockets)
            shutdown(fd, SHUT_RDWR);
    }
    stop();
    m_thread.join();
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
