// A bare user of Netrova, over any implementation of it.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "platform/Netrova.h"
#include "tests/platform/Waiting.h"

namespace NetClient {

namespace Connector = Netrova::Connector;
namespace Link = Netrova::Link;
using LinkHandle = Netrova::Link::_THandle;

// A pool, a connector on it, and a record of its callbacks. The work of a callback is given before
// Connect; without one a callback is recorded only. What the work uses is declared before the client,
// whose end waits for the callbacks.
class Client {
public:
    using Work = std::function<void(LinkHandle*)>;

    explicit Client(std::size_t nThreads = 4)
        : m_pPool(Kernova::ThreadPool::CreateHandle(nThreads)), m_pConnector(Connector::CreateHandle(m_pPool))
    {
        EXPECT_NE(nullptr, m_pConnector);
        Connector::SetOnConnected(m_pConnector, &On<&Client::m_onConnected>, this);
        Connector::SetOnReceived(m_pConnector, &On<&Client::m_onReceived>, this);
        Connector::SetOnDisconnected(m_pConnector, &On<&Client::m_onDisconnected>, this);
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
    template <auto kWork>
    static void On(Connector::_THandle*, LinkHandle* pLink, void* pContext)
    {
        auto* const pSelf = static_cast<Client*>(pContext);
        const Work& work = pSelf->*kWork;
        {
            const std::lock_guard lock(pSelf->m_mutex);
            pSelf->m_vecEvents.emplace_back(&work == &pSelf->m_onConnected  ? "connected"
                                            : &work == &pSelf->m_onReceived ? "received"
                                                                            : "disconnected");
        }
        if (work)
            work(pLink);
    }

    Kernova::ThreadPool::_THandle* m_pPool;
    Connector::_THandle* m_pConnector;
    mutable std::mutex m_mutex;
    std::vector<std::string> m_vecEvents;
};

// Sends the text, written in pieces; the number of bytes queued, or -1.
inline int Send(LinkHandle* pLink, const std::string& str)
{
    Strova::_THandle* const pStream = Strova::CreateHandle();
    constexpr std::size_t kPiece = 50'000;
    for (std::size_t n = 0; n < str.size(); n += kPiece)
        Strova::Write(pStream, str.data() + n, static_cast<int>(std::min(kPiece, str.size() - n)));
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

}  // namespace NetClient
