#include "tests/fakeplatform/MemoryTransport.h"

#include "tests/fakeplatform/Line.h"
#include "tests/fakeplatform/Parts.h"

namespace Fake {
namespace {

struct Listeners {
    std::mutex mutex;
    std::map<unsigned short, std::shared_ptr<Inbox>> mapByPort;
    unsigned short nLastPort = 40000;
};

Listeners& TheListeners() { return Fake::Immortal<Listeners>(); }

void Tell(Inbox& inbox, const Inbox::Event& event, Support::Transport::Sink& sink)
{
    if (event.what == Inbox::What::Opened) {
        sink.OnOpen(event.nConnection);
    } else if (event.what == Inbox::What::Bytes) {
        sink.OnBytes(event.nConnection, event.strBytes);
    } else {
        sink.OnClose(event.nConnection, false);
        const std::lock_guard lock(inbox.mutex);
        inbox.mapLines.erase(event.nConnection);
    }
}

}  // namespace

std::shared_ptr<Inbox> FindListener(unsigned short nPort)
{
    const std::lock_guard lock(TheListeners().mutex);
    const auto it = TheListeners().mapByPort.find(nPort);
    return it == TheListeners().mapByPort.end() ? nullptr : it->second;
}

MemoryTransport::MemoryTransport() : m_pInbox(std::make_shared<Inbox>())
{
    const std::lock_guard lock(TheListeners().mutex);
    m_nPort = ++TheListeners().nLastPort;
    TheListeners().mapByPort[m_nPort] = m_pInbox;
}

void MemoryTransport::Start(Sink& sink)
{
    m_thread = std::thread([this, &sink] { Run(sink); });
}

void MemoryTransport::Stop()
{
    {
        const std::lock_guard lock(TheListeners().mutex);
        TheListeners().mapByPort.erase(m_nPort);
    }
    std::map<int, std::shared_ptr<Line>> mapLines;
    {
        const std::lock_guard lock(m_pInbox->mutex);
        m_pInbox->bEnd = true;
        m_pInbox->cond.notify_all();
        mapLines.swap(m_pInbox->mapLines);
    }
    if (m_thread.joinable())
        m_thread.join();
    for (const auto& [nConnection, pLine] : mapLines)
        pLine->OnPeerClose(true);
}

void MemoryTransport::Run(Sink& sink)
{
    Inbox& inbox = *m_pInbox;
    std::unique_lock lock(inbox.mutex);
    for (;;) {
        inbox.cond.wait(lock,
                        [&] { return inbox.bEnd || (!inbox.deqEvents.empty() && !inbox.bHoldReading); });
        if (inbox.bEnd)
            return;
        const Inbox::Event event = std::move(inbox.deqEvents.front());
        inbox.deqEvents.pop_front();
        inbox.bTelling = true;
        lock.unlock();
        Tell(inbox, event, sink);
        lock.lock();
        inbox.bTelling = false;
        inbox.cond.notify_all();
    }
}

void MemoryTransport::Send(int nConnection, const std::string& strBytes)
{
    if (const auto pLine = m_pInbox->Find(nConnection))
        pLine->OnPeerBytes(strBytes);
}

void MemoryTransport::Close(int nConnection, bool bAbruptly)
{
    if (const auto pLine = m_pInbox->Find(nConnection))
        pLine->OnPeerClose(bAbruptly);
}

void MemoryTransport::Accept(bool bAccept)
{
    const std::lock_guard lock(m_pInbox->mutex);
    m_pInbox->bAccept = bAccept;
}

void MemoryTransport::HoldReading(bool bHold)
{
    const std::lock_guard lock(m_pInbox->mutex);
    m_pInbox->bHoldReading = bHold;
    m_pInbox->cond.notify_all();
}

void MemoryTransport::Settle()
{
    Inbox& inbox = *m_pInbox;
    std::unique_lock lock(inbox.mutex);
    inbox.cond.wait(lock, [&] {
        return inbox.bEnd || inbox.bHoldReading || (inbox.deqEvents.empty() && !inbox.bTelling);
    });
}

}  // namespace Fake
