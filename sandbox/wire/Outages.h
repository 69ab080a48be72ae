// Outages that somebody has ordered: what happens to links and connections as a whole, whatever they carry.
// Belongs to the server's thread.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "sandbox/base/Arguments.h"
#include "sandbox/base/Timers.h"

namespace Sandbox {

struct Outage {
    enum class Kind {
        Refuse,    // nobody can connect; links stay
        Freeze,    // links neither read nor write
        Cut,       // links are closed once; connectors can come back
        Slow,      // links carry so many bytes a second
        HalfOpen,  // links are lost for the sandbox, while their peers see them open
    };
    int nID = 0;
    Kind kind = Kind::Refuse;
    std::string strConnector;  // empty: all
    std::size_t nBytesPerSecond = 0;
    std::int64_t nSeconds = 0;  // 0: until it is removed
};

class Outages {
public:
    static constexpr std::size_t kMaxOutages = 100;
    // Whoever owns the links: makes an outage that begins or ends take effect.
    struct Host {
        std::function<void(const Outage& outage)> begin;
        std::function<void(const Outage& outage)> end;
    };

    explicit Outages(Timers& timers) : m_timers(timers) {}
    void SetHost(Host host) { m_host = std::move(host); }  // before the first Add

    static Arguments Describe();  // of an order
    // Begins an outage that Describe has checked; nID is its number. Returns it as List shows it. Throws
    // JsonError.
    Json Add(const Json& given, int nID);
    Json List() const;
    bool Remove(int nID);     // false if there is no such outage
    std::size_t RemoveAll();  // returns how many there were
    std::size_t GetCount() const { return m_vecOutages.size(); }

    // What the outages do to a link of that name. Of several rates the lowest counts.
    struct Pace {
        bool bFrozen = false;
        std::size_t nBytesPerSecond = 0;  // 0: as fast as it goes
    };
    Pace PaceOf(const std::string& strConnector) const;
    bool RefusesConnections() const;

private:
    Timers& m_timers;
    Host m_host;
    std::vector<Outage> m_vecOutages;
};

}  // namespace Sandbox
