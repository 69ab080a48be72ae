#include "platform/common/NetConnector.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <utility>

#include "platform/Assertion.h"
#include "platform/common/EventLoop.h"
#include "platform/common/LastError.h"
#include "platform/common/NetLink.h"

namespace Netrova::Connector {

using Kernova::Internal::MutexLock;
using Kernova::Internal::OwnedLockScope;

namespace {

bool Fail(const std::error_code& code)
{
    Platova::FailWith(code);
    return false;
}

}  // namespace

_THandle::_THandle(Kernova::ThreadPool::_THandle& pool)
    : m_pWork(std::make_unique<asio::executor_work_guard<asio::io_context::executor_type>>(
          m_context.get_executor())),
      m_pool(pool)
{
}

bool _THandle::Start()
{
    MakeEventLoop(m_context);
    m_pListGate->Open();
    return m_pool.Attach(*this) || Fail(asio::error::no_buffer_space);
}

void _THandle::AbortConnects()
{
    const MutexLock lock(m_mutex);
    m_bStopping = true;
    for (const auto& pCall : m_vecCalls)
        pCall->Abort();
}

bool _THandle::Stop()
{
    m_pListGate->Close();
    AbortConnects();
    {
        const MutexLock lock(m_mutex);
        if (m_context.get_executor().running_in_this_thread())
            return false;
        while (!m_vecCalls.empty())
            m_cond.wait(m_mutex);
    }
    CloseLinks();
    // The closed links come to their end, and with the last handler the context runs out of work.
    m_pWork.reset();
    m_pool.Detach(*this);
    m_pListGate->CloseAndWait();
    return true;
}

void _THandle::CloseLinks()
{
    const OwnedLockScope scope(m_activeLock);
    for (const auto& pLink : m_active.m_vecLinks)
        pLink->Close();
}

void _THandle::Run()
{
    for (;;) {
        try {
            m_context.run();
            return;
        } catch (...) {  // only what a handler of this library has let through for want of memory
            RaiseAssertion("[Netrova::Connector] A handler has thrown.");
        }
    }
}

void _THandle::SetCallback(Event event, Callback pfnCallback, void* pContext)
{
    const MutexLock lock(m_mutex);
    m_arrCallbacks[static_cast<std::size_t>(event)] = CallbackSlot{pfnCallback, pContext};
}

void _THandle::RunCallback(Event event, Link::_THandle* pLink)
{
    CallbackSlot slot;
    {
        const MutexLock lock(m_mutex);
        slot = m_arrCallbacks[static_cast<std::size_t>(event)];
    }
    if (slot.pfnCallback == nullptr)
        return;
    m_nCalling.fetch_add(1);
    try {
        slot.pfnCallback(this, pLink, slot.pContext);
    } catch (...) {
        RaiseAssertion("[Netrova::Connector] A callback has thrown.");
    }
    m_nCalling.fetch_sub(1);
}

bool _THandle::Connect(const char* pszHost, unsigned short nPort, int nTimeoutMilliseconds)
{
    try {
        const auto pCall = std::make_shared<ConnectCall>(
            Clock::now() + std::chrono::milliseconds(std::max(0, nTimeoutMilliseconds)));
        const std::string strHost = pszHost;
        {
            const MutexLock lock(m_mutex);
            if (m_bStopping)
                return Fail(asio::error::operation_aborted);
            m_vecCalls.push_back(pCall);
        }
        std::error_code failed;
        try {
            failed = Establish(pCall, strHost, nPort);
        } catch (const std::exception&) {  // no memory, or no thread
            failed = asio::error::no_memory;
        }
        if (failed)
            Fail(failed);
        const MutexLock lock(m_mutex);
        m_vecCalls.erase(std::find(m_vecCalls.begin(), m_vecCalls.end(), pCall));
        m_cond.notify_all();
        return !failed;
    } catch (const std::exception&) {
        return Fail(asio::error::no_memory);
    }
}

std::error_code _THandle::Establish(const std::shared_ptr<ConnectCall>& pCall, const std::string& strHost,
                                    unsigned short nPort)
{
    std::vector<Endpoint> vecEndpoints;
    std::error_code failed = FindEndpoints(pCall, strHost, nPort, vecEndpoints);
    if (failed)
        return failed;
    Socket socket(m_context);
    failed = Dial(pCall, m_context, vecEndpoints, socket);
    if (!failed)
        AddActive(std::move(socket));
    return failed;
}

// The link is in the list before its connected callback, which may already send through the list.
void _THandle::AddActive(Socket socket)
{
    const std::shared_ptr<Link::_THandle> pLink = Link::_THandle::Create(*this, std::move(socket));
    try {
        const OwnedLockScope scope(m_activeLock);
        m_active.m_vecLinks.reserve(m_active.m_vecLinks.size() + 1);
        asio::post(m_context, [pLink] { pLink->RunConnected(); });
        m_active.m_vecLinks.push_back(pLink);
    } catch (const std::exception&) {
        pLink->Abandon();
        throw;
    }
}

void _THandle::RemoveActive(Link::_THandle* pLink)
{
    const OwnedLockScope scope(m_activeLock);
    std::erase_if(m_active.m_vecLinks, [pLink](const auto& pOther) { return pOther.get() == pLink; });
}

ActiveLinkList::_THandle* _THandle::LockActiveLinks()
{
    if (!m_pListGate->Enter()) {
        Fail(asio::error::shut_down);
        return nullptr;
    }
    m_activeLock.Lock();
    return &m_active;
}

// What the holder has sent is written behind the lock, so that the next sender may build meanwhile.
bool _THandle::UnlockActiveLinks()
{
    if (!m_activeLock.IsMine())
        return Fail(std::make_error_code(std::errc::operation_not_permitted));
    const auto pGate = m_pListGate;
    std::shared_ptr<Link::_THandle> pLast;
    Transport* pTransport = nullptr;
    for (const auto& pLink : m_active.m_vecLinks) {
        Transport* const pNext = pLink->GetSendQueue().Release();
        if (pNext == nullptr)
            continue;
        if (pLast)
            pLast->GetSendQueue().Flush(pTransport);
        pLast = pLink;
        pTransport = pNext;
    }
    m_activeLock.Unlock();
    if (pLast)
        pLast->GetSendQueue().Flush(pTransport);
    pGate->Leave();
    return true;
}

bool _THandle::LendThread()
{
    const int nWorkers = static_cast<int>(m_pool.GetSize());
    int nLent = m_nLent.load();
    while (nLent + 1 < nWorkers && m_nCalling.load() < nWorkers - 1) {
        if (m_nLent.compare_exchange_weak(nLent, nLent + 1))
            return true;
    }
    return false;
}

}  // namespace Netrova::Connector
