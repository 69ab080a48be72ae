#include "tests/sandbox/SandboxFixture.h"

#include <fcntl.h>
#include <httplib.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <map>

#include "sandbox/store/Postgres.h"
#include "sandbox/wire/AnyMessage.h"
#include "sandbox/wire/Frames.h"
#include "wirova/BigEndian.h"

namespace SandboxTest {
// ---- PostgreSQL ----

namespace {

// The script that runs the server, which ends when this process does.
struct PostgresServer {
    PostgresServer()
    {
        int in[2], out[2];
        if (pipe2(in, O_CLOEXEC) != 0 || pipe2(out, O_CLOEXEC) != 0)
            throw std::runtime_error("no pipes");
        pid = fork();
        if (pid == 0) {
            dup2(in[0], 0);
            dup2(out[1], 1);
            _exit(execl(VELKAR_SOURCE_DIR "/tests/support/postgres", "postgres", nullptr));
        }
        close(in[0]);
        close(out[1]);
        nStdin = in[1];
        for (char c; read(out[0], &c, 1) == 1 && c != '\n';)
            strUrl += c;
        close(out[0]);
    }
    ~PostgresServer()
    {
        close(nStdin);
        waitpid(pid, nullptr, 0);
    }
    pid_t pid = -1;
    int nStdin = -1;
    std::string strUrl;
};

PostgresServer& Postgres()
{
    static PostgresServer server;
    if (server.strUrl.empty())
        throw std::runtime_error("PostgreSQL cannot be started");
    return server;
}

// Waits until the server can be used, or cannot.
void WaitForPostgres(bool bThere)
{
    for (int i = 0; i < 4000; ++i, usleep(5000)) {
        try {
            Sandbox::OpenPostgres(Postgres().strUrl);
            if (bThere)
                return;
        } catch (const Sandbox::StoreError&) {
            if (!bThere)
                return;
        }
    }
    throw std::runtime_error("PostgreSQL does not do what it should");
}

}  // namespace

bool IsOnPostgres() { return std::getenv("VELKAR_TEST_DB") != nullptr; }

std::string NewPostgres()
{
    static int s_nLast = 0;
    const std::string strSchema = "test" + std::to_string(++s_nLast);
    Sandbox::OpenPostgres(Postgres().strUrl)->Execute("CREATE SCHEMA " + strSchema);
    return Postgres().strUrl + "&options=-csearch_path%3D" + strSchema;
}

void StopPostgres()
{
    kill(Postgres().pid, SIGUSR1);
    WaitForPostgres(false);
}

void StartPostgres()
{
    kill(Postgres().pid, SIGUSR2);
    WaitForPostgres(true);
}

// ---- the sandbox ----

RunningSandbox::RunningSandbox(Sandbox::Options options)
    : m_console(Sandbox::Verbosity::Verbose, [this](const std::string& strLine) {
          const std::lock_guard lock(m_mutex);
          m_strLines += strLine + '\n';
      })
{
    options.nPort = options.nHttpPort = 0;
    if (options.strDb.empty() && IsOnPostgres())
        options.strDb = NewPostgres();
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

std::string RunningSandbox::Sessions()
{
    return m_pServer->Invoke([this] {
        std::map<std::int64_t, std::string> mapSessions;
        for (const auto& [identity, connector] : m_pServer->GetRegistry().GetConnectors()) {
            for (const auto& session : m_pServer->GetStore().GetSessions(connector.nID)) {
                mapSessions[session.nSeqNo] = session.strUserID + " on " + identity.GetName() +
                                              (session.nMovingSince != 0 ? " moving" : "");
            }
        }
        std::string strAll;
        for (const auto& [nSeqNo, strText] : mapSessions)
            strAll += (strAll.empty() ? "" : ", ") + strText;
        return strAll;
    });
}

HttpAnswer Http(unsigned short nPort, const std::string& strMethod, const std::string& strPath,
                const std::string& strBody, const std::string& strHeader)
{
    httplib::Client client("127.0.0.1", nPort);
    client.set_read_timeout(kPatience);
    httplib::Request req;
    req.method = strMethod;
    req.path = strPath;
    req.body = strBody;
    if (const std::size_t nColon = strHeader.find(": "); nColon != std::string::npos)
        req.set_header(strHeader.substr(0, nColon), strHeader.substr(nColon + 2));
    const auto result = client.send(req);
    if (!result)
        return {};
    return {result->status, result->body, Sandbox::Json::parse(result->body, nullptr, false)};
}

::testing::AssertionResult Contains(const std::string& strAll, const std::string& strPart)
{
    if (strAll.find(strPart) != std::string::npos)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "'" << strPart << "' is not in\n" << strAll;
}

void RunningSandbox::ExpectRefused(const std::string& strPath, const std::vector<Mistake>& vecMistakes)
{
    for (const Mistake& mistake : vecMistakes) {
        const HttpAnswer answer = Post(strPath, mistake.strBody);
        EXPECT_EQ(answer.nStatus, mistake.nStatus) << mistake.strBody;
        EXPECT_TRUE(Contains(answer.strBody, mistake.pszError)) << mistake.strBody;
    }
}

std::string RunningSandbox::Lines() const
{
    const std::lock_guard lock(m_mutex);
    return m_strLines;
}

::testing::AssertionResult RunningSandbox::Shows(const std::string& strText) const
{
    for (int i = 0; i < 4000 && !Contains(Lines(), strText); ++i)
        usleep(5000);
    return Contains(Lines(), strText);
}

// ---- the client ----

std::unique_ptr<Wirova::IMessage> MakeRequest(const std::string& strText)
{
    const std::size_t nName = std::min(strText.find(' '), strText.size());
    const auto* const pInfo = Sandbox::FindClassByName("XC2S_" + strText.substr(0, nName) + "Req");
    if (pInfo == nullptr)
        throw std::invalid_argument(strText);
    auto msg = pInfo->pfnMake();
    VisitMessage(*msg, [](const std::string& strName, auto& v) {
        if constexpr (std::is_same_v<decltype(v), std::string&>)
            v = strName == "strGameID" ? kGame : strName == "strUserIP" ? "10.0.0.1" : "";
    });
    Assign(*msg, std::string_view(strText).substr(std::min(nName + 1, strText.size())));
    return msg;
}

std::string Purchase(const std::string& strUserID, const std::string& strProductID,
                     const std::string& strMore)
{
    return "PurchaseProduct strUserID=" + strUserID + " strProductID=" + strProductID +
           " strServerID=s strCharacterID=hero nCount=1 nLevel=30 " + strMore;
}

Client::Client(unsigned short nPort, const std::string& strGID, int nHeartbeatCycle)
{
    using asio::ip::tcp;
    constexpr int kBuffer = 32 * 1024;  // small: a peer that does not read is noticed soon
    m_socket.open(tcp::v4());
    m_socket.set_option(tcp::no_delay(true));
    m_socket.set_option(tcp::socket::send_buffer_size(kBuffer));
    m_socket.set_option(tcp::socket::receive_buffer_size(kBuffer));
    m_socket.connect({asio::ip::address_v4::loopback(), nPort});
    const timeval patience{kPatience.count() / 1000, 0};
    setsockopt(m_socket.native_handle(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof(patience));
    if (!strGID.empty()) {
        EXPECT_EQ(Register(strGID, nHeartbeatCycle), 0);
    }
}

void Client::Send(const Wirova::IMessage& msg)
{
    EXPECT_TRUE(SendBytes(Sandbox::FrameOf(msg))) << msg.GetMsgName();
}

bool Client::SendBytes(const std::string& strBytes, std::chrono::milliseconds patience)
{
    const timeval time{patience.count() / 1000, patience.count() % 1000 * 1000};
    setsockopt(m_socket.native_handle(), SOL_SOCKET, SO_SNDTIMEO, &time, sizeof(time));
    for (std::size_t nSent = 0; nSent < strBytes.size();) {
        const ssize_t n =
            send(m_socket.native_handle(), strBytes.data() + nSent, strBytes.size() - nSent, MSG_NOSIGNAL);
        if (n <= 0)
            return false;
        nSent += static_cast<std::size_t>(n);
    }
    return true;
}

std::string Client::Read(std::size_t nMost, int nFlags)
{
    std::string str(nMost, '\0');
    const ssize_t n = nMost == 0 ? 0 : recv(m_socket.native_handle(), str.data(), nMost, nFlags);
    if (n < 0 && errno == EAGAIN)
        throw std::runtime_error("nothing has come, and the link is open");
    str.resize(static_cast<std::size_t>(std::max<ssize_t>(n, 0)));
    return str;
}

std::string Client::ReadUntilClosed()
{
    std::string strAll;
    for (std::string strPart; !(strPart = Read(4096)).empty();)
        strAll += strPart;
    return strAll;
}

std::unique_ptr<Wirova::IMessage> Client::ReceiveAny()
{
    const std::string strLength = Read(4, MSG_WAITALL);
    if (strLength.size() < 4)
        throw std::runtime_error("the link is closed");
    unsigned char bytes[4];
    std::copy_n(strLength.begin(), 4, bytes);
    const auto nLength = static_cast<std::size_t>(Wirova::GetBigEndian<Wirova::int32>(bytes));
    const std::string strBody = Read(nLength, MSG_WAITALL);
    const auto stream = Sandbox::MakeStream();
    Strova::Write(stream.get(), strBody.data(), static_cast<int>(strBody.size()));
    auto msg = Wirova::MakeMessage(Sandbox::PeekMsgID(stream.get()));
    if (msg == nullptr)
        throw std::runtime_error("no message of the protocol has come");
    Sandbox::LoadBody(*msg, stream.get());
    return msg;
}

std::unique_ptr<Wirova::IMessage> Client::Ask(const std::string& strRequest)
{
    const auto req = MakeRequest(strRequest);
    Sandbox::SetReqID(*req, ++m_nReqID);
    Send(*req);
    auto ans = ReceiveAny();
    EXPECT_EQ(Sandbox::GetReqID(*ans).value_or(0), Sandbox::GetReqID(*req).value_or(0));
    const std::string strName = ans->GetMsgName();
    EXPECT_EQ(strName.substr(5), strRequest.substr(0, strRequest.find(' ')) + "Ans");
    return ans;
}

int Client::Register(const std::string& strGID, int nHeartbeatCycle)
{
    return Ask<XS2C_VelkarConnectAns>("VelkarConnect strGID=" + strGID +
                                      " strSID=s strWID=w nHeartbeatCycle=" + std::to_string(nHeartbeatCycle))
        ->nResult;
}

void Client::SendList(const std::string& strName,
                      const std::vector<std::pair<std::string, std::string>>& vecUsers)
{
    std::string strText = strName;
    for (const auto& [strUserID, strSeqNo] : vecUsers)
        strText += " vecCheckOutInfo={strUserID=" + strUserID + " strSeqNo=" + strSeqNo + "}";
    Send(*MakeRequest(strText));
    Settle();
}

}  // namespace SandboxTest
