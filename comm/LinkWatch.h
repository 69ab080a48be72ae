// The state of the connection as the operator sees it: its figures, and the two lines about a loss and about
// the return.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "base/Gauges.h"
#include "platform/KernovaXtl.h"
#include "platform/Netrova.h"

// Told by CCommHandler of all that happens to the connection. No other lock is taken, and no line written,
// under m_lock. Takes no memory.
class CLinkWatch {
public:
    // ---- the thread that starts or stops the library ----
    void OnStart();
    void OnStop();
    // ---- InitModule's thread or the comm thread, before a connect ----
    void OnAttempt(const std::string& strServerIP, int nServerPort);
    // ---- pool threads ----
    void OnConnected();
    // The service has accepted the registration. Once for each link.
    void OnAccepted();
    // The link has ended. bWasUp: it had been accepted.
    void OnDisconnected(bool bWasUp, Netrova::Link::End end, int nCode);

private:
    Kernova::Threading::CriticalSection m_lock{Kernova::XTL::kSpinCount, Kernova::Threading::LockRank::Leaf};
    struct Address {
        char sz[280];  // a host of the settings file has 254 bytes at most
    };
    Address m_address GUARDED_BY(m_lock){};  // of the last attempt
    int m_nAttempts GUARDED_BY(m_lock) = 0;  // since the loss
    // Host::GetSteadyTime of the last acceptance and of the loss; 0: none in this life of the library.
    std::int64_t m_nUpAt GUARDED_BY(m_lock) = 0;
    std::int64_t m_nLostAt GUARDED_BY(m_lock) = 0;
};

// The one object of the process.
inline CLinkWatch& LinkWatch() { return Kernova::XTL::Singleton<CLinkWatch>::Instance(); }
