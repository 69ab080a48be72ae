// The connector's callbacks and the way out of every message.
#include <exception>
#include <utility>

#include "base/LastErrorCode.h"
#include "base/Logger.h"
#include "base/ModuleFlags.h"
#include "comm/CommHandler.h"
#include "comm/FirstConnectWait.h"
#include "comm/FrameLoop.h"
#include "comm/WakeBatch.h"
#include "session/ChargeGen.h"
#include "session/FailedCheckOutVector.h"

using Kernova::XTL::ScopedLock;
using Kernova::XTL::UseScope;

namespace {

constexpr int kRecvSize = 64 << 10;  // bytes asked for at a time
constexpr int kRecvsOutstanding = 2;

struct ActiveLinks {
    explicit ActiveLinks(Netrova::Connector::_THandle* p)
        : pConnector(p), pList(Netrova::Connector::LockActiveLinks(p))
    {
    }
    ~ActiveLinks()
    {
        if (pList != nullptr)
            Netrova::Connector::UnlockActiveLinks(pConnector);
    }
    ActiveLinks(const ActiveLinks&) = delete;
    ActiveLinks& operator=(const ActiveLinks&) = delete;

    Netrova::Connector::_THandle* const pConnector;
    Netrova::ActiveLinkList::_THandle* const pList;
};

struct OutStream {
    OutStream() : p(Strova::CreateHandle()) {}
    ~OutStream()
    {
        if (p != nullptr)
            Strova::DestroyHandle(p);
    }
    OutStream(const OutStream&) = delete;
    OutStream& operator=(const OutStream&) = delete;

    Strova::_THandle* const p;
};

}  // namespace

void CCommHandler::OnConnected(Netrova::Connector::_THandle*, Netrova::Link::_THandle* pLink, void*)
{
    auto& self = CommHandler();
    Log::Info("[Comm Handler] Velkar connector is connected to Velkar server.");
    LinkWatch().OnConnected();
    Netrova::Link::AddRef(pLink);
    FirstConnectWait().SetLink(pLink);
    self.m_nReads.store(kRecvsOutstanding);
    self.m_pLink.store(pLink);
    bool bSent = false;
    try {
        bSent = self.Register();
    } catch (const std::exception&) {  // out of memory
    }
    if (!bSent) {
        Log::ErrorFmt("[Comm Handler] Failed to send a 'XC2S_VelkarConnectReq' msg. [Error code: %d]",
                      LastErrorCode());
        return;
    }
    for (int i = 0; i < kRecvsOutstanding; ++i) {
        if (Netrova::Link::Recv(pLink, kRecvSize) == -1)
            self.LoseRead(pLink);
    }
}

// A receive that could not be asked for again is gone. A link without any receive would stay up and deaf, so
// it is closed, and the reconnection begins.
void CCommHandler::LoseRead(Netrova::Link::_THandle* pLink)
{
    if (m_pLink.load() == pLink && --m_nReads == 0)
        Netrova::Link::Close(pLink);
}

// Takes the connection into use. The active links stay locked meanwhile, so that the registration is the
// first message on the link, whoever is waiting to send.
bool CCommHandler::Register()
{
    const UseScope use(m_gateConnector);
    if (!use)
        return false;
    const ActiveLinks first(m_pConnector.load());
    m_bConnected.store(true);
    m_bFirstConnect.store(false);
    ResetWake(m_wakeHeartbeat);
    m_wakeReconnect.Set();
    ChargeGen().SetDisconnected(false);
    if (!m_bHandlersRegistered.load()) {
        Wirova::CMsgHandlerTable table;
        m_pfnRegisterHandlers.load()(table);
        m_table = std::move(table);  // a whole table or none
        m_bHandlersRegistered.store(true);
    }
    _CONNECTOR_ID id;
    {
        const ScopedLock lock(m_lockSettings);
        id = m_id;
    }
    Log::InfoFmt("[Comm Handler] Add connector GID: %s, SID: %s, WID: %s", id.GID, id.SID, id.WID);
    return SendMessage<XC2S_VelkarConnectReq>(id);
}

void CCommHandler::OnDisconnected(Netrova::Connector::_THandle*, Netrova::Link::_THandle* pLink, void*)
{
    auto& self = CommHandler();
    Log::Info("[Comm Handler] Connection to Velkar server is disconnected.");
    int nCode = 0;
    const auto end = Netrova::Link::GetEnd(pLink, nCode);
    LinkWatch().OnDisconnected(self.m_pRegistered.load() == pLink, end, nCode);
    // The link has left the active links, so no sender adds to its checkouts any more.
    FailedCheckOutVector().OnLinkLost();
    if (Netrova::Link::_THandle* pMine = pLink; self.m_pLink.compare_exchange_strong(pMine, nullptr))
        self.m_pRegistered.store(nullptr);
    Netrova::Link::Release(pLink);
    // Once the connected flag is clear, the comm thread may connect again at any moment: what the next
    // connected callback sets is not touched behind it.
    ChargeGen().SetDisconnected(true);
    self.ResetWake(self.m_wakeReconnect);
    self.m_bConnected.store(false);
    self.m_wakeHeartbeat.Set();
}

void CCommHandler::OnTimeout(Netrova::Connector::_THandle*, Netrova::Link::_THandle*, void*) {}

void CCommHandler::OnReceived(Netrova::Connector::_THandle*, Netrova::Link::_THandle* pLink, void*)
{
    auto& self = CommHandler();
    Log::Info("[Comm Handler] Msg from a Velkar server is received.");
    Strova::_THandle* const pStream = Netrova::Link::LockReadStream(pLink);
    if (pStream == nullptr) {
        Log::ErrorFmt("[Comm Handler] Failed to get a recv stream. [Error code: %d]", LastErrorCode());
        self.LoseRead(pLink);
        return;
    }
    bool bGoOn = false;
    {
        const WakeBatch wakes(pLink);
        bGoOn = HandleFrames(self.m_table, pStream, pLink);
    }
    Netrova::Link::UnlockReadStream(pLink);
    if (bGoOn) {
        if (Netrova::Link::Recv(pLink, kRecvSize) == -1)
            self.LoseRead(pLink);
        return;
    }
    Log::Error("[Comm Handler] The recv stream holds no msg of the protocol. The link is closed.");
    Netrova::Link::Close(pLink);
}

void CCommHandler::CloseActiveLink()
{
    const UseScope use(m_gateConnector);
    if (!use)
        return;
    const ActiveLinks links(m_pConnector.load());
    if (links.pList == nullptr)
        return;
    if (Netrova::Link::_THandle* const pLink = Netrova::ActiveLinkList::GetLink(links.pList, 0))
        Netrova::Link::Close(pLink);
}

bool CCommHandler::RunWithActiveLink(void (*pfnWork)(void* pWork), void* pWork)
{
    const UseScope use(m_gateConnector);
    if (!use || !m_bConnected.load())
        return false;
    const ActiveLinks links(m_pConnector.load());
    if (links.pList == nullptr || Netrova::ActiveLinkList::GetLink(links.pList, 0) == nullptr)
        return false;
    pfnWork(pWork);
    return true;
}

bool CCommHandler::SendBuilt(const Send& send)
{
    WakeBatch::WakeNow();  // the list may be held for as long as a callback of the game takes
    const bool bSent = SendIfConnected(send);
    if (!bSent && IsCounting().load(std::memory_order_relaxed))
        MessageCounts::Add(send.counts.nRefused);
    return bSent;
}

bool CCommHandler::SendIfConnected(const Send& send)
{
    const UseScope use(m_gateConnector);
    const bool bAlive = send.terms.nLife == 0 || send.terms.nLife == ModuleLife::Current();
    if (!use || !bAlive || !m_bConnected.load()) {
        Log::Error("[Comm Handler] Failed to send a request because connection is closed.");
        return false;
    }
    return SendOnLink(send);
}

bool CCommHandler::SendOnLink(const Send& send)
{
    const ActiveLinks links(m_pConnector.load());
    if (links.pList == nullptr) {
        Log::ErrorFmt("[Comm Handler] Failed to get active link list for request. [Error code: %d]",
                      LastErrorCode());
        return false;
    }
    Netrova::Link::_THandle* const pLink = Netrova::ActiveLinkList::GetLink(links.pList, 0);
    if (pLink == nullptr || (send.terms.pLink != nullptr && send.terms.pLink != pLink)) {
        Log::ErrorFmt("[Comm Handler] Failed to get an active link for request. [Error code: %d]",
                      LastErrorCode());
        return false;
    }
    if (send.terms.pbAllLeft != nullptr)
        *send.terms.pbAllLeft = Netrova::Link::HasSentAll(pLink);
    const OutStream stream;
    if (stream.p == nullptr) {
        Log::ErrorFmt("[Comm Handler] Failed to make stream for request. [Error code: %d]", LastErrorCode());
        return false;
    }
    const Built built = send.pfnBuild(send.pBuild, stream.p);
    if (built != Built::Ready)
        return built == Built::Nothing;
    if (Netrova::Link::Send(pLink, Strova::GetXMemory(stream.p)) == -1) {
        Log::ErrorFmt("[Comm Handler] Failed to send a request msg. [Error code: %d]", LastErrorCode());
        return false;
    }
    if (IsCounting().load(std::memory_order_relaxed))
        MessageCounts::Add(send.counts.nSent);
    send.pfnAccepted(send.pAccepted);
    return true;
}
