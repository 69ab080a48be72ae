// A sequence of exports, answers, notices, losses of the link and steps of the clock, against the library on
// the in-memory platform. Every call ends with its own answer or with an honest timeout. At the end nobody is
// in at the service who is not in here, every checkout has arrived, and no list is left.
#include <cstdio>
#include <cstdlib>
#include <span>

#include "comm/ResWaiter.h"
#include "datapool/DataPool.h"
#include "session/FailedCheckOutVector.h"
#include "session/UserInfoMap.h"
#include "tests/fakeplatform/Fake.h"
#include "tests/fakeplatform/FakeHost.h"
#include "tests/fakeplatform/FakeLog.h"
#include "tests/fakeplatform/MemoryTransport.h"
#include "tests/fuzz/SessionService.h"
#include "tests/support/GameServer.h"

namespace {

using namespace Support;
using namespace std::chrono_literals;

// Which waits have ended: none but the pauses of loops, reconnect cycles, answers, heartbeat cycles.
constexpr auto kStill = 100ms, kReconnectCycle = 1000ms, kAnswer = 5000ms, kHeartbeatCycle = 10000ms;
constexpr std::size_t kMostCalls = 5, kMostSteps = 40;

void Require(bool bHolds, const std::string& strWhat)
{
    if (bHolds)
        return;
    std::fprintf(stderr, "Not so: %s\n%s", strWhat.c_str(), Fake::Journal::Text().c_str());
    std::abort();
}

enum Kind { kCheckin, kCheckinEx, kCheckout, kMoveTo, kMoveFrom };
struct Outcome {
    bool bSuccess;
    std::string strText;
};
struct Call {
    Kind kind;
    std::string strUser, strSeqNo;  // of the user's session at the beginning
    bool bAlone;                    // no other call of the user has been in flight meanwhile
    int nReqID = 0;                 // 0: never sent
    std::future<Outcome> result{};
};

void OnBillingEvent(const _BILLING_NOTI_INFO* pInfo)
{
    if (pInfo->nEventCode == 0)
        g_state->mapBelief[pInfo->szUserKey] = Belief::Out;
}

Outcome Make(Kind kind, const std::string& strUser, int nSeqNo)
{
    const _USER_REQ req = GameServer::User(strUser);
    _CHECKIN_RES in{};
    _CHECKIN_EX_RES inEx{};
    _RESULT_RES res{};
    const _USER_MOVE_INFO move{3, kProductID, nSeqNo, 1, "CRM", "20991231235959", 'N'};
    if (kind == kCheckin) {
        Checkin(&req, &in);
        return {in.nResult == 0, in.szError};
    }
    if (kind == kCheckinEx) {
        CheckinEx(&req, &inEx);
        DestroyHandle(inEx.hBillingData);
        return {inEx.nResult == 0, inEx.szError};
    }
    if (kind == kMoveFrom)
        UserMoveFrom(&req, &move, &res);
    else
        (kind == kCheckout ? &Checkout : &UserMoveTo)(&req, &res);
    return {res.bSuccess == 1, res.szError};
}

class Play {
public:
    Play()
    {
        m_game.settings.nReconnectCycle = kReconnectCycle / 1s;
        m_game.settings.nHeartbeatCycle = kHeartbeatCycle / 1s;
        m_game.settings.products = {{kProductID, "Gold", 3}};
        m_game.callbacks = {};
        m_game.callbacks.pfnBillingEvent = &OnBillingEvent;
        m_game.WriteSettings();
        Fake::EndWaits(kStill);
        ServeSessions(m_service);
        ServeLists(m_service);
        Start();
    }
    void Run(std::span<const std::uint8_t> bytes)
    {
        m_bytes = bytes;
        for (std::size_t n = 0; n < kMostSteps && !m_bytes.empty(); ++n)
            Step();
        EndInPeace();
    }

private:
    int Next(int nSides)
    {
        const int nByte = m_bytes.empty() ? 0 : m_bytes.front();
        m_bytes = m_bytes.subspan(m_bytes.empty() ? 0 : 1);
        return nByte % nSides;
    }
    void Step();

    // ---- the service ----
    void Answer(int nWay, int nIndex);
    void Notify(int nCode, const std::string& strUser);

    // ---- the game ----
    void Begin(Kind kind, const std::string& strUser);
    void Finish(std::size_t nCall);
    void Conclude(State& state, const Call& call, const Outcome& outcome);

    // ---- the link and the time ----
    void Start();
    void Restart();
    void Lose(bool bAbruptly);
    void ComeBack();
    void RunOut();
    void Beat();
    void ChargeAt(int nYear);
    void Sync();

    void EndInPeace();
    void ExpectAgreement();

    ServiceScript m_service{std::make_unique<Fake::MemoryTransport>()};
    GameServer m_game{m_service.Port()};
    std::span<const std::uint8_t> m_bytes;
    std::vector<Call> m_vecCalls;               // in flight
    std::set<std::string> m_setMustCheckOut;    // Seq Nos of which the service has to hear
    std::set<std::string> m_setUnknownArrival;  // only a list can tell the service that they are not here
    bool m_bUp = false, m_bTimeIsUp = false;
};

void Play::Step()
{
    const int nStep = Next(14), nFirst = Next(40);
    const auto strUser = std::string(1, static_cast<char>('a' + nFirst % 3));
    if (nStep < 4)
        Begin(static_cast<Kind>(nFirst / 3 % 5), strUser);
    else if (nStep < 7)
        Answer(nFirst / 8, nFirst % 8 + Next(8));
    else if (nStep == 7)
        RunOut();
    else if (nStep == 8)
        Lose(nFirst % 2 == 0);
    else if (nStep == 9)
        ComeBack();
    else if (nStep == 10)
        (nFirst % 2 == 0 && m_bUp ? g_state->bDeaf : g_state->bRefuseNext) = true;
    else if (nStep == 11)
        Notify(nFirst / 3 % 4, strUser);
    else if (nStep == 12)
        ChargeAt(nFirst % 2 == 0 ? 2024 : 2100);
    else
        nFirst % 4 == 0 ? Restart() : Beat();
}

// ---- the service ----

// Any request of this link, as often as one likes: right, in two pieces, twice, under a wrong id, with a
// message of another class.
void Play::Answer(int nWay, int nIndex)
{
    auto state = g_state.Lock();
    if (!m_bUp || state->mapAsked.empty())
        return;
    const auto it = std::next(state->mapAsked.begin(), nIndex % static_cast<int>(state->mapAsked.size()));
    const int nReqID = it->first;
    it->second.bAnswered |= nWay < 3;
    const Asked asked = it->second;
    state.lock.unlock();
    const std::size_t nCut = nWay == 1 ? static_cast<std::size_t>(nIndex) : 0;
    m_service.SendRaw(asked.strRight.substr(0, nCut));
    m_service.SendRaw(nWay == 3   ? asked.strWrongID
                      : nWay == 4 ? asked.strOtherClass
                                  : asked.strRight.substr(nCut) + (nWay == 2 ? asked.strRight : ""));
    Sync();
    const auto call = std::ranges::find(m_vecCalls, nReqID, &Call::nReqID);
    if (nWay < 3 && call != m_vecCalls.end())
        Finish(static_cast<std::size_t>(call - m_vecCalls.begin()));
}

void Play::Notify(int nCode, const std::string& strUser)
{
    if (!m_bUp)
        return;
    if (nCode == 2) {  // by force: the service has checked the user out
        const auto state = g_state.Lock();
        state->ledger.CheckOut(strUser, "");
        state->mapBelief[strUser] = Belief::Out;
    }
    m_service.Send<XS2C_BillingEventNotice>("strUserID=" + strUser + " nEventCode=" + std::to_string(nCode));
    Sync();
}

// ---- the game ----

// Ends when the service has the request, or the call has ended.
void Play::Begin(Kind kind, const std::string& strUser)
{
    if (m_vecCalls.size() == kMostCalls)
        return;
    CUserInfo info;
    UserInfoMap().FindUserInfo(strUser, info);
    Call call{kind, strUser, info.GetSeqNo(), true};
    for (Call& other : m_vecCalls) {
        if (other.strUser == strUser)
            other.bAlone = call.bAlone = false;
    }
    const std::string strMoving = g_state->mapMoving[strUser];
    const int nArrived = g_nArrived;
    call.result =
        m_game.Later([=] { return Make(kind, strUser, strMoving.empty() ? 1 : std::stoi(strMoving)); });
    while (g_nArrived == nArrived && call.result.wait_for(20us) != std::future_status::ready) {
    }
    m_service.Settle();
    if (g_nArrived != nArrived)
        call.nReqID = g_state->nLastReqID;
    m_vecCalls.push_back(std::move(call));
    if (g_nArrived == nArrived)
        Finish(m_vecCalls.size() - 1);
}

void Play::Finish(std::size_t nCall)
{
    Call call = std::move(m_vecCalls[nCall]);
    m_vecCalls.erase(m_vecCalls.begin() + static_cast<std::ptrdiff_t>(nCall));
    Require(call.result.wait_for(20s) == std::future_status::ready, "every call ends");
    const Outcome outcome = call.result.get();
    const auto state = g_state.Lock();
    const auto asked = state->mapAsked.find(call.nReqID);
    if (outcome.strText.ends_with("because of timeout."))
        Require(m_bTimeIsUp, "a call waits for five seconds");
    else if (call.nReqID != 0)
        Require(asked != state->mapAsked.end() && asked->second.bAnswered &&
                    asked->second.strText == outcome.strText,
                "not its own: " + outcome.strText);
    else
        Require(!outcome.bSuccess, "who has asked nobody has no answer: " + outcome.strText);
    Conclude(state.value, call, outcome);
}

void Play::Conclude(State& state, const Call& call, const Outcome& outcome)
{
    Belief& belief = state.mapBelief[call.strUser];
    const bool bLeaves = call.kind == kCheckout || call.kind == kMoveTo;
    if (!call.bAlone)
        belief = Belief::Unknown;
    else if (bLeaves)
        belief = Belief::Out;
    else if (outcome.bSuccess)
        belief = Belief::In;
    const bool bUnsent = outcome.strText.starts_with("Failed to send a");
    if (bLeaves && !call.strSeqNo.empty() && (call.kind == kCheckout || bUnsent))
        m_setMustCheckOut.insert(call.strSeqNo);
    if (call.kind == kMoveFrom && !outcome.bSuccess)
        m_setUnknownArrival.insert(call.strUser);
}

// ---- the link and the time ----

// Every frame that the service has sent has been handled, and what the handlers have sent is there.
void Play::Sync()
{
    if (m_bUp)
        m_service.Ask(XS2C_QueryGameMoneyReq());
    m_service.Forget();
}

void Play::Start()
{
    Require(static_cast<bool>(m_game.Init()), "the library starts: " + m_game.LastError());
    m_bUp = true;
    Sync();
}

// Under calls in flight, which end in the next life.
void Play::Restart()
{
    m_game.Stop();
    Require(DataPool().GetCount() == 0, "a stop leaves no list");
    m_service.WaitForDisconnect();
    for (Call& call : m_vecCalls)
        call.strSeqNo.clear(), call.bAlone = false;
    g_state->mapBelief.clear();
    g_state->ForgetLink();
    m_setMustCheckOut.clear();
    m_service.Up();
    Start();
}

void Play::Lose(bool bAbruptly)
{
    if (!m_bUp)
        return;
    m_bUp = false;
    if (bAbruptly)
        m_service.Cut();
    m_service.Down();
    m_service.WaitForDisconnect();
    while (Fake::Alive().contains("links"))
        std::this_thread::yield();
    g_state->ForgetLink();
}

void Play::ComeBack()
{
    if (m_bUp)
        return;
    m_service.Up();
    Fake::EndWaits(kReconnectCycle);
    m_service.Expect<XC2S_VelkarConnectReq>();
    Fake::EndWaits(kStill);
    m_service.Settle();  // the registration has been answered
    m_bUp = true;
    Sync();
    m_setUnknownArrival.clear();
}

void Play::RunOut()
{
    m_bTimeIsUp = true;
    Fake::EndWaits(kAnswer);
    while (!m_vecCalls.empty())
        Finish(0);
    Fake::EndWaits(kStill);
    m_bTimeIsUp = false;
}

// A deaf peer is gone before two heartbeats have passed.
void Play::Beat()
{
    if (!m_bUp || g_state->bDeaf)
        return;
    RunOut();
    Fake::EndWaits(kHeartbeatCycle);
    m_service.Expect<XC2S_Heartbeat>();
    Fake::EndWaits(kStill);
    Sync();
}

void Play::ChargeAt(int nYear)
{
    Fake::HostProcess::SetLocalTime({nYear, 6, 11, 12, 0, 0, 0});
    _RESULT_RES res;
    Charge(&res);
    Sync();
}

// ---- the end ----

void Play::EndInPeace()
{
    RunOut();
    if (g_state->bDeaf)
        Lose(true);
    ComeBack();
    std::string strLate;
    for (const auto& [nReqID, asked] : g_state->mapAsked)
        strLate += asked.bAnswered ? "" : asked.strRight;
    m_service.SendRaw(strLate);
    Sync();
    while (FailedCheckOutVector().GetCount() + FailedCheckOutVector().GetSentCount() != 0)
        Beat();
    for (const auto& [strUser, strSeqNo] : g_state->ledger.Settle())
        Require(m_setUnknownArrival.contains(strUser) || UserInfoMap().HasUserInfo(strUser),
                strUser + " is in at the service, so it is in here");
    Lose(false);
    ComeBack();
    ExpectAgreement();
    UserInfoMap().RemoveAllUserInfo();
    g_state.Lock().value = {};
    m_setMustCheckOut.clear();
    Fake::HostProcess::SetLocalTime({2024, 6, 11, 12, 0, 0, 0});
    Fake::Journal::Clear();
}

void Play::ExpectAgreement()
{
    const auto state = g_state.Lock();
    const Ledger::Users& mapIn = state->ledger.Settle();
    Require(UserInfoMap().GetCount() == mapIn.size(), "nobody else is in");
    for (const auto& [strUser, strSeqNo] : mapIn) {
        CUserInfo info;
        Require(UserInfoMap().FindUserInfo(strUser, info) && info.GetSeqNo() == strSeqNo, strUser + " is in");
    }
    for (const auto& [strUser, belief] : state->mapBelief)
        Require(belief == Belief::Unknown || (belief == Belief::In) == mapIn.contains(strUser),
                "the game is right about " + strUser);
    for (const std::string& strSeqNo : m_setMustCheckOut)
        Require(state->ledger.Checkouts(strSeqNo) > 0, "the checkout of " + strSeqNo + " has arrived");
    Require(DataPool().GetCount() + ResWaiterMap().GetCount() == 0, "no list is left, and nobody waits");
    Require(m_service.Faults().empty() && Fake::Violations().empty(), "the contracts are kept");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize)
{
    static Play s_play;
    s_play.Run({pData, nSize});
    return 0;
}
