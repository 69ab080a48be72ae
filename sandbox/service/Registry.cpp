#include "sandbox/service/Registry.h"

#include "sandbox/base/Console.h"

namespace Sandbox {

std::string Identity::GetName() const
{
    return Printable(strGID) + '/' + Printable(strSID) + '/' + Printable(strWID);
}

Registry::Registry(Store& store, const IClock& clock) : m_store(store), m_clock(clock)
{
    for (const Store::ConnectorRow& row : store.GetConnectors())
        FindOrAdd({row.strGID, row.strSID, row.strWID});
}

Connector* Registry::FindOrAdd(const Identity& identity)
{
    if (!m_mapConnectors.contains(identity) && m_mapConnectors.size() >= kMaxConnectors)
        return nullptr;
    // The store first, and each time: should it fail or be rolled back, the next connect mends it.
    const std::int64_t nID = m_store.FindOrAddConnector(identity.strGID, identity.strSID, identity.strWID);
    const auto [it, bNew] = m_mapConnectors.try_emplace(identity);
    it->second.nID = nID;
    if (bNew) {
        it->second.identity = identity;
        it->second.msAwaySince = m_clock.Milliseconds();
    }
    return &it->second;
}

Connector* Registry::Find(std::int64_t nID)
{
    for (auto& [identity, connector] : m_mapConnectors) {
        if (connector.nID == nID)
            return &connector;
    }
    return nullptr;
}

Link* Registry::Attach(Connector& connector, Link& link)
{
    Link* const pReplaced = connector.pLink != &link ? connector.pLink : nullptr;
    if (pReplaced != nullptr)
        pReplaced->SetConnector(nullptr, pReplaced->GetName());
    connector.pLink = &link;
    link.SetConnector(&connector, connector.identity.GetName());
    return pReplaced;
}

void Registry::Detach(Link& link)
{
    Connector* const pConnector = link.GetConnector();
    if (pConnector == nullptr)
        return;
    pConnector->pLink = nullptr;
    pConnector->msAwaySince = m_clock.Milliseconds();
    link.SetConnector(nullptr, link.GetName());
}

void Registry::Remove(const Connector& connector) { m_mapConnectors.erase(Identity(connector.identity)); }

}  // namespace Sandbox
