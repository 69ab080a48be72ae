#include "load/GameServer.h"

#include <utility>

#include "sandbox/wire/AnyMessage.h"
#include "wirova/messages/BaseMessages.h"
#include "wirova/messages/SessionMessages.h"

namespace Load {
namespace {

constexpr std::chrono::seconds kRetryCycle{1};
constexpr int kSuccessWithFlag = 90006;  // checked in, and the game's extra flag

struct Result {
    bool bSuccess = true;
    std::string strText, strSeqNo;
};

// Whatever its class calls the result, the text and the Seq No.
Result ResultOf(const Wirova::IMessage& ans)
{
    Result result;
    Wirova::VisitMessage(ans, [&](std::string_view strName, const auto& field) {
        using Field = std::remove_cvref_t<decltype(field)>;
        if constexpr (std::is_same_v<Field, Wirova::int32>) {
            if (strName == "nResult" || strName == "nState")
                result.bSuccess = field == 0 || field == kSuccessWithFlag;
        } else if constexpr (std::is_same_v<Field, Wirova::boolean>) {
            if (strName == "bSuccess")
                result.bSuccess = static_cast<bool>(field);
        } else if constexpr (std::is_same_v<Field, std::string>) {
            if (strName == "strErrorMsg" || strName == "strMessage")
                result.strText = field;
            if (strName == "strSeqNo")
                result.strSeqNo = field;
        }
    });
    return result;
}

void SetSucceeded(Wirova::IMessage& msg)
{
    Wirova::VisitMessage(msg, [](std::string_view strName, auto& field) {
        if constexpr (std::is_same_v<std::remove_reference_t<decltype(field)>, Wirova::boolean>) {
            if (strName == "bSuccess")
                field = true;
        }
    });
}

void AddToSecond(Score& score, Clock::time_point now, Micros time)
{
    const auto nSecond = static_cast<std::size_t>((now - score.start) / std::chrono::seconds(1));
    if (nSecond >= score.vecSeconds.size())
        score.vecSeconds.resize(nSecond + 1);
    ++score.vecSeconds[nSecond].nAnswered;
    score.vecSeconds[nSecond].times.Add(time);
}

std::string ServerName(int nNumber) { return "LOAD-" + std::to_string(nNumber); }

}  // namespace

GameServer::GameServer(Stage& stage, int nNumber, int nFirstUser, int nUsers)
    : m_stage(stage), m_strSID(ServerName(nNumber)), m_users(nFirstUser, nUsers), m_retry(stage.context)
{
}

// ---- the link ----

void GameServer::Connect()
{
    const auto pSocket = std::make_shared<asio::ip::tcp::socket>(m_stage.context);
    pSocket->async_connect(m_stage.service, [this, pSocket](const asio::error_code& error) {
        if (m_bEnded)
            return;
        if (!error)
            return OnConnected(std::move(*pSocket));
        m_stage.pfnSay(m_strSID + " cannot connect: " + error.message());
        Retry();
    });
}

void GameServer::Retry()
{
    m_retry.expires_after(kRetryCycle);
    m_retry.async_wait([this](const asio::error_code& error) {
        if (!error && !m_bEnded)
            Connect();
    });
}

void GameServer::OnConnected(asio::ip::tcp::socket socket)
{
    m_pLink =
        std::make_shared<Sandbox::TcpLink>(std::move(socket), static_cast<IOwner&>(*this), m_stage.clock);
    m_pLink->Start();
    XC2S_VelkarConnectReq req;
    req.strGID = m_stage.mix.strGame;
    req.strSID = m_strSID;
    req.strWID = "W1";
    req.nHeartbeatCycle = kHeartbeatCycle.count();
    Send(req);
}

void GameServer::OnClosed(Sandbox::Link&, const std::string& strWhy)
{
    m_bRegistered = false;
    for (auto& [nReqID, pending] : m_mapPending) {
        CountLost(pending);
        m_users.Return(std::move(pending.user));
    }
    m_mapPending.clear();
    m_deqInOrder.clear();
    m_nWaiting = 0;
    if (m_bEnded)
        return;
    ++m_stage.score.nLinksLost;
    m_stage.pfnSay(m_strSID + " has lost its link: " + strWhy);
    Retry();
}

void GameServer::End()
{
    m_bEnded = true;
    m_retry.cancel();
    if (m_pLink)
        m_pLink->Close("the end");
}

void GameServer::Beat()
{
    if (m_bRegistered)
        Send(XC2S_Heartbeat());
}

// ---- calls ----

bool GameServer::Make(Clock::time_point due)
{
    std::vector<Call>& vecCalls = m_stage.mix.vecCalls;
    double dSum = 0;
    const auto bPossible = [this](const Call& call) {
        const bool bIn = m_users.GetInCount() != 0, bOut = m_users.GetOutCount() != 0;
        return call.GetWho() == Who::In ? bIn : call.GetWho() == Who::Out ? bOut : bIn || bOut;
    };
    for (const Call& call : vecCalls)
        dSum += bPossible(call) ? call.GetWeight() : 0;
    double dLeft = std::uniform_real_distribution(0.0, dSum)(m_stage.random);
    for (Call& call : vecCalls) {
        if (!bPossible(call) || call.GetWeight() == 0)
            continue;
        dLeft -= call.GetWeight();
        if (dLeft <= 0)
            return Make(call, due);
    }
    return false;
}

bool GameServer::Make(Call& call, Clock::time_point due)
{
    std::optional<User> user = m_bRegistered ? m_users.Take(call.GetWho(), m_stage.random) : std::nullopt;
    if (!user)
        return false;
    const Wirova::int32 nReqID = ++m_nLastReqID;
    const Names names{
        UserID(user->nNumber), UserNo(user->nNumber), UserIP(user->nNumber), user->strSeqNo, m_strSID,
        std::to_string(nReqID)};
    std::string strFrame = call.FrameFor(names, nReqID);
    if (m_stage.bCounting)
        ++ScoreOf(call).nSent;
    m_mapPending.emplace(nReqID, Pending{&call, std::move(*user), due, m_stage.bCounting});
    m_deqInOrder.push_back(nReqID);
    ++m_nWaiting;
    m_pLink->Post(std::move(strFrame), {});
    return true;
}

void GameServer::NoteOverdue()
{
    while (!m_deqInOrder.empty()) {
        const auto it = m_mapPending.find(m_deqInOrder.front());
        if (it != m_mapPending.end()) {
            if (Clock::now() - it->second.due < kAnswerTimeout)
                return;
            it->second.bOverdue = true;
            --m_nWaiting;
        }
        m_deqInOrder.pop_front();
    }
}

// ---- what comes in ----

void GameServer::OnFrame(Sandbox::Link&, Wirova::Stream* body)
{
    const Wirova::int32 nMsgID = Sandbox::PeekMsgID(body);
    if (nMsgID == XS2C_VelkarConnectAns::kMsgID)
        return OnRegistered(body);
    const Wirova::ClassInfo* const pInfo = Wirova::FindClass(nMsgID);
    if (pInfo == nullptr)
        throw Sandbox::ProtocolError("the service has sent a message of no known class");
    const auto pMsg = pInfo->pfnMake();
    Sandbox::LoadBody(*pMsg, body);
    if (Sandbox::AnswerOf(*pInfo) != nullptr)
        OnRequest(*pInfo, *pMsg);
    else
        OnAnswer(*pMsg);
}

void GameServer::OnRegistered(Wirova::Stream* body)
{
    XS2C_VelkarConnectAns ans;
    Sandbox::LoadBody(ans, body);
    if (ans.nResult != 0)
        throw Sandbox::ProtocolError("the registration is refused: " + ans.strMessage);
    m_bRegistered = true;
    SendUserList();
}

// After a lost link the service hears who is still in.
void GameServer::SendUserList()
{
    if (m_users.GetInCount() == 0)
        return;
    XC2S_UserListSyncReq req;
    for (const User& user : m_users.GetIn()) {
        XCheckOutInfo& info = req.vecCheckOutInfo.Add();
        info.strUserID = UserID(user.nNumber);
        info.strUserIP = UserIP(user.nNumber);
        info.cFree = 'N';
        info.strSeqNo = user.strSeqNo;
    }
    Send(req);
}

// A request to the game, which this one grants.
void GameServer::OnRequest(const Wirova::ClassInfo& info, const Wirova::IMessage& req)
{
    const auto pAnswer = Sandbox::AnswerOf(info)->pfnMake();
    Sandbox::EchoFields(req, *pAnswer);
    SetSucceeded(*pAnswer);
    Send(*pAnswer);
}

// Notices have no Req ID, and no call waits for them.
void GameServer::OnAnswer(const Wirova::IMessage& ans)
{
    const auto nReqID = Sandbox::GetReqID(ans);
    const auto it = nReqID ? m_mapPending.find(*nReqID) : m_mapPending.end();
    if (it == m_mapPending.end() || it->second.pCall->GetAnswer().nMsgID != ans.GetMsgID())
        return;
    Pending pending = std::move(it->second);
    m_mapPending.erase(it);
    m_nWaiting -= pending.bOverdue ? 0 : 1;
    const Result result = ResultOf(ans);
    if (result.bSuccess && pending.pCall->GetMakes() != Makes::Nothing)
        pending.user.strSeqNo = pending.pCall->GetMakes() == Makes::In ? result.strSeqNo : "";
    CountAnswer(pending, result.bSuccess, result.strText);
    m_users.Return(std::move(pending.user));
    m_stage.pfnAnswered(*this);
}

CallScore& GameServer::ScoreOf(const Call& call)
{
    return m_stage.score.vecCalls[static_cast<std::size_t>(&call - m_stage.mix.vecCalls.data())];
}

void GameServer::CountAnswer(const Pending& pending, bool bSuccess, const std::string& strText)
{
    if (!pending.bCounted)
        return;
    Score& score = m_stage.score;
    CallScore& call = ScoreOf(*pending.pCall);
    const auto now = Clock::now();
    const auto time = std::chrono::duration_cast<Micros>(now - pending.due);
    const bool bLate = time > kAnswerTimeout;
    ++(bLate ? call.nLate : bSuccess ? call.nDone : call.nRefused);
    call.times.Add(time);
    if (m_stage.bCounting)
        AddToSecond(score, now, time);
    Note(pending, bLate ? "late" : bSuccess ? "done" : "refused");
    if (bSuccess)
        return;
    const std::string strKey = pending.pCall->GetName() + ": " + strText;
    if (score.mapRefusals.size() < Score::kMostTexts || score.mapRefusals.contains(strKey))
        ++score.mapRefusals[strKey];
}

void GameServer::CountLost(const Pending& pending)
{
    if (!pending.bCounted)
        return;
    ++ScoreOf(*pending.pCall).nLost;
    Note(pending, "lost");
}

void GameServer::Note(const Pending& pending, const char* pszOutcome)
{
    if (m_stage.pfnNote)
        m_stage.pfnNote(*pending.pCall, pending.user, pszOutcome);
}

}  // namespace Load
