// A connector: the I/O context, its place in the pool, the list of live links and the callbacks.
#pragma once

#include <array>
#include <asio.hpp>
#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "platform/Netrova.h"
#include "platform/common/Mutex.h"
#include "platform/common/NetConnectCall.h"
#include "platform/common/OwnedLock.h"
#include "platform/common/ThreadPool.h"

struct Netrova::ActiveLinkList::_THandle {
    std::vector<std::shared_ptr<Netrova::Link::_THandle>> m_vecLinks;
};

namespace Netrova::Connector {

enum class Event { Connected, Disconnected, Timeout, Received };

struct _THandle final : private Kernova::ThreadPool::IWork {
    explicit _THandle(Kernova::ThreadPool::_THandle& pool);
    ~_THandle() = default;  // after Stop, or if Start has failed
    _THandle(const _THandle&) = delete;
    _THandle& operator=(const _THandle&) = delete;

    bool Start();  // throws std::system_error and std::bad_alloc
    // Returns when nothing of this connector runs any more; false if that cannot come about because the
    // caller is one of its callbacks.
    bool Stop();

    // ---- the operations of the contract ----
    void SetCallback(Event event, Callback pfnCallback, void* pContext);
    bool Connect(const char* pszHost, unsigned short nPort, int nTimeoutMilliseconds);
    void AbortConnects();
    ActiveLinkList::_THandle* LockActiveLinks();
    bool UnlockActiveLinks();

    // ---- for the links ----
    asio::io_context& GetContext() { return m_context; }
    void RunCallback(Event event, Link::_THandle* pLink);
    void RemoveActive(Link::_THandle* pLink);
    bool HoldsActiveLinks() const { return m_activeLock.IsMine(); }
    // Whether a worker may block in a receive. One worker at least stays free for everything else, counting
    // out those inside callbacks. ThreadIsBack follows, on that worker.
    bool LendThread();
    void ThreadIsBack() { m_nLent.fetch_sub(1); }
    // Lets a pool thread run it; the calling thread does so where there is no memory to remember it.
    template <class Job>
    void Post(Job job)
    {
        try {
            asio::post(m_context, job);
        } catch (const std::exception&) {
            job();
        }
    }

private:
    struct CallbackSlot {
        Callback pfnCallback = nullptr;
        void* pContext = nullptr;
    };

    void Run() override;
    std::error_code Establish(const std::shared_ptr<ConnectCall>& pCall, const std::string& strHost,
                              unsigned short nPort);
    void AddActive(Socket socket);
    void CloseLinks();

    asio::io_context m_context;  // goes last: sockets and timers belong to it
    std::unique_ptr<asio::executor_work_guard<asio::io_context::executor_type>> m_pWork;
    Kernova::ThreadPool::_THandle& m_pool;
    std::atomic<int> m_nLent{0};     // workers in the hands of readers
    std::atomic<int> m_nCalling{0};  // workers inside a callback, lent ones too

    Kernova::Internal::OwnedLock m_activeLock{Kernova::Threading::LockRank::ActiveLinks};  // guards the list
    ActiveLinkList::_THandle m_active;
    // For those who hold the list or wait for it. The last one may still be leaving when the connector goes.
    const std::shared_ptr<Kernova::XTL::UseGate> m_pListGate = std::make_shared<Kernova::XTL::UseGate>();

    Kernova::Internal::Mutex m_mutex;
    std::condition_variable_any m_cond;            // a Connect or a user of the list has gone
    bool m_bStopping GUARDED_BY(m_mutex) = false;  // refuses Connect
    std::vector<std::shared_ptr<ConnectCall>> m_vecCalls GUARDED_BY(m_mutex);
    std::array<CallbackSlot, 4> m_arrCallbacks GUARDED_BY(m_mutex);
};

}  // namespace Netrova::Connector
