#include "sandbox/control/EventQueue.h"

namespace Sandbox {

void EventQueue::Push(std::string strEvent)
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_bClosed)
            return;
        if (m_events.size() >= kMaxEvents || m_nBytes + strEvent.size() > kMaxBytes) {
            ++m_nLost;
            return;
        }
        m_nBytes += strEvent.size();
        m_events.push_back(std::move(strEvent));
    }
    m_changed.notify_one();
}

std::string EventQueue::Take(std::chrono::milliseconds patience)
{
    std::deque<std::string> events;
    std::uint64_t nLost = 0;
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait_for(lock, patience, [this] { return m_bClosed || !m_events.empty(); });
        if (m_bClosed)
            return "";
        events.swap(m_events);
        m_nBytes = 0;
        nLost = m_nLost - m_nLostShown;
        m_nLostShown = m_nLost;
    }
    std::string strText;
    for (const std::string& strEvent : events)
        strText += "data: " + strEvent + "\n\n";
    if (nLost > 0)
        strText += "event: lost\ndata: {\"lost\": " + std::to_string(nLost) + "}\n\n";
    return strText.empty() ? ":\n\n" : strText;
}

void EventQueue::Close()
{
    {
        const std::lock_guard lock(m_mutex);
        m_bClosed = true;
    }
    m_changed.notify_all();
}

bool EventQueue::IsClosed() const
{
    const std::lock_guard lock(m_mutex);
    return m_bClosed;
}

std::uint64_t EventQueue::GetLost() const
{
    const std::lock_guard lock(m_mutex);
    return m_nLost;
}

}  // namespace Sandbox
