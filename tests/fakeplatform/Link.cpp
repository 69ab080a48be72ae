#include <algorithm>
#include <utility>

#include "tests/fakeplatform/Net.h"

namespace Netrova::Link {

namespace {
constexpr unsigned int kClosedCode = 10054;
constexpr unsigned int kFullCode = 10055;

bool SendIsLate()
{
    if (Kernova::ThreadPool::IsPoolThread())
        return false;
    const std::lock_guard lock(Fake::ConnectBehaviour().mutex);
    return Fake::ConnectBehaviour().bSendLate;
}

// Until more received callbacks than those have returned.
void WaitForReceived(_THandle& link, int nBefore)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(2);
    while (std::chrono::steady_clock::now() < end) {
        {
            const std::lock_guard lock(link.mutex);
            if (link.nReceived > nBefore || link.bClosed)
                return;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}
}  // namespace

_THandle::_THandle(Connector::_THandle* pOwner, std::shared_ptr<Fake::Inbox> pIn, int nNumber)
    : pConnector(pOwner), pInbox(std::move(pIn)), nConnection(nNumber)
{
    ++Fake::Counters().nLinks;
}

_THandle::~_THandle() { --Fake::Counters().nLinks; }

void _THandle::OnPeerBytes(const std::string& strBytes)
{
    const std::lock_guard lock(mutex);
    if (bClosed || bPeerClosed || strBytes.empty())
        return;
    deqIncoming.push_back(strBytes);
    Pump();
}

void _THandle::OnPeerClose(bool bAbruptly)
{
    const std::lock_guard lock(mutex);
    if (bClosed)
        return;
    bPeerClosed = true;
    if (bAbruptly)
        Close();
    else
        Pump();
}

void _THandle::OnTaken(std::size_t nBytes)
{
    const std::lock_guard lock(mutex);
    nQueued -= nBytes;
}

void _THandle::RunConnected()
{
    pConnector->Call(Connector::kConnected, this);
    const std::lock_guard lock(mutex);
    bConnected = true;
    if (bClosed)
        pConnector->Post([this] { RunDisconnected(); });
    else
        Pump();
}

void _THandle::Pump()
{
    if (!bConnected || bReceiving || bClosed)
        return;
    if (!deqIncoming.empty() && !deqCredits.empty()) {
        bReceiving = true;
        AddRef(this);
        pConnector->Post([this] { RunReceived(); });
    } else if (deqIncoming.empty() && bPeerClosed) {
        Close();
    }
}

void _THandle::RunReceived()
{
    std::string strChunk;
    {
        const std::lock_guard lock(mutex);
        if (!bClosed) {
            std::string& strFront = deqIncoming.front();
            strChunk = strFront.substr(0, static_cast<std::size_t>(deqCredits.front()));
            strFront.erase(0, strChunk.size());
            if (strFront.empty())
                deqIncoming.pop_front();
            deqCredits.pop_front();
        }
    }
    if (!strChunk.empty()) {
        Fake::WaitUntilNobodyIsBetween();
        {
            const std::lock_guard lock(streamMutex);
            stream.strBytes += strChunk;
        }
        pConnector->Call(Connector::kReceived, this);
    }
    {
        const std::lock_guard lock(mutex);
        bReceiving = false;
        nReceived += !strChunk.empty();
        Pump();
    }
    Release(this);
}

bool _THandle::BeginClose()
{
    const std::lock_guard lock(mutex);
    if (bClosed)
        return false;
    Close();
    return true;
}

void _THandle::Close()
{
    bClosed = true;
    deqIncoming.clear();
    deqCredits.clear();
    pInbox->Post(Fake::Inbox::What::Closed, nConnection);
    if (bConnected)
        pConnector->Post([this] { RunDisconnected(); });
}

void _THandle::RunDisconnected()
{
    Connector::_THandle& owner = *pConnector;
    {
        const std::lock_guard lock(owner.active.mutex);
        std::erase(owner.active.vecLinks, this);
    }
    owner.Call(Connector::kDisconnected, this);
    Release(this);
    const std::lock_guard lock(owner.mutex);
    --owner.nLinks;
    owner.cond.notify_all();
}

int AddRef(_THandle* pLink) { return ++pLink->nReferences; }

int Release(_THandle* pLink)
{
    const int nLeft = --pLink->nReferences;
    if (nLeft == 0)
        delete pLink;
    return nLeft;
}

int Send(_THandle* pLink, Kernova::MemoryPool::_XMemory* const pMemory)
{
    Strova::_THandle& stream = *pMemory->pStream;
    const std::string strBytes = stream.strBytes.substr(stream.nFront);
    if (std::exchange(stream.bSent, true))
        Fake::Violation("A stream is sent twice");
    if (Fake::MustFail(Fake::Op::LinkSend))
        return -1;
    const bool bLate = SendIsLate();
    int nReceived = 0;
    {
        const std::lock_guard lock(pLink->mutex);
        if (pLink->bClosed || pLink->nQueued > kMaxQueuedBytes) {
            Fake::SetLastError(pLink->bClosed ? kClosedCode : kFullCode);
            return -1;
        }
        pLink->nQueued += strBytes.size();
        nReceived = pLink->nReceived + (pLink->bReceiving ? 1 : 0);  // one may be about to return
        if (!bLate)
            Fake::ThisThreadHasSent();
        pLink->pInbox->Post(Fake::Inbox::What::Bytes, pLink->nConnection, strBytes);
    }
    if (bLate)
        WaitForReceived(*pLink, nReceived);
    return static_cast<int>(strBytes.size());
}

int Recv(_THandle* pLink, int size)
{
    if (Fake::MustFail(Fake::Op::LinkRecv))
        return -1;
    const std::lock_guard lock(pLink->mutex);
    if (pLink->bClosed || size < 1) {
        Fake::SetLastError(kClosedCode);
        return -1;
    }
    pLink->deqCredits.push_back(size);
    pLink->Pump();
    return 0;
}

Strova::_THandle* LockReadStream(_THandle* pLink)
{
    if (Fake::MustFail(Fake::Op::LockReadStream))
        return nullptr;
    pLink->streamMutex.lock();
    return &pLink->stream;
}

bool UnlockReadStream(_THandle* pLink)
{
    pLink->streamMutex.unlock();
    return true;
}

bool Close(_THandle* pLink) { return pLink->BeginClose(); }

}  // namespace Netrova::Link
