// The service of FuzzSession.cpp: does at once what it is asked, and keeps its answers until the play sends
// them.
#pragma once

#include <atomic>
#include <map>
#include <string>
#include <utility>

#include "tests/support/Ledger.h"
#include "tests/support/ServiceScript.h"

enum class Belief { Unknown, In, Out };

// A request that the service has got, and the frames that it may send.
struct Asked {
    std::string strText;  // what the right answer says, and no other
    std::string strRight, strWrongID, strOtherClass;
    bool bAnswered = false;
};
struct State {
    Support::Ledger ledger;
    std::map<std::string, std::string> mapMoving;  // users between two game servers, and their Seq Nos
    std::map<std::string, Belief> mapBelief;       // what the game has been told
    std::map<int, Asked> mapAsked;                 // on this link, by Req ID
    int nLastReqID = 0, nTexts = 0;
    bool bDeaf = false;        // nothing that is sent reaches the service, until the link is lost
    bool bRefuseNext = false;  // a checkin

    void ForgetLink()
    {
        mapAsked.clear();
        bDeaf = false;
    }
};

inline Support::Guarded<State> g_state;
inline std::atomic<int> g_nArrived{0};  // requests that a caller waits for

// effect(state, req, ans) does what is asked, and false refuses it.
template <class Request, class Other, class Effect>
void Serve(Support::ServiceScript& service, Effect effect)
{
    service.On<Request>([effect](const Request& req, auto& ans) {
        const auto state = g_state.Lock();
        if (req.nReqID > 0) {
            state->nLastReqID = req.nReqID;
            ++g_nArrived;
        }
        if (state->bDeaf)
            return false;
        const bool bAccepted = effect(state.value, req, ans);
        if constexpr (requires { ans.nResult; })
            ans.nResult = bAccepted ? 0 : 30005;
        else
            ans.bSuccess = bAccepted;
        Asked& asked = state->mapAsked[req.nReqID] = {};
        asked.strText = ans.strErrorMsg = "answer " + std::to_string(++state->nTexts);
        asked.strRight = Support::FrameOf(ans);
        ans.nReqID += 1'000'000;
        asked.strWrongID = Support::FrameOf(ans);
        Other other;
        other.nReqID = req.nReqID;
        asked.strOtherClass = Support::FrameOf(other);
        return false;
    });
}

inline void ServeSessions(Support::ServiceScript& service)
{
    const auto checkIn = [](State& state, const auto& req, auto& ans) {
        if (std::exchange(state.bRefuseNext, false))
            return false;
        ans.strSeqNo = state.ledger.CheckIn(req.strUserID);
        return true;
    };
    Serve<XC2S_CheckInReq, XS2C_QueryBillingInfoAns>(service, checkIn);
    Serve<XC2S_CheckInExReq, XS2C_QueryBillingInfoExAns>(service, checkIn);
    Serve<XC2S_CheckOutReq, XS2C_UserMoveToAns>(service, [](State& state, const auto& req, auto&) {
        state.ledger.CheckOut(req.strUserID, req.strSeqNo);
        return true;
    });
    Serve<XC2S_UserMoveToReq, XS2C_CheckOutAns>(service, [](State& state, const auto& req, auto&) {
        state.mapMoving[req.strUserID] = state.ledger.SeqNoOf(req.strUserID);
        state.ledger.CheckOut(req.strUserID, "");
        return true;
    });
    Serve<XC2S_UserMoveFromReq, XS2C_CheckOutAns>(service, [](State& state, const auto& req, auto&) {
        const auto moving = state.mapMoving.extract(req.strUserID);
        if (moving.empty() || moving.mapped().empty())
            return false;
        state.ledger.CheckIn(req.strUserID, moving.mapped());
        return true;
    });
}

inline void ServeLists(Support::ServiceScript& service)
{
    service.On<XC2S_VelkarConnectReq>([](const auto&, auto&) { g_state->ledger.Register(); });
    service.See<XC2S_FailedCheckOutReq>([](const auto& req) {
        const auto state = g_state.Lock();
        for (const auto* pUser : req.vecCheckOutInfo) {
            if (!state->bDeaf)
                state->ledger.CheckOut(pUser->strUserID, pUser->strSeqNo);
        }
    });
    service.See<XC2S_UserListSyncReq>([](const auto& req) {
        for (const auto* pUser : req.vecCheckOutInfo)
            g_state->ledger.CheckIn(pUser->strUserID, pUser->strSeqNo);
    });
}
