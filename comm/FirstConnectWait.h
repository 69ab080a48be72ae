// Carries the answer to the connect request from the handler to the thread that waits for it.
#pragma once

#include <string>

#include "platform/KernovaXtl.h"

// One connection attempt is one round: ExpectAnswer before Connect, WaitForConnectAnswer after it, and
// at most one answer delivered in between. What a handler sets takes effect only once the waiter has
// armed, so that a fast answer is never lost; an answer that no round expects takes no effect at all.
class CFirstConnectWait {
public:
    // ---- the waiting side: InitModule's thread or the comm thread ----
    void ExpectAnswer();
    void ForgetAnswer();  // the connection did not come about
    // Blocks up to 5000 milliseconds. Afterwards the result is the service's, or -1 with the text
    // "Failed to add connector to Velkar server.".
    void WaitForConnectAnswer();
    int GetConnectResult();
    std::string GetConnectMessage();

    // ---- the answering side: a pool thread inside the handler ----
    void SetConnectResult(int nResult);
    void SetConnectMessage(const std::string& strMessage);
    // Holds the handler, and with it the link's reader, until the waiter has armed; then hands over what
    // was set and wakes it. Returns at once if nobody expects an answer or the library is being
    // terminated.
    void ReleaseConnectWait();

    // ---- start and stop of the comm handler ----
    void Open();    // rounds may begin
    void Cancel();  // ends a wait and a held handler, and every later one until Open

private:
    struct Answer {
        int nResult = -1;
        std::string strMessage;
    };
    Kernova::Threading::CriticalSection m_lock{Kernova::XTL::kSpinCount, Kernova::Threading::LockRank::Leaf};
    Kernova::Threading::ManualResetEvent m_answered{false};
    Kernova::Threading::ManualResetEvent m_armed{false};
    Answer m_answer GUARDED_BY(m_lock);   // in force
    Answer m_pending GUARDED_BY(m_lock);  // set by a handler, not in force yet
    bool m_bExpected GUARDED_BY(m_lock) = false;
    bool m_bArmed GUARDED_BY(m_lock) = false;
    bool m_bCancelled GUARDED_BY(m_lock) = false;
};

// The one object of the process.
inline CFirstConnectWait& FirstConnectWait()
{
    return Kernova::XTL::Singleton<CFirstConnectWait>::Instance();
}
