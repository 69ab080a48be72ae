// Gives every message that is recorded to those who follow the stream at GET /events. Belongs to the server's
// thread.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "sandbox/base/Json.h"
#include "sandbox/control/EventQueue.h"
#include "sandbox/wire/MessageLog.h"

namespace Sandbox {

// Which messages somebody wants to see; an empty text is no condition.
struct MessageFilter {
    std::string strUser, strClass, strConnector;
    bool Takes(const LoggedMessage& message) const;
};

// A message as GET /messages and GET /events show it, on one line. fields stays as it was recorded.
std::string MessageText(const LoggedMessage& message);

class MessageFeed {
public:
    static constexpr std::size_t kMaxReaders = 8;

    // Null if there are kMaxReaders already. The reader closes the queue when it leaves.
    std::shared_ptr<EventQueue> Subscribe(MessageFilter filter);
    void Publish(const LoggedMessage& message);

    std::size_t GetReaders() const { return m_vecReaders.size(); }
    std::uint64_t GetLost() const;  // events that all readers have lost

private:
    void Forget();  // readers that have left

    struct Reader {
        MessageFilter filter;
        std::shared_ptr<EventQueue> pQueue;
    };
    std::vector<Reader> m_vecReaders;
    std::uint64_t m_nLostBefore = 0;  // by readers that have left
};

}  // namespace Sandbox
