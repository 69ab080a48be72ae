// The program itself: its options, its files, its exit codes.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "tests/sandbox/SandboxFixture.h"

using namespace SandboxTest;

namespace {

constexpr char kStale[] = "stale";

class Program {
public:
    // nFiles limits the file descriptors of the program; 0 leaves them.
    Program(const std::vector<std::string>& vecArgs, const std::string& strOutput, rlim_t nFiles = 0)
    {
        std::string strPath = VELKAR_SANDBOX_PATH;
        std::vector<std::string> vecTexts = vecArgs;
        std::vector<char*> vecArgv = {strPath.data()};
        for (std::string& strText : vecTexts)
            vecArgv.push_back(strText.data());
        vecArgv.push_back(nullptr);
        const int fd = open(strOutput.c_str(), O_CREAT | O_TRUNC | O_WRONLY | O_CLOEXEC, 0600);
        m_pid = fork();
        if (m_pid == 0) {
            dup2(fd, STDOUT_FILENO);
            dup2(fd, STDERR_FILENO);
            const rlimit limit{nFiles, nFiles};
            if (nFiles != 0)
                setrlimit(RLIMIT_NOFILE, &limit);
            execv(vecArgv[0], vecArgv.data());
            _exit(127);
        }
        close(fd);
    }
    ~Program()
    {
        if (m_pid > 0) {
            Kill(SIGKILL);
            Wait();
        }
    }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    void Kill(int nSignal) { kill(m_pid, nSignal); }
    int Wait()  // the exit code, or minus the signal
    {
        int nStatus = 0;
        waitpid(m_pid, &nStatus, 0);
        m_pid = -1;
        return WIFEXITED(nStatus) ? WEXITSTATUS(nStatus) : -WTERMSIG(nStatus);
    }
    int End(int nSignal)
    {
        Kill(nSignal);
        return Wait();
    }

private:
    pid_t m_pid;
};

class ProgramTest : public testing::Test {
protected:
    std::vector<std::string> Args(std::vector<std::string> vecMore = {})
    {
        vecMore.insert(vecMore.end(), {"--port", "0", "--port-file", m_strPortFile, "--db", m_dir / "db",
                                       "--http-port", "0", "--http-port-file", m_strHttpPortFile});
        return vecMore;
    }
    unsigned short WaitForPort() { return WaitForPort(m_strPortFile); }
    unsigned short WaitForHttpPort() { return WaitForPort(m_strHttpPortFile); }
    unsigned short WaitForPort(const std::string& strFile)
    {
        for (int i = 0; i < 4000; ++i, usleep(5000)) {
            if (const std::string strPort = ReadFile(strFile); !strPort.empty() && strPort != kStale)
                return static_cast<unsigned short>(std::stoi(strPort));
        }
        ADD_FAILURE() << "no port file; the program says:\n" << ReadFile(m_strOutput);
        return 0;
    }
    void WaitForOutput(const std::string& strText)
    {
        for (int i = 0; ReadFile(m_strOutput).find(strText) == std::string::npos; ++i, usleep(5000))
            ASSERT_LT(i, 4000) << ReadFile(m_strOutput);
    }
    int Run(const std::vector<std::string>& vecArgs) { return Program(vecArgs, m_strOutput).Wait(); }

    TempDir m_dir;
    std::string m_strPortFile = m_dir / "port";
    std::string m_strHttpPortFile = m_dir / "http-port";
    std::string m_strOutput = m_dir / "output";
};

}  // namespace

TEST_F(ProgramTest, ServesUntilItIsToldToEnd)
{
    std::string strSeqNo;
    {
        WriteFile(m_strPortFile, kStale);  // left behind by a run that was killed
        Program program(Args(), m_strOutput);
        Client client(WaitForPort());
        client.Register("game");
        strSeqNo = client.CheckIn("alice")->strSeqNo;
        EXPECT_EQ(program.End(SIGTERM), 0);
        EXPECT_TRUE(client.IsClosed());
        EXPECT_EQ(ReadFile(m_strPortFile), "");
        const std::string strOutput = ReadFile(m_strOutput);
        EXPECT_NE(strOutput.find("Listening on 127.0.0.1 port "), std::string::npos) << strOutput;
        EXPECT_NE(strOutput.find("game/s/w <- XC2S_CheckInReq"), std::string::npos) << strOutput;
        EXPECT_NE(strOutput.find("game/s/w -> XS2C_CheckInAns"), std::string::npos) << strOutput;
    }
    {
        Program program(Args({"--quiet"}), m_strOutput);
        Client client(WaitForPort());
        client.Register("game");
        EXPECT_EQ(client.CheckOut("alice", strSeqNo)->bSuccess.nByte, 1);
        strSeqNo = client.CheckIn("bob")->strSeqNo;
        EXPECT_EQ(program.End(SIGKILL), -SIGKILL);
        EXPECT_EQ(ReadFile(m_strOutput).find("XC2S_CheckInReq"), std::string::npos);
        WriteFile(m_strPortFile, kStale);
    }
    Program program(Args({"--answer-delay", "0"}), m_strOutput);
    Client client(WaitForPort());
    client.Register("game");
    EXPECT_EQ(client.CheckOut("bob", strSeqNo)->bSuccess.nByte, 1) << "what was answered survives a kill";
    EXPECT_EQ(program.End(SIGINT), 0);
}

// However it ends, each order has its entries and its price has been taken once.
TEST_F(ProgramTest, PurchasesAreWholeAfterAKill)
{
    int nAnswered = 0, nBooked = 0;
    for (int nKillAfter : {1, 7, 20}) {
        WriteFile(m_strPortFile, kStale);
        Program program(Args({"--answer-delay", "0", "--quiet"}), m_strOutput);
        Client client(WaitForPort());
        client.Register("game");
        XC2S_PurchaseProductReq req;
        FillPurchase(req, "dave", "POTION");
        for (int i = 0; i < 60; ++i)
            client.Send(req);
        for (int i = 0; i < nKillAfter; ++i, ++nAnswered)
            client.Receive<XS2C_PurchaseProductAns>();
        EXPECT_EQ(program.End(SIGKILL), -SIGKILL);
    }
    WriteFile(m_strHttpPortFile, kStale);
    Program program(Args({"--quiet"}), m_strOutput);
    const unsigned short nHttpPort = WaitForHttpPort();
    const auto orders = Http(nHttpPort, "GET", "/orders?user=dave&limit=1000").json["orders"];
    const auto boxes = Http(nHttpPort, "GET", "/storage?user=dave&limit=1000").json["storage"];
    for (const auto& order : orders) {
        nBooked += order["price"].get<int>();
        EXPECT_EQ(order["storageSeqs"].size(), 1u) << order;
    }
    EXPECT_GE(orders.size(), static_cast<std::size_t>(nAnswered)) << "what was answered is there";
    EXPECT_EQ(boxes.size(), 25 + orders.size()) << "no entries without an order but those of the seed";
    EXPECT_EQ(Http(nHttpPort, "GET", "/users?user=dave").json["users"][0]["ruvCoin"], 100'000 - nBooked);
    EXPECT_EQ(program.End(SIGTERM), 0);
}

TEST_F(ProgramTest, EndsWhileHttpRequestsWait)
{
    WriteFile(m_strHttpPortFile, kStale);
    Program program(Args(), m_strOutput);
    Client client(WaitForPort());
    const unsigned short nHttpPort = WaitForHttpPort();
    Client stuck(nHttpPort);  // sends half a request and no more
    stuck.SendBytes("POST /fault HTTP/1.1\r\nHost: localhost\r\nContent-Length: 10\r\n\r\n{");
    client.Register("game");
    auto waiting = std::async(std::launch::async, [&] {
        return Http(nHttpPort, "POST", "/trigger/query-game-money",
                    R"({"connector": "game/s/w", "timeoutMs": 60000})");
    });
    client.Receive<XS2C_QueryGameMoneyReq>();
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(program.End(SIGTERM), 0);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30)) << "not the whole timeout";
    EXPECT_EQ(waiting.get().nStatus, 503);
    EXPECT_EQ(ReadFile(m_strHttpPortFile), "");
    const std::string strOutput = ReadFile(m_strOutput),
                      strSecond = strOutput.substr(strOutput.find('\n') + 1);
    EXPECT_EQ(strSecond.find(" HTTP on 127.0.0.1 port " + std::to_string(nHttpPort) + "\n"), 12u)
        << strOutput;
}

TEST_F(ProgramTest, AnswersComeNoSoonerThanAsked)
{
    Program program(Args({"--answer-delay", "300"}), m_strOutput);
    Client client(WaitForPort());
    const auto start = std::chrono::steady_clock::now();
    client.Register();
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(300));
}

TEST_F(ProgramTest, SaysWhyItDoesNotStart)
{
    EXPECT_EQ(Run({"--help"}), 0);
    EXPECT_EQ(Run({"--version"}), 0);
    EXPECT_EQ(ReadFile(m_strOutput).rfind("velkar-sandbox ", 0), 0u) << ReadFile(m_strOutput);
    const std::vector<std::vector<std::string>> kBadLines = {{"--port", "70000"},
                                                             {"--port", "-1"},
                                                             {"--port", "x"},
                                                             {"--answer-delay", "-1"},
                                                             {"--nonsense"},
                                                             {"--quiet", "--verbose"},
                                                             {"--db"},
                                                             {"stray"},
                                                             {"--no-http", "--http-port", "0"}};
    for (const auto& vecArgs : kBadLines)
        EXPECT_EQ(Run(vecArgs), 2) << vecArgs[0] << ' ' << vecArgs.back();

    RunningSandbox other;
    EXPECT_EQ(Run({"--port", std::to_string(other.Port()), "--no-http"}), 1);
    EXPECT_NE(ReadFile(m_strOutput).find("Address already in use"), std::string::npos)
        << ReadFile(m_strOutput);
    EXPECT_EQ(Run({"--port", "0", "--http-port", std::to_string(other.Server().GetHttpPort())}), 1);
    EXPECT_NE(ReadFile(m_strOutput).find("Cannot listen for HTTP"), std::string::npos)
        << ReadFile(m_strOutput);
    WriteFile(m_strPortFile, kStale);
    EXPECT_EQ(Run(Args({"--host", "no such host"})), 1);
    EXPECT_EQ(ReadFile(m_strPortFile), "") << "nobody may take it for this run's";
    EXPECT_EQ(Run(Args({"--seed", m_dir / "missing.json"})), 1);
    EXPECT_NE(ReadFile(m_strOutput).find("missing.json"), std::string::npos) << ReadFile(m_strOutput);
    EXPECT_EQ(Run({"--port", "0", "--port-file", m_dir / "no/such/port", "--no-http"}), 1);
}

TEST_F(ProgramTest, MoreConnectionsThanFilesAreNotTheEnd)
{
    Program program(Args(), m_strOutput, 56);
    const unsigned short nPort = WaitForPort();
    {
        std::vector<std::unique_ptr<Client>> vecClients;
        for (int i = 0; i < 60; ++i)
            vecClients.push_back(std::make_unique<Client>(nPort));
        EXPECT_TRUE(vecClients.back()->IsClosed());
        vecClients.front()->Register("first");
        EXPECT_EQ(vecClients.front()->CheckIn("alice")->nResult, 0) << "who is in is served";
    }
    WaitForOutput("first/s/w: closed");
    Client client(nPort);
    EXPECT_EQ(client.Register("late")->nResult, 0);
    EXPECT_EQ(program.End(SIGTERM), 0);
    EXPECT_NE(ReadFile(m_strOutput).find("Connections are refused: there are 16"), std::string::npos);
}
