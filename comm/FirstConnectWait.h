// Carries the service's answer to the registration (XS2C_VelkarConnectAns) from its handler, on a pool
// thread, to the thread that has opened the connection and waits: InitModule's thread, or the comm thread at
// a reconnection.
#pragma once

#include <cstdint>
#include <string>

#include "platform/KernovaXtl.h"

// One connection attempt is one round: the connecting thread calls ExpectAnswer before Connect and
// WaitForConnectAnswer after it, and at most one answer is delivered in the round. The answer can arrive
// before the thread waits. The handler is therefore held until WaitForConnectAnswer has begun ("armed"), and
// only then is the answer handed over: a fast answer is never lost. An answer outside a round has no effect.
class CFirstConnectWait {
public:
    // ---- the waiting side: InitModule's thread or the comm thread ----
    // Begins a round. Its link is not known yet.
    void ExpectAnswer();
    // Ends a round whose Connect has failed, and releases a handler that is held.
    void ForgetAnswer();
    // Blocks up to 5000 milliseconds and ends the round. Afterwards the result and the message are the
    // service's, or -1 and "Failed to add connector to Velkar server." after a timeout or a stop.
    void WaitForConnectAnswer();
    int GetConnectResult();
    std::string GetConnectMessage();

    // ---- a pool thread inside the connected callback, before anything is sent ----
    // The link of the open round. An answer that came in on another link belongs to an earlier round and
    // has no effect.
    void SetLink(const void* pLink);

    // ---- the answering side: a pool thread inside the handler, with the link that the answer came in on
    // ---- These two only store the answer; ReleaseConnectWait hands it over.
    void SetConnectResult(const void* pLink, int nResult);
    void SetConnectMessage(const void* pLink, const std::string& strMessage);
    // Holds the handler, and with it the link's reader, until the waiting thread has armed; then hands the
    // stored answer over and wakes that thread. Returns at once if no round expects an answer or the library
    // is being terminated.
    void ReleaseConnectWait(const void* pLink);

    // ---- start and stop of the comm handler ----
    // Allows rounds again after a Cancel.
    void Open();
    // Ends a running wait and releases a held handler. Until the next Open every wait ends at once and no
    // handler is held, so that a stop waits for neither.
    void Cancel();

private:
    struct Answer {
        int nResult = -1;
        std::string strMessage;
    };
    Kernova::Threading::CriticalSection m_lock{Kernova::XTL::kSpinCount, Kernova::Threading::LockRank::Leaf};
    Kernova::Threading::ManualResetEvent m_answered{false};  // wakes the waiting thread
    Kernova::Threading::ManualResetEvent m_armed{false};     // releases a held handler
    Answer m_answer GUARDED_BY(m_lock);                      // what the waiting thread reads
    Answer m_pending GUARDED_BY(m_lock);                     // stored by a handler, not handed over yet
    const void* m_pLink GUARDED_BY(m_lock) = nullptr;        // of the round; compared only
    bool m_bExpected GUARDED_BY(m_lock) = false;             // a round is open
    std::int64_t m_nConnectedAt GUARDED_BY(m_lock) = 0;      // Host::GetSteadyTime
    bool m_bArmed GUARDED_BY(m_lock) = false;                // WaitForConnectAnswer waits
    bool m_bCancelled GUARDED_BY(m_lock) = false;            // between Cancel and Open
};

// The one object of the process.
inline CFirstConnectWait& FirstConnectWait()
{
    return Kernova::XTL::Singleton<CFirstConnectWait>::Instance();
}
