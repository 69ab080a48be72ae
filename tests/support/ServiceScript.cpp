#include "tests/support/ServiceScript.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/Outside.h"
#include "wirova/Frame.h"
#include "wirova/messages/MessageCatalog.h"

namespace Support {

namespace {

struct TestStream {
    TestStream() : p(Strova::CreateHandle()) {}
    ~TestStream() { Strova::DestroyHandle(p); }
    TestStream(const TestStream&) = delete;
    TestStream& operator=(const TestStream&) = delete;

    std::string TakeAll() const
    {
        std::string out(static_cast<std::size_t>(Strova::GetLength(p)), '\0');
        Strova::Read(p, out.data(), static_cast<int>(out.size()));
        return out;
    }

    const Outside outside;
    Strova::_THandle* const p;
};

// 4 bytes, the most significant first.
std::int64_t LengthAt(const std::string& strBytes)
{
    std::int64_t n = 0;
    for (std::size_t i = 0; i < 4; ++i)
        n = (n << 8) | static_cast<unsigned char>(strBytes[i]);
    return n;
}

constexpr std::int64_t kLongestFrame = 64 << 20;

template <class Request>
std::string SayYesTo(const std::string& strBody)
{
    Request req;
    if (!LoadBody(strBody, req))
        return {};
    AnswerTo<Request> ans;
    FillSuccess(req, ans);
    return FrameOf(ans);
}

}  // namespace

std::string BodyOf(const Wirova::IMessage& msg)
{
    const TestStream stream;
    if (!msg.Save(stream.p))
        throw std::runtime_error("a message cannot be saved");
    return stream.TakeAll();
}

std::string FrameOf(const Wirova::IMessage& msg)
{
    const std::string strBody = BodyOf(msg);
    std::string out;
    for (int nShift = 24; nShift >= 0; nShift -= 8)
        out += static_cast<char>(strBody.size() >> nShift & 0xFF);
    return out + strBody;
}

bool LoadBody(const std::string& strBody, Wirova::IMessage& msg)
{
    const TestStream stream;
    Strova::Write(stream.p, strBody.data(), static_cast<int>(strBody.size()));
    try {
        return msg.Load(stream.p) && Strova::GetLength(stream.p) == 0;
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
    const std::lock_guard lock(m_mutex);
    m_mapUnread[nConnection];
    ++m_nConnections;
    m_cond.notify_all();
}

void ServiceScript::OnClose(int nConnection, bool)
{
    const std::lock_guard lock(m_mutex);
    const auto it = m_mapUnread.find(nConnection);
    if (it == m_mapUnread.end())
        return;
    if (!it->second.empty() && m_setClosedHere.count(nConnection) == 0)
        m_vecFaults.push_back("the connection ends inside a frame");
    m_mapUnread.erase(it);
    m_cond.notify_all();
}

void ServiceScript::OnBytes(int nConnection, std::string strBytes)
{
    std::vector<std::string> vecBodies;
    {
        const std::lock_guard lock(m_mutex);
        std::string& strUnread = m_mapUnread[nConnection];
        strUnread += strBytes;
        std::size_t nAt = 0;
        while (strUnread.size() - nAt >= 4) {
            const std::int64_t nLength = LengthAt(strUnread.substr(nAt, 4));
            if (nLength > kLongestFrame) {
                m_vecFaults.push_back("a frame of " + std::to_string(nLength) + " bytes");
                nAt = strUnread.size();
                break;
            }
            const auto nBody = static_cast<std::size_t>(nLength);
            if (strUnread.size() - nAt - 4 < nBody)
                break;
            vecBodies.push_back(strUnread.substr(nAt + 4, nBody));
            nAt += 4 + nBody;
        }
        strUnread.erase(0, nAt);
    }
    for (std::string& strBody : vecBodies)
        OnFrame(nConnection, std::move(strBody));
}

void ServiceScript::OnFrame(int nConnection, std::string strBody)
{
    const int nMsgID = strBody.size() < 4 ? 0 : static_cast<int>(LengthAt(strBody));
    const auto pMessage = Wirova::MakeMessage(nMsgID);
    const bool bGood = pMessage && LoadBody(strBody, *pMessage);
    Responder responder;
    {
        const std::lock_guard lock(m_mutex);
        if (!bGood)
            m_vecFaults.push_back("a frame that is no message: id " + std::to_string(nMsgID));
        const auto it = m_mapResponders.find(nMsgID);
        if (nMsgID == XC2S_VelkarConnectReq::kMsgID)
            responder = [strAnswers = m_strRegistrationAnswers](const std::string&) { return strAnswers; };
        else if (it != m_mapResponders.end())
            responder = it->second;
        m_vecReceived.push_back({nConnection, nMsgID, pMessage ? pMessage->GetMsgName() : "?", strBody,
                                 responder != nullptr, false});
        m_cond.notify_all();
    }
    if (!bGood)
        return;
    const std::string strAnswer = responder ? responder(strBody) : std::string();
    if (!strAnswer.empty())
        m_pTransport->Send(nConnection, strAnswer);
}

// ---- the test's threads ----

void ServiceScript::SetResponder(int nMsgID, Responder responder)
{
    const std::lock_guard lock(m_mutex);
    m_mapResponders[nMsgID] = std::move(responder);
}

void ServiceScript::SayYes()
{
    const std::lock_guard lock(m_mutex);
#define YES(name) m_mapResponders.emplace(XC2S_##name##Req::kMsgID, &SayYesTo<XC2S_##name##Req>);
    SUPPORT_ASKED_BY_CONNECTOR(YES) YES(RequestUseStorage)
#undef YES
}

void ServiceScript::SayNothing()
{
    const std::lock_guard lock(m_mutex);
    m_mapResponders.clear();
}

void ServiceScript::SetRegistration(int nAnswers, int nResult, const std::string& strText)
{
    XS2C_VelkarConnectAns ans;
    ans.nResult = nResult;
    ans.strMessage = strText;
    const std::lock_guard lock(m_mutex);
    m_strRegistrationAnswers.clear();
    while (nAnswers-- > 0)
        m_strRegistrationAnswers += FrameOf(ans);
}

void ServiceScript::WaitUntil(const std::string& strWhat, const std::function<bool()>& condition)
{
    std::unique_lock lock(m_mutex);
    if (m_cond.wait_for(lock, kPatience, condition))
        return;
    std::string strText = "The service has waited in vain for " + strWhat + "; it has received:";
    for (const ReceivedFrame& frame : m_vecReceived)
        strText += ' ' + frame.strName + (frame.bTaken ? "(taken)" : "");
    for (const std::string& strFault : m_vecFaults)
        strText += "; fault: " + strFault;
    throw std::runtime_error(strText);
}

void ServiceScript::Take(int nMsgID, const std::function<bool(const std::string&)>& accept)
{
    WaitUntil(Wirova::MessageName(nMsgID), [&] {
        for (ReceivedFrame& frame : m_vecReceived) {
            if (frame.nMsgID == nMsgID && !frame.bTaken && accept(frame.strBody))
                return frame.bTaken = true;
        }
        return false;
    });
}

void ServiceScript::ExpectNothing()
{
    m_pTransport->WaitForSilence();
    const std::lock_guard lock(m_mutex);
    for (const ReceivedFrame& frame : m_vecReceived) {
        if (!frame.bTaken && !frame.bAnswered && frame.nMsgID != XC2S_Heartbeat::kMsgID)
            ADD_FAILURE() << "The service has received a frame that nobody expected: " << frame.strName;
    }
}

int ServiceScript::CountOf(int nMsgID) const
{
    const auto vecReceived = Received();
    return static_cast<int>(std::count_if(vecReceived.begin(), vecReceived.end(),
                                          [&](const auto& frame) { return frame.nMsgID == nMsgID; }));
}

std::vector<ReceivedFrame> ServiceScript::Received() const
{
    m_pTransport->Settle();
    const std::lock_guard lock(m_mutex);
    return m_vecReceived;
}

std::vector<std::string> ServiceScript::Names() const
{
    std::vector<std::string> vecNames;
    for (const ReceivedFrame& frame : Received()) {
        if (frame.nMsgID != XC2S_Heartbeat::kMsgID)
            vecNames.push_back(frame.strName);
    }
    return vecNames;
}

void ServiceScript::Forget()
{
    m_pTransport->WaitForSilence();
    const std::lock_guard lock(m_mutex);
    m_vecReceived.clear();
}

int ServiceScript::NewestConnection() const
{
    const std::lock_guard lock(m_mutex);
    if (m_mapUnread.empty())
        throw std::logic_error("The service has no connection to send on");
    return m_mapUnread.rbegin()->first;
}

void ServiceScript::SendCut(std::size_t nFirst, const Wirova::IMessage& msg)
{
    const std::string strFrame = FrameOf(msg);
    SendRaw(strFrame.substr(0, nFirst));
    SendRaw(strFrame.substr(nFirst));
}

void ServiceScript::CloseConnection(int nConnection, bool bAbruptly)
{
    {
        const std::lock_guard lock(m_mutex);
        m_setClosedHere.insert(nConnection);
    }
    m_pTransport->Close(nConnection, bAbruptly);
}

void ServiceScript::Down()
{
    m_pTransport->Accept(false);
    std::vector<int> vecOpen;
    {
        const std::lock_guard lock(m_mutex);
        for (const auto& [nConnection, strUnread] : m_mapUnread)
            vecOpen.push_back(nConnection);
    }
    for (const int nConnection : vecOpen)
        CloseConnection(nConnection, false);
}

void ServiceScript::WaitForConnection(int nNumber)
{
    WaitUntil("connection " + std::to_string(nNumber), [&] { return m_nConnections >= nNumber; });
}

void ServiceScript::WaitForDisconnect()
{
    WaitUntil("the end of all connections", [&] { return m_mapUnread.empty(); });
}

int ServiceScript::Connections() const
{
    m_pTransport->Settle();
    const std::lock_guard lock(m_mutex);
    return m_nConnections;
}

std::vector<std::string> ServiceScript::Faults() const
{
    const std::lock_guard lock(m_mutex);
    return m_vecFaults;
}

}  // namespace Support
