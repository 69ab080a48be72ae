#include "platform/common/NetLink.h"

#include <climits>
#include <exception>
#include <new>
#include <thread>
#include <utility>

#include "platform/Assertion.h"
#include "platform/common/LastError.h"
#include "platform/common/NetConnector.h"
#include "platform/common/XMemory.h"

namespace Netrova::Link {

using Kernova::Internal::MutexLock;
using Platova::FailWith;

namespace {

// What the buffer of received bytes keeps once it has been emptied.
constexpr std::size_t kKeptBytes = 64u << 10;

int FailWithoutMemory() { return FailWith(asio::error::no_memory); }

}  // namespace

std::shared_ptr<_THandle> _THandle::Create(Connector::_THandle& connector, Socket socket)
{
    auto pLink = std::make_shared<_THandle>(connector);
    auto pTransport = std::make_shared<Transport>(connector.GetContext(), std::move(socket), pLink);
    const MutexLock lock(pLink->m_mutex);
    pLink->m_queue.Open(pTransport);
    pLink->m_pTransport = std::move(pTransport);
    pLink->m_pSelf = pLink;
    return pLink;
}

_THandle::_THandle(Connector::_THandle& connector) : m_connector(connector), m_pStream(Strova::CreateHandle())
{
    if (m_pStream == nullptr)
        throw std::bad_alloc();
}

_THandle::~_THandle() { Strova::DestroyHandle(m_pStream); }

void _THandle::Abandon()
{
    m_queue.Shut();
    std::shared_ptr<Transport> pTransport;
    {
        const MutexLock lock(m_mutex);
        pTransport.swap(m_pTransport);
        m_bClosed = true;
    }
    Release();
}

int _THandle::AddRef() { return ++m_nRefs; }

int _THandle::Release()
{
    const int nRefs = --m_nRefs;
    if (nRefs == 0) {
        const std::shared_ptr<_THandle> pLast = std::move(m_pSelf);
        return 0;  // this object may be gone now
    }
    if (nRefs < 0)
        RaiseAssertion("[Netrova::Link] Released more often than referenced.");
    return nRefs;
}

bool _THandle::IsClosed()
{
    const MutexLock lock(m_mutex);
    return m_bClosed;
}

int _THandle::Send(Kernova::MemoryPool::_XMemory& memory)
{
    const bool bHold = m_connector.HoldsActiveLinks();
    const int nResult = m_queue.Accept(memory, bHold);
    if (nResult > 0 && !bHold)
        m_queue.Flush(m_queue.BeginWriting());
    return nResult;
}

// Where every caller has a processor of its own, the yield returns at once, and the callers write themselves.
void _THandle::EndGathering()
{
    if (m_queue.IsGathering())
        std::this_thread::yield();
    m_queue.Flush(m_queue.EndGathering());
}

Strova::_THandle* _THandle::LockReadStream()
{
    m_readLock.Lock();
    {
        const MutexLock lock(m_mutex);
        auto& memory = *Strova::GetXMemory(m_pStream);
        if (memory.GetLength() == 0)
            memory.SwapEmpty(m_vecPending);
        const int nCount = static_cast<int>(m_vecPending.size());
        if (Strova::Write(m_pStream, m_vecPending.data(), nCount) == nCount) {
            m_vecPending.clear();
            if (m_vecPending.capacity() > kKeptBytes)
                std::vector<char>().swap(m_vecPending);
            return m_pStream;
        }
    }
    // What has arrived stays where it is until there is memory again.
    m_readLock.Unlock();
    FailWithoutMemory();
    return nullptr;
}

bool _THandle::UnlockReadStream()
{
    if (m_readLock.Unlock())
        return true;
    FailWith(std::errc::operation_not_permitted);
    return false;
}

bool _THandle::Close()
{
    const MutexLock lock(m_mutex);
    if (m_bClosed) {
        FailWith(asio::error::not_connected);
        return false;
    }
    NoteEnd(End::ClosedHere, 0);
    m_pTransport->PostClose();
    m_queue.Close();
    m_bClosed = true;
    return true;
}

void _THandle::NoteEnd(End end, int nCode)
{
    std::uint64_t nNone = 0;
    const std::uint64_t nCodeBits = static_cast<std::uint32_t>(nCode);
    m_nEnd.compare_exchange_strong(nNone, nCodeBits << 32 | kEndNoted | static_cast<unsigned int>(end));
}

End _THandle::GetEnd(int& nCode) const
{
    const std::uint64_t nEnd = m_nEnd.load();
    nCode = static_cast<int>(nEnd >> 32);
    return static_cast<End>(nEnd & (kEndNoted - 1));
}

// ---- the order of the callbacks: connected, then received one at a time, and disconnected beside them ----

void _THandle::RunConnected()
{
    m_connector.RunCallback(Connector::Event::Connected, this);
    bool bReceived = false;
    bool bDisconnected = false;
    {
        const MutexLock lock(m_mutex);
        m_bConnectedReturned = true;
        bReceived = m_nCallbacksDue != 0;
        m_bDelivering = bReceived;
        bDisconnected = m_bLost;
    }
    if (bReceived)
        PostReceived();
    if (bDisconnected)
        PostDisconnected();
}

void _THandle::PostReceived()
{
    m_connector.Post([pSelf = shared_from_this()] { pSelf->RunReceived(); });
}

// One callback, then back to the end of the pool's queue: while one waits for its turn it occupies no
// thread, and the other links get theirs.
void _THandle::RunReceived()
{
    m_connector.RunCallback(Connector::Event::Received, this);
    {
        const MutexLock lock(m_mutex);
        --m_nCallbacksDue;
        m_bDelivering = m_nCallbacksDue != 0;
        if (!m_bDelivering)
            return;
    }
    PostReceived();
}

void _THandle::Lost()
{
    m_queue.Close();
    {
        const MutexLock lock(m_mutex);
        m_bClosed = true;
        if (m_bLost)
            return;
        m_bLost = true;
        if (!m_bConnectedReturned)
            return;
    }
    PostDisconnected();
}

void _THandle::PostDisconnected()
{
    m_connector.Post([pSelf = shared_from_this()] { pSelf->RunDisconnected(); });
}

void _THandle::RunDisconnected()
{
    m_connector.RemoveActive(this);
    m_connector.RunCallback(Connector::Event::Disconnected, this);
    Abandon();
}

}  // namespace Netrova::Link
