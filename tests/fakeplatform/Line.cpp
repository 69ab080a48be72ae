// Lines, and on top of them the parts of the real network that see sockets: Dial and Transport.
#include "tests/fakeplatform/Line.h"

#include <algorithm>
#include <atomic>
#include <thread>
#include <utility>

#include "platform/common/NetConnectCall.h"
#include "tests/fakeplatform/Parts.h"

namespace Fake {
namespace {

using Lines = std::map<const Netrova::Link::_THandle*, std::shared_ptr<Line>>;

Support::Guarded<Lines>& TheLines() { return Immortal<Lines>(); }

// From Dial to the link that the same thread makes of it. No thread_local: mingw destroys one only after it
// has freed its memory.
Support::Guarded<std::map<std::thread::id, std::shared_ptr<Line>>>& TheDialled()
{
    return Immortal<std::map<std::thread::id, std::shared_ptr<Line>>>();
}

std::atomic<long> g_nArrive{-1};  // of the write that breaks off; -1: none does

}  // namespace

void BreakWriting(std::size_t nArrive) { g_nArrive = static_cast<long>(nArrive); }

std::shared_ptr<Line> LineOf(const Netrova::Link::_THandle* pLink)
{
    const auto lines = TheLines().Lock();
    const auto it = lines->find(pLink);
    return it == lines->end() ? nullptr : it->second;
}

void ForgetLine(const Netrova::Link::_THandle* pLink) { TheLines()->erase(pLink); }

void InboxState::Post(std::function<void(Sink&)> tell)
{
    if (!bEnd)
        deqEvents.push_back(std::move(tell));
    cond.notify_all();
}

void Line::Attach(std::shared_ptr<Netrova::Link::_THandle> p, asio::io_context& context)
{
    TheLines()->insert_or_assign(p.get(), shared_from_this());
    const std::lock_guard lock(mutex);
    pContext = &context;
    pLink = std::move(p);
    if (!deqIncoming.empty() || bPeerClosed)
        Post(&Line::Pump);
}

void Line::Post(void (Line::*pfnWork)())
{
    asio::post(*pContext, [pSelf = shared_from_this(), pfnWork] { (*pSelf.*pfnWork)(); });
}

void Line::Pump()
{
    std::unique_lock lock(mutex);
    if (pLink == nullptr || (bDelivering && !bCut))
        return;
    if (bCut || (bPeerClosed && deqIncoming.empty())) {
        EndLocked(lock);
        return;
    }
    const std::size_t nCredit = deqIncoming.empty() ? 0 : pLink->TakeCreditOnStrand();
    if (nCredit == 0)
        return;
    std::string& strFront = deqIncoming.front();
    const std::string strChunk = strFront.substr(0, nCredit);
    strFront.erase(0, strChunk.size());
    if (strFront.empty())
        deqIncoming.pop_front();
    bDelivering = true;
    pLink->AddReceivedOnStrand(strChunk.data(), strChunk.size());
}

void Line::End()
{
    std::unique_lock lock(mutex);
    EndLocked(lock);
}

// From now on the peer posts nothing to the link's context, which may go.
void Line::EndLocked(std::unique_lock<std::mutex>& lock)
{
    if (pLink == nullptr)
        return;
    FlushLocked();
    pLink->Lost();
    (*pInbox)->Post([pSelf = shared_from_this()](Sink& sink) {
        sink.OnClose(pSelf->nConnection, false);
        (*pSelf->pInbox)->mapLines.erase(pSelf->nConnection);
    });
    const auto pLast = std::move(pLink);
    lock.unlock();
}

void Line::Write(const Netrova::Blocks& vecBlocks)
{
    for (const std::vector<char>& vecBlock : vecBlocks)
        (*pInbox)->Post([nNumber = nConnection, strBytes = std::string(vecBlock.begin(), vecBlock.end())](
                            Sink& sink) { sink.OnBytes(nNumber, strBytes); });
}

void Line::Flush()
{
    const std::lock_guard lock(mutex);
    FlushLocked();
}

void Line::FlushLocked()
{
    Netrova::Blocks vecBlocks;
    std::size_t nFront = 0;
    while (pLink != nullptr && pLink->GetSendQueue().Take(vecBlocks, nFront)) {
        Write(vecBlocks);
        for (const std::vector<char>& vecBlock : vecBlocks)
            pLink->GetSendQueue().Written(vecBlock.size());
    }
}

bool Line::IsWriting()
{
    const std::lock_guard lock(mutex);
    return pLink != nullptr && !pLink->GetSendQueue().IsEmpty();
}

void Line::ReceivedReturned()
{
    const std::lock_guard lock(mutex);
    bDelivering = false;
    if (pLink != nullptr)
        Post(&Line::Pump);
}

void Line::OnPeerBytes(const std::string& strBytes)
{
    const std::lock_guard lock(mutex);
    if (bPeerClosed || strBytes.empty())
        return;
    deqIncoming.push_back(strBytes);
    if (pLink != nullptr)
        Post(&Line::Pump);
}

void Line::OnPeerClose(bool bAbruptly)
{
    const std::lock_guard lock(mutex);
    bPeerClosed = true;
    bCut |= bAbruptly;
    if (pLink != nullptr)
        Post(&Line::Pump);
}

}  // namespace Fake

namespace Netrova {

std::error_code Dial(const std::shared_ptr<ConnectCall>&, asio::io_context&,
                     const std::vector<Endpoint>& vecEndpoints, Socket&)
{
    if (const auto pInbox = Fake::FindListener(vecEndpoints.front().port())) {
        const auto inbox = pInbox->Lock();
        if (inbox->bAccept && !inbox->bEnd) {
            const int nConnection = ++inbox->nLastConnection;
            const auto pLine = std::make_shared<Fake::Line>(pInbox, nConnection);
            Fake::TheDialled()->insert_or_assign(std::this_thread::get_id(), pLine);
            inbox->mapLines[nConnection] = pLine;
            inbox->Post([nConnection](Fake::Sink& sink) { sink.OnOpen(nConnection); });
            return {};
        }
    }
    return {static_cast<int>(Fake::kRefusedCode), std::generic_category()};
}

Transport::Transport(asio::io_context& context, Socket, std::shared_ptr<Link::_THandle> pLink)
    : m_context(context),
      m_graceTimer(context),
      m_watchTimer(context),
      m_stallTimer(context),
      m_pLink(std::move(pLink))
{
    Fake::Count("links", 1);
    const auto dialled = Fake::TheDialled()->extract(std::this_thread::get_id());
    dialled.mapped()->Attach(m_pLink, context);
}

// A sender may come behind the disconnected callback.
static void PostToLine(const Link::_THandle* pLink, void (Fake::Line::*pfnWork)())
{
    if (const auto pLine = Fake::LineOf(pLink))
        pLine->Post(pfnWork);
}

void Transport::PostRead() { PostToLine(m_pLink.get(), &Fake::Line::Pump); }

void Transport::PostWrite() { PostToLine(m_pLink.get(), &Fake::Line::Flush); }

void Transport::PostWatch() {}

void Transport::PostClose() { PostToLine(m_pLink.get(), &Fake::Line::End); }

void Transport::PostLose() { PostClose(); }

LinkSocket::Sent Transport::WriteNow(const Blocks& vecBlocks, std::size_t, std::size_t& nCount)
{
    nCount = 0;
    const auto pLine = Fake::LineOf(m_pLink.get());
    if (!pLine)
        return LinkSocket::Sent::Failed;
    if (const long nArrive = Fake::g_nArrive.exchange(-1); nArrive >= 0) {
        Blocks vecArriving(1, vecBlocks.front());
        vecArriving[0].resize(std::min(vecArriving[0].size(), static_cast<std::size_t>(nArrive)));
        pLine->Write(vecArriving);
        return LinkSocket::Sent::Failed;
    }
    pLine->Write(vecBlocks);
    for (const std::vector<char>& vecBlock : vecBlocks)
        nCount += vecBlock.size();
    return LinkSocket::Sent::All;
}

bool Transport::MayBlock() const { return false; }

std::size_t Transport::ReadNow(char*, std::size_t) { return 0; }

}  // namespace Netrova
