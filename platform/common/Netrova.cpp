// The flat functions of Netrova, on the objects behind its handles.
#include "platform/Netrova.h"

#include <exception>

#include "platform/Assertion.h"
#include "platform/common/LastError.h"
#include "platform/common/NetConnector.h"
#include "platform/common/NetLink.h"

namespace Netrova {

namespace {

bool FailInvalid()
{
    Platova::SetLastError(static_cast<unsigned int>(std::error_code(asio::error::invalid_argument).value()));
    return false;
}

}  // namespace

namespace Link {

int AddRef(_THandle* pLink) { return pLink == nullptr ? 0 : pLink->AddRef(); }

int Release(_THandle* pLink) { return pLink == nullptr ? 0 : pLink->Release(); }

int Send(_THandle* pLink, Kernova::MemoryPool::_XMemory* const pMemory)
{
    if (pLink != nullptr && pMemory != nullptr)
        return pLink->Send(*pMemory);
    FailInvalid();
    return -1;
}

void BeginGathering(_THandle* pLink, std::size_t senders) { pLink->BeginGathering(senders); }

void EndGathering(_THandle* pLink) { pLink->EndGathering(); }

bool HasSentAll(_THandle* pLink) { return pLink->HasSentAll(); }

int Recv(_THandle* pLink, int size)
{
    if (pLink != nullptr)
        return pLink->Recv(size);
    FailInvalid();
    return -1;
}

Strova::_THandle* LockReadStream(_THandle* pLink)
{
    if (pLink != nullptr)
        return pLink->LockReadStream();
    FailInvalid();
    return nullptr;
}

bool UnlockReadStream(_THandle* pLink)
{
    return pLink == nullptr ? FailInvalid() : pLink->UnlockReadStream();
}

End GetEnd(_THandle* pLink, int& nCode) { return pLink->GetEnd(nCode); }

bool Close(_THandle* pLink) { return pLink == nullptr ? FailInvalid() : pLink->Close(); }

}  // namespace Link

namespace ActiveLinkList {

Link::_THandle* GetLink(_THandle* pList, std::size_t index)
{
    if (pList == nullptr || index >= pList->m_vecLinks.size()) {
        Platova::SetLastError(static_cast<unsigned int>(std::error_code(asio::error::not_connected).value()));
        return nullptr;
    }
    return pList->m_vecLinks[index].get();
}

}  // namespace ActiveLinkList

namespace Connector {

_THandle* CreateHandle(Kernova::ThreadPool::_THandle* pool)
{
    if (pool == nullptr) {
        FailInvalid();
        return nullptr;
    }
    try {
        auto pConnector = std::make_unique<_THandle>(*pool);
        if (pConnector->Start())
            return pConnector.release();
    } catch (const std::system_error& error) {
        Platova::SetLastError(static_cast<unsigned int>(error.code().value()));
    } catch (const std::exception&) {
        Platova::SetLastError(static_cast<unsigned int>(std::error_code(asio::error::no_memory).value()));
    }
    return nullptr;
}

void DestroyHandle(_THandle* pConnector)
{
    if (pConnector == nullptr)
        return;
    if (pConnector->Stop())
        delete pConnector;
    else
        // A callback cannot wait for its own end. The connector takes no new orders but is never freed.
        RaiseAssertion("[Netrova::Connector] Destroyed by one of its own callbacks.");
}

bool SetOnConnected(_THandle* pConnector, Callback pfnCallback, void* context)
{
    if (pConnector == nullptr)
        return FailInvalid();
    pConnector->SetCallback(Event::Connected, pfnCallback, context);
    return true;
}

bool SetOnDisconnected(_THandle* pConnector, Callback pfnCallback, void* context)
{
    if (pConnector == nullptr)
        return FailInvalid();
    pConnector->SetCallback(Event::Disconnected, pfnCallback, context);
    return true;
}

bool SetOnTimeout(_THandle* pConnector, Callback pfnCallback, void* context)
{
    if (pConnector == nullptr)
        return FailInvalid();
    pConnector->SetCallback(Event::Timeout, pfnCallback, context);
    return true;
}

bool SetOnReceived(_THandle* pConnector, Callback pfnCallback, void* context)
{
    if (pConnector == nullptr)
        return FailInvalid();
    pConnector->SetCallback(Event::Received, pfnCallback, context);
    return true;
}

bool Connect(_THandle* pConnector, const char* host, unsigned short port, int timeoutMilliseconds)
{
    if (pConnector == nullptr || host == nullptr)
        return FailInvalid();
    return pConnector->Connect(host, port, timeoutMilliseconds);
}

void AbortConnects(_THandle* pConnector)
{
    if (pConnector != nullptr)
        pConnector->AbortConnects();
}

ActiveLinkList::_THandle* LockActiveLinks(_THandle* pConnector)
{
    if (pConnector != nullptr)
        return pConnector->LockActiveLinks();
    FailInvalid();
    return nullptr;
}

bool UnlockActiveLinks(_THandle* pConnector)
{
    return pConnector == nullptr ? FailInvalid() : pConnector->UnlockActiveLinks();
}

}  // namespace Connector

}  // namespace Netrova
