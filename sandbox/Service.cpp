#include "sandbox/Service.h"

#include "wirova/BigEndian.h"
#include "wirova/MessageCatalog.h"

namespace Sandbox {
namespace {

// What may come before the registration: connectors let their first heartbeat overtake it.
template <class Req>
constexpr bool kAnytime = std::same_as<Req, XC2S_VelkarConnectReq> || std::same_as<Req, XC2S_Heartbeat>;

constexpr char kRegisterFirst[] = "This connector is not registered.";

}  // namespace

// A request with an answer.
template <class Req, class Ans, void (Service::*Handler)(Service::Call&, const Req&, Ans&)>
struct Service::RowOf<Handler> {
    static void Run(Service& service, Call& call, Wirova::Stream* body)
    {
        Req req;
        service.Receive(call, req, body);
        Ans ans;
        Echo(req, ans);
        const auto refuse = [&](int nResult, const char* pszText) {
            ans.Clear();
            Echo(req, ans);
            SetRefusal(ans, nResult, pszText);
        };
        if (call.pConnector == nullptr && !kAnytime<Req>) {
            refuse(kNotRegistered, kRegisterFirst);
        } else {
            try {
                service.Commit(call, [&] { (service.*Handler)(call, req, ans); });
            } catch (const Refusal& refusal) {
                refuse(refusal.GetResult(), refusal.what());
            } catch (const StoreError& e) {
                service.m_console.Say(std::string("The database has failed: ") + e.what());
                refuse(kStoreFailed, "The sandbox's database has failed.");
            }
        }
        service.Send(call.link, ans, service.m_answerDelay);
    }
    static constexpr Row kRow{Req::kMsgID, Run};
};

// A message without one.
template <class Req, void (Service::*Handler)(Service::Call&, const Req&)>
struct Service::RowOf<Handler> {
    static void Run(Service& service, Call& call, Wirova::Stream* body)
    {
        Req req;
        service.Receive(call, req, body);
        if (call.pConnector == nullptr && !kAnytime<Req>) {
            service.m_console.Say(call.link.GetName() + ": a " + req.GetMsgName() +
                                  " before the registration is dropped");
            return;
        }
        try {
            service.Commit(call, [&] { (service.*Handler)(call, req); });
        } catch (const StoreError& e) {
            service.m_console.Say(std::string("The database has failed: ") + e.what());
        }
    }
    static constexpr Row kRow{Req::kMsgID, Run};
};

const Service::Row Service::kRows[] = {
    RowOf<&Service::Heartbeat>::kRow,
    RowOf<&Service::VelkarConnect>::kRow,
    RowOf<&Service::FailedCheckOut>::kRow,
    RowOf<&Service::UserListSync>::kRow,
    RowOf<&Service::CheckIn>::kRow,
    RowOf<&Service::CheckInEx>::kRow,
    RowOf<&Service::CheckOut>::kRow,
    RowOf<&Service::QueryBillingInfo>::kRow,
    RowOf<&Service::QueryBillingInfoEx>::kRow,
    RowOf<&Service::UserMoveTo>::kRow,
    RowOf<&Service::UserMoveFrom>::kRow,
    RowOf<&Service::Charge>::kRow,
};

Service::Service(Store& store, Registry& registry, MessageLog& log, const Console& console,
                 const IClock& clock, std::chrono::milliseconds answerDelay)
    : m_store(store),
      m_registry(registry),
      m_log(log),
      m_console(console),
      m_clock(clock),
      m_answerDelay(answerDelay)
{
}

void Service::Handle(Link& link, Wirova::Stream* body)
{
    unsigned char bytes[sizeof(Wirova::int32)] = {};
    Strova::Peek(body, bytes, sizeof(bytes));
    const auto nMsgID = Wirova::GetBigEndian<Wirova::int32>(bytes);
    Call call{link, link.GetConnector(), {}};
    for (const Row& row : kRows) {
        if (row.nMsgID == nMsgID)
            return row.run(*this, call, body);
    }
    NotServed(call, nMsgID, body);
}

template <class Req>
void Service::Receive(Call& call, Req& req, Wirova::Stream* body)
{
    LoadBody(req, body);
    m_log.Record(call.link.GetName(), Direction::FromConnector, req,
                 std::same_as<Req, XC2S_Heartbeat> ? Importance::Routine : Importance::Normal);
}

template <class Work>
void Service::Commit(Call& call, const Work& work)
{
    Transaction transaction = m_store.Begin();
    work();
    transaction.Commit();
    for (const auto& after : call.vecAfter) after();
}

void Service::Send(Link& link, const Wirova::IMessage& msg, std::chrono::milliseconds delay)
{
    m_log.Record(link.GetName(), Direction::ToConnector, msg);
    link.Post(FrameOf(msg), delay);
}

// A message of the protocol that nobody here has a handler for is shown and dropped.
void Service::NotServed(Call& call, Wirova::int32 nMsgID, Wirova::Stream* body)
{
    const auto msg = Wirova::MakeMessage(nMsgID);
    if (msg == nullptr)
        throw ProtocolError("there is no message with the id " + std::to_string(nMsgID));
    LoadBody(*msg, body);
    m_log.Record(call.link.GetName(), Direction::FromConnector, *msg);
    m_console.Say(call.link.GetName() + ": a " + msg->GetMsgName() +
                  " is not served here and stays unanswered");
}

}  // namespace Sandbox
