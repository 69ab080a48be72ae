// Every message that comes or goes is recorded here: a ring keeps the last ones for GET /messages, and the
// console gets a line.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "sandbox/base/Console.h"
#include "wirova/WirovaBase.h"

namespace Sandbox {

enum class Direction { FromConnector, ToConnector };

struct LoggedMessage {
    std::uint64_t nNumber;  // counted from 1
    std::chrono::system_clock::time_point time;
    std::string strConnector;  // its name, or the peer's address before registration
    Direction direction;
    const char* pszClass;
    std::string strFields;               // a JSON object of at most about kMaxFields bytes, secrets blanked
    std::vector<std::string> vecFaults;  // the faults that have hit it, "2 delay"
    std::vector<std::string> vecUsers;   // of MessageLog::UsersOf
};

// Belongs to the server's thread.
class MessageLog {
public:
    static constexpr std::size_t kMaxMessages = 500;
    static constexpr std::size_t kMaxFields = 64 << 10;  // bytes of one message, which bounds the ring too

    explicit MessageLog(const Console& console) : m_console(console) {}

    // Heartbeats reach the console only when it is verbose.
    void Record(const std::string& strConnector, Direction direction, const Wirova::IMessage& msg,
                std::vector<std::string> vecFaults = {});
    // The ids and numbers of the users that the message is about: those that the message names and, for an
    // answer to the request that was recorded last, those that the request names.
    std::vector<std::string> UsersOf(const std::string& strConnector, Direction direction,
                                     const Wirova::IMessage& msg) const;
    const std::deque<LoggedMessage>& GetMessages() const { return m_messages; }  // oldest first
    // How many of each class and direction there have been.
    const std::map<std::pair<Wirova::int32, Direction>, std::uint64_t>& GetCounts() const
    {
        return m_mapCounts;
    }
    // Who gets every message that is recorded from now on. Must not throw.
    using Listener = std::function<void(const LoggedMessage& message, const Wirova::IMessage& msg)>;
    void SetListener(Listener listener) { m_listener = std::move(listener); }
    std::uint64_t GetCount() const { return m_nCount; }  // of all ever recorded
    void Clear() { m_messages.clear(); }                 // numbers are not given again

private:
    const Console& m_console;
    // The request that was recorded last.
    struct Asked {
        std::string strConnector;
        Wirova::int32 nReqID = 0;
        std::vector<std::string> vecUsers;
    };

    std::uint64_t m_nCount = 0;
    Asked m_asked;
    std::map<std::pair<Wirova::int32, Direction>, std::uint64_t> m_mapCounts;
    Listener m_listener;
    std::deque<LoggedMessage> m_messages;
};

}  // namespace Sandbox
