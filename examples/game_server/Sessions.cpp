#include "Sessions.h"

#include <cstdio>
#include <utility>

#include "List.h"
#include "MoveLine.h"
#include "Text.h"

namespace {

_USER_REQ MakeUser(const std::string& strUser, const std::string& strIP)
{
    _USER_REQ req{};
    Put(req.szUserID, strUser);
    Put(req.szUserIP, strIP);
    return req;
}

std::string NameOf(int nProductID)
{
    const char* const pszName = GetBillingName(nProductID);
    return pszName[0] != '\0' ? pszName : "product " + std::to_string(nProductID);
}

// The service's 14 digits, for people.
std::string FormatDate(const char* pszDate)
{
    std::string strDate = pszDate;
    if (strDate.size() == 14) {
        const std::pair<std::size_t, const char*> marks[] = {
            {12, ":"}, {10, ":"}, {8, " "}, {6, "-"}, {4, "-"}};
        for (const auto& [nAt, pszMark] : marks)
            strDate.insert(nAt, pszMark);
    }
    return strDate.empty() ? "-" : strDate;
}

// Of any response or list record that tells of a billing.
template <class Rec>
void ShowTerms(const Rec& rec)
{
    std::printf("%s (billing id %d), %lld minutes left, term until %s\n", NameOf(rec.nProductID).c_str(),
                rec.nBillingID, rec.nRemainMinutes, FormatDate(rec.szEndDate).c_str());
}

void ShowOtherBillings(_DATA_HANDLE* pHandle)
{
    const List list(pHandle);
    ForEachRecord(list, &GetBillingData, [](const _BILL_INFO& info) {
        std::printf("  also: ");
        ShowTerms(info);
    });
}

// What Checkin and CheckinEx have in common.
template <class Res>
bool FinishCheckIn(Game& game, const std::string& strUser, const std::string& strIP, const Res& res)
{
    if (res.nResult == 0) {
        game.Enter(strUser, strIP);
        std::printf("%s is in: ", strUser.c_str());
        ShowTerms(res);
        if (res.bExtra != 0)
            std::printf("  with the service's extra flag%s%s\n", res.szError[0] != '\0' ? ": " : "",
                        res.szError);
        return true;
    }
    if (IsTimeout(res.szError)) {
        // Unknown. If the service checks the user in after all, the connector takes that back by itself, so
        // the user may simply try again.
        std::printf("%s: no answer, please try again\n", strUser.c_str());
        return false;
    }
    std::printf("%s may not play: %s (code %d)\n", strUser.c_str(), res.szError, res.nResult);
    return false;
}

}  // namespace

bool Sessions::CheckIn(const std::string& strUser, const std::string& strIP)
{
    const _USER_REQ req = MakeUser(strUser, strIP);
    _CHECKIN_RES res{};
    Checkin(&req, &res);
    return FinishCheckIn(m_game, strUser, strIP, res);
}

bool Sessions::CheckInEx(const std::string& strUser, const std::string& strIP)
{
    const _USER_REQ req = MakeUser(strUser, strIP);
    _CHECKIN_EX_RES res{};
    CheckinEx(&req, &res);
    const bool bIn = FinishCheckIn(m_game, strUser, strIP, res);
    ShowOtherBillings(res.hBillingData);  // null after a failure, which all the calls take
    return bIn;
}

bool Sessions::CheckOut(const std::string& strUser)
{
    const _USER_REQ req = MakeUser(strUser, "");
    _RESULT_RES res{};
    Checkout(&req, &res);
    m_game.Leave(strUser);  // whatever the answer is, the connector has let go of the user
    if (res.bSuccess == 1) {
        std::printf("%s is out\n", strUser.c_str());
        return true;
    }
    if (IsTimeout(res.szError)) {
        // Unknown. Nothing is left to do here: if the service still holds the user, it learns of it at the
        // next connection, by the list of those who play.
        std::printf("%s: no answer to the checkout; gone from this server all the same\n", strUser.c_str());
        return false;
    }
    // "Failed to send" needs nothing from us: the connector delivers the checkout after the next connection.
    std::printf("%s is not out at the service: %s\n", strUser.c_str(), res.szError);
    return false;
}

bool Sessions::ShowBilling(const std::string& strUser)
{
    const _USER_REQ req = MakeUser(strUser, m_game.GetAddress(strUser));
    _CHECKIN_RES res{};
    QueryBillingInfo(&req, &res);
    if (res.nResult != 0) {  // a question changes nothing: after a timeout ask again
        std::printf("nothing about %s: %s (code %d)\n", strUser.c_str(), res.szError, res.nResult);
        return false;
    }
    std::printf("%s has: ", strUser.c_str());
    ShowTerms(res);
    return true;
}

bool Sessions::ChargeAll()
{
    // Whose term has ended is told to the billing callback inside this call, on this thread. A queue does not
    // mind; a lock that is held here and taken there would stand still for ever.
    _RESULT_RES res{};
    Charge(&res);
    std::printf("%s\n", res.bSuccess == 1 ? "everybody on metered billing is charged" : res.szError);
    return res.bSuccess == 1;
}

bool Sessions::MoveTo(const std::string& strUser)
{
    // First the record: after the call the connector does not know the user any more.
    _USER_MOVE_INFO info{};
    if (!GetBillingInfoForUserMove(strUser.c_str(), &info)) {
        std::printf("%s is not checked in here\n", strUser.c_str());
        return false;
    }
    const _USER_REQ req = MakeUser(strUser, m_game.GetAddress(strUser));
    _RESULT_RES res{};
    UserMoveTo(&req, &res);
    m_game.Leave(strUser);
    if (res.bSuccess == 1) {
        std::printf("%s moves with: %s\n", strUser.c_str(), WriteMoveLine(info).c_str());
        return true;
    }
    if (IsTimeout(res.szError)) {
        // Unknown. The other server may try the record; if the service refuses it there, the move never
        // began and a plain checkin is right.
        std::printf("%s: no answer; if the user is refused with this, check in anew: %s\n", strUser.c_str(),
                    WriteMoveLine(info).c_str());
        return false;
    }
    // The user is out here. What could not be sent is delivered as a checkout after the next connection.
    std::printf("%s does not move: %s\n", strUser.c_str(), res.szError);
    return false;
}

bool Sessions::MoveFrom(const std::string& strUser, const std::string& strIP, const std::string& strLine)
{
    _USER_MOVE_INFO info{};
    if (!ReadMoveLine(strLine, info)) {
        std::printf("this is not what a moving user brings along: %s\n", strLine.c_str());
        return false;
    }
    const _USER_REQ req = MakeUser(strUser, strIP);
    _RESULT_RES res{};
    UserMoveFrom(&req, &info, &res);
    if (res.bSuccess == 1) {
        m_game.Enter(strUser, strIP);
        std::printf("%s has arrived: %s\n", strUser.c_str(), NameOf(info.nProductID).c_str());
        return true;
    }
    if (IsTimeout(res.szError)) {
        // Unknown, and the connector does not know the user here in either case. Ask the service what it
        // has; a checkin then starts a session of its own.
        std::printf("%s: no answer; look at the billing, then check in\n", strUser.c_str());
        return false;
    }
    std::printf("%s may not come: %s\n", strUser.c_str(), res.szError);
    return false;
}

void Sessions::OnBillingEvent(const _BILLING_NOTI_INFO& info)
{
    constexpr int kBillingExpire = 0;
    const std::string strName = GetEventName(info.nEventCode);  // from the settings
    std::printf("  event %d (%s) for %s%s%s\n", info.nEventCode,
                strName.empty() ? "no name" : strName.c_str(), info.szUserKey,
                info.szParam[0] != '\0' ? ": " : "", info.szParam);
    // The connector checks the user out at the service; putting the player out of the game is ours. For all
    // other codes the player stays, and is shown the text.
    if (info.nEventCode == kBillingExpire && m_game.Leave(info.szUserKey))
        std::printf("  %s leaves the game\n", info.szUserKey);
}

void Sessions::OnStorageNotice(const _STORAGE_NOTI_INFO& info)
{
    const char* const pszWhom = info.szUserKey[0] != '\0' ? info.szUserKey : "somebody";
    std::printf("  %d item(s) have arrived in the storage box of %s\n", info.nItemCount, pszWhom);
}

// A checkout by force (event code 2) ends the session inside the connector without a word to the game. Only
// who is missing at two looks in a row has to go: an event that says why may still be on its way to us.
void Sessions::FindForgotten()
{
    std::set<std::string> setMissing;
    for (const std::string& strUser : m_game.GetPlayers()) {
        _USER_MOVE_INFO info{};
        if (GetBillingInfoForUserMove(strUser.c_str(), &info))
            continue;
        if (m_setMissing.count(strUser) == 0) {
            setMissing.insert(strUser);
        } else if (m_game.Leave(strUser)) {
            std::printf("  %s has been checked out by the service and leaves the game\n", strUser.c_str());
        }
    }
    m_setMissing.swap(setMissing);
}

void Sessions::CheckEveryoneOut()
{
    for (const std::string& strUser : m_game.GetPlayers()) {
        const _USER_REQ req = MakeUser(strUser, "");
        _RESULT_RES res{};
        Checkout(&req, &res);
        m_game.Leave(strUser);
        std::printf("%s is %s at the end\n", strUser.c_str(), res.bSuccess == 1 ? "checked out" : "let go");
        // Each unanswered call costs five seconds. The service learns of the others by itself, once this
        // server stays away or comes back without them.
        if (IsTimeout(res.szError))
            return;
    }
}
