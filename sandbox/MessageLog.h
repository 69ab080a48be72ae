// Every message that comes or goes: into a ring of the last ones, and as a line to the console.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <string>

#include "sandbox/Console.h"
#include "wirova/WirovaBase.h"

namespace Sandbox {

enum class Direction { FromConnector, ToConnector };
// Routine messages (heartbeats) reach the console only when it is verbose.
enum class Importance { Routine, Normal };

struct LoggedMessage {
    std::uint64_t nNumber;  // counted from 1
    std::chrono::system_clock::time_point time;
    std::string strConnector;  // its name, or the peer's address before registration
    Direction direction;
    std::string strText;  // name and fields, cut at kMaxText, secrets blanked
};

// Belongs to the server's thread.
class MessageLog {
public:
    static constexpr std::size_t kMaxMessages = 500;
    static constexpr std::size_t kMaxText = 4000;  // bytes of one message

    explicit MessageLog(const Console& console) : m_console(console) {}

    void Record(const std::string& strConnector, Direction direction, const Wirova::IMessage& msg,
                Importance importance = Importance::Normal);
    const std::deque<LoggedMessage>& GetMessages() const { return m_messages; }  // oldest first

private:
    const Console& m_console;
    std::uint64_t m_nCount = 0;
    std::deque<LoggedMessage> m_messages;
};

}  // namespace Sandbox
