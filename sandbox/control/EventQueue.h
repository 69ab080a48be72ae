// The live stream of messages for one reader: the server's thread pushes, a thread of the HTTP interface
// takes. A reader that is too slow loses messages and is told how many.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>

namespace Sandbox {

class EventQueue {
public:
    static constexpr std::size_t kMaxEvents = 2000;
    static constexpr std::size_t kMaxBytes = 2u << 20;

    // Appends an event, a line of JSON. Drops and counts it if the reader is behind by kMaxEvents or
    // kMaxBytes.
    void Push(std::string strEvent);
    // What is to be sent next, in the form of server-sent events: all that waits, a comment if nothing has
    // come within the time, or nothing once the queue is closed.
    std::string Take(std::chrono::milliseconds patience);
    void Close();
    bool IsClosed() const;
    std::uint64_t GetLost() const;  // of all events

private:
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<std::string> m_events;
    std::size_t m_nBytes = 0;
    std::uint64_t m_nLost = 0, m_nLostShown = 0;
    bool m_bClosed = false;
};

}  // namespace Sandbox
