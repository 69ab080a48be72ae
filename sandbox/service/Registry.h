// The connectors that the sandbox knows: those linked now, and those whose users it still remembers.
// Belongs to the server's thread.
#pragma once

#include <compare>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "sandbox/base/Clock.h"
#include "sandbox/store/Store.h"
#include "sandbox/wire/Link.h"

namespace Sandbox {

// Who a connector is: game, server, world.
struct Identity {
    std::string strGID, strSID, strWID;
    auto operator<=>(const Identity&) const = default;
    std::string GetName() const;  // as lines show it
};

struct Connector {
    std::int64_t nID = 0;  // the store's
    Identity identity;
    Link* pLink = nullptr;                    // null while it is away
    std::int64_t msCycle = 1000;              // heartbeat cycle
    std::int64_t msAwaySince = 0;             // when pLink is null
    std::optional<std::int64_t> msConfirmBy;  // until then its unconfirmed users may be confirmed
};

class Registry {
public:
    static constexpr std::size_t kMaxConnectors = 1000;

    // Those that the store remembers are away as from now.
    Registry(Store& store, const IClock& clock);

    // Here and in the store. Null if there are kMaxConnectors others already. Throws StoreError.
    Connector* FindOrAdd(const Identity& identity);
    Connector* Find(std::int64_t nID);
    // The link becomes the connector's. The one that it replaces is returned and left without a connector.
    Link* Attach(Connector& connector, Link& link);
    void Detach(Link& link);  // does nothing for a link without a connector
    // Forgets the connector, which is away; the store's part is the caller's.
    void Remove(const Connector& connector);

    std::map<Identity, Connector>& GetConnectors() { return m_mapConnectors; }

private:
    Store& m_store;
    const IClock& m_clock;
    std::map<Identity, Connector> m_mapConnectors;
};

}  // namespace Sandbox
