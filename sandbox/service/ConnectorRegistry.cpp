#include "sandbox/service/ConnectorRegistry.h"

#include <set>

#include "sandbox/base/Printable.h"

namespace Sandbox {

std::string Identity::GetName() const
{
    return Printable(strGID) + '/' + Printable(strSID) + '/' + Printable(strWID);
}

ConnectorRegistry::ConnectorRegistry(Store& store, const IClock& clock) : m_store(store), m_clock(clock)
{
    for (const Store::ConnectorRow& row : store.GetConnectors())
        FindOrAdd({row.strGID, row.strSID, row.strWID});
}

Connector* ConnectorRegistry::FindOrAdd(const Identity& identity)
{
    const std::size_t nMost = m_store.GetStudio() != nullptr ? 10 * kMaxConnectors : kMaxConnectors;
    if (!m_mapConnectors.contains(identity) && m_mapConnectors.size() >= nMost)
        return nullptr;
    // The store is asked each time: if a transaction was rolled back, the row is missing there, and this call
    // adds it again.
    const std::int64_t nID = m_store.FindOrAddConnector(identity.strGID, identity.strSID, identity.strWID);
    const auto [it, bNew] = m_mapConnectors.try_emplace(identity);
    it->second.nID = nID;
    if (bNew) {
        it->second.identity = identity;
        it->second.msAwaySince = m_clock.Milliseconds();
    }
    return &it->second;
}

Connector* ConnectorRegistry::Find(std::int64_t nID)
{
    if (Connector* const pConnector = FindKnown(nID))
        return pConnector;
    Refresh();
    return FindKnown(nID);
}

Link* ConnectorRegistry::FindLink(std::int64_t nID)
{
    const Connector* const pConnector = FindKnown(nID);
    return pConnector != nullptr && pConnector->pLink != nullptr && pConnector->pLink->IsOpen()
               ? pConnector->pLink
               : nullptr;
}

void ConnectorRegistry::CloseReplaced(std::int64_t nID)
{
    if (Link* const pLink = FindLink(nID))
        pLink->Close("replaced by a new link of the same connector at another sandbox");
}

void ConnectorRegistry::Refresh()
{
    if (m_store.GetStudio() == nullptr)
        return;
    std::set<Identity> setKnown;
    for (const Store::ConnectorRow& row : m_store.GetConnectors()) {
        const auto it = setKnown.insert({row.strGID, row.strSID, row.strWID}).first;
        Connector& connector = m_mapConnectors[*it];
        connector.nID = row.nID;
        connector.identity = *it;
        connector.nSandbox = row.nSandbox;
    }
    std::erase_if(m_mapConnectors, [&](const auto& item) {
        return item.second.pLink == nullptr && !setKnown.contains(item.first);
    });
}

Connector* ConnectorRegistry::FindKnown(std::int64_t nID)
{
    for (auto& [identity, connector] : m_mapConnectors) {
        if (connector.nID == nID)
            return &connector;
    }
    return nullptr;
}

Connector* ConnectorRegistry::FindByLink(const Link& link)
{
    const auto it = m_mapByLink.find(&link);
    return it != m_mapByLink.end() ? it->second : nullptr;
}

const Connector* ConnectorRegistry::FindByLink(const Link& link) const
{
    const auto it = m_mapByLink.find(&link);
    return it != m_mapByLink.end() ? it->second : nullptr;
}

Link* ConnectorRegistry::Attach(Connector& connector, Link& link)
{
    Link* const pReplaced = connector.pLink != &link ? connector.pLink : nullptr;
    if (pReplaced != nullptr)
        m_mapByLink.erase(pReplaced);
    connector.pLink = &link;
    m_mapByLink[&link] = &connector;
    link.SetName(connector.identity.GetName());
    return pReplaced;
}

void ConnectorRegistry::Detach(const Link& link)
{
    Connector* const pConnector = FindByLink(link);
    if (pConnector == nullptr)
        return;
    pConnector->pLink = nullptr;
    pConnector->msAwaySince = m_clock.Milliseconds();
    m_mapByLink.erase(&link);
}

void ConnectorRegistry::Remove(const Connector& connector)
{
    m_mapConnectors.erase(Identity(connector.identity));
}

}  // namespace Sandbox
