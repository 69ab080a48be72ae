#include "sandbox/capi/Journal.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "sandbox/control/MessageFeed.h"

namespace Sandbox {
namespace {

bool Holds(const std::string& strFields, const Json& expected)
{
    const Json fields = Json::parse(strFields, nullptr, false);
    return std::ranges::all_of(expected.items(), [&](const auto& item) {
        return fields.contains(item.key()) && fields[item.key()] == item.value();
    });
}

}  // namespace

void Journal::Add(const LoggedMessage& message)
{
    {
        const std::lock_guard lock(m_mutex);
        m_messages.push_back(message);
        m_nBytes += message.strFields.size();
        while (m_messages.size() > kMaxMessages || m_nBytes > kMaxBytes) {
            m_nBytes -= m_messages.front().strFields.size();
            m_messages.pop_front();
        }
    }
    m_added.notify_all();
}

std::uint64_t Journal::GetLast() const
{
    const std::lock_guard lock(m_mutex);
    return m_messages.empty() ? 0 : m_messages.back().nNumber;
}

Journal::Found Journal::Expect(const std::string& strClass, const Json& fields,
                               std::chrono::milliseconds patience, std::uint64_t nAfter)
{
    const auto deadline = std::chrono::steady_clock::now() + patience;
    std::uint64_t nSeen = nAfter;
    std::string strLast;
    std::unique_lock lock(m_mutex);
    do {
        const auto isNew = [&](const LoggedMessage& message) { return message.nNumber > nSeen; };
        for (auto it = std::ranges::find_if(m_messages, isNew); it != m_messages.end(); ++it) {
            nSeen = it->nNumber;
            if (it->pszClass != strClass)
                continue;
            if (Holds(it->strFields, fields))
                return {it->nNumber, MessageText(*it)};
            strLast = it->strFields;
        }
    } while (m_added.wait_until(lock, deadline,
                                [&] { return !m_messages.empty() && m_messages.back().nNumber > nSeen; }));
    return {0, strLast.empty() ? "No " + strClass + " has come."
                               : "The last " + strClass + " that has come was " + strLast};
}

}  // namespace Sandbox
