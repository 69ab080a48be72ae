// How the answer to the registration gets from the handler's thread to the thread that has connected.
#include "comm/FirstConnectWait.h"

#include "base/Times.h"
#include "comm/MessageCounts.h"
#include "comm/WakeBatch.h"

using Kernova::XTL::ScopedLock;

namespace {
// How long a held handler sleeps before it asks again whether the waiter has armed, in milliseconds. The
// waiter also wakes the handler at once; the limit only covers a signal that a new round has reset.
constexpr unsigned int kLookAgain = 50;
}  // namespace

void CFirstConnectWait::ExpectAnswer()
{
    const ScopedLock lock(m_lock);
    m_bExpected = true;
    m_bArmed = false;
    m_pLink = nullptr;
    m_armed.Reset();
}

void CFirstConnectWait::SetLink(const void* pLink)
{
    const ScopedLock lock(m_lock);
    m_pLink = pLink;
    m_nConnectedAt = Host::GetSteadyTime();
}

void CFirstConnectWait::ForgetAnswer()
{
    const ScopedLock lock(m_lock);
    m_bExpected = false;
    m_armed.Set();
}

void CFirstConnectWait::WaitForConnectAnswer()
{
    {
        // The failure of a timeout stands here before the wait begins; an answer overwrites it.
        const ScopedLock lock(m_lock);
        m_answer = {-1, "Failed to add connector to Velkar server."};
        m_answered.Reset();
        m_bArmed = true;
        m_armed.Set();
        // A stop that came before this wait has set m_answered, and the Reset above has cleared that signal.
        if (m_bCancelled)
            m_answered.Set();
    }
    m_answered.Wait(kAnswerTimeout);
    // From here on the round is over: a handler that comes later is not held and changes nothing.
    const ScopedLock lock(m_lock);
    auto& counts = CountsOf<XC2S_VelkarConnectReq>();
    if (!m_bArmed)
        counts.CountAnswer(Host::GetSteadyTime() - m_nConnectedAt);
    else if (!m_bCancelled)
        MessageCounts::Add(counts.nTimedOut);
    m_bArmed = false;
    m_bExpected = false;
}

int CFirstConnectWait::GetConnectResult()
{
    const ScopedLock lock(m_lock);
    return m_answer.nResult;
}

std::string CFirstConnectWait::GetConnectMessage()
{
    const ScopedLock lock(m_lock);
    return m_answer.strMessage;
}

void CFirstConnectWait::SetConnectResult(const void* pLink, int nResult)
{
    const ScopedLock lock(m_lock);
    if (pLink == m_pLink)
        m_pending.nResult = nResult;
}

void CFirstConnectWait::SetConnectMessage(const void* pLink, const std::string& strMessage)
{
    const ScopedLock lock(m_lock);
    if (pLink == m_pLink)
        m_pending.strMessage = strMessage;
}

void CFirstConnectWait::ReleaseConnectWait(const void* pLink)
{
    WakeBatch::WakeNow();
    for (;;) {
        {
            const ScopedLock lock(m_lock);
            if (!m_bExpected || m_bCancelled || pLink != m_pLink)
                return;
            // Disarming lets only one answer through: a second answer of the same round is not expected.
            if (m_bArmed) {
                m_answer = m_pending;
                m_bArmed = false;
                m_bExpected = false;
                m_answered.Set();
                return;
            }
        }
        m_armed.Wait(kLookAgain);
    }
}

void CFirstConnectWait::Open()
{
    const ScopedLock lock(m_lock);
    m_bCancelled = false;
    m_bExpected = false;
}

void CFirstConnectWait::Cancel()
{
    const ScopedLock lock(m_lock);
    m_bCancelled = true;
    m_armed.Set();
    m_answered.Set();
}
