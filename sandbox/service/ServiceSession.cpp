// The billing sessions of users: checkin, billing queries, checkout, moves, user lists, charging.
// docs/sandbox-rules.md tells the same rules in prose.
#include <algorithm>
#include <charconv>
#include <climits>
#include <iterator>

#include "sandbox/base/DateText.h"
#include "sandbox/service/BillingEvents.h"
#include "sandbox/service/Service.h"

namespace Sandbox {
namespace {

constexpr int kWarnAt[] = {5, 1};  // remaining minutes at which the game is warned

// A Seq No as connectors send it back; 0 for anything else. Connectors keep 31 bits of a Seq No, so a larger
// number is none.
std::int64_t SeqNoOf(const std::string& strSeqNo)
{
    std::int64_t nSeqNo = 0;
    const char* const pEnd = strSeqNo.data() + strSeqNo.size();
    const auto [pStop, error] = std::from_chars(strSeqNo.data(), pEnd, nSeqNo);
    return error == std::errc() && pStop == pEnd && nSeqNo > 0 && nSeqNo <= INT32_MAX ? nSeqNo : 0;
}

bool IsNamedBy(const Session& session, const UserKey& key)
{
    return key.strText == (key.bNumber ? session.strUserNo : session.strUserID);
}

bool HasTerm(int nBillType) { return nBillType == kFixedTerm || nBillType == kBoth; }

bool HasMinutes(int nBillType) { return nBillType == kMetered || nBillType == kBoth; }

}  // namespace

User Service::RequireUser(const UserKey& key)
{
    if (key.strText.empty())
        throw Refusal(kNoUserNamed, "Neither a user id nor a user number is given.");
    auto user = m_store.FindUser(key);
    if (!user)
        throw Refusal(kUnknownUser, "There is no user " + std::string(key.bNumber ? "number " : "") +
                                        Quoted(key.strText) + ".");
    return std::move(*user);
}

void Service::RequireTime(const User& user, const std::string& strEndDate) const
{
    if (HasTerm(user.billing.nBillType) && strEndDate < FormatDate(m_clock.Now()))
        throw Refusal(kTermOver, "The term of " + Quoted(user.strUserID) + " has ended.");
    if (HasMinutes(user.billing.nBillType) && user.billing.nRemainMinutes < 1)
        throw Refusal(kNoMinutes, Quoted(user.strUserID) + " has no minutes left.");
}

Session Service::RequireSession(const Call& call, const UserKey& key, const std::string& strSeqNo)
{
    std::optional<Session> session;
    if (strSeqNo.empty()) {
        const User user = RequireUser(key);
        session = m_store.FindSessionOf(user.nID);
        if (!session || session->nConnector != call.pConnector->nID)
            throw Refusal(kNotCheckedIn, Quoted(key.strText) + " is not checked in on this connector.");
        return *session;
    }
    session = m_store.FindSession(SeqNoOf(strSeqNo));
    if (!session)
        throw Refusal(kNotCheckedIn, "Nobody is checked in under Seq No " + Quoted(strSeqNo) + ".");
    if (!key.strText.empty() && !IsNamedBy(*session, key))
        throw Refusal(kNotCheckedIn,
                      "Seq No " + strSeqNo + " belongs to another user than " + Quoted(key.strText) + ".");
    if (session->nConnector != call.pConnector->nID && session->nMovingSince == 0)
        throw Refusal(kElsewhere, "Seq No " + strSeqNo + " belongs to " + NameOf(session->nConnector) + ".");
    return *session;
}

std::string Service::EndDateOf(const User& user) const
{
    return user.nTermSeconds > 0 ? FormatDate(m_clock.Now() + user.nTermSeconds) : user.billing.strEndDate;
}

Session Service::StartSession(const Call& call, const User& user, const UserKey& key,
                              const std::string& strUserIP, std::int64_t nSeqNo)
{
    Session session;
    session.nSeqNo = nSeqNo;
    session.nUser = user.nID;
    session.nConnector = call.pConnector->nID;
    session.bByNumber = key.bNumber;
    session.strUserIP = strUserIP;
    session.strEndDate = EndDateOf(user);
    m_store.AddSession(session);
    return session;
}

// ---- checkin and query ----

// Fills the billing fields that all answers and records have. The minutes of a fixed term are those until its
// end date.
template <class Rec>
void Service::FillTerms(Rec& rec, const Billing& billing, const std::string& strEndDate) const
{
    rec.nBillType = billing.nBillType;
    rec.nProductID = billing.nProductID;
    rec.nRemainMinutes = billing.nRemainMinutes;
    if (billing.nBillType == kFixedTerm)
        rec.nRemainMinutes = std::max<std::time_t>(ParseDate(strEndDate).value_or(0) - m_clock.Now(), 0) / 60;
    rec.strCRMCode = billing.strCRMCode;
    rec.strEndDate = strEndDate;
}

template <class Ans>
void Service::FillBilling(Ans& ans, const User& user, const std::string& strEndDate)
{
    ans.nResult = user.nResult;
    FillTerms(ans, user.billing, strEndDate);
    if constexpr (requires { ans.cFree; })
        ans.cFree = user.cFree;
    if constexpr (requires { ans.bPCCafe; })
        ans.bPCCafe = user.bPCCafe;
    if constexpr (requires { ans.vecOtherBilling; }) {
        for (const Billing& other : m_store.GetOtherBillings(user.nID))
            FillTerms(ans.vecOtherBilling.Add(), other, other.strEndDate);
    }
}

template <class Req, class Ans>
void Service::CheckInUser(Call& call, const Req& req, Ans& ans)
{
    const UserKey key = KeyOf(req);
    const User user = RequireUser(key);
    if (user.nResult != kAccepted && user.nResult != kAcceptedExtra)
        throw Refusal(user.nResult, user.strResultText);
    if (const auto old = m_store.FindSessionOf(user.nID)) {
        // A session on the move has left its connector, so a checkin elsewhere ends the move.
        if (old->nConnector != call.pConnector->nID && old->nMovingSince == 0) {
            throw Refusal(kElsewhere,
                          Quoted(key.strText) + " is checked in on " + NameOf(old->nConnector) + " already.");
        }
        m_store.RemoveSession(old->nSeqNo);
    }
    RequireTime(user, EndDateOf(user));
    const Session session = StartSession(call, user, key, req.strUserIP, m_store.TakeSeqNo());
    FillBilling(ans, user, session.strEndDate);
    ans.strSeqNo = std::to_string(session.nSeqNo);
}

template <class Req, class Ans>
void Service::QueryBilling(const Req& req, Ans& ans)
{
    const User user = RequireUser(KeyOf(req));
    if (user.nResult != kAccepted && user.nResult != kAcceptedExtra)
        throw Refusal(user.nResult, user.strResultText);
    const auto session = m_store.FindSessionOf(user.nID);
    FillBilling(ans, user, session ? session->strEndDate : EndDateOf(user));
}

void Service::CheckIn(Call& call, const XC2S_CheckInReq& req, XS2C_CheckInAns& ans)
{
    CheckInUser(call, req, ans);
}

void Service::CheckInEx(Call& call, const XC2S_CheckInExReq& req, XS2C_CheckInExAns& ans)
{
    CheckInUser(call, req, ans);
}

void Service::QueryBillingInfo(Call&, const XC2S_QueryBillingInfoReq& req, XS2C_QueryBillingInfoAns& ans)
{
    QueryBilling(req, ans);
}

void Service::QueryBillingInfoEx(Call&, const XC2S_QueryBillingInfoExReq& req,
                                 XS2C_QueryBillingInfoExAns& ans)
{
    QueryBilling(req, ans);
}

// ---- checkout, moves, lists ----

void Service::CheckOut(Call& call, const XC2S_CheckOutReq& req, XS2C_CheckOutAns& ans)
{
    m_store.RemoveSession(RequireSession(call, KeyOf(req), req.strSeqNo).nSeqNo);
    ans.bSuccess = true;
}

void Service::UserMoveTo(Call& call, const XC2S_UserMoveToReq& req, XS2C_UserMoveToAns& ans)
{
    m_store.SetMoving(RequireSession(call, KeyOf(req), "").nSeqNo, m_clock.Now());
    ans.bSuccess = true;
}

// The session keeps its Seq No, which the game has handed over with the user. A second request for a session
// that has arrived already succeeds too, so the connector may repeat a request whose answer was lost.
void Service::UserMoveFrom(Call& call, const XC2S_UserMoveFromReq& req, XS2C_UserMoveFromAns& ans)
{
    const UserKey key = KeyOf(req);
    auto session = m_store.FindSessionOf(RequireUser(key).nID);
    if (!session)
        throw Refusal(kNotCheckedIn, Quoted(key.strText) + " is not checked in.");
    if (session->nMovingSince == 0 && session->nConnector != call.pConnector->nID) {
        throw Refusal(kElsewhere, Quoted(key.strText) + " is checked in on " + NameOf(session->nConnector) +
                                      " and not on the move.");
    }
    session->nConnector = call.pConnector->nID;
    session->bByNumber = key.bNumber;
    session->strUserIP = req.strUserIP;
    m_store.MoveSession(*session);
    ans.bSuccess = true;
}

Service::Synced Service::SyncUser(const Call& call, const UserKey& key, const XCheckOutInfo& info)
{
    const User user = RequireUser(key);
    const std::int64_t nSeqNo = SeqNoOf(info.strSeqNo);
    if (nSeqNo == 0 && !info.strSeqNo.empty())
        throw Refusal(kNotCheckedIn, Quoted(info.strSeqNo) + " is no Seq No.");
    if (const auto other = m_store.FindSession(nSeqNo); other && other->nUser != user.nID)
        throw Refusal(kNotCheckedIn,
                      "Seq No " + info.strSeqNo + " belongs to " + Quoted(other->strUserID) + ".");

    auto session = m_store.FindSessionOf(user.nID);
    const bool bHere = session && session->nConnector == call.pConnector->nID;
    const bool bSame = session && (nSeqNo == 0 || session->nSeqNo == nSeqNo);
    if (bHere && bSame) {
        m_store.Confirm(session->nSeqNo);  // a move that has begun here goes on
        return Synced::Confirmed;
    }
    if (session && !bHere) {
        if (session->nMovingSince == 0 || !bSame)
            throw Refusal(kElsewhere,
                          Quoted(key.strText) + " is checked in on " + NameOf(session->nConnector) + ".");
        session->nConnector = call.pConnector->nID;  // the move ends here
        session->bByNumber = key.bNumber;
        session->strUserIP = info.strUserIP;
        m_store.MoveSession(*session);
        return Synced::Restored;
    }
    if (session)  // a connector's list counts more than what the store has of its users
        m_store.RemoveSession(session->nSeqNo);
    StartSession(call, user, key, info.strUserIP, nSeqNo != 0 ? nSeqNo : m_store.TakeSeqNo());
    return Synced::Restored;
}

// ---- charging ----

// The answer has no field for a failure, so users who cannot be charged are named on the console.
void Service::Charge(Call& call, const XC2S_ChargeReq& req, XS2C_ChargeAns&)
{
    const auto& vecInfo = req.vecChargeInfo;
    const int nRefused = CountRefused(call, "charge", vecInfo,
                                      [&](const XChargeInfo& info) { ChargeUser(call, info, req.nPID); });
    m_console.Note(call.link.GetName() + ": charge of product " + std::to_string(req.nPID) + ": " +
                   std::to_string(vecInfo.size() - static_cast<std::size_t>(nRefused)) + " charged, " +
                   std::to_string(nRefused) + " not charged");
}

// Takes one minute off. The game is warned when few minutes are left. When none is left, the game gets a
// billing event and has to check the user out; if it charges the user once more instead, the service checks
// the user out.
void Service::ChargeUser(Call& call, const XChargeInfo& info, int nProductID)
{
    Session session = RequireSession(call, KeyOf(info), info.strSeqNo);
    const User user = RequireUser({session.strUserID, false});
    if (user.billing.nProductID != nProductID || !HasMinutes(user.billing.nBillType))
        throw Refusal(kNotCheckedIn, Quoted(user.strUserID) + " is not charged for this product.");
    if (user.billing.nRemainMinutes < 1) {
        m_store.RemoveSession(session.nSeqNo);
        ShowCheckedOut({session}, "it is charged without a minute left");
        call.vecAfter.push_back([this, session] { NotifyForced(session); });
        throw Refusal(kNoMinutes, Quoted(user.strUserID) + " has no minutes left.");
    }
    session.nConnector = call.pConnector->nID;  // it gets the notices, even if the session is on the move
    const auto nRemain = static_cast<int>(std::min<std::int64_t>(m_store.TakeMinute(user.nID), INT_MAX));
    if (nRemain == 0) {
        call.vecAfter.push_back(
            [this, session] { Notify(session, kBillingExpire, 0, "The minutes are used up."); });
    } else if (std::find(std::begin(kWarnAt), std::end(kWarnAt), nRemain) != std::end(kWarnAt)) {
        call.vecAfter.push_back([this, session, nRemain] {
            Notify(session, kWarning, nRemain, "Minutes left: " + std::to_string(nRemain));
        });
    }
}

void Service::Notify(const Session& session, int nEventCode, int nSpecificCode, const std::string& strParam)
{
    XS2C_BillingEventNotice notice;
    (session.bByNumber ? notice.strUserNo : notice.strUserID) =
        session.bByNumber ? session.strUserNo : session.strUserID;
    notice.strUserIP = session.strUserIP;
    notice.nEventCode = nEventCode;
    notice.nSpecificCode = nSpecificCode;
    notice.strParam = strParam;
    m_courier.Send(session.nConnector, notice);
}

void Service::NotifyForced(const Session& session)
{
    Notify(session, kForceCheckout, 0, "The time is over.");
}

}  // namespace Sandbox
