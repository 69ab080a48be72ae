// What the stand-in service does: a handler for each message class that a connector sends, and the rules that
// run by time. Each family of messages has a file: ServiceConnect, ServiceSession, ServiceShop,
// ServicePurchase, ServiceStorage; ServiceSweep has the rules that run by time, ServiceOperator what an
// operator orders. Belongs to the server's
// thread.
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "sandbox/base/Clock.h"
#include "sandbox/base/Console.h"
#include "sandbox/base/Printable.h"
#include "sandbox/service/ConnectorRegistry.h"
#include "sandbox/service/Courier.h"
#include "sandbox/service/GameRequests.h"
#include "sandbox/service/Refusal.h"
#include "sandbox/store/Store.h"
#include "sandbox/wire/Frames.h"
#include "sandbox/wire/Traffic.h"
#include "wirova/messages/AllMessages.h"

namespace Sandbox {

class Service {
public:
    // Time limits. Those in seconds run on the calendar, those in milliseconds on the clock. The one of the
    // registration and the silence of a link run on the clock of the sockets.
    static constexpr std::time_t kMoveSeconds = 60;  // from UserMoveTo until UserMoveFrom
    static constexpr std::int64_t kAwayMilliseconds =
        300'000;  // a connector without a link is forgotten then
    static constexpr std::int64_t kRegisterMilliseconds = 10'000;  // from the connect until the registration
    // Heartbeat cycles: from a registration until the list of its users, and without a byte from the link.
    static constexpr int kConfirmCycles = 2;
    static constexpr int kSilentCycles = 3;
    // A connector checks out users without time in its charge cycle. After this time the service does it.
    static constexpr std::int64_t kOverdueMilliseconds = 180'000;
    static constexpr std::time_t kReserveSeconds = 60;       // from RequestUseStorage until confirm or cancel
    static constexpr std::chrono::seconds kSavePatience{5};  // for the game to save what has been bought

    // With bSaveOnPurchase the game is asked to save every purchase; otherwise only those whose product asks
    // for it. The other arguments must outlive the service.
    Service(Store& store, ConnectorRegistry& registry, Traffic& traffic, GameRequests& requests,
            Courier& courier, MessageLog& log, const Console& console, const IClock& clock,
            bool bSaveOnPurchase);

    // One frame that is being served.
    struct Call {
        Link& link;
        Connector* pConnector;                      // null before the registration
        const std::vector<std::string>& vecFaults;  // names of the faults that have hit the frame
        // What a handler leaves to be done, in order: once its changes are committed, and then once its
        // answer is on its way. A refused request does neither.
        std::vector<std::function<void()>> vecAfter;
        std::vector<std::function<void()>> vecAnswered;
    };

    // Serves one frame: loads it, runs its handler in a transaction, sends the answer. An ordered fault may
    // delay that or put itself in place of it. Throws ProtocolError.
    void Handle(Link& link, Wirova::Stream* body);
    // Why the link has to be closed now; nothing if it may stay.
    std::optional<std::string> ReasonToClose(const Link& link) const;
    // Ends what has run out: users that no list has confirmed, users without time, moves, reservations, and
    // connectors that stay away. Throws StoreError and has changed nothing then.
    void Sweep()
    {
        TryAgain([this] { SweepOnce(); });
    }

    // What an operator orders; nothing is done if StoreError is thrown. The term and the minutes of the user
    // end now, and the game of a user who is checked in is told that the time is over.
    void StopTerm(const std::string& strUserID);
    // The user goes, with all that belongs to the user. The game of a user who is checked in is told of a
    // forced checkout.
    void RemoveUser(const std::string& strUserID);

private:
    struct Row {
        Wirova::int32 nMsgID;
        void (*run)(Service& service, Call& call, Wirova::Stream* body);
    };
    // Makes the row of a handler; its signature tells the message classes.
    template <auto Handler, Access access = Access::Change>
    struct RowOf;
    static const Row kRows[];
    void Serve(Link& link, Wirova::Stream* body, const std::vector<std::string>& vecFaults);

    // Handlers, one for each message class. A handler fills the answer or throws Refusal; a message that is
    // not answered has no argument for one.
    void Heartbeat(Call& call, const XC2S_Heartbeat& req);
    void VelkarConnect(Call& call, const XC2S_VelkarConnectReq& req, XS2C_VelkarConnectAns& ans);
    void FailedCheckOut(Call& call, const XC2S_FailedCheckOutReq& req);
    void UserListSync(Call& call, const XC2S_UserListSyncReq& req);
    void CheckIn(Call& call, const XC2S_CheckInReq& req, XS2C_CheckInAns& ans);
    void CheckInEx(Call& call, const XC2S_CheckInExReq& req, XS2C_CheckInExAns& ans);
    void CheckOut(Call& call, const XC2S_CheckOutReq& req, XS2C_CheckOutAns& ans);
    void QueryBillingInfo(Call& call, const XC2S_QueryBillingInfoReq& req, XS2C_QueryBillingInfoAns& ans);
    void QueryBillingInfoEx(Call& call, const XC2S_QueryBillingInfoExReq& req,
                            XS2C_QueryBillingInfoExAns& ans);
    void UserMoveTo(Call& call, const XC2S_UserMoveToReq& req, XS2C_UserMoveToAns& ans);
    void UserMoveFrom(Call& call, const XC2S_UserMoveFromReq& req, XS2C_UserMoveFromAns& ans);
    void Charge(Call& call, const XC2S_ChargeReq& req, XS2C_ChargeAns& ans);

    void QueryMenuList(Call& call, const XC2S_QueryMenuListReq& req, XS2C_QueryMenuListAns& ans);
    void QueryProductList(Call& call, const XC2S_QueryProductListReq& req, XS2C_QueryProductListAns& ans);
    void QueryProductDetail(Call& call, const XC2S_QueryProductDetailReq& req,
                            XS2C_QueryProductDetailAns& ans);
    void QueryDiscount(Call& call, const XC2S_QueryDiscountReq& req, XS2C_QueryDiscountAns& ans);
    void QueryCoupont(Call& call, const XC2S_QueryCoupontReq& req, XS2C_QueryCoupontAns& ans);
    void QueryTag(Call& call, const XC2S_QueryTagReq& req, XS2C_QueryTagAns& ans);
    void QuerySpecialProductList(Call& call, const XC2S_QuerySpecialProductListReq& req,
                                 XS2C_QuerySpecialProductListAns& ans);
    void QuerySpecialProduct(Call& call, const XC2S_QuerySpecialProductReq& req,
                             XS2C_QuerySpecialProductAns& ans);
    void QueryRuvcoin(Call& call, const XC2S_QueryRuvcoinReq& req, XS2C_QueryRuvcoinAns& ans);
    void SearchStorage(Call& call, const XC2S_SearchStorageReq& req, XS2C_SearchStorageAns& ans);
    void ConfirmReadStorage(Call& call, const XC2S_ConfirmReadStorageReq& req,
                            XS2C_ConfirmReadStorageAns& ans);
    void RequestUseStorage(Call& call, const XC2S_RequestUseStorageReq& req, XC2S_RequestUseStorageAns& ans);
    void ConfirmUseStorage(Call& call, const XC2S_ConfirmUseStorageReq& req, XS2C_ConfirmUseStorageAns& ans);
    void CancelUseStorage(Call& call, const XC2S_CancelUseStorageReq& req, XS2C_CancelUseStorageAns& ans);
    void PurchaseProduct(Call& call, const XC2S_PurchaseProductReq& req, XS2C_PurchaseProductAns& ans);

    // Steps of serving a frame, the same for all handlers.
    template <class Req>
    void Receive(Call& call, Req& req, Wirova::Stream* body);
    // Runs the work in a transaction, and begins again if another sandbox has got in its way.
    template <class Work>
    void Commit(Call& call, Access access, const Work& work);
    void OtherMessage(Call& call, Wirova::int32 nMsgID, Wirova::Stream* body);

    // Pieces of the session rules. Those named Require throw Refusal.
    User RequireUser(const UserKey& key);
    void RequireTime(const User& user, const std::string& strEndDate) const;
    // The session that a request or record names: by its Seq No, or by its user if the Seq No is empty.
    // Refused unless the session is the user's and is on this connector or on the move.
    Session RequireSession(const Call& call, const UserKey& key, const std::string& strSeqNo);
    Session StartSession(const Call& call, const User& user, const UserKey& key, const std::string& strUserIP,
                         std::int64_t nSeqNo);
    std::string EndDateOf(const User& user) const;
    template <class Req, class Ans>
    void CheckInUser(Call& call, const Req& req, Ans& ans);
    template <class Req, class Ans>
    void QueryBilling(const Req& req, Ans& ans);
    template <class Ans>
    void FillBilling(Ans& ans, const User& user, const std::string& strEndDate);
    template <class Rec>
    void FillTerms(Rec& rec, const Billing& billing, const std::string& strEndDate) const;
    enum class Synced { Confirmed, Restored };
    Synced SyncUser(const Call& call, const UserKey& key, const XCheckOutInfo& info);
    void ChargeUser(Call& call, const XChargeInfo& info, int nProductID);
    void Notify(const Session& session, int nEventCode, int nSpecificCode, const std::string& strParam);
    void NotifyForced(const Session& session);
    void SweepOnce();
    struct Swept;
    void SweepStudio(Swept& swept);
    // Removes sessions whose time has been over for kOverdueMilliseconds. The caller tells their connectors,
    // once the removal is committed.
    std::vector<Session> RemoveOverdue();

    // Pieces of the rules of the shop and the storage boxes. Those named Require throw Refusal.
    void RequireGame(const std::string& strGameID);
    void RequireProduct(const std::string& strGameID, const std::string& strProductID, Product& product);
    template <class Req>
    User RequireBox(const Req& req);  // the owner of the box that the request names
    void RequireEntry(const User& owner, const std::string& strGameID, int nStorageSeq, Entry& entry);
    template <class Req>
    void EndReservations(const Req& req, EntryState state);
    // What follows a purchase, once its answer is on its way.
    struct Delivered;
    void NotifyStorage(const Delivered& delivered);
    void AskToSave(const std::shared_ptr<Delivered>& pDelivered);
    void OnSaved(const Delivered& delivered, const Wirova::IMessage* pAnswer, const std::string& strWhy);

    // Runs each(record) for the records of a list and returns how many were refused. The first few refusals
    // are shown on the console under pszWhat.
    template <class Records, class Each>
    int CountRefused(const Call& call, const char* pszWhat, const Records& vecRecords, const Each& each);
    std::string NameOf(std::int64_t nConnector);
    void ShowFailure(const StoreError& failure) const;
    // Shows on the console that the service has checked these users out.
    void ShowCheckedOut(const std::vector<Session>& vecSessions, const char* pszWhy);

    Store& m_store;
    ConnectorRegistry& m_registry;
    Traffic& m_traffic;
    GameRequests& m_requests;
    Courier& m_courier;
    MessageLog& m_log;
    const Console& m_console;
    const IClock& m_clock;
    Catalogue& m_catalogue;
    Ledger& m_ledger;
    const bool m_bSaveOnPurchase;
    std::map<std::int64_t, std::int64_t> m_mapOverdue;  // Seq No of a session without time, and since when
    std::chrono::steady_clock::time_point m_studioLooked{};  // when SweepStudio looked at the other sandboxes
};

template <class Records, class Each>
int Service::CountRefused(const Call& call, const char* pszWhat, const Records& vecRecords, const Each& each)
{
    constexpr int kMaxShown = 5;
    int nRefused = 0;
    for (const auto* pRecord : vecRecords) {
        try {
            each(*pRecord);
        } catch (const Refusal& refusal) {
            if (++nRefused <= kMaxShown)
                m_console.Note(call.link.GetName() + ": " + pszWhat + ": " + refusal.what());
        }
    }
    return nRefused;
}

// How a request or record names its user: by id, or by number if the id is empty.
template <class Named>
UserKey KeyOf(const Named& named)
{
    return named.strUserID.empty() ? UserKey{named.strUserNo, true} : UserKey{named.strUserID, false};
}

// The search type of a list request; 'A', which finds all, if the request sets none. Throws Refusal for a
// type that is not among the known ones.
char SearchType(char cType, const char* pszKnown);

}  // namespace Sandbox
