// A client endpoint on real sockets and the other end of its links, a plain blocking one.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <asio.hpp>
#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "platform/Netrova.h"
#include "platform/Platova.h"
#include "tests/platform/Waiting.h"

namespace Loopback {

namespace Connector = Netrova::Connector;
namespace Link = Netrova::Link;
using LinkHandle = Netrova::Link::_THandle;

inline unsigned int Code(const std::error_code& code)
{
    return static_cast<unsigned int>(code.value());
}

// The far end of one link. Every call blocks; the limit of the test ends one that never returns.
class Peer {
public:
    explicit Peer(asio::ip::tcp::socket socket) : m_socket(std::move(socket)) {}

    void Write(const std::string& str) { asio::write(m_socket, asio::buffer(str)); }
    std::string Read(std::size_t nSize)
    {
        std::string strResult(nSize, '\0');
        std::error_code failed;
        strResult.resize(asio::read(m_socket, asio::buffer(strResult), failed));
        return strResult;
    }
    std::string ReadToTheEnd(std::error_code& ended)
    {
        std::string strResult;
        asio::read(m_socket, asio::dynamic_buffer(strResult), ended);
        return strResult;
    }
    // So much as goes without waiting, until nothing more goes for a while.
    std::size_t WriteWhatGoes()
    {
        const std::string strBlock(64 << 10, 'x');
        m_socket.non_blocking(true);
        std::size_t nTotal = 0;
        for (int nIdle = 0; nIdle < 100;) {
            std::error_code failed;
            nTotal += m_socket.write_some(asio::buffer(strBlock), failed);
            if (failed) {
                ++nIdle;
                std::this_thread::sleep_for(std::chrono::milliseconds(2));
            } else {
                nIdle = 0;
            }
        }
        m_socket.non_blocking(false);
        return nTotal;
    }
    void ShutdownSend() { m_socket.shutdown(asio::ip::tcp::socket::shutdown_send); }
    void Reset()
    {
        m_socket.set_option(asio::socket_base::linger(true, 0));
        m_socket.close();
    }
    void Close() { m_socket.close(); }

private:
    asio::ip::tcp::socket m_socket;
};

class Server {
public:
    explicit Server(const std::string& strAddress = "127.0.0.1", int nBacklog = 64) : m_acceptor(m_context)
    {
        const asio::ip::tcp::endpoint endpoint(asio::ip::make_address(strAddress), 0);
        m_acceptor.open(endpoint.protocol());
        m_acceptor.bind(endpoint);
        m_acceptor.listen(nBacklog);
    }
    unsigned short Port() const { return m_acceptor.local_endpoint().port(); }
    Peer Accept() { return Peer(m_acceptor.accept()); }
    void Close() { m_acceptor.close(); }

private:
    asio::io_context m_context;
    asio::ip::tcp::acceptor m_acceptor;
};

// A pool, a connector on it, and a record of its callbacks. The work of a callback is given before
// Connect; without one a callback is recorded only. What the work uses is declared before the client,
// whose end waits for the callbacks.
class Client {
public:
    using Work = std::function<void(LinkHandle*)>;

    explicit Client(std::size_t nThreads = 4)
        : m_pPool(Kernova::ThreadPool::CreateHandle(nThreads)), m_pConnector(Connector::CreateHandle(m_pPool))
    {
        EXPECT_NE(nullptr, m_pPool);
        EXPECT_NE(nullptr, m_pConnector);
        Connector::SetOnConnected(m_pConnector, &Client::OnConnected, this);
        Connector::SetOnReceived(m_pConnector, &Client::OnReceived, this);
        Connector::SetOnDisconnected(m_pConnector, &Client::OnDisconnected, this);
        Connector::SetOnTimeout(m_pConnector, &Client::OnTimeout, this);
    }
    ~Client() { Destroy(); }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    bool Connect(unsigned short nPort, const std::string& strHost = "127.0.0.1", int nTimeout = 10'000)
    {
        return Connector::Connect(m_pConnector, strHost.c_str(), nPort, nTimeout);
    }
    void DestroyConnector()
    {
        Connector::DestroyHandle(m_pConnector);
        m_pConnector = nullptr;
    }
    void Destroy()
    {
        DestroyConnector();
        Kernova::ThreadPool::DestroyHandle(m_pPool);
        m_pPool = nullptr;
    }
    Connector::_THandle* Get() const { return m_pConnector; }
    Kernova::ThreadPool::_THandle* Pool() const { return m_pPool; }

    // The link at that place of the active list; null if there is none.
    LinkHandle* Active(std::size_t nIndex = 0) const
    {
        LinkHandle* pLink = nullptr;
        if (auto* const pList = Connector::LockActiveLinks(m_pConnector)) {
            pLink = Netrova::ActiveLinkList::GetLink(pList, nIndex);
            Connector::UnlockActiveLinks(m_pConnector);
        }
        return pLink;
    }

    std::vector<std::string> Events() const
    {
        const std::lock_guard lock(m_mutex);
        return m_vecEvents;
    }
    int Count(const std::string& strEvent) const
    {
        const std::lock_guard lock(m_mutex);
        return static_cast<int>(std::count(m_vecEvents.begin(), m_vecEvents.end(), strEvent));
    }
    bool WaitFor(const std::string& strEvent, int nCount = 1) const
    {
        return Eventually([&] { return Count(strEvent) >= nCount; });
    }

    // Whether a callback has begun is in the record; these run inside it.
    Work m_onConnected, m_onReceived, m_onDisconnected;

private:
    void Run(const char* pszEvent, const Work& work, LinkHandle* pLink)
    {
        {
            const std::lock_guard lock(m_mutex);
            m_vecEvents.emplace_back(pszEvent);
        }
        if (work)
            work(pLink);
    }
    static void OnConnected(Connector::_THandle*, LinkHandle* pLink, void* pContext)
    {
        auto* const pSelf = static_cast<Client*>(pContext);
        pSelf->Run("connected", pSelf->m_onConnected, pLink);
    }
    static void OnReceived(Connector::_THandle*, LinkHandle* pLink, void* pContext)
    {
        auto* const pSelf = static_cast<Client*>(pContext);
        pSelf->Run("received", pSelf->m_onReceived, pLink);
    }
    static void OnDisconnected(Connector::_THandle*, LinkHandle* pLink, void* pContext)
    {
        auto* const pSelf = static_cast<Client*>(pContext);
        pSelf->Run("disconnected", pSelf->m_onDisconnected, pLink);
    }
    static void OnTimeout(Connector::_THandle*, LinkHandle* pLink, void* pContext)
    {
        static_cast<Client*>(pContext)->Run("timeout", {}, pLink);
    }

    Kernova::ThreadPool::_THandle* m_pPool;
    Connector::_THandle* m_pConnector;
    mutable std::mutex m_mutex;
    std::vector<std::string> m_vecEvents;
};

// Sends the text; the number of bytes queued, or -1.
inline int Send(LinkHandle* pLink, const std::string& str)
{
    Strova::_THandle* const pStream = Strova::CreateHandle();
    Strova::Write(pStream, str.data(), static_cast<int>(str.size()));
    const int nResult = Link::Send(pLink, Strova::GetXMemory(pStream));
    Strova::DestroyHandle(pStream);
    return nResult;
}

// Takes everything out of the read stream.
inline std::string TakeAll(LinkHandle* pLink)
{
    std::string strResult;
    if (Strova::_THandle* const pStream = Link::LockReadStream(pLink)) {
        strResult.resize(static_cast<std::size_t>(Strova::GetLength(pStream)));
        Strova::Read(pStream, strResult.data(), static_cast<int>(strResult.size()));
        Link::UnlockReadStream(pLink);
    }
    return strResult;
}

// A door that callbacks wait at.
class Gate {
public:
    void Open() { m_bOpen.store(true); }
    void Wait() const
    {
        EXPECT_TRUE(Eventually([this] { return m_bOpen.load(); }));
    }

private:
    std::atomic<bool> m_bOpen{false};
};

}  // namespace Loopback
