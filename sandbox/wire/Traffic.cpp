#include "sandbox/wire/Traffic.h"

#include <algorithm>
#include <string>

#include "sandbox/wire/AnyMessage.h"

namespace Sandbox {

void Traffic::Send(Link& link, Wirova::IMessage& msg)
{
    std::vector<std::string> vecUsers;
    if (m_faults.AsksForUsers())
        vecUsers = m_log.UsersOf(link.GetName(), Direction::ToConnector, msg);
    const Mishap mishap = TakeFaults(link, msg.GetMsgID(), vecUsers);
    if (mishap.refused)
        SetRefused(msg, mishap.refused->nResult, mishap.refused->strText);
    if (mishap.nReqID)
        SetReqID(msg, *mishap.nReqID);
    m_log.Record(link.GetName(), Direction::ToConnector, msg, mishap.vecNames);
    if (mishap.bDrop)
        return;
    std::string strFrame = FrameOf(msg);
    Delivery delivery{m_answerDelay + mishap.delay, mishap.nPiece, mishap.hold, false};
    for (int i = 1; i < mishap.nCopies; ++i)
        link.Post(strFrame, delivery);
    if (mishap.nCutAfter) {
        strFrame.resize(std::min(strFrame.size(), *mishap.nCutAfter));
        delivery.bLast = true;
        delivery.hold = {};
    }
    link.Post(std::move(strFrame), delivery);
}

Mishap Traffic::TakeFaults(const Link& link, Wirova::int32 nMsgID, const std::vector<std::string>& vecUsers)
{
    Mishap mishap = m_faults.Take(nMsgID, link.GetName(), vecUsers);
    if (!mishap.vecNames.empty() && m_listener)
        m_listener(link.GetName(), nMsgID, mishap);
    return mishap;
}

// The users that a body names; the body keeps its bytes. Throws ProtocolError.
std::vector<std::string> Traffic::UsersOf(const Wirova::ClassInfo& info, Wirova::Stream* body)
{
    std::vector<char> vecBytes(static_cast<std::size_t>(Strova::GetLength(body)));
    const StreamPtr copy = MakeStream();
    const auto nSize = static_cast<int>(vecBytes.size());
    if (Strova::Peek(body, vecBytes.data(), nSize) != nSize ||
        Strova::Write(copy.get(), vecBytes.data(), nSize) != nSize)
        throw std::bad_alloc();
    const auto msg = info.pfnMake();
    LoadBody(*msg, copy.get());
    return UsersNamedBy(*msg);
}

void Traffic::Receive(Link& link, Wirova::Stream* body, const Serve& serve)
{
    const Wirova::int32 nMsgID = PeekMsgID(body);
    const Wirova::ClassInfo* const pClass = Wirova::FindClass(nMsgID);
    if (pClass == nullptr || !ComesFromConnector(*pClass))
        return serve(body, {});  // faults cannot be ordered for such a message
    const Mishap mishap = TakeFaults(
        link, nMsgID, m_faults.AsksForUsers() ? UsersOf(*pClass, body) : std::vector<std::string>());
    if (mishap.bDrop || mishap.refused) {
        const auto msg = pClass->pfnMake();
        LoadBody(*msg, body);
        m_log.Record(link.GetName(), Direction::FromConnector, *msg, mishap.vecNames);
        if (!mishap.bDrop)
            Refuse(link, *msg, *mishap.refused);
        return;
    }
    if (mishap.delay.count() > 0)
        return ServeLater(link, body, mishap, serve);
    serve(body, mishap.vecNames);
}

void Traffic::ServeLater(Link& link, Wirova::Stream* body, const Mishap& mishap, const Serve& serve)
{
    const int nSize = Strova::GetLength(body);
    std::string strBody(static_cast<std::size_t>(nSize), '\0');
    if (m_nHeldBack + strBody.size() > kMaxHeldBack)
        throw ProtocolError("a delay holds back more than " + std::to_string(kMaxHeldBack) + " bytes");
    Strova::Read(body, strBody.data(), nSize);
    m_nHeldBack += strBody.size();
    m_timers.After(mishap.delay, [this, wpLink = link.weak_from_this(), strBody = std::move(strBody),
                                  vecNames = mishap.vecNames, serve] {
        m_nHeldBack -= strBody.size();
        const auto pLink = wpLink.lock();
        if (pLink == nullptr || !pLink->IsOpen())
            return;
        pLink->Guard([&] {
            const StreamPtr late = MakeStream();
            if (Strova::Write(late.get(), strBody.data(), static_cast<int>(strBody.size())) < 0)
                throw std::bad_alloc();
            serve(late.get(), vecNames);
        });
    });
}

// Answers in place of the service, which never sees the request: nothing changes.
void Traffic::Refuse(Link& link, Wirova::IMessage& req, const Mishap::Refused& refused)
{
    const auto ans = AnswerOf(*Wirova::FindClass(req.GetMsgID()))->pfnMake();
    EchoFields(req, *ans);
    SetRefused(*ans, refused.nResult, refused.strText);
    Send(link, *ans);
}

}  // namespace Sandbox
