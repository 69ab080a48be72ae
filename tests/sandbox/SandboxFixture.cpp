#include "tests/sandbox/SandboxFixture.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "sandbox/Frames.h"
#include "wirova/BigEndian.h"
#include "wirova/MessageCatalog.h"

namespace SandboxTest {
namespace {

constexpr int kPatience = 20'000;  // milliseconds

}  // namespace

// ---- the sandbox ----

RunningSandbox::RunningSandbox(const std::string& strDb, const std::string& strSeed)
    : m_console(Sandbox::Verbosity::Verbose, [this](const std::string& strLine) {
          const std::lock_guard lock(m_mutex);
          m_strLines += strLine + '\n';
      })
{
    Sandbox::Options options;
    options.nPort = 0;
    options.strDb = strDb;
    options.strSeed = strSeed;
    m_pServer = std::make_unique<Sandbox::Server>(options, m_clock, m_console);
    m_thread = std::thread([this] { m_pServer->Run(); });
}

RunningSandbox::~RunningSandbox()
{
    m_pServer->Stop();
    m_thread.join();
}

void RunningSandbox::Advance(std::int64_t ms)
{
    m_clock.Advance(ms);
    m_pServer->SweepNow();
}

std::vector<std::string> RunningSandbox::Sessions()
{
    return m_pServer->Invoke([this] {
        std::vector<std::pair<std::int64_t, std::string>> vecSessions;
        for (const auto& [identity, connector] : m_pServer->GetRegistry().GetConnectors()) {
            for (const auto& session : m_pServer->GetStore().GetSessions(connector.nID)) {
                vecSessions.emplace_back(session.nSeqNo, session.strUserID + " on " + identity.GetName() +
                                                             (session.nMovingSince != 0 ? " moving" : ""));
            }
        }
        std::sort(vecSessions.begin(), vecSessions.end());
        std::vector<std::string> vecTexts;
        for (const auto& [nSeqNo, strText] : vecSessions) vecTexts.push_back(strText);
        return vecTexts;
    });
}

std::string RunningSandbox::Lines() const
{
    const std::lock_guard lock(m_mutex);
    return m_strLines;
}

::testing::AssertionResult RunningSandbox::Shows(const std::string& strText) const
{
    for (int ms = 0; ms < kPatience; ms += 5) {
        if (Lines().find(strText) != std::string::npos)
            return ::testing::AssertionSuccess();
        usleep(5000);
    }
    return ::testing::AssertionFailure() << "'" << strText << "' is not in\n" << Lines();
}

// ---- the client ----

Client::Client(unsigned short nPort, int nBuffer) : m_fd(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    const int nNoDelay = 1;
    setsockopt(m_fd, IPPROTO_TCP, TCP_NODELAY, &nNoDelay, sizeof(nNoDelay));
    if (nBuffer != 0) {
        setsockopt(m_fd, SOL_SOCKET, SO_SNDBUF, &nBuffer, sizeof(nBuffer));
        setsockopt(m_fd, SOL_SOCKET, SO_RCVBUF, &nBuffer, sizeof(nBuffer));
    }
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(nPort);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(connect(m_fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0) << strerror(errno);
}

Client::~Client()
{
    close(m_fd);
}

void Client::Send(const Wirova::IMessage& msg)
{
    EXPECT_TRUE(SendBytes(Sandbox::FrameOf(msg))) << msg.GetMsgName();
}

bool Client::SendBytes(const std::string& strBytes)
{
    for (std::size_t nSent = 0; nSent < strBytes.size();) {
        const ssize_t n = send(m_fd, strBytes.data() + nSent, strBytes.size() - nSent, MSG_NOSIGNAL);
        if (n <= 0)
            return false;
        nSent += static_cast<std::size_t>(n);
    }
    return true;
}

bool Client::SendUnlessStuck(const std::string& strBytes)
{
    for (std::size_t nSent = 0; nSent < strBytes.size();) {
        pollfd wait{m_fd, POLLOUT, 0};
        if (poll(&wait, 1, 500) != 1)
            return false;
        const ssize_t n =
            send(m_fd, strBytes.data() + nSent, strBytes.size() - nSent, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (n <= 0)
            return false;
        nSent += static_cast<std::size_t>(n);
    }
    return true;
}

bool Client::ReadExactly(char* pBytes, std::size_t nSize)
{
    for (std::size_t nRead = 0; nRead < nSize;) {
        pollfd wait{m_fd, POLLIN, 0};
        if (poll(&wait, 1, kPatience) != 1)
            return false;
        const ssize_t n = recv(m_fd, pBytes + nRead, nSize - nRead, 0);
        if (n <= 0)
            return false;
        nRead += static_cast<std::size_t>(n);
    }
    return true;
}

void Client::ReceiveInto(Wirova::IMessage& msg)
{
    unsigned char bytes[4] = {};
    ASSERT_TRUE(ReadExactly(reinterpret_cast<char*>(bytes), 4)) << "no " << msg.GetMsgName() << " has come";
    std::string strBody(static_cast<std::size_t>(Wirova::GetBigEndian<Wirova::int32>(bytes)), '\0');
    ASSERT_TRUE(ReadExactly(strBody.data(), strBody.size()));
    const auto stream = Sandbox::MakeStream();
    Strova::Write(stream.get(), strBody.data(), static_cast<int>(strBody.size()));
    Strova::Peek(stream.get(), bytes, 4);
    const auto nMsgID = Wirova::GetBigEndian<Wirova::int32>(bytes);
    ASSERT_EQ(nMsgID, msg.GetMsgID()) << Wirova::MessageName(nMsgID) << " instead of " << msg.GetMsgName();
    ASSERT_TRUE(msg.Load(stream.get()));
    ASSERT_EQ(Strova::GetLength(stream.get()), 0);
}

bool Client::IsClosed()
{
    for (char arr[4096];;) {
        pollfd wait{m_fd, POLLIN, 0};
        if (poll(&wait, 1, kPatience) != 1)
            return false;
        if (recv(m_fd, arr, sizeof(arr), 0) <= 0)
            return true;
    }
}

std::unique_ptr<XS2C_VelkarConnectAns> Client::Register(const std::string& strGID, int nHeartbeatCycle)
{
    XC2S_VelkarConnectReq req;
    req.strGID = strGID;
    req.strSID = "s";
    req.strWID = "w";
    req.nHeartbeatCycle = nHeartbeatCycle;
    return Ask<XS2C_VelkarConnectAns>(req);
}

std::unique_ptr<XS2C_CheckInAns> Client::CheckIn(const std::string& strUserID)
{
    XC2S_CheckInReq req;
    req.strUserID = strUserID;
    req.strUserIP = "10.0.0.1";
    return Ask<XS2C_CheckInAns>(req);
}

std::unique_ptr<XS2C_CheckOutAns> Client::CheckOut(const std::string& strUserID, const std::string& strSeqNo)
{
    XC2S_CheckOutReq req;
    req.strUserID = strUserID;
    req.strSeqNo = strSeqNo;
    return Ask<XS2C_CheckOutAns>(req);
}

std::unique_ptr<XS2C_UserMoveToAns> Client::MoveTo(const std::string& strUserID)
{
    XC2S_UserMoveToReq req;
    req.strUserID = strUserID;
    return Ask<XS2C_UserMoveToAns>(req);
}

std::unique_ptr<XS2C_UserMoveFromAns> Client::MoveFrom(const std::string& strUserID)
{
    XC2S_UserMoveFromReq req;
    req.strUserID = strUserID;
    return Ask<XS2C_UserMoveFromAns>(req);
}

void Client::Heartbeat()
{
    Send(XC2S_Heartbeat());
    Settle();
}

void Client::Settle()
{
    XC2S_QueryBillingInfoReq req;
    Ask<XS2C_QueryBillingInfoAns>(req);
}

// ---- files ----

TempDir::TempDir()
{
    std::string strTemplate = (std::filesystem::temp_directory_path() / "velkar-sandbox-XXXXXX").string();
    m_strPath = mkdtemp(strTemplate.data());
}

TempDir::~TempDir()
{
    std::filesystem::remove_all(m_strPath);
}

void WriteFile(const std::string& strPath, const std::string& strText)
{
    std::ofstream(strPath, std::ios::binary) << strText;
}

std::string ReadFile(const std::string& strPath)
{
    std::ostringstream out;
    out << std::ifstream(strPath, std::ios::binary).rdbuf();
    return out.str();
}

}  // namespace SandboxTest
