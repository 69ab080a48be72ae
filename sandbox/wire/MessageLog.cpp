#include "sandbox/wire/MessageLog.h"

#include "sandbox/wire/AnyMessage.h"
#include "sandbox/wire/MessageJson.h"
#include "wirova/messages/BaseMessages.h"
#include "wirova/messages/MessageCatalog.h"

namespace Sandbox {
namespace {

// Longest description of a message on the console, in bytes.
constexpr std::size_t kMaxLine = 400;
constexpr std::size_t kMaxVerboseLine = 4000;
constexpr JsonLimits kRingLimits{1024, 100, MessageLog::kMaxFields};

std::string Cut(std::string strText, std::size_t nMax)
{
    if (strText.size() > nMax)
        strText.replace(nMax, std::string::npos, "...");
    return strText;
}

}  // namespace

void MessageLog::Record(const std::string& strConnector, Direction direction, const Wirova::IMessage& msg,
                        std::vector<std::string> vecFaults)
{
    const bool bRoutine = msg.GetMsgID() == XC2S_Heartbeat::kMsgID;
    if (!m_console.IsQuiet() && (!bRoutine || m_console.IsVerbose())) {
        std::string strLine = strConnector + (direction == Direction::FromConnector ? " <- " : " -> ");
        for (const std::string& strFault : vecFaults)
            strLine += "[" + strFault + "] ";
        m_console.Note(strLine +
                       Cut(Wirova::DescribeMessage(msg), m_console.IsVerbose() ? kMaxVerboseLine : kMaxLine));
    }
    std::vector<std::string> vecUsers = UsersOf(strConnector, direction, msg);
    if (const auto nReqID = GetReqID(msg); nReqID && direction == Direction::FromConnector)
        m_asked = {strConnector, *nReqID, vecUsers};
    if (m_messages.size() == kMaxMessages)
        m_messages.pop_front();
    ++m_mapCounts[{msg.GetMsgID(), direction}];
    m_messages.push_back({++m_nCount, std::chrono::system_clock::now(), strConnector, direction,
                          msg.GetMsgName(), FieldsToText(msg, kRingLimits), std::move(vecFaults),
                          std::move(vecUsers)});
    if (m_listener)
        m_listener(m_messages.back(), msg);
}

std::vector<std::string> MessageLog::UsersOf(const std::string& strConnector, Direction direction,
                                             const Wirova::IMessage& msg) const
{
    std::vector<std::string> vecUsers = UsersNamedBy(msg);
    if (direction == Direction::ToConnector && m_asked.strConnector == strConnector &&
        GetReqID(msg) == m_asked.nReqID)
        vecUsers.insert(vecUsers.end(), m_asked.vecUsers.begin(), m_asked.vecUsers.end());
    return vecUsers;
}

}  // namespace Sandbox
