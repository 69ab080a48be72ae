// A sandbox in this process with a clock that the test moves, and a small client that speaks to it
// through the wire classes.
#pragma once

#include <gtest/gtest.h>

#include <asio.hpp>
#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <nlohmann/json.hpp>

#include "sandbox/Server.h"
#include "sandbox/base/Json.h"
#include "tests/support/Files.h"
#include "tests/support/TempDirectory.h"
#include "tests/wirova/MessageText.h"
#include "wirova/messages/AllMessages.h"

namespace SandboxTest {

using Support::ReadFile;
using Support::WriteFile;

inline constexpr std::chrono::milliseconds kPatience{20'000};

class FakeClock final : public Sandbox::IClock {
public:
    std::int64_t Milliseconds() const override { return m_ms; }
    std::time_t Now() const override { return m_now + m_ms / 1000; }
    void Advance(std::int64_t ms) { m_ms += ms; }

private:
    std::atomic<std::int64_t> m_ms{1'000'000};
    const std::time_t m_now = std::time(nullptr);
};

struct HttpAnswer {
    int nStatus = 0;  // 0: none has come
    std::string strBody;
    Sandbox::Json json;  // null if the body is none
};
// strHeader: "Name: value", in place of the usual Host if it is one.
HttpAnswer Http(unsigned short nPort, const std::string& strMethod, const std::string& strPath,
                const std::string& strBody = "", const std::string& strHeader = "");

bool IsOnPostgres();  // whether the tests of this run are about PostgreSQL: the environment has
                      // VELKAR_TEST_DB
// The URL of an empty database in a PostgreSQL server that belongs to this program and ends with it. The
// server is started when the first one asks.
std::string NewPostgres();
void StopPostgres();  // at once, as a power cut would; who is connected loses the connection
void StartPostgres();

::testing::AssertionResult Contains(const std::string& strAll, const std::string& strPart);

// What somebody posts by mistake, and a part of the text that says so.
struct Mistake {
    std::string strBody;
    int nStatus;
    const char* pszError;
};

// Without a database of the test's own it is SQLite in memory, or PostgreSQL if IsOnPostgres.
class RunningSandbox {
public:
    explicit RunningSandbox(Sandbox::Options options = {});
    ~RunningSandbox();

    unsigned short Port() const { return m_pServer->GetPort(); }
    unsigned short HttpPort() const { return m_pServer->GetHttpPort(); }
    Sandbox::Server& Server() { return *m_pServer; }
    HttpAnswer Get(const std::string& strPath) { return Http(HttpPort(), "GET", strPath); }
    HttpAnswer Post(const std::string& strPath, const std::string& strBody = "")
    {
        return Http(HttpPort(), "POST", strPath, strBody);
    }
    std::future<HttpAnswer> PostLater(const std::string& strPath, const std::string& strBody)
    {
        return std::async(std::launch::async, [=, this] { return Post(strPath, strBody); });
    }
    void ExpectRefused(const std::string& strPath, const std::vector<Mistake>& vecMistakes);
    Sandbox::Json User(const std::string& strUserID)
    {
        return Get("/users?user=" + strUserID).json["users"][0];
    }
    void Advance(std::int64_t ms);  // and lets what is due by then happen
    // Who is checked in, by Seq No: "alice on g/s/w, bob on g/s/w moving".
    std::string Sessions();
    std::string Lines() const;                                           // all that the console has shown
    ::testing::AssertionResult Shows(const std::string& strText) const;  // waits for it

private:
    mutable std::mutex m_mutex;
    std::string m_strLines;
    FakeClock m_clock;
    Sandbox::Console m_console;
    std::unique_ptr<Sandbox::Server> m_pServer;
    std::thread m_thread;
};

inline constexpr char kGame[] = "DEMOGAME";  // of the demo's shop

// "CheckIn strUserID=alice" is XC2S_CheckInReq; game and address are the usual ones if the text has none.
std::unique_ptr<Wirova::IMessage> MakeRequest(const std::string& strText);
// One piece on the server "s" for the character "hero" of level 30, unless more says otherwise.
std::string Purchase(const std::string& strUserID, const std::string& strProductID,
                     const std::string& strMore = "");

// What fails here throws, which ends the test.
class Client {
public:
    // Registers if there is a GID.
    explicit Client(unsigned short nPort, const std::string& strGID = "", int nHeartbeatCycle = 1000);

    void Send(const Wirova::IMessage& msg);
    // False, with nothing or a part sent, if the sandbox has closed the link or takes nothing for so long.
    bool SendBytes(const std::string& strBytes, std::chrono::milliseconds patience = kPatience);
    std::string Read(std::size_t nMost, int nFlags = 0);  // empty once the sandbox has closed the link
    std::string ReadUntilClosed();
    std::unique_ptr<Wirova::IMessage> ReceiveAny();
    template <class Ans>
    std::unique_ptr<Ans> Receive()
    {
        return As<Ans>(ReceiveAny());
    }
    // The answer to a request as MakeRequest takes it; with names, as Pick gives it.
    std::unique_ptr<Wirova::IMessage> Ask(const std::string& strRequest);
    std::string Ask(const std::string& str, const std::string& strNames) { return Pick(*Ask(str), strNames); }
    template <class Ans>
    std::unique_ptr<Ans> Ask(const std::string& strRequest)
    {
        return As<Ans>(Ask(strRequest));
    }

    // ---- what a game server does ----
    int Register(const std::string& strGID, int nHeartbeatCycle = 1000);  // the result
    std::unique_ptr<XS2C_CheckInAns> CheckIn(const std::string& strUserID)
    {
        return Ask<XS2C_CheckInAns>("CheckIn strUserID=" + strUserID);
    }
    bool CheckOut(const std::string& strUserID, const std::string& strSeqNo = "")
    {
        return Ask("CheckOut strUserID=" + strUserID + " strSeqNo=" + strSeqNo, "bSuccess") == "1";
    }
    bool Move(const std::string& strWay, const std::string& strID)  // "To" or "From"
    {
        return Ask("UserMove" + strWay + " strUserID=" + strID, "bSuccess") == "1";
    }
    // The state of the answer, and the price: "0,1100".
    std::string Buy(const std::string& strUserID, const std::string& strProductID,
                    const std::string& strMore = "")
    {
        return Ask(Purchase(strUserID, strProductID, strMore), "nState nBuyPrice");
    }
    std::size_t Box(const std::string& strID)  // the entries in it
    {
        return Ask<XS2C_SearchStorageAns>("SearchStorage strUserID=" + strID)->vecStorage.size();
    }
    std::string CoinOf(const std::string& strID)
    {
        return Ask("QueryRuvcoin strUserID=" + strID, "nRuvCoin");
    }
    // "UserListSync" or "FailedCheckOut", of users and their Seq Nos.
    void SendList(const std::string& strName,
                  const std::vector<std::pair<std::string, std::string>>& vecUsers);
    void Heartbeat()
    {
        Send(XC2S_Heartbeat());
        Settle();
    }
    void Settle() { Ask("QueryBillingInfo"); }  // returns when the sandbox has dealt with all sent before

private:
    template <class Ans>
    static std::unique_ptr<Ans> As(std::unique_ptr<Wirova::IMessage> msg)
    {
        if (dynamic_cast<Ans*>(msg.get()) == nullptr)
            throw std::runtime_error(std::string(msg->GetMsgName()) + " instead of " + Ans().GetMsgName());
        return std::unique_ptr<Ans>(static_cast<Ans*>(msg.release()));
    }

    asio::io_context m_context;
    asio::ip::tcp::socket m_socket{m_context};
    int m_nReqID = 0;
};

// One registered connector, "g/s/w".
class ClientTest : public testing::Test {
protected:
    struct Row {
        std::string strRequest;
        const char *pszNames, *pszExpected;
    };
    // Asks in that order; the named fields of each answer are as expected.
    void ExpectAnswers(const std::vector<Row>& vecRows)
    {
        for (const Row& row : vecRows)
            EXPECT_EQ(m_client.Ask(row.strRequest, row.pszNames), row.pszExpected) << row.strRequest;
    }

    RunningSandbox m_sandbox;
    Client m_client{m_sandbox.Port(), "g"};
};

struct TempDir : Support::TempDirectory {
    std::string operator/(const std::string& strName) const { return (Path() / strName).string(); }
    std::string NewDb() const { return IsOnPostgres() ? NewPostgres() : *this / "sandbox.db"; }
};

}  // namespace SandboxTest
