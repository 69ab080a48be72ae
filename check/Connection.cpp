// A connection of the check's own on the library's network, and one registration on it.
//
// Without an identity the registration names nobody: a service refuses it and keeps nothing of it, but the
// refusal shows that the service speaks the protocol. With an identity the registration is a real one. A
// service may give the identity of a running game server to the check then; that server connects again after
// its RECONNECT_CYCLE, which ends the check's link and shows that the identity is in use.
#include "check/Connection.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <mutex>

#include "base/CycleWait.h"
#include "comm/FrameLoop.h"
#include "comm/out/Builders.h"
#include "config/ConfigReader.h"
#include "platform/Kernova.h"
#include "platform/Netrova.h"
#include "platform/Platova.h"
#include "platform/Strova.h"
#include "wirova/Frame.h"
#include "wirova/messages/MessageCatalog.h"

namespace Check {

namespace {

using namespace std::chrono_literals;

constexpr int kPatience = 5000;  // milliseconds, as the library's
// Seconds. The service expects heartbeats and confirmed users so seldom that the check's short link ends
// nothing.
constexpr int kProbeCycle = 86400;
// How long a peer that reads lines may take to complain of what it has read.
constexpr auto kLineTime = 1s;
// How much longer than its RECONNECT_CYCLE a game server may take to connect again, and the longest wait for
// it.
constexpr auto kReturnTime = 2s;
constexpr auto kLongestReturn = 60s;

// What has come over the link so far.
enum class State { Waiting, Answered, NotTheProtocol, Closed };

class Probe {
public:
    explicit Probe(const Identity& identity) : m_identity(identity) {}
    ~Probe()
    {
        Netrova::Connector::DestroyHandle(m_pConnector);
        Kernova::ThreadPool::DestroyHandle(m_pPool);
    }
    Probe(const Probe&) = delete;
    Probe& operator=(const Probe&) = delete;

    bool Connect(const std::string& strHost, int nPort);
    // Waits for something to come; Waiting if nothing has come in that time.
    State WaitForAnswer(std::chrono::milliseconds time);
    // Ends a line, for a peer that reads lines and would wait for the end of its first one for ever.
    void EndLine();
    // Whether the link is closed within that time.
    bool WaitForClose(std::chrono::milliseconds time);
    int Result() const { return m_nResult; }
    const std::string& Text() const { return m_strText; }

private:
    using Link = Netrova::Link::_THandle;
    static void OnConnected(Netrova::Connector::_THandle*, Link* pLink, void* pProbe);
    static void OnReceived(Netrova::Connector::_THandle*, Link* pLink, void* pProbe);
    static void OnDisconnected(Netrova::Connector::_THandle*, Link* pLink, void* pProbe);
    bool Register(Link* pLink) const;
    template <class Write>
    static bool Send(Link* pLink, Write write);
    State Read(Strova::_THandle* pStream);
    void Enter(State state);

    const Identity m_identity;
    Kernova::ThreadPool::_THandle* m_pPool = nullptr;
    Netrova::Connector::_THandle* m_pConnector = nullptr;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    State m_state = State::Waiting;  // the first one that is not Waiting stays
    bool m_bClosed = false;
    Link* m_pLink = nullptr;  // with a reference, until the link is closed
    int m_nResult = 0;        // of the answer
    std::string m_strText;    // of the answer, or the first bytes of what is no answer
};

bool Probe::Connect(const std::string& strHost, int nPort)
{
    m_pPool = Kernova::ThreadPool::CreateHandle(2);
    m_pConnector = m_pPool == nullptr ? nullptr : Netrova::Connector::CreateHandle(m_pPool);
    return m_pConnector != nullptr && Netrova::Connector::SetOnConnected(m_pConnector, &OnConnected, this) &&
           Netrova::Connector::SetOnReceived(m_pConnector, &OnReceived, this) &&
           Netrova::Connector::SetOnDisconnected(m_pConnector, &OnDisconnected, this) &&
           Netrova::Connector::Connect(m_pConnector, strHost.c_str(), static_cast<unsigned short>(nPort),
                                       kPatience);
}

bool Probe::Register(Link* pLink) const
{
    _CONNECTOR_ID id{};
    const auto put = [](char(&szField)[21], const std::string& strText) {
        strText.copy(szField, sizeof(szField) - 1);
    };
    put(id.GID, m_identity.strGID);
    put(id.SID, m_identity.strSID);
    put(id.WID, m_identity.strWID);
    XC2S_VelkarConnectReq msg;
    if (Build(msg, id) != Built::Ready)
        return false;
    msg.nHeartbeatCycle = kProbeCycle;
    return Send(pLink, [&](Strova::_THandle* pStream) { return Wirova::WriteFrame(pStream, msg); });
}

// Sends what write() puts into the stream.
template <class Write>
bool Probe::Send(Link* pLink, Write write)
{
    Strova::_THandle* const pStream = Strova::CreateHandle();
    if (pStream == nullptr)
        return false;
    const bool bSent = write(pStream) && Netrova::Link::Send(pLink, Strova::GetXMemory(pStream)) != -1;
    Strova::DestroyHandle(pStream);
    return bSent;
}

void Probe::EndLine()
{
    const std::lock_guard lock(m_mutex);
    if (m_pLink != nullptr)
        Send(m_pLink, [](Strova::_THandle* pStream) { return Strova::Write(pStream, "\r\n\r\n", 4) == 4; });
}

void Probe::OnConnected(Netrova::Connector::_THandle*, Link* pLink, void* pProbe)
{
    auto& probe = *static_cast<Probe*>(pProbe);
    {
        const std::lock_guard lock(probe.m_mutex);
        Netrova::Link::AddRef(pLink);
        probe.m_pLink = pLink;
    }
    if (!probe.Register(pLink) || Netrova::Link::Recv(pLink, 4096) == -1)
        Netrova::Link::Close(pLink);
}

void Probe::OnReceived(Netrova::Connector::_THandle*, Link* pLink, void* pProbe)
{
    auto& probe = *static_cast<Probe*>(pProbe);
    State state = State::NotTheProtocol;
    if (Strova::_THandle* const pStream = Netrova::Link::LockReadStream(pLink)) {
        state = probe.Read(pStream);
        Netrova::Link::UnlockReadStream(pLink);
    }
    if (state != State::Waiting)
        probe.Enter(state);
    Netrova::Link::Recv(pLink, 4096);
}

void Probe::OnDisconnected(Netrova::Connector::_THandle*, Link* pLink, void* pProbe)
{
    auto& probe = *static_cast<Probe*>(pProbe);
    probe.Enter(State::Closed);
    const std::lock_guard lock(probe.m_mutex);
    probe.m_bClosed = true;
    probe.m_pLink = nullptr;
    Netrova::Link::Release(pLink);
    probe.m_changed.notify_all();
}

// Takes whole frames off until the answer has come. Other messages of the protocol may come before it.
State Probe::Read(Strova::_THandle* pStream)
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_state != State::Waiting)
            return State::Waiting;
    }
    char szFirst[16] = {};
    const int nFirst = Strova::Peek(pStream, szFirst, sizeof(szFirst));
    m_strText.assign(szFirst, static_cast<std::size_t>(std::max(nFirst, 0)));
    Wirova::int32 nLength = 0;
    for (;;) {
        const Wirova::FrameState frame = Wirova::NextFrame(pStream, kMaxBodyLength, nLength);
        if (frame == Wirova::FrameState::NoLength || frame == Wirova::FrameState::NeedMore)
            return State::Waiting;
        if (frame == Wirova::FrameState::TooLong || nLength < 4)
            return State::NotTheProtocol;
        Strova::RemoveLeft(pStream, 4);
        unsigned char bytes[4];
        Strova::Peek(pStream, bytes, sizeof(bytes));
        const auto nID = Wirova::GetBigEndian<Wirova::int32>(bytes);
        if (nID != XS2C_VelkarConnectAns::kMsgID) {
            if (Wirova::FindClass(nID) == nullptr)
                return State::NotTheProtocol;
            Strova::RemoveLeft(pStream, nLength);
            continue;
        }
        XS2C_VelkarConnectAns answer;
        if (!answer.Load(pStream))
            return State::NotTheProtocol;
        m_nResult = answer.nResult;
        m_strText = answer.strMessage;
        return State::Answered;
    }
}

void Probe::Enter(State state)
{
    const std::lock_guard lock(m_mutex);
    if (m_state == State::Waiting)
        m_state = state;
    m_changed.notify_all();
}

State Probe::WaitForAnswer(std::chrono::milliseconds time)
{
    std::unique_lock lock(m_mutex);
    m_changed.wait_for(lock, time, [this] { return m_state != State::Waiting; });
    return m_state;
}

bool Probe::WaitForClose(std::chrono::milliseconds time)
{
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, time, [this] { return m_bClosed; });
}

// What a program of another protocol shows of itself by its first bytes.
std::string GuessProtocol(const std::string& strFirst)
{
    if (strFirst.starts_with("HTTP/") || strFirst.starts_with("<"))
        return " It answers like a web server.";
    if (strFirst.starts_with("SSH-"))
        return " It answers like an SSH server.";
    if (strFirst.starts_with("\x15\x03") || strFirst.starts_with("\x16\x03"))
        return " It answers like a TLS server.";
    return " It answers with " + Quote(strFirst) + ".";
}

std::string CodeText(unsigned int nCode)
{
    struct Meaning {
        unsigned int nPosix, nWindows;
        const char* pszText;
    };
    constexpr Meaning kMeanings[] = {
        {111, 10061, "nothing listens on that port"}, {110, 10060, "no answer within 5 seconds"},
        {101, 10051, "no route to that network"},     {113, 10065, "no route to that host"},
        {1, 11001, "there is no host of that name"},  {2, 11002, "the name service does not answer"},
        {4, 11004, "the host name has no address"},   {13, 10013, "this user may not connect"},
        {99, 10049, "no host can have that address"},
    };
    for (const Meaning& meaning : kMeanings) {
        if (nCode == meaning.nPosix || nCode == meaning.nWindows)
            return std::string(meaning.pszText) + " (error code " + std::to_string(nCode) + ")";
    }
    return "error code " + std::to_string(nCode);
}

}  // namespace

void CheckConnection(const Identity& identity, Report& report)
{
    const CConfigReader& config = ConfigReader();
    const int nPort = config.GetServerPort() & 0xFFFF;
    const std::string strWhere = config.GetServerIP() + " port " + std::to_string(nPort);
    const std::string strAddressCure =
        "Compare SERVER_IP and SERVER_PORT with the service, and look at the firewall.";
    const auto add = [&](Weight weight, const std::string& strSentence, const std::string& strCure) {
        report.Add({weight, "", 0, strSentence, strCure});
    };
    Probe probe(identity);
    if (!probe.Connect(config.GetServerIP(), nPort)) {
        add(Weight::Error, strWhere + " is unreachable: " + CodeText(Platova::GetLastError()) + ".",
            strAddressCure);
        return;
    }
    State state = probe.WaitForAnswer(std::chrono::milliseconds(kPatience));
    if (state == State::Waiting) {
        probe.EndLine();
        // Only a peer that says something now shows that it has another protocol.
        if (probe.WaitForAnswer(kLineTime) == State::NotTheProtocol)
            state = State::NotTheProtocol;
    }
    switch (state) {
        case State::Waiting:
            add(Weight::Error,
                strWhere + " is silent: it has taken the connection and sent nothing for 5 seconds.",
                "Look whether the service hangs, or another program listens there.");
            return;
        case State::NotTheProtocol:
            add(Weight::Error, strWhere + " does not speak this protocol." + GuessProtocol(probe.Text()),
                strAddressCure);
            return;
        case State::Closed:
            add(Weight::Error, strWhere + " has closed the connection without an answer.",
                "Another program may listen there, or the service does not admit this machine.");
            return;
        case State::Answered:
            break;
    }
    const std::string strResult = "code " + std::to_string(probe.Result()) + ", " + Quote(probe.Text());
    if (identity.IsEmpty()) {
        add(Weight::Note,
            strWhere + " answers as the service does (" + strResult + " to a registration of nobody).", "");
    } else if (probe.Result() != 0) {
        add(Weight::Error, strWhere + " refuses the identity: " + strResult + ".",
            "Agree on GID, SID and WID with the operator of the service; the identity may also be in use.");
    } else {
        const auto cycle = std::chrono::milliseconds(CycleMilliseconds(config.GetReconnectCycle()));
        const auto time = std::min<std::chrono::milliseconds>(cycle + kReturnTime, kLongestReturn);
        if (probe.WaitForClose(time))
            add(Weight::Warning, "The identity is in use: a running game server has taken it back.",
                "Give each game server an identity of its own.");
        else
            add(Weight::Note, strWhere + " accepts the identity, and no other game server has it.", "");
    }
}

}  // namespace Check
