#include "tests/sandbox/SandboxFixture.h"

#include <arpa/inet.h>
#include <httplib.h>
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

#include "sandbox/wire/Frames.h"
#include "wirova/BigEndian.h"
#include "wirova/messages/MessageCatalog.h"

namespace SandboxTest {
namespace {

constexpr int kPatience = 20'000;  // milliseconds

}  // namespace

// ---- the sandbox ----

RunningSandbox::RunningSandbox(const std::string& strDb, const std::string& strSeed, bool bSaveOnPurchase)
    : RunningSandbox(Sandbox::Options{.strDb = strDb, .strSeed = strSeed, .bSaveOnPurchase = bSaveOnPurchase})
{
}

RunningSandbox::RunningSandbox(std::chrono::milliseconds answerDelay)
    : RunningSandbox(Sandbox::Options{.answerDelay = answerDelay})
{
}

RunningSandbox::RunningSandbox(Sandbox::Options options)
    : m_console(Sandbox::Verbosity::Verbose, [this](const std::string& strLine) {
          const std::lock_guard lock(m_mutex);
          m_strLines += strLine + '\n';
      })
{
    options.nPort = 0;
    options.nHttpPort = 0;
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
        for (const auto& [nSeqNo, strText] : vecSessions)
            vecTexts.push_back(strText);
        return vecTexts;
    });
}

HttpAnswer Http(unsigned short nPort, const std::string& strMethod, const std::string& strPath,
                const std::string& strBody, const std::vector<std::string>& vecHeaders)
{
    httplib::Client client("127.0.0.1", nPort);
    client.set_read_timeout(std::chrono::milliseconds(kPatience));
    httplib::Request req;
    req.method = strMethod;
    req.path = strPath;
    req.body = strBody;
    for (const std::string& strHeader : vecHeaders) {
        const std::size_t nColon = strHeader.find(": ");
        req.set_header(strHeader.substr(0, nColon), strHeader.substr(nColon + 2));
    }
    const auto result = client.send(req);
    if (!result)
        return {};
    return {result->status, result->body, Sandbox::Json::parse(result->body, nullptr, false)};
}

HttpAnswer RunningSandbox::Get(const std::string& strPath)
{
    return Http(m_pServer->GetHttpPort(), "GET", strPath);
}

HttpAnswer RunningSandbox::Post(const std::string& strPath, const std::string& strBody)
{
    return Http(m_pServer->GetHttpPort(), "POST", strPath, strBody);
}

HttpAnswer RunningSandbox::Delete(const std::string& strPath)
{
    return Http(m_pServer->GetHttpPort(), "DELETE", strPath);
}

std::future<HttpAnswer> RunningSandbox::PostLater(const std::string& strPath, const std::string& strBody)
{
    return std::async(std::launch::async, [=, this] { return Post(strPath, strBody); });
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

Client::~Client() { close(m_fd); }

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

void Client::EndSending() { shutdown(m_fd, SHUT_WR); }

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

Sandbox::StreamPtr Client::ReceiveBody()
{
    unsigned char bytes[4] = {};
    if (!ReadExactly(reinterpret_cast<char*>(bytes), 4))
        return nullptr;
    std::string strBody(static_cast<std::size_t>(Wirova::GetBigEndian<Wirova::int32>(bytes)), '\0');
    if (!ReadExactly(strBody.data(), strBody.size()))
        return nullptr;
    auto stream = Sandbox::MakeStream();
    Strova::Write(stream.get(), strBody.data(), static_cast<int>(strBody.size()));
    return stream;
}

void Client::ReceiveInto(Wirova::IMessage& msg)
{
    const auto stream = ReceiveBody();
    ASSERT_NE(stream, nullptr) << "no " << msg.GetMsgName() << " has come";
    const auto nMsgID = Sandbox::PeekMsgID(stream.get());
    ASSERT_EQ(nMsgID, msg.GetMsgID()) << Wirova::MessageName(nMsgID) << " instead of " << msg.GetMsgName();
    ASSERT_TRUE(msg.Load(stream.get()));
    ASSERT_EQ(Strova::GetLength(stream.get()), 0);
}

std::unique_ptr<Wirova::IMessage> Client::ReceiveAny()
{
    const auto stream = ReceiveBody();
    auto msg = stream != nullptr ? Wirova::MakeMessage(Sandbox::PeekMsgID(stream.get())) : nullptr;
    EXPECT_TRUE(msg != nullptr && msg->Load(stream.get()));
    return msg;
}

std::size_t Client::ReceiveBytes()
{
    char arr[4096];
    pollfd wait{m_fd, POLLIN, 0};
    const ssize_t n = poll(&wait, 1, kPatience) == 1 ? recv(m_fd, arr, sizeof(arr), 0) : -1;
    return static_cast<std::size_t>(std::max<ssize_t>(n, 0));
}

std::optional<std::string> Client::ReadUntilClosed()
{
    std::string strAll;
    for (char arr[4096];;) {
        pollfd wait{m_fd, POLLIN, 0};
        if (poll(&wait, 1, kPatience) != 1)
            return std::nullopt;
        const ssize_t n = recv(m_fd, arr, sizeof(arr), 0);
        if (n <= 0)
            return strAll;
        strAll.append(arr, static_cast<std::size_t>(n));
    }
}

bool Client::IsClosed() { return ReadUntilClosed().has_value(); }

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

void FillPurchase(XC2S_PurchaseProductReq& req, const std::string& strUserID, const std::string& strProductID)
{
    req.strGameID = kGame;
    req.strUserID = strUserID;
    req.strProductID = strProductID;
    req.strServerID = "s";
    req.strCharacterID = "hero";
    req.nCount = 1;
    req.nLevel = 30;
}

std::unique_ptr<XS2C_PurchaseProductAns> Client::Buy(const std::string& strUserID,
                                                     const std::string& strProductID, int nCount,
                                                     const std::string& strReceiver)
{
    XC2S_PurchaseProductReq req;
    FillPurchase(req, strUserID, strProductID);
    req.nCount = nCount;
    req.strRecvUserID = strReceiver;
    return Ask<XS2C_PurchaseProductAns>(req);
}

std::unique_ptr<XS2C_SearchStorageAns> Client::Box(const std::string& strUserID)
{
    XC2S_SearchStorageReq req;
    req.strGameID = kGame;
    req.strUserID = strUserID;
    return Ask<XS2C_SearchStorageAns>(req);
}

int Client::CoinOf(const std::string& strUserID)
{
    XC2S_QueryRuvcoinReq req;
    req.strUserID = strUserID;
    return Ask<XS2C_QueryRuvcoinAns>(req)->nRuvCoin;
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

TempDir::~TempDir() { std::filesystem::remove_all(m_strPath); }

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
