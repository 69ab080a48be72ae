// What the stand-in does: a table of handlers over the message classes, and the rules that run by time.
// Belongs to the server's thread.
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
#include "sandbox/service/Registry.h"
#include "sandbox/service/Results.h"
#include "sandbox/service/Triggers.h"
#include "sandbox/store/Store.h"
#include "sandbox/wire/Frames.h"
#include "sandbox/wire/Traffic.h"
#include "wirova/messages/AllMessages.h"

namespace Sandbox {

class Service {
public:
    // Times that no connector sets; seconds of the calendar, milliseconds of the clock.
    static constexpr std::time_t kMoveSeconds = 60;             // from UserMoveTo until UserMoveFrom
    static constexpr std::int64_t kAwayMilliseconds = 300'000;  // then a connector is forgotten
    static constexpr std::int64_t kRegisterMilliseconds = 10'000;
    static constexpr int kConfirmCycles = 2;
    static constexpr int kSilentCycles = 3;
    // A connector ends what has run out by itself, in its charge cycle. After this the service does.
    static constexpr std::int64_t kOverdueMilliseconds = 180'000;
    static constexpr std::time_t kReserveSeconds = 60;       // from RequestUseStorage until confirm or cancel
    static constexpr std::chrono::seconds kSavePatience{5};  // for the game to save what has been bought

    // bSaveOnPurchase: the game is asked to save every purchase, not only those whose product says so.
    Service(Store& store, Registry& registry, Traffic& traffic, Triggers& triggers, MessageLog& log,
            const Console& console, const IClock& clock, bool bSaveOnPurchase);

    // One frame being served. pConnector is null for what may come before the registration.
    struct Call {
        Link& link;
        Connector* pConnector;
        const std::vector<std::string>& vecFaults;       // what has befallen the frame on its way
        std::vector<std::function<void()>> vecAfter;     // run in order, once the changes are committed
        std::vector<std::function<void()>> vecAnswered;  // then, once the answer is on its way
    };

    // Serves one frame, unless a fault is in its way: loads it, runs its handler in a transaction, sends the
    // answer. Throws ProtocolError.
    void Handle(Link& link, Wirova::Stream* body);
    // Why the link has to go now; nothing if it may stay.
    std::optional<std::string> GetOverdue(const Link& link) const;
    // Ends what has run out: users that nobody confirmed, moves, connectors that stay away.
    void Sweep();

private:
    struct Row {
        Wirova::int32 nMsgID;
        void (*run)(Service& service, Call& call, Wirova::Stream* body);
    };
    template <auto Handler>
    struct RowOf;  // makes the row of a handler from its signature
    static const Row kRows[];
    void Serve(Link& link, Wirova::Stream* body, const std::vector<std::string>& vecFaults);

    // Handlers. A request with an answer: fill it or throw Refusal. Without one: no Answer argument.
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

    // The one place where frames are served and answered.
    template <class Req>
    void Receive(Call& call, Req& req, Wirova::Stream* body);
    template <class Work>
    void Commit(Call& call, const Work& work);
    void OtherMessage(Call& call, Wirova::int32 nMsgID, Wirova::Stream* body);

    // Pieces of the session rules. All throw Refusal.
    User RequireUser(const UserKey& key);
    void RequireTime(const User& user, const std::string& strEndDate) const;
    // The session that a request or record means: that of the Seq No, or the user's if that is empty; it
    // must be the user's and on this connector, or on the move.
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
    void Notify(Link& link, const Session& session, int nEventCode, int nSpecificCode,
                const std::string& strParam);
    void NotifyForced(const Session& session);  // if its connector is linked
    // Ends sessions whose time is over and returns them; their connectors are still to be told.
    std::vector<Session> RemoveOverdue();

    // Pieces of the shop's and the box's rules. All throw Refusal.
    void RequireGame(const std::string& strGameID);
    void RequireProduct(const std::string& strGameID, const std::string& strProductID, Product& product);
    template <class Req>
    User RequireBox(const Req& req);  // its owner
    void RequireEntry(const User& owner, const std::string& strGameID, int nStorageSeq, Entry& entry);
    template <class Req>
    void EndReservations(const Req& req, EntryState state);
    // After a purchase, once it is booked.
    struct Delivered;
    Link* LinkOf(const Session& session);  // null if he is on no link now
    void NotifyStorage(const Delivered& delivered);
    void AskToSave(const std::shared_ptr<Delivered>& pDelivered);
    void OnSaved(const Delivered& delivered, const Wirova::IMessage* pAnswer, const std::string& strWhy);

    // Runs each(record) for the list's records; a Refusal is counted, the first few are shown.
    template <class Records, class Each>
    int CountRefused(const Call& call, const char* pszWhat, const Records& vecRecords, const Each& each);
    std::string NameOf(std::int64_t nConnector);
    void Dropped(const std::vector<Session>& vecSessions, const char* pszWhy);

    Store& m_store;
    Registry& m_registry;
    Traffic& m_traffic;
    Triggers& m_triggers;
    MessageLog& m_log;
    const Console& m_console;
    const IClock& m_clock;
    Catalogue& m_catalogue;
    Ledger& m_ledger;
    const bool m_bSaveOnPurchase;
    std::map<std::int64_t, std::int64_t> m_mapOverdue;  // Seq No to the milliseconds at which it was found
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

// How the request or record names its user.
template <class Named>
UserKey KeyOf(const Named& named)
{
    return named.strUserID.empty() ? UserKey{named.strUserNo, true} : UserKey{named.strUserID, false};
}

// The search type of a list, one of the known ones; 'A', all, if it is not set. Throws Refusal.
char SearchType(char cType, const char* pszKnown);

}  // namespace Sandbox
