// The messages that have passed, for a test that asks what has come. Any thread.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>

#include "sandbox/base/Json.h"
#include "sandbox/wire/MessageLog.h"

namespace Sandbox {

class Journal {
public:
    static constexpr std::size_t kMaxMessages = 100'000;
    static constexpr std::size_t kMaxBytes = 64u << 20;  // of fields

    // What was found, as GET /messages shows it; number 0: nothing, and the text says what came instead.
    struct Found {
        std::uint64_t nNumber;
        std::string strText;
    };

    void Add(const LoggedMessage& message);
    std::uint64_t GetLast() const;  // number of the last message
    // The first message of that class behind that number that holds these fields; waits for it so long.
    Found Expect(const std::string& strClass, const Json& fields, std::chrono::milliseconds patience,
                 std::uint64_t nAfter);

private:
    mutable std::mutex m_mutex;
    std::condition_variable m_added;
    std::deque<LoggedMessage> m_messages;  // the oldest first, numbered without a gap
    std::size_t m_nBytes = 0;
};

}  // namespace Sandbox
