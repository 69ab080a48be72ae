// The program itself: its options, its files, its exit codes.
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "tests/sandbox/SandboxFixture.h"

using namespace SandboxTest;

namespace {

class ProgramTest : public testing::Test {
protected:
    ~ProgramTest() override
    {
        if (m_pid > 0)
            End(SIGKILL);
    }
    // The shell's command line; what stands before the program's name ends with ';'.
    void Run(const std::string& strArgs, const std::string& strBefore = "")
    {
        const std::string strLine =
            strBefore + " exec " + VELKAR_SANDBOX_PATH + ' ' + strArgs + " > " + (m_dir / "output") + " 2>&1";
        m_pid = fork();
        if (m_pid == 0)
            _exit(execl("/bin/sh", "sh", "-c", strLine.c_str(), nullptr));
    }
    // On the test's files; whoever was killed before has left stale port files behind.
    void Start(const std::string& strArgs = "", const std::string& strBefore = "")
    {
        Run("--port 0 --port-file " + WriteFile(m_dir / "port", "stale") +
                " --http-port 0 --http-port-file " + WriteFile(m_dir / "http-port", "stale") + " --db " +
                (m_dir / "db") + ' ' + strArgs,
            strBefore);
    }
    // The exit code, or minus the signal. Signal 0 waits until it ends by itself.
    int End(int nSignal)
    {
        int nStatus = 0;
        kill(m_pid, nSignal);
        waitpid(m_pid, &nStatus, 0);
        m_pid = -1;
        return WIFEXITED(nStatus) ? WEXITSTATUS(nStatus) : -WTERMSIG(nStatus);
    }
    unsigned short Port(const std::string& strFile = "port")
    {
        for (int i = 0; i < 4000; ++i, usleep(5000)) {
            if (const std::string strPort = ReadFile(m_dir / strFile); !strPort.empty() && strPort != "stale")
                return static_cast<unsigned short>(std::stoi(strPort));
        }
        throw std::runtime_error("no port file; the program says:\n" + ReadFile(m_dir / "output"));
    }
    testing::AssertionResult Says(const std::string& strText)
    {
        return Contains(ReadFile(m_dir / "output"), strText);
    }

    TempDir m_dir;
    pid_t m_pid = -1;
};

}  // namespace

TEST_F(ProgramTest, ServesUntilItIsToldToEnd)
{
    Start();
    {
        Client client(Port(), "game");
        client.CheckIn("alice");
        EXPECT_EQ(End(SIGTERM), 0);
        client.ReadUntilClosed();
        EXPECT_EQ(ReadFile(m_dir / "port"), "");
        for (const char* const pszText :
             {"Listening on 127.0.0.1 port ", "game/s/w <- XC2S_CheckInReq", "game/s/w -> XS2C_CheckInAns"})
            EXPECT_TRUE(Says(pszText));
    }
    Start("--quiet --answer-delay 300");
    const unsigned short nPort = Port();
    const auto start = std::chrono::steady_clock::now();
    Client client(nPort, "game");
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(300));
    EXPECT_TRUE(client.CheckOut("alice"));
    EXPECT_EQ(End(SIGINT), 0);
    EXPECT_FALSE(Says("XC2S_CheckOutReq"));
}

// A client of a sandbox in this process, which waits until that one has shown what it should.
TEST_F(ProgramTest, CommandsAskARunningSandbox)
{
    RunningSandbox sandbox;
    const std::string strPort = " --http-port " + std::to_string(sandbox.HttpPort());
    Client client(sandbox.Port(), "game");
    client.CheckIn("alice");
    Run("trigger billing-event user=alice eventCode=1 'param=\"7\"'" + strPort);
    EXPECT_EQ(Pick(*client.Receive<XS2C_BillingEventNotice>(), "nEventCode strParam"), "1,7");
    EXPECT_EQ(End(0), 0);
    Run("trigger billing-event user=nobody eventCode=1" + strPort);
    EXPECT_EQ(End(0), 1);
    EXPECT_TRUE(Says("There is no user 'nobody'."));
    Run("coverage --group callbacks" + strPort);
    EXPECT_EQ(End(0), 1);
    EXPECT_TRUE(Says("callbacks   1 of 15\n"));
    EXPECT_TRUE(Says("missing  pfnBillingEvent: event 2"));
    EXPECT_FALSE(Says("missing  pfnBillingEvent: event 1"));
    Run("coverage --group none" + strPort);
    EXPECT_EQ(End(0), 2);
    Run("follow --user bob" + strPort);
    for (int i = 0; i < 4000 && !Says("game/s/w <- XC2S_CheckInReq {"); ++i, usleep(5000))
        client.CheckIn(i % 2 == 0 ? "bob" : "alice");
    EXPECT_TRUE(Says("game/s/w <- XC2S_CheckInReq {"));
    EXPECT_FALSE(Says("alice"));
}

// The same run again; with a difference; and files that are none.
TEST_F(ProgramTest, RecordedRunsAreReplayed)
{
    const std::string strFile = m_dir / "run.jsonl";
    const auto play = [](unsigned short nPort, const std::string& strItem,
                         const std::function<void()>& order) {
        Client client(nPort, "game");
        const std::string strSeqNo = client.CheckIn("alice")->strSeqNo;
        order();
        client.Receive<XS2C_BillingEventNotice>();
        client.Send(*MakeRequest(Purchase("alice", strItem)));  // the answer is dropped
        client.Heartbeat();
        EXPECT_TRUE(client.CheckOut("alice", strSeqNo));
    };
    Run("--port 0 --http-port 0 --port-file " + (m_dir / "port") + " --http-port-file " +
        (m_dir / "http-port") + " --record " + strFile);
    const unsigned short nHttpPort = Port("http-port");
    play(Port(), "POTION", [&] {
        Http(nHttpPort, "POST", "/fault", R"({"class": "XS2C_PurchaseProductAns", "kind": "drop"})");
        Http(nHttpPort, "POST", "/fault", R"({"class": "XS2C_PurchaseProductAns", "kind": "duplicate"})");
        Http(nHttpPort, "DELETE", "/fault?id=2");
        Http(nHttpPort, "POST", "/trigger/billing-event", R"({"user": "alice", "eventCode": 1})");
    });
    EXPECT_EQ(End(SIGKILL), -SIGKILL);
    const std::string strRecord = ReadFile(strFile);
    const auto replay = [&](const std::string& strArgs) {
        WriteFile(m_dir / "output", "");
        Run("replay --port 0 --patience 1 " + strArgs + ' ' + strFile);
        for (int i = 0; i < 4000 && !Says(" port "); ++i)
            usleep(5000);
        const std::string strOutput = ReadFile(m_dir / "output");
        return static_cast<unsigned short>(std::stoi(strOutput.substr(strOutput.find(" port ") + 6)));
    };
    WriteFile(strFile, strRecord + "{\"ms\": 5");
    play(replay(""), "POTION", [] {});
    EXPECT_EQ(End(0), 0) << ReadFile(m_dir / "output");
    EXPECT_TRUE(Says("ends within a line"));
    play(replay("--ignore nCount"), "SWORD", [] {});
    EXPECT_EQ(End(0), 1);
    EXPECT_TRUE(Says("strProductID is \"SWORD\" and not \"POTION\""));
    Client(replay(""), "game").CheckIn("bob");
    EXPECT_EQ(End(0), 1);
    EXPECT_TRUE(Says("strUserID is \"bob\" and not \"alice\""));
    EXPECT_TRUE(Says("never came"));
    const std::size_t nSecond = strRecord.find('\n') + 1;
    const std::pair<std::string, const char*> kWrong[] = {
        {"", "The file is empty."},
        {"{}\n", "line 1: is not the beginning of a recording"},
        {strRecord.substr(nSecond), "line 1: "},
        {strRecord.substr(0, nSecond) + std::string(100'000, '[') + '\n', "line 2: is no JSON object"},
        {strRecord.substr(0, nSecond) + "{\"ms\": 1, \"link\": \"a\", \"in\": 7}\n", "line 2: 'in': "},
        {strRecord.substr(0, nSecond) + "{\"ms\": 1, \"number\": 1, \"request\": \"POST /a b\"}\n",
         "line 2: 'request': "},
    };
    for (const auto& [strText, pszError] : kWrong) {
        WriteFile(strFile, strText);
        Run("replay --port 0 " + strFile);
        EXPECT_EQ(End(0), 2);
        EXPECT_TRUE(Says(pszError));
    }
}

// However it ends, each order has its entries and its price has been taken once.
TEST_F(ProgramTest, PurchasesAreWholeAfterAKill)
{
    for (int nKillAfter : {1, 20}) {
        Start("--answer-delay 0 --quiet");
        Client client(Port(), "game");
        for (int i = 0; i < 60; ++i)
            client.Send(*MakeRequest(Purchase("dave", "POTION")));
        while (nKillAfter-- > 0)
            client.Receive<XS2C_PurchaseProductAns>();
        EXPECT_EQ(End(SIGKILL), -SIGKILL);
    }
    Start("--quiet");
    const unsigned short nPort = Port("http-port");
    const auto orders = Http(nPort, "GET", "/orders?user=dave&limit=1000").json["orders"];
    const auto boxes = Http(nPort, "GET", "/storage?user=dave&limit=1000").json["storage"];
    int nBooked = 0;
    for (const auto& order : orders) {
        nBooked += order["price"].get<int>();
        EXPECT_EQ(order["storageSeqs"].size(), 1u) << order;
    }
    EXPECT_GE(orders.size(), 21u) << "what was answered is there";
    EXPECT_EQ(boxes.size(), 25 + orders.size()) << "no entries without an order but those of the seed";
    EXPECT_EQ(Http(nPort, "GET", "/users?user=dave").json["users"][0]["ruvCoin"], 100'000 - nBooked);
}

TEST_F(ProgramTest, EndsWhileHttpRequestsWait)
{
    Start();
    Client client(Port(), "game");
    const unsigned short nHttpPort = Port("http-port");
    Client stuck(nHttpPort);  // sends half a request and no more
    stuck.SendBytes("POST /fault HTTP/1.1\r\nHost: localhost\r\nContent-Length: 10\r\n\r\n{");
    auto waiting = std::async(std::launch::async, [&] {
        return Http(nHttpPort, "POST", "/trigger/query-game-money",
                    R"({"connector": "game/s/w", "timeoutMs": 60000})");
    });
    client.Receive<XS2C_QueryGameMoneyReq>();
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(End(SIGTERM), 0);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30)) << "not the whole timeout";
    EXPECT_EQ(waiting.get().nStatus, 503);
    EXPECT_EQ(ReadFile(m_dir / "http-port"), "");
    EXPECT_TRUE(Says(" HTTP on 127.0.0.1 port " + std::to_string(nHttpPort) + "\n"));
}

TEST_F(ProgramTest, SaysWhyItDoesNotStart)
{
    RunningSandbox other;
    const std::tuple<std::string, int, const char*> kCases[] = {
        {"--help", 0, "--port"},
        {"--version", 0, "velkar-sandbox "},
        {"--port 70000", 2, "70000"},
        {"--port x", 2, "x"},
        {"--answer-delay -1", 2, "-1"},
        {"--quiet --verbose", 2, "--verbose"},
        {"stray", 2, "stray"},
        {"--no-http --http-port 0", 2, "--no-http"},
        {"--no-http --port " + std::to_string(other.Port()), 1, "Address already in use"},
        {"--port 0 --http-port " + std::to_string(other.HttpPort()), 1, "Cannot listen for HTTP"},
        {"--no-http --seed missing.json", 1, "missing.json"},
        {"--no-http --port 0 --db postgresql://me:secret@/x?host=/nowhere", 1,
         "The database in PostgreSQL cannot be used: connection"},
        {"--no-http --port 0 --port-file " + (m_dir / "no/such/port"), 1, "no/such/port"},
    };
    for (const auto& [strArgs, nCode, pszText] : kCases) {
        Run(strArgs);
        EXPECT_EQ(End(0), nCode) << strArgs;
        EXPECT_TRUE(Says(pszText));
    }
    Start("--host 'no such host'");
    EXPECT_EQ(End(0), 1);
    EXPECT_EQ(ReadFile(m_dir / "port"), "") << "nobody may take it for this run's";
}

TEST_F(ProgramTest, MoreConnectionsThanFilesAreNotTheEnd)
{
    Start("", "ulimit -n 64;");
    const unsigned short nPort = Port();
    {
        std::vector<std::unique_ptr<Client>> vecClients;
        for (int i = 0; i < 60; ++i)
            vecClients.push_back(std::make_unique<Client>(nPort));
        vecClients.back()->ReadUntilClosed();
        EXPECT_EQ(vecClients.front()->Register("first"), 0);
        EXPECT_EQ(vecClients.front()->CheckIn("alice")->nResult, 0) << "who is in is served";
    }
    for (int i = 0; i < 4000 && !Says("first/s/w: closed"); ++i)
        usleep(5000);
    Client client(nPort, "late");
    EXPECT_EQ(End(SIGTERM), 0);
    EXPECT_TRUE(Says("Connections are refused: there are 16"));
}
