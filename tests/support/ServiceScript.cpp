#include "tests/support/ServiceScript.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/Outside.h"
#include "tests/wirova/ByteStream.h"
#include "wirova/BigEndian.h"
#include "wirova/Frame.h"

namespace Support {

namespace {

Wirova::int32 NumberAt(const std::string& strBytes)
{
    unsigned char bytes[4];
    std::copy_n(strBytes.begin(), sizeof(bytes), bytes);
    return Wirova::GetBigEndian<Wirova::int32>(bytes);
}

constexpr Wirova::int32 kLongestFrame = 64 << 20;

}  // namespace

std::string BodyOf(const Wirova::IMessage& msg) { return FrameOf(msg).substr(4); }

std::string FrameOf(const Wirova::IMessage& msg)
{
    const Outside outside;
    const ByteStream stream;
    if (!Wirova::WriteFrame(stream, msg))
        throw std::runtime_error("a message cannot be saved");
    return stream.Bytes();
}

bool LoadBody(const std::string& strBody, Wirova::IMessage& msg)
{
    const Outside outside;
    const ByteStream stream(strBody);
    try {
        return msg.Load(stream) && Strova::GetLength(stream) == 0;
    } catch (const std::length_error&) {
        return false;
    }
}

ServiceScript::ServiceScript(std::unique_ptr<Transport> pTransport) : m_pTransport(std::move(pTransport))
{
    AcceptRegistration();
    m_pTransport->Start(*this);
}

// ---- the transport's thread ----

void ServiceScript::OnOpen(int nConnection)
{
    const auto state = m_state.Lock();
    state->mapUnread[nConnection];
    ++state->nConnections;
    state->cond.notify_all();
}

void ServiceScript::OnClose(int nConnection, bool)
{
    const auto state = m_state.Lock();
    const auto unread = state->mapUnread.extract(nConnection);
    if (unread && !unread.mapped().empty() && !state->bBrokenFrames &&
        !state->setClosedHere.contains(nConnection))
        state->vecFaults.push_back("the connection ends inside a frame");
    state->cond.notify_all();
}

void ServiceScript::OnBytes(int nConnection, std::string strBytes)
{
    std::vector<std::string> vecBodies;
    {
        const auto state = m_state.Lock();
        const auto it = state->mapUnread.find(nConnection);
        if (it == state->mapUnread.end())  // written while the connection ended
            return;
        std::string& strUnread = it->second;
        strUnread += strBytes;
        while (strUnread.size() >= 4) {
            const Wirova::int32 nLength = NumberAt(strUnread);
            if (nLength < 0 || nLength > kLongestFrame) {
                state->vecFaults.push_back("a frame of " + std::to_string(nLength) + " bytes");
                strUnread.clear();
                break;
            }
            const auto nBody = static_cast<std::size_t>(nLength);
            if (strUnread.size() < 4 + nBody)
                break;
            vecBodies.push_back(strUnread.substr(4, nBody));
            strUnread.erase(0, 4 + nBody);
        }
    }
    for (std::string& strBody : vecBodies)
        OnFrame(nConnection, std::move(strBody));
}

void ServiceScript::OnFrame(int nConnection, std::string strBody)
{
    const int nMsgID = strBody.size() < 4 ? 0 : NumberAt(strBody);
    const auto pMessage = Wirova::MakeMessage(nMsgID);
    const bool bGood = pMessage && LoadBody(strBody, *pMessage);
    Responder responder;
    {
        const auto state = m_state.Lock();
        if (!bGood)
            state->vecFaults.push_back("a frame that is no message: id " + std::to_string(nMsgID));
        const auto it = state->mapResponders.find(nMsgID);
        if (bGood && it != state->mapResponders.end())
            responder = it->second;
        state->vecReceived.push_back({nMsgID, strBody, responder != nullptr});
        state->cond.notify_all();
    }
    const std::string strAnswer = responder ? responder(strBody) : std::string();
    if (!strAnswer.empty())
        m_pTransport->Send(nConnection, strAnswer);
}

// ---- the test's threads ----

void ServiceScript::SayYes()
{
    const auto state = m_state.Lock();
#define YES(name) state->mapResponders.emplace(XC2S_##name##Req::kMsgID, ResponderOf<XC2S_##name##Req>(""));
    SUPPORT_ASKED_BY_CONNECTOR(YES) YES(RequestUseStorage)
#undef YES
}

void ServiceScript::SayNothing()
{
    std::erase_if(m_state->mapResponders,
                  [](const auto& entry) { return entry.first != XC2S_VelkarConnectReq::kMsgID; });
}

void ServiceScript::SetRegistration(int nAnswers, const std::string& strFields)
{
    XS2C_VelkarConnectAns ans;
    Assign(ans, strFields);
    std::string strAnswers;
    while (nAnswers-- > 0)
        strAnswers += FrameOf(ans);
    m_state->mapResponders[XC2S_VelkarConnectReq::kMsgID] = [strAnswers](const std::string&) {
        return strAnswers;
    };
}

void ServiceScript::WaitUntil(const std::string& strWhat, const std::function<bool(State&)>& condition)
{
    auto state = m_state.Lock();
    if (state->cond.wait_for(state.lock, kPatience, [&] { return condition(state.value); }))
        return;
    std::string strText = "The service has waited in vain for " + strWhat + "; it has received:";
    for (const ReceivedFrame& frame : state->vecReceived)
        strText += std::string(" ") + Wirova::MessageName(frame.nMsgID) + (frame.bTaken ? "(taken)" : "");
    for (const std::string& strFault : state->vecFaults)
        strText += "; fault: " + strFault;
    throw std::runtime_error(strText);
}

void ServiceScript::Take(int nMsgID, const std::function<bool(const std::string&)>& accept, int nConnection)
{
    bool bLost = false;
    WaitUntil(Wirova::MessageName(nMsgID), [&](State& state) {
        for (ReceivedFrame& frame : state.vecReceived) {
            if (frame.nMsgID == nMsgID && !frame.bTaken && accept(frame.strBody))
                return frame.bTaken = true;
        }
        return bLost = nConnection != 0 && !state.mapUnread.contains(nConnection);
    });
    if (bLost)
        throw std::logic_error("The connection of the request has ended");
}

void ServiceScript::ExpectNothing()
{
    m_pTransport->WaitForSilence();
    for (const ReceivedFrame& frame : Received()) {
        if (!frame.bTaken && !frame.bAnswered && frame.nMsgID != XC2S_Heartbeat::kMsgID)
            ADD_FAILURE() << "The service has received a frame that nobody expected: "
                          << Wirova::MessageName(frame.nMsgID);
    }
}

std::vector<std::string> ServiceScript::Names()
{
    std::vector<std::string> vecNames;
    for (const ReceivedFrame& frame : Received()) {
        if (frame.nMsgID != XC2S_Heartbeat::kMsgID)
            vecNames.emplace_back(Wirova::MessageName(frame.nMsgID));
    }
    return vecNames;
}

void ServiceScript::Forget()
{
    m_pTransport->WaitForSilence();
    m_state->vecReceived.clear();
}

int ServiceScript::NewestConnection()
{
    const auto state = m_state.Lock();
    if (state->mapUnread.empty())
        throw std::logic_error("The service has no connection to send on");
    return state->mapUnread.rbegin()->first;
}

void ServiceScript::CloseConnection(int nConnection, bool bAbruptly)
{
    m_state->setClosedHere.insert(nConnection);
    m_pTransport->Close(nConnection, bAbruptly);
}

void ServiceScript::Down()
{
    m_pTransport->Accept(false);
    const auto mapOpen = m_state->mapUnread;
    for (const auto& [nConnection, strUnread] : mapOpen)
        CloseConnection(nConnection, false);
}

void ServiceScript::WaitForConnection(int nNumber)
{
    WaitUntil("connection " + std::to_string(nNumber),
              [&](const State& state) { return state.nConnections >= nNumber; });
}

void ServiceScript::WaitForDisconnect()
{
    WaitUntil("the end of all connections", [](const State& state) { return state.mapUnread.empty(); });
}

}  // namespace Support
