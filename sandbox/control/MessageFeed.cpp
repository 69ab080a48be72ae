#include "sandbox/control/MessageFeed.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "sandbox/base/DateText.h"

namespace Sandbox {

bool MessageFilter::Takes(const LoggedMessage& message) const
{
    const auto& vecUsers = message.vecUsers;
    return (strClass.empty() || strClass == message.pszClass) &&
           (strConnector.empty() || strConnector == message.strConnector) &&
           (strUser.empty() || std::find(vecUsers.begin(), vecUsers.end(), strUser) != vecUsers.end());
}

std::string MessageText(const LoggedMessage& message)
{
    Json json = {{"number", message.nNumber},
                 {"time", FormatTimestamp(message.time)},
                 {"connector", message.strConnector},
                 {"direction", message.direction == Direction::FromConnector ? "in" : "out"},
                 {"class", message.pszClass}};
    if (!message.vecUsers.empty())
        json["users"] = message.vecUsers;
    if (!message.vecFaults.empty())
        json["faults"] = message.vecFaults;
    std::string strText = DumpJson(json);
    strText.pop_back();  // the closing brace: the fields are JSON already
    return strText + ",\"fields\":" + message.strFields + '}';
}

std::shared_ptr<EventQueue> MessageFeed::Subscribe(MessageFilter filter)
{
    Forget();
    if (m_vecReaders.size() >= kMaxReaders)
        return nullptr;
    m_vecReaders.push_back({std::move(filter), std::make_shared<EventQueue>()});
    return m_vecReaders.back().pQueue;
}

void MessageFeed::Publish(const LoggedMessage& message)
{
    if (m_vecReaders.empty())
        return;
    Forget();
    std::string strText;
    for (const Reader& reader : m_vecReaders) {
        if (!reader.filter.Takes(message))
            continue;
        if (strText.empty())
            strText = MessageText(message);
        reader.pQueue->Push(strText);
    }
}

std::uint64_t MessageFeed::GetLost() const
{
    std::uint64_t nLost = m_nLostBefore;
    for (const Reader& reader : m_vecReaders)
        nLost += reader.pQueue->GetLost();
    return nLost;
}

void MessageFeed::Forget()
{
    std::erase_if(m_vecReaders, [this](const Reader& reader) {
        const bool bLeft = reader.pQueue->IsClosed();
        if (bLeft)
            m_nLostBefore += reader.pQueue->GetLost();
        return bLeft;
    });
}

}  // namespace Sandbox
