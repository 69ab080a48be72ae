// A bare user of Netrova for the tests of the fake: notes its callbacks and leaves credits to the test.
#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "platform/Netrova.h"
#include "tests/support/Transport.h"

class Client {
public:
    Client()
        : m_pPool(Kernova::ThreadPool::CreateHandle(4)),
          m_pConnector(Netrova::Connector::CreateHandle(m_pPool))
    {
        Netrova::Connector::SetOnConnected(m_pConnector, &OnConnected, this);
        Netrova::Connector::SetOnReceived(m_pConnector, &OnReceived, this);
        Netrova::Connector::SetOnDisconnected(m_pConnector, &OnDisconnected, this);
    }
    ~Client()
    {
        Netrova::Connector::DestroyHandle(m_pConnector);
        for (Netrova::Link::_THandle* const pLink : m_vecLinks)
            Netrova::Link::Release(pLink);
        Kernova::ThreadPool::DestroyHandle(m_pPool);
    }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    bool Connect(unsigned short nPort)
    {
        return Netrova::Connector::Connect(m_pConnector, "peer", nPort, 5000);
    }
    // The newest link; waits for the connected callback.
    Netrova::Link::_THandle* Link()
    {
        WaitFor("connected");
        const std::lock_guard lock(m_mutex);
        return m_vecLinks.back();
    }
    int Send(const std::string& strBytes)
    {
        Strova::_THandle* const pStream = Strova::CreateHandle();
        Strova::Write(pStream, strBytes.data(), static_cast<int>(strBytes.size()));
        const int nResult = Netrova::Link::Send(Link(), Strova::GetXMemory(pStream));
        Strova::DestroyHandle(pStream);
        return nResult;
    }
    void Credit(int nSize) { Netrova::Link::Recv(Link(), nSize); }

    // Callbacks so far, a received one with all that is in the stream: "connected", "received ab".
    std::vector<std::string> Log()
    {
        const std::lock_guard lock(m_mutex);
        return m_vecLog;
    }
    bool WaitFor(const std::string& strEntry, int nTimes = 1)
    {
        std::unique_lock lock(m_mutex);
        return m_cond.wait_for(lock, std::chrono::seconds(20), [&] {
            return std::count(m_vecLog.begin(), m_vecLog.end(), strEntry) >= nTimes;
        });
    }
    std::function<void()> onReceived = [] {};  // set before Connect

private:
    static Client& Self(void* pContext) { return *static_cast<Client*>(pContext); }
    void Note(const std::string& strEntry)
    {
        const std::lock_guard lock(m_mutex);
        m_vecLog.push_back(strEntry);
        m_cond.notify_all();
    }
    static void OnConnected(Netrova::Connector::_THandle*, Netrova::Link::_THandle* pLink, void* pContext)
    {
        Netrova::Link::AddRef(pLink);
        {
            const std::lock_guard lock(Self(pContext).m_mutex);
            Self(pContext).m_vecLinks.push_back(pLink);
        }
        Self(pContext).Note("connected");
    }
    static void OnReceived(Netrova::Connector::_THandle*, Netrova::Link::_THandle* pLink, void* pContext)
    {
        Strova::_THandle* const pStream = Netrova::Link::LockReadStream(pLink);
        std::string strBytes(static_cast<std::size_t>(Strova::GetLength(pStream)), '\0');
        Strova::Read(pStream, strBytes.data(), static_cast<int>(strBytes.size()));
        Netrova::Link::UnlockReadStream(pLink);
        Self(pContext).Note("received " + strBytes);
        Self(pContext).onReceived();
    }
    static void OnDisconnected(Netrova::Connector::_THandle*, Netrova::Link::_THandle*, void* pContext)
    {
        Self(pContext).Note("disconnected");
    }

    std::mutex m_mutex;
    std::condition_variable m_cond;
    std::vector<std::string> m_vecLog;
    std::vector<Netrova::Link::_THandle*> m_vecLinks;  // with a reference each
    Kernova::ThreadPool::_THandle* const m_pPool;
    Netrova::Connector::_THandle* const m_pConnector;
};

// A peer that notes what it is told.
class NotingSink final : public Support::Transport::Sink {
public:
    void OnOpen(int nConnection) override { Note("open " + std::to_string(nConnection)); }
    void OnBytes(int, std::string strBytes) override { Note("bytes " + strBytes); }
    void OnClose(int nConnection) override { Note("close " + std::to_string(nConnection)); }

    std::vector<std::string> Log()
    {
        const std::lock_guard lock(m_mutex);
        return m_vecLog;
    }
    void WaitFor(const std::string& strEntry, int nTimes = 1)
    {
        std::unique_lock lock(m_mutex);
        m_cond.wait(lock, [&] { return std::count(m_vecLog.begin(), m_vecLog.end(), strEntry) >= nTimes; });
    }

private:
    void Note(const std::string& strEntry)
    {
        const std::lock_guard lock(m_mutex);
        m_vecLog.push_back(strEntry);
        m_cond.notify_all();
    }
    std::mutex m_mutex;
    std::condition_variable m_cond;
    std::vector<std::string> m_vecLog;
};
