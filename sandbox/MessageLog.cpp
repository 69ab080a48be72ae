#include "sandbox/MessageLog.h"

#include "wirova/MessageCatalog.h"

namespace Sandbox {
namespace {

constexpr std::size_t kMaxLine = 400;  // bytes, unless the console is verbose

std::string Cut(std::string strText, std::size_t nMax)
{
    if (strText.size() > nMax)
        strText.replace(nMax, std::string::npos, "...");
    return strText;
}

}  // namespace

void MessageLog::Record(const std::string& strConnector, Direction direction, const Wirova::IMessage& msg,
                        Importance importance)
{
    std::string strText = Cut(Wirova::DescribeMessage(msg), kMaxText);
    if (!m_console.IsQuiet() && (importance == Importance::Normal || m_console.IsVerbose())) {
        m_console.Note(strConnector + (direction == Direction::FromConnector ? " <- " : " -> ") +
                       (m_console.IsVerbose() ? strText : Cut(strText, kMaxLine)));
    }
    if (m_messages.size() == kMaxMessages)
        m_messages.pop_front();
    m_messages.push_back(
        {++m_nCount, std::chrono::system_clock::now(), strConnector, direction, std::move(strText)});
}

}  // namespace Sandbox
