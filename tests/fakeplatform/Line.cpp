// Lines, and on top of them the parts of the real network that see sockets: Dial and Transport.
#include "tests/fakeplatform/Line.h"

#include <utility>

#include "platform/common/NetConnectCall.h"
#include "tests/fakeplatform/Parts.h"

namespace Fake {
namespace {

using Lines = std::map<const Netrova::Link::_THandle*, std::shared_ptr<Line>>;

Support::Guarded<Lines>& TheLines() { return Immortal<Lines>(); }

thread_local std::shared_ptr<Line> t_pDialled;  // from Dial to the link that the same thread makes of it

}  // namespace

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
    const std::size_t nCredit = deqIncoming.empty() ? 0 : pLink->TakeCredit();
    if (nCredit == 0)
        return;
    std::string& strFront = deqIncoming.front();
    const std::string strChunk = strFront.substr(0, nCredit);
    strFront.erase(0, strChunk.size());
    if (strFront.empty())
        deqIncoming.pop_front();
    bDelivering = true;
    pLink->AddReceived(strChunk.data(), strChunk.size());
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

void Line::Flush()
{
    const std::lock_guard lock(mutex);
    FlushLocked();
}

void Line::FlushLocked()
{
    std::vector<std::vector<char>> vecBlocks;
    while (pLink != nullptr && pLink->TakeQueued(vecBlocks)) {
        for (const std::vector<char>& vecBlock : vecBlocks)
            (*pInbox)->Post([pSelf = shared_from_this(), vecBlock](Sink& sink) {
                pSelf->OnTaken(vecBlock.size());
                sink.OnBytes(pSelf->nConnection, {vecBlock.begin(), vecBlock.end()});
            });
    }
}

void Line::ReceivedReturned()
{
    const std::lock_guard lock(mutex);
    bDelivering = false;
    ++nReceived;
    if (pLink != nullptr)
        Post(&Line::Pump);
}

int Line::Received()
{
    const std::lock_guard lock(mutex);
    return nReceived + (bDelivering ? 1 : 0);
}

bool Line::HasReceived(int nCallbacks)
{
    const std::lock_guard lock(mutex);
    return nReceived >= nCallbacks || pLink == nullptr;
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

void Line::OnTaken(std::size_t nBytes)
{
    const std::lock_guard lock(mutex);
    if (pLink != nullptr)
        pLink->Written(nBytes);
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
            Fake::t_pDialled = std::make_shared<Fake::Line>(pInbox, nConnection);
            inbox->mapLines[nConnection] = Fake::t_pDialled;
            inbox->Post([nConnection](Fake::Sink& sink) { sink.OnOpen(nConnection); });
            return {};
        }
    }
    return {static_cast<int>(Fake::kRefusedCode), std::generic_category()};
}

Transport::Transport(asio::io_context& context, Socket socket, std::shared_ptr<Link::_THandle> pLink)
    : m_strand(asio::make_strand(context)),
      m_socket(std::move(socket)),
      m_graceTimer(context),
      m_pLink(std::move(pLink))
{
    Fake::Count("links", 1);
    std::exchange(Fake::t_pDialled, nullptr)->Attach(m_pLink, context);
}

void Transport::PostRead() { Fake::LineOf(m_pLink.get())->Post(&Fake::Line::Pump); }

void Transport::PostWrite() {
}  // each Send flushes the line itself: a send is known as soon as it has returned

void Transport::PostClose() { Fake::LineOf(m_pLink.get())->Post(&Fake::Line::End); }

}  // namespace Netrova
