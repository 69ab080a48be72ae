#include "sandbox/service/Service.h"

#include <string_view>

#include "sandbox/wire/AnyMessage.h"

namespace Sandbox {
namespace {

// Messages that are served before the registration. The heartbeat is one of them, because a connector may
// send its first heartbeat before its registration.
template <class Req>
constexpr bool kAnytime = std::same_as<Req, XC2S_VelkarConnectReq> || std::same_as<Req, XC2S_Heartbeat>;

constexpr char kRegisterFirst[] = "This connector is not registered.";

}  // namespace

// The row of a request that is answered, whatever happens in its handler.
template <class Req, class Ans, void (Service::*Handler)(Service::Call&, const Req&, Ans&), Access access>
struct Service::RowOf<Handler, access> {
    static void Run(Service& service, Call& call, Wirova::Stream* body)
    {
        Req req;
        service.Receive(call, req, body);
        Ans ans;
        const auto refuse = [&](int nResult, const char* pszText) {
            call.vecAnswered.clear();
            ans.Clear();
            EchoFields(req, ans);
            SetRefused(ans, nResult, pszText);
        };
        if (call.pConnector == nullptr && !kAnytime<Req>) {
            refuse(kNotRegistered, kRegisterFirst);
        } else {
            try {
                service.Commit(call, access, [&] {
                    ans.Clear();
                    EchoFields(req, ans);
                    (service.*Handler)(call, req, ans);
                });
            } catch (const Refusal& refusal) {
                refuse(refusal.GetResult(), refusal.what());
            } catch (const StoreUnknown& e) {
                // Success and refusal may both be wrong, so the game gets no answer, which tells it the same.
                return service.ShowFailure(e);
            } catch (const StoreError& e) {
                service.ShowFailure(e);
                refuse(kStoreFailed, "The sandbox's database has failed.");
            }
        }
        service.m_traffic.Send(call.link, ans);
        try {
            for (const auto& answered : call.vecAnswered)
                answered();
        } catch (const StoreError& e) {
            service.ShowFailure(e);
        }
    }
    static constexpr Row kRow{Req::kMsgID, Run};
};

// The row of a message that is not answered; a failure is shown on the console.
template <class Req, void (Service::*Handler)(Service::Call&, const Req&), Access access>
struct Service::RowOf<Handler, access> {
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
            service.Commit(call, access, [&] { (service.*Handler)(call, req); });
        } catch (const StoreError& e) {
            service.ShowFailure(e);
        }
    }
    static constexpr Row kRow{Req::kMsgID, Run};
};

const Service::Row Service::kRows[] = {
    RowOf<&Service::Heartbeat, Access::Look>::kRow,
    RowOf<&Service::VelkarConnect>::kRow,
    RowOf<&Service::FailedCheckOut>::kRow,
    RowOf<&Service::UserListSync>::kRow,
    RowOf<&Service::CheckIn>::kRow,
    RowOf<&Service::CheckInEx>::kRow,
    RowOf<&Service::CheckOut>::kRow,
    RowOf<&Service::QueryBillingInfo, Access::Look>::kRow,
    RowOf<&Service::QueryBillingInfoEx, Access::Look>::kRow,
    RowOf<&Service::UserMoveTo>::kRow,
    RowOf<&Service::UserMoveFrom>::kRow,
    RowOf<&Service::Charge>::kRow,
    RowOf<&Service::QueryMenuList, Access::Look>::kRow,
    RowOf<&Service::QueryProductList, Access::Look>::kRow,
    RowOf<&Service::QueryProductDetail, Access::Look>::kRow,
    RowOf<&Service::QueryDiscount, Access::Look>::kRow,
    RowOf<&Service::QueryCoupont, Access::Look>::kRow,
    RowOf<&Service::QueryTag, Access::Look>::kRow,
    RowOf<&Service::QuerySpecialProductList, Access::Look>::kRow,
    RowOf<&Service::QuerySpecialProduct, Access::Look>::kRow,
    RowOf<&Service::QueryRuvcoin, Access::Look>::kRow,
    RowOf<&Service::SearchStorage, Access::Look>::kRow,
    RowOf<&Service::ConfirmReadStorage>::kRow,
    RowOf<&Service::RequestUseStorage>::kRow,
    RowOf<&Service::ConfirmUseStorage>::kRow,
    RowOf<&Service::CancelUseStorage>::kRow,
    RowOf<&Service::PurchaseProduct>::kRow,
};

Service::Service(Store& store, ConnectorRegistry& registry, Traffic& traffic, GameRequests& requests,
                 Courier& courier, MessageLog& log, const Console& console, const IClock& clock,
                 bool bSaveOnPurchase)
    : m_store(store),
      m_registry(registry),
      m_traffic(traffic),
      m_requests(requests),
      m_courier(courier),
      m_log(log),
      m_console(console),
      m_clock(clock),
      m_catalogue(store.GetCatalogue()),
      m_ledger(store.GetLedger()),
      m_bSaveOnPurchase(bSaveOnPurchase)
{
}

void Service::Handle(Link& link, Wirova::Stream* body)
{
    m_traffic.Receive(link, body,
                      [this, &link](Wirova::Stream* whole, const std::vector<std::string>& vecFaults) {
                          Serve(link, whole, vecFaults);
                      });
}

void Service::Serve(Link& link, Wirova::Stream* body, const std::vector<std::string>& vecFaults)
{
    const Wirova::int32 nMsgID = PeekMsgID(body);
    Call call{link, m_registry.FindByLink(link), vecFaults, {}, {}};
    for (const Row& row : kRows) {
        if (row.nMsgID == nMsgID)
            return row.run(*this, call, body);
    }
    OtherMessage(call, nMsgID, body);
}

template <class Req>
void Service::Receive(Call& call, Req& req, Wirova::Stream* body)
{
    LoadBody(req, body);
    m_log.Record(call.link.GetName(), Direction::FromConnector, req, call.vecFaults);
}

template <class Work>
void Service::Commit(Call& call, Access access, const Work& work)
{
    TryAgain([&] {
        call.vecAfter.clear();
        call.vecAnswered.clear();
        Transaction transaction = m_store.Begin(access);
        work();
        transaction.Commit();
    });
    for (const auto& after : call.vecAfter)
        after();
}

// A message without a handler: the answer to a request of the service goes to its waiter, anything else is
// shown and dropped.
void Service::OtherMessage(Call& call, Wirova::int32 nMsgID, Wirova::Stream* body)
{
    const auto msg = Wirova::MakeMessage(nMsgID);
    if (msg == nullptr)
        throw ProtocolError("there is no message with the id " + std::to_string(nMsgID));
    Receive(call, *msg, body);
    if (m_requests.OnAnswer(call.link, *msg))
        return;
    if (GameRequests::IsAnswer(nMsgID)) {
        m_console.Say(call.link.GetName() + ": nobody waits for this " + msg->GetMsgName());
        return;
    }
    m_console.Say(call.link.GetName() + ": a " + msg->GetMsgName() +
                  " is not served here and stays unanswered");
}

void Service::ShowFailure(const StoreError& failure) const
{
    m_console.Say(std::string("The database has failed: ") + failure.what());
}

char SearchType(char cType, const char* pszKnown)
{
    if (cType == '\0' || cType == ' ')
        return 'A';
    if (std::string_view(pszKnown).find(cType) == std::string_view::npos)
        throw Refusal(kBadSearch, std::string("The search type is none of ") + pszKnown + ".");
    return cType;
}

}  // namespace Sandbox
