// Netrova's functions: the tests' orders in front of the real connector and its links.
#include <array>
#include <map>

#include "platform/Netrova.h"
#include "platform/common/NetConnector.h"
#include "platform/common/NetLink.h"
#include "tests/fakeplatform/Line.h"
#include "tests/fakeplatform/Parts.h"
#include "tests/support/Outside.h"

using Fake::MustFail;
using Fake::Op;

namespace Netrova::Connector {
namespace {

struct Target {
    Callback pfn = nullptr;
    void* pContext = nullptr;
};

struct State {
    std::condition_variable cond;
    std::map<_THandle*, std::array<Target, 4>> mapTargets;
    bool bHeld = false;
};

Support::Guarded<State>& TheState() { return Fake::Immortal<State>(); }

// Behind every callback, also one that throws.
template <Event kEvent>
struct Behind {
    explicit Behind(Link::_THandle* p) : pLink(p) {}
    ~Behind()
    {
        const auto pLine = Fake::LineOf(pLink);
        if (kEvent == Event::Received && pLine)
            pLine->ReceivedReturned();
        if (kEvent == Event::Disconnected) {
            Fake::ForgetLine(pLink);
            Fake::Count("links", -1);
        }
    }
    Behind(const Behind&) = delete;
    Behind& operator=(const Behind&) = delete;

    Link::_THandle* const pLink;
};

template <Event kEvent>
void Run(_THandle* pConnector, Link::_THandle* pLink, void*)
{
    Target target;
    {
        auto state = TheState().Lock();
        state->cond.wait(state.lock, [&] { return !state->bHeld; });
        target = state->mapTargets[pConnector].at(static_cast<std::size_t>(kEvent));
    }
    const Behind<kEvent> behind(pLink);
    if (target.pfn != nullptr)
        target.pfn(pConnector, pLink, target.pContext);
}

}  // namespace

_THandle* CreateHandle(Kernova::ThreadPool::_THandle* pool)
{
    if (MustFail(Op::ConnectorCreate))
        return nullptr;
    auto* const pConnector = new _THandle(*pool);
    pConnector->SetCallback(Event::Connected, &Run<Event::Connected>, nullptr);
    pConnector->SetCallback(Event::Disconnected, &Run<Event::Disconnected>, nullptr);
    pConnector->SetCallback(Event::Received, &Run<Event::Received>, nullptr);
    pConnector->Start();
    Fake::Count("connectors", 1);
    return pConnector;
}

void DestroyHandle(_THandle* pConnector)
{
    if (pConnector == nullptr)
        return;
    if (!pConnector->Stop())
        return Fake::Violation("A connector is destroyed by one of its own callbacks");
    TheState()->mapTargets.erase(pConnector);
    delete pConnector;
    Fake::Count("connectors", -1);
}

#define FAKE_SET_ON(event)                                                                 \
    bool SetOn##event(_THandle* pConnector, Callback pfn, void* context)                   \
    {                                                                                      \
        TheState()->mapTargets[pConnector].at(std::size_t(Event::event)) = {pfn, context}; \
        return !MustFail(Op::SetOn##event);                                                \
    }
FAKE_SET_ON(Connected)
FAKE_SET_ON(Disconnected)
FAKE_SET_ON(Timeout)
FAKE_SET_ON(Received)
#undef FAKE_SET_ON

bool Connect(_THandle* pConnector, const char* host, unsigned short port, int timeoutMilliseconds)
{
    const Support::Outside outside;  // the link's own stream
    return pConnector->Connect(host, port, timeoutMilliseconds);
}

void AbortConnects(_THandle* pConnector)
{
    if (pConnector != nullptr)
        pConnector->AbortConnects();
}

ActiveLinkList::_THandle* LockActiveLinks(_THandle* pConnector)
{
    return MustFail(Op::LockActiveLinks) ? nullptr : pConnector->LockActiveLinks();
}

bool UnlockActiveLinks(_THandle* pConnector) { return pConnector->UnlockActiveLinks(); }

}  // namespace Netrova::Connector

namespace Netrova::ActiveLinkList {

Link::_THandle* GetLink(_THandle* pList, std::size_t index)
{
    return MustFail(Op::GetLink) || index >= pList->m_vecLinks.size() ? nullptr
                                                                      : pList->m_vecLinks[index].get();
}

}  // namespace Netrova::ActiveLinkList

namespace Netrova::Link {

int AddRef(_THandle* pLink)
{
    Fake::Count("links", 1);
    return pLink->AddRef();
}

int Release(_THandle* pLink)
{
    Fake::Count("links", -1);
    return pLink->Release();
}

int Send(_THandle* pLink, Kernova::MemoryPool::_XMemory* const pMemory)
{
    Fake::NoteSent(pMemory);
    return MustFail(Op::LinkSend) ? -1 : pLink->Send(*pMemory);
}

void BeginGathering(_THandle* pLink, std::size_t senders) { pLink->BeginGathering(senders); }

void EndGathering(_THandle* pLink) { pLink->EndGathering(); }

bool HasSentAll(_THandle* pLink) { return pLink->HasSentAll(); }

int Recv(_THandle* pLink, int size) { return pLink->Recv(size); }

Strova::_THandle* LockReadStream(_THandle* pLink)
{
    if (MustFail(Op::LockReadStream))
        return nullptr;
    const Support::Outside outside;
    return pLink->LockReadStream();
}

bool UnlockReadStream(_THandle* pLink) { return pLink->UnlockReadStream(); }

End GetEnd(_THandle* pLink, int& nCode) { return pLink->GetEnd(nCode); }
bool Close(_THandle* pLink) { return pLink->Close(); }

}  // namespace Netrova::Link

namespace Fake {

using Netrova::Connector::TheState;

void HoldPools(bool bHold)
{
    const auto state = TheState().Lock();
    state->bHeld = bHold;
    state->cond.notify_all();
}

}  // namespace Fake
