#include "tests/fakeplatform/Net.h"

namespace Netrova::Connector {

using Fake::MustFail;
using Fake::Op;

void _THandle::Call(Slot slot, Link::_THandle* pLink)
{
    Target target;
    {
        const std::lock_guard lock(mutex);
        target = targets[slot];
    }
    if (target.pfn != nullptr)
        target.pfn(this, pLink, target.pContext);
}

void _THandle::Post(std::function<void()> task)
{
    {
        const std::lock_guard lock(mutex);
        ++nTasks;
    }
    pPool->Post([this, task = std::move(task)] {
        task();
        const std::lock_guard lock(mutex);
        --nTasks;
        cond.notify_all();
    });
}

namespace {

bool SetTarget(_THandle* pConnector, Slot slot, Op op, Callback pfn, void* pContext)
{
    if (MustFail(op))
        return false;
    const std::lock_guard lock(pConnector->mutex);
    pConnector->targets[slot] = {pfn, pContext};
    return true;
}

// Whether the blocking that is ordered ends before the time is over.
bool WaitUntilUnblocked(_THandle& connector, int nTimeout)
{
    Fake::ConnectOrders& orders = Fake::ConnectBehaviour();
    std::unique_lock lock(orders.mutex);
    const auto ends = [&] {
        const std::lock_guard inner(connector.mutex);
        return !orders.bBlock || connector.bEnding;
    };
    return Fake::WaitBySystemClock(orders.cond, lock, static_cast<unsigned int>(nTimeout), ends);
}

// Opens a connection to whoever listens; null if nobody does.
Link::_THandle* Open(_THandle& connector, unsigned short nPort)
{
    const auto pInbox = Fake::FindListener(nPort);
    if (!pInbox)
        return nullptr;
    Link::_THandle* pLink = nullptr;
    {
        const std::lock_guard lock(pInbox->mutex);
        if (!pInbox->bAccept || pInbox->bEnd)
            return nullptr;
        pLink = new Link::_THandle(&connector, pInbox, ++pInbox->nLastConnection);
        pInbox->mapLinks[pLink->nConnection] = pLink;
    }
    Link::AddRef(pLink);  // for the map
    return pLink;
}

bool ConnectInside(_THandle& connector, unsigned short nPort, int nTimeout)
{
    if (!WaitUntilUnblocked(connector, nTimeout)) {
        Fake::SetLastError(Fake::kTimedOutCode);
        return false;
    }
    {
        const std::lock_guard lock(connector.mutex);
        if (connector.bEnding)
            return false;
    }
    Link::_THandle* const pLink = Open(connector, nPort);
    if (pLink == nullptr) {
        Fake::SetLastError(Fake::kRefusedCode);
        return false;
    }
    {
        const std::lock_guard lock(connector.mutex);
        ++connector.nLinks;
    }
    {
        const std::lock_guard lock(connector.active.mutex);
        connector.active.vecLinks.push_back(pLink);
    }
    pLink->pInbox->Post(Fake::Inbox::What::Opened, pLink->nConnection);
    Link::AddRef(pLink);  // for the wait below
    Link::AddRef(pLink);  // for the callback: another thread may close the link and end it meanwhile
    connector.Post([pLink] {
        pLink->RunConnected();
        Link::Release(pLink);
    });
    bool bLate = false;
    {
        Fake::ConnectOrders& orders = Fake::ConnectBehaviour();
        const std::lock_guard lock(orders.mutex);
        bLate = orders.bLate;
    }
    const auto connected = [pLink] {
        const std::lock_guard lock(pLink->mutex);
        return pLink->bConnected;
    };
    while (bLate && !connected())
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    Link::Release(pLink);
    return true;
}

}  // namespace

_THandle* CreateHandle(Kernova::ThreadPool::_THandle* pool)
{
    if (MustFail(Op::ConnectorCreate))
        return nullptr;
    if (pool == nullptr) {
        Fake::SetLastError(Fake::kInvalidCode);
        return nullptr;
    }
    auto* const pConnector = new _THandle;
    pConnector->pPool = pool;
    ++pool->nConnectors;
    ++Fake::Counters().nConnectors;
    return pConnector;
}

void DestroyHandle(_THandle* pConnector)
{
    if (pConnector == nullptr)
        return;
    {
        const std::lock_guard lock(pConnector->mutex);
        pConnector->bEnding = true;
    }
    {
        std::unique_lock lock(pConnector->mutex);
        pConnector->cond.wait(lock, [&] { return pConnector->nConnecting == 0; });
    }
    {
        const std::lock_guard lock(pConnector->active.mutex);
        for (Link::_THandle* const pLink : pConnector->active.vecLinks)
            pLink->BeginClose();
    }
    {
        std::unique_lock lock(pConnector->mutex);
        pConnector->cond.wait(lock, [&] { return pConnector->nTasks == 0 && pConnector->nLinks == 0; });
    }
    --pConnector->pPool->nConnectors;
    delete pConnector;
    --Fake::Counters().nConnectors;
}

bool SetOnConnected(_THandle* pConnector, Callback pfn, void* context)
{
    return SetTarget(pConnector, kConnected, Op::SetOnConnected, pfn, context);
}

bool SetOnDisconnected(_THandle* pConnector, Callback pfn, void* context)
{
    return SetTarget(pConnector, kDisconnected, Op::SetOnDisconnected, pfn, context);
}

bool SetOnTimeout(_THandle* pConnector, Callback pfn, void* context)
{
    return SetTarget(pConnector, kTimeout, Op::SetOnTimeout, pfn, context);
}

bool SetOnReceived(_THandle* pConnector, Callback pfn, void* context)
{
    return SetTarget(pConnector, kReceived, Op::SetOnReceived, pfn, context);
}

bool Connect(_THandle* pConnector, const char*, unsigned short port, int timeoutMilliseconds)
{
    if (MustFail(Op::Connect))
        return false;
    {
        const std::lock_guard lock(pConnector->mutex);
        if (pConnector->bEnding)
            return false;
        ++pConnector->nConnecting;
    }
    const bool bResult = ConnectInside(*pConnector, port, timeoutMilliseconds);
    const std::lock_guard lock(pConnector->mutex);
    --pConnector->nConnecting;
    pConnector->cond.notify_all();
    return bResult;
}

ActiveLinkList::_THandle* LockActiveLinks(_THandle* pConnector)
{
    if (MustFail(Op::LockActiveLinks))
        return nullptr;
    pConnector->active.mutex.lock();
    return &pConnector->active;
}

bool UnlockActiveLinks(_THandle* pConnector)
{
    pConnector->active.mutex.unlock();
    return true;
}

}  // namespace Netrova::Connector

namespace Netrova::ActiveLinkList {

Link::_THandle* GetLink(_THandle* pList, std::size_t index)
{
    if (Fake::MustFail(Fake::Op::GetLink) || index >= pList->vecLinks.size())
        return nullptr;
    return pList->vecLinks[index];
}

}  // namespace Netrova::ActiveLinkList

namespace Fake {

ConnectOrders& ConnectBehaviour()
{
    static ConnectOrders* const s_pOrders = new ConnectOrders;
    return *s_pOrders;
}

void BlockConnect(bool bBlock)
{
    const std::lock_guard lock(ConnectBehaviour().mutex);
    ConnectBehaviour().bBlock = bBlock;
    ConnectBehaviour().cond.notify_all();
}

void ConnectReturnsLate(bool bLate)
{
    const std::lock_guard lock(ConnectBehaviour().mutex);
    ConnectBehaviour().bLate = bLate;
}

void SendReturnsLate(bool bLate)
{
    const std::lock_guard lock(ConnectBehaviour().mutex);
    ConnectBehaviour().bSendLate = bLate;
}

}  // namespace Fake
