#include "sandbox/service/GameRequests.h"

#include <algorithm>

#include "sandbox/wire/AnyMessage.h"

namespace Sandbox {

using Wirova::ClassInfo;
using Wirova::IMessage;

void GameRequests::GiveReqID(IMessage& msg)
{
    m_nLastReqID = m_nLastReqID < INT32_MAX ? m_nLastReqID + 1 : 1;
    SetReqID(msg, m_nLastReqID);
}

void GameRequests::Ask(Link& link, IMessage& req, std::chrono::milliseconds timeout, Heard heard)
{
    GiveReqID(req);
    const ClassInfo& answer = *AnswerOf(*Wirova::FindClass(req.GetMsgID()));
    const auto it =
        m_listWaiting.insert(m_listWaiting.end(), {&link, answer.nMsgID, m_nLastReqID, std::move(heard), 0});
    it->nTimer = m_timers.After(timeout, [this, it, pszAnswer = answer.pszName, timeout] {
        const Heard heardNow = std::move(it->heard);
        m_listWaiting.erase(it);
        heardNow(nullptr, Failure::Timeout,
                 std::string("The game has sent no ") + pszAnswer + " within " +
                     std::to_string(timeout.count()) + " ms.");
    });
    m_traffic.Send(link, req);
}

bool GameRequests::IsAnswer(Wirova::int32 nMsgID)
{
    const auto all = Wirova::AllClasses();
    return std::any_of(all.begin(), all.end(), [nMsgID](const ClassInfo& info) {
        const ClassInfo* const pAnswer = info.bRecord || ComesFromConnector(info) ? nullptr : AnswerOf(info);
        return pAnswer != nullptr && pAnswer->nMsgID == nMsgID;
    });
}

bool GameRequests::OnAnswer(const Link& link, const IMessage& ans)
{
    const auto nReqID = GetReqID(ans);
    const auto it = std::find_if(m_listWaiting.begin(), m_listWaiting.end(), [&](const Waiting& waiting) {
        return waiting.pLink == &link && waiting.nAnswerID == ans.GetMsgID() && waiting.nReqID == nReqID;
    });
    if (it == m_listWaiting.end())
        return false;
    const Heard heard = std::move(it->heard);
    m_timers.Cancel(it->nTimer);
    m_listWaiting.erase(it);
    heard(&ans, Failure::None, "");
    return true;
}

void GameRequests::OnClosed(const Link& link)
{
    std::list<Waiting> listLost;
    for (auto it = m_listWaiting.begin(); it != m_listWaiting.end();) {
        const auto itThis = it++;
        if (itThis->pLink == &link)
            listLost.splice(listLost.end(), m_listWaiting, itThis);
    }
    for (const Waiting& lost : listLost) {
        m_timers.Cancel(lost.nTimer);
        lost.heard(nullptr, Failure::LinkClosed,
                   "The connector's link has closed before the game has answered.");
    }
}

}  // namespace Sandbox
