#include "sandbox/service/Courier.h"

#include "sandbox/wire/AnyMessage.h"
#include "sandbox/wire/Frames.h"
#include "wirova/messages/AllMessages.h"

namespace Sandbox {
namespace {

using Failure = GameRequests::Failure;

constexpr std::chrono::milliseconds kPostTime{
    2000};  // for a letter and its answer, beside the game's own time
constexpr char kNoLink[] = "No sandbox has a link to the connector.";

bool IsAsked(const Wirova::IMessage& msg) { return AnswerOf(*Wirova::FindClass(msg.GetMsgID())) != nullptr; }

// The message whose frame, without its length, the text holds. Throws ProtocolError.
std::unique_ptr<Wirova::IMessage> FromBody(const std::string& strBody)
{
    const auto stream = MakeStream();
    Strova::Write(stream.get(), strBody.data(), static_cast<int>(strBody.size()));
    auto msg = Wirova::MakeMessage(PeekMsgID(stream.get()));
    if (msg == nullptr)
        throw ProtocolError("a letter holds no message");
    LoadBody(*msg, stream.get());
    return msg;
}

std::string ToBody(const Wirova::IMessage& msg) { return FrameOf(msg).substr(4); }

}  // namespace

bool Courier::Reaches(std::int64_t nConnector)
{
    if (m_registry.FindLink(nConnector) != nullptr)
        return true;
    Studio* const pStudio = m_store.GetStudio();
    return pStudio != nullptr && pStudio->GetOwner(nConnector) != 0;
}

void Courier::Send(std::int64_t nConnector, Wirova::IMessage& notice)
{
    if (Link* const pLink = m_registry.FindLink(nConnector))
        return m_traffic.Send(*pLink, notice);
    try {
        Ask(nConnector, notice, std::chrono::milliseconds(0),
            [](const Wirova::IMessage*, Failure, const std::string&) {});
    } catch (const StoreError& e) {
        m_console.Say(std::string("A ") + notice.GetMsgName() +
                      " is lost, the database has failed: " + e.what());
    }
}

void Courier::Ask(std::int64_t nConnector, Wirova::IMessage& msg, std::chrono::milliseconds timeout,
                  GameRequests::Heard heard)
{
    if (Link* const pLink = m_registry.FindLink(nConnector)) {
        if (IsAsked(msg))
            return m_requests.Ask(*pLink, msg, timeout, std::move(heard));
        m_requests.GiveReqID(msg);
        const auto sent = FromBody(ToBody(msg));  // as it was before a fault
        m_traffic.Send(*pLink, msg);
        return heard(sent.get(), Failure::None, "");
    }
    Studio* const pStudio = m_store.GetStudio();
    const std::int64_t nOwner = pStudio != nullptr ? pStudio->GetOwner(nConnector) : 0;
    if (nOwner == 0 || nOwner == pStudio->GetID())
        return heard(nullptr, Failure::NoLink, kNoLink);
    const std::int64_t nNumber = ++m_nLastNumber;
    pStudio->Post({.nTo = nOwner,
                   .nKind = Letter::Deliver,
                   .nNumber = nNumber,
                   .nConnector = nConnector,
                   .nValue = timeout.count(),
                   .strBody = ToBody(msg)});
    const std::uint64_t nTimer = m_timers.After(timeout + kPostTime, [this, nNumber] {
        Hear(nNumber, nullptr, Failure::Timeout,
             "The sandbox that has the connector's link does not answer.");
    });
    m_mapWaiting.emplace(nNumber, Waiting{std::move(heard), nTimer});
}

void Courier::TellOthers(const Letter& letter)
{
    if (Studio* const pStudio = m_store.GetStudio())
        pStudio->PostToOthers(letter);
}

void Courier::TakeLetters()
{
    Studio* const pStudio = m_store.GetStudio();
    if (pStudio == nullptr)
        return;
    for (const Letter& letter : pStudio->Take()) {
        try {
            if (letter.nKind == Letter::Deliver)
                Deliver(letter);
            else if (letter.nKind == Letter::Answer)
                Hear(letter.nNumber, letter.strBody.empty() ? nullptr : FromBody(letter.strBody).get(),
                     static_cast<Failure>(letter.nValue), letter.strText);
            else if (letter.nKind == Letter::Replaced)
                m_registry.CloseReplaced(letter.nConnector);
            else
                m_listener(letter);
        } catch (const ProtocolError& e) {
            m_console.Say(std::string("A letter of another sandbox is dropped: ") + e.what());
        }
    }
}

void Courier::Deliver(const Letter& letter)
{
    const auto answer = [this, nTo = letter.nFrom, nNumber = letter.nNumber](
                            const Wirova::IMessage* pAnswer, Failure failure, const std::string& strWhy) {
        try {
            m_store.GetStudio()->Post({.nTo = nTo,
                                       .nKind = Letter::Answer,
                                       .nNumber = nNumber,
                                       .nValue = static_cast<std::int64_t>(failure),
                                       .strText = strWhy,
                                       .strBody = pAnswer != nullptr ? ToBody(*pAnswer) : ""});
        } catch (const StoreError& e) {
            m_console.Say(std::string("A game's answer is lost, the database has failed: ") + e.what());
        }
    };
    if (m_registry.FindLink(letter.nConnector) == nullptr)
        return answer(nullptr, Failure::NoLink, kNoLink);
    Ask(letter.nConnector, *FromBody(letter.strBody), std::chrono::milliseconds(letter.nValue), answer);
}

void Courier::Hear(std::int64_t nNumber, const Wirova::IMessage* pAnswer, Failure failure,
                   const std::string& strWhy)
{
    auto waiting = m_mapWaiting.extract(nNumber);
    if (waiting.empty())
        return;
    m_timers.Cancel(waiting.mapped().nTimer);
    waiting.mapped().heard(pAnswer, failure, strWhy);
}

}  // namespace Sandbox
