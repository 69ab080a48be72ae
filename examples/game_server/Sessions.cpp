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

// YYYYMMDDhhmmss as "YYYY-MM-DD hh:mm:ss".
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

// Works for every response and list record with billing fields.
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
        // The service may have checked the user in or not. If a late success arrives, the connector checks
        // the user out by itself, so the user may simply try again.
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
    ShowOtherBillings(res.hBillingData);  // a null handle after a failure, which the calls allow
    return bIn;
}

bool Sessions::CheckOut(const std::string& strUser)
{
    const _USER_REQ req = MakeUser(strUser, "");
    _RESULT_RES res{};
    Checkout(&req, &res);
    m_game.Leave(strUser);  // whatever the answer is, the connector does not know the user any more
    if (res.bSuccess == 1) {
        std::printf("%s is out\n", strUser.c_str());
        return true;
    }
    if (IsTimeout(res.szError)) {
        // The service may have checked the user out or not. The game has nothing to do: at the next
        // connection the connector sends the list of users who play, and the service checks out those who are
        // not in it.
        std::printf("%s: no answer to the checkout; gone from this server all the same\n", strUser.c_str());
        return false;
    }
    // If the checkout could not be sent, the game has nothing to do either: the connector delivers it after
    // the next connection.
    std::printf("%s is not out at the service: %s\n", strUser.c_str(), res.szError);
    return false;
}

bool Sessions::ShowBilling(const std::string& strUser)
{
    const _USER_REQ req = MakeUser(strUser, m_game.GetAddress(strUser));
    _CHECKIN_RES res{};
    QueryBillingInfo(&req, &res);
    if (res.nResult != 0) {  // a query changes nothing, so after a timeout it can be repeated
        std::printf("nothing about %s: %s (code %d)\n", strUser.c_str(), res.szError, res.nResult);
        return false;
    }
    std::printf("%s has: ", strUser.c_str());
    ShowTerms(res);
    return true;
}

bool Sessions::ChargeAll()
{
    // For users whose term has ended, Charge calls the billing callback on this thread before it returns. So
    // no lock that the callback takes may be held here. This game's callback posts to a queue, which is safe.
    _RESULT_RES res{};
    Charge(&res);
    std::printf("%s\n", res.bSuccess == 1 ? "everybody on metered billing is charged" : res.szError);
    return res.bSuccess == 1;
}

bool Sessions::MoveTo(const std::string& strUser)
{
    // The record is fetched first, because after UserMoveTo the connector does not know the user any more.
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
        // The move may have begun or not. The other server may try MoveFrom with this line. If the service
        // refuses it there, the move has not begun, and the user checks in as usual.
        std::printf("%s: no answer; if the user is refused with this, check in anew: %s\n", strUser.c_str(),
                    WriteMoveLine(info).c_str());
        return false;
    }
    // The user has left this server in any case. If UserMoveTo could not be sent, the connector delivers a
    // checkout after the next connection.
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
        // The service may have moved the user here or not; this connector does not know the user in either
        // case. Query the billing to see what the service has; a checkin then starts a session of its own.
        std::printf("%s: no answer; look at the billing, then check in\n", strUser.c_str());
        return false;
    }
    std::printf("%s may not come: %s\n", strUser.c_str(), res.szError);
    return false;
}

void Sessions::OnBillingEvent(const _BILLING_NOTI_INFO& info)
{
    constexpr int kBillingExpire = 0;
    const std::string strName = GetEventName(info.nEventCode);  // of the settings file
    std::printf("  event %d (%s) for %s%s%s\n", info.nEventCode,
                strName.empty() ? "no name" : strName.c_str(), info.szUserKey,
                info.szParam[0] != '\0' ? ": " : "", info.szParam);
    // After event 0 the connector checks the user out at the service, and the game takes the player out.
    // After all other events the player stays and is shown the text.
    if (info.nEventCode == kBillingExpire && m_game.Leave(info.szUserKey))
        std::printf("  %s leaves the game\n", info.szUserKey);
}

void Sessions::OnStorageNotice(const _STORAGE_NOTI_INFO& info)
{
    const char* const pszWhom = info.szUserKey[0] != '\0' ? info.szUserKey : "somebody";
    std::printf("  %d item(s) have arrived in the storage box of %s\n", info.nItemCount, pszWhom);
}

// A checkout by force (event code 2) ends the session inside the connector, and no callback tells the game. A
// player is taken out only if missing at two calls in a row: after the first, the event that explains it may
// still be in the game's queue.
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
        // Every further call without an answer would block for five seconds more. The service checks the
        // other users out by itself: when this server stays away, or when it connects again and its list does
        // not name them.
        if (IsTimeout(res.szError))
            return;
    }
}
