// The connectors that the sandbox knows: those with a link now, and those that are away and whose users are
// kept. Belongs to the server's thread.
#pragma once

#include <compare>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>

#include "sandbox/base/Clock.h"
#include "sandbox/store/Store.h"
#include "sandbox/wire/Link.h"

namespace Sandbox {

// Who a connector is: game, server, world.
struct Identity {
    std::string strGID, strSID, strWID;
    auto operator<=>(const Identity&) const = default;
    std::string GetName() const;  // "GID/SID/WID", as console lines show it
};

struct Connector {
    std::int64_t nID = 0;  // of the connector's row in the store
    Identity identity;
    Link* pLink = nullptr;         // null while it is away, or linked at another sandbox
    bool bClaimed = false;         // the database of a studio says that the link is here
    std::int64_t nSandbox = 0;     // that has the link; counts only in a studio, as of the last Refresh
    std::int64_t msCycle = 1000;   // heartbeat cycle
    std::int64_t msAwaySince = 0;  // counts while pLink is null
    // Set by a registration: users that the connector's list has not confirmed by then are checked out.
    std::optional<std::int64_t> msConfirmBy;
};

class ConnectorRegistry {
public:
    static constexpr std::size_t kMaxConnectors = 1000;  // ten times as many in a studio

    // Starts with the connectors of the store, which count as away from now on.
    ConnectorRegistry(Store& store, const IClock& clock);

    // Adds the connector here and in the store. Null if kMaxConnectors others are known. Throws StoreError.
    // Pointers to connectors stay valid until Remove.
    Connector* FindOrAdd(const Identity& identity);
    Connector* Find(std::int64_t nID);  // in a studio also one that is known elsewhere; throws StoreError
    Link* FindLink(std::int64_t nID);   // an open one, at this sandbox; null if there is none
    Connector* FindByLink(const Link& link);  // null until the link's connector has registered
    const Connector* FindByLink(const Link& link) const;
    // Makes the link the connector's. Returns the link that was the connector's before, which the caller
    // closes.
    Link* Attach(Connector& connector, Link& link);
    void Detach(const Link& link);  // the link's connector is away then; does nothing if the link has none
    // Closes the link of a connector that has a new one at another sandbox.
    void CloseReplaced(std::int64_t nID);
    // Brings the connectors of a studio up to date: those that others have added or forgotten, and who has
    // which link. Throws StoreError.
    void Refresh();
    // Forgets a connector that is away. Removing it from the store is the caller's work.
    void Remove(const Connector& connector);

    std::map<Identity, Connector>& GetConnectors() { return m_mapConnectors; }

private:
    Connector* FindKnown(std::int64_t nID);

    Store& m_store;
    const IClock& m_clock;
    std::map<Identity, Connector> m_mapConnectors;
    std::unordered_map<const Link*, Connector*> m_mapByLink;  // those whose pLink is that link
};

}  // namespace Sandbox
