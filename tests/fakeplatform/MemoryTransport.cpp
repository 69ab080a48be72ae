#include "tests/fakeplatform/MemoryTransport.h"

#include <algorithm>

#include "tests/fakeplatform/Parts.h"

namespace Fake {
namespace {

struct Listeners {
    std::map<unsigned short, std::shared_ptr<Inbox>> mapByPort;
    unsigned short nLastPort = 40000;
};

Support::Guarded<Listeners>& TheListeners() { return Immortal<Listeners>(); }

std::shared_ptr<Line> LineAt(Inbox& inbox, int nConnection)
{
    const auto state = inbox.Lock();
    const auto it = state->mapLines.find(nConnection);
    return it == state->mapLines.end() ? nullptr : it->second;
}

}  // namespace

std::shared_ptr<Inbox> FindListener(unsigned short nPort)
{
    const auto listeners = TheListeners().Lock();
    const auto it = listeners->mapByPort.find(nPort);
    return it == listeners->mapByPort.end() ? nullptr : it->second;
}

MemoryTransport::MemoryTransport()
{
    const auto listeners = TheListeners().Lock();
    m_nPort = ++listeners->nLastPort;
    listeners->mapByPort[m_nPort] = m_pInbox;
}

void MemoryTransport::Start(Sink& sink)
{
    m_thread = std::thread([this, &sink] { Run(sink); });
}

void MemoryTransport::Stop()
{
    TheListeners()->mapByPort.erase(m_nPort);
    InboxState rest;  // its lines are let go outside the lock
    {
        const auto inbox = m_pInbox->Lock();
        inbox->bEnd = true;
        inbox->cond.notify_all();
        rest.mapLines.swap(inbox->mapLines);
        rest.deqEvents.swap(inbox->deqEvents);
    }
    if (m_thread.joinable())
        m_thread.join();
    for (const auto& [nConnection, pLine] : rest.mapLines)
        pLine->OnPeerClose(true);
}

void MemoryTransport::Run(Sink& sink)
{
    auto inbox = m_pInbox->Lock();
    for (;;) {
        inbox->cond.wait(inbox.lock,
                         [&] { return inbox->bEnd || (!inbox->deqEvents.empty() && !inbox->bHoldReading); });
        if (inbox->bEnd)
            return;
        const auto tell = std::move(inbox->deqEvents.front());
        inbox->deqEvents.pop_front();
        inbox->bTelling = true;
        inbox.lock.unlock();
        tell(sink);
        inbox.lock.lock();
        inbox->bTelling = false;
        inbox->cond.notify_all();
    }
}

void MemoryTransport::Send(int nConnection, const std::string& strBytes)
{
    if (const auto pLine = LineAt(*m_pInbox, nConnection))
        pLine->OnPeerBytes(strBytes);
}

void MemoryTransport::Close(int nConnection, bool bAbruptly)
{
    if (const auto pLine = LineAt(*m_pInbox, nConnection))
        pLine->OnPeerClose(bAbruptly);
}

void MemoryTransport::Accept(bool bAccept) { (*m_pInbox)->bAccept = bAccept; }

void MemoryTransport::HoldReading(bool bHold)
{
    const auto inbox = m_pInbox->Lock();
    inbox->bHoldReading = bHold;
    inbox->cond.notify_all();
}

// A send may have returned while another sender is still writing its block.
bool MemoryTransport::IsWriting()
{
    const auto mapLines = (*m_pInbox)->mapLines;
    return std::any_of(mapLines.begin(), mapLines.end(),
                       [](const auto& line) { return line.second->IsWriting(); });
}

void MemoryTransport::Settle()
{
    while (IsWriting())
        std::this_thread::sleep_for(kLookAgainSoon);
    auto inbox = m_pInbox->Lock();
    inbox->cond.wait(inbox.lock, [&] {
        return inbox->bEnd || inbox->bHoldReading || (inbox->deqEvents.empty() && !inbox->bTelling);
    });
}

}  // namespace Fake
