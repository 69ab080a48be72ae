// The callers that the handlers of this thread have answered and that still sleep.
#pragma once

#include <array>
#include <cstddef>

#include "platform/Kernova.h"
#include "platform/Netrova.h"

// For the length of a link's received callback. A caller that is woken while the handler holds its locks runs
// into them and sleeps again, so the handlers only note whom to wake. The notes are carried out when
// everything that was received has been handled, and earlier before the thread calls the game or waits:
// before CallGame, before a send and before the hold of a connect answer. As a caller often sends its next
// request right away, what several of them send leaves together.
class WakeBatch {
public:
    using Event = Kernova::Threading::ManualResetEvent;

    // The link must outlive the batch.
    explicit WakeBatch(Netrova::Link::_THandle* pLink) : m_pLink(pLink) { s_pCurrent = this; }
    ~WakeBatch()
    {
        s_pCurrent = nullptr;
        const bool bGather = m_nCount >= kSeveral;
        if (bGather)
            Netrova::Link::BeginGathering(m_pLink, m_nCount);
        Wake();
        if (bGather)
            Netrova::Link::EndGathering(m_pLink);
    }
    WakeBatch(const WakeBatch&) = delete;
    WakeBatch& operator=(const WakeBatch&) = delete;

    // Sets the event at once and wakes its sleepers later; without a batch on this thread at once, too. The
    // event may be destroyed as soon as the locks are given back under which it was found.
    static void Set(Event& event)
    {
        if (s_pCurrent == nullptr)
            event.Set();
        else if (const auto sleepers = event.SetAndWakeLater())
            s_pCurrent->Add(sleepers);
    }
    // Wakes everybody noted on this thread.
    static void WakeNow()
    {
        if (s_pCurrent != nullptr)
            s_pCurrent->Wake();
    }

private:
    void Add(Event::Sleepers sleepers)
    {
        if (m_nCount == m_arrSleepers.size())
            Wake();
        m_arrSleepers[m_nCount++] = sleepers;
    }
    void Wake()
    {
        for (std::size_t n = 0; n < m_nCount; ++n)
            Event::Wake(m_arrSleepers[n]);
        m_nCount = 0;
    }

    // One caller has nobody to share a system call with.
    static constexpr std::size_t kSeveral = 2;

    static inline thread_local WakeBatch* s_pCurrent = nullptr;
    Netrova::Link::_THandle* const m_pLink;
    std::array<Event::Sleepers, 256> m_arrSleepers;
    std::size_t m_nCount = 0;
};
