// A sandbox in this process with a clock that the test moves, and a small client that speaks to it
// through the wire classes.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <nlohmann/json.hpp>

#include "sandbox/Server.h"
#include "sandbox/base/Json.h"
#include "wirova/messages/AllMessages.h"

namespace SandboxTest {

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
// vecHeaders: "Name: value", in place of the usual Host if it is one.
HttpAnswer Http(unsigned short nPort, const std::string& strMethod, const std::string& strPath,
                const std::string& strBody = "", const std::vector<std::string>& vecHeaders = {});

class RunningSandbox {
public:
    explicit RunningSandbox(const std::string& strDb = "", const std::string& strSeed = "demo",
                            bool bSaveOnPurchase = false);
    explicit RunningSandbox(std::chrono::milliseconds answerDelay);
    ~RunningSandbox();

    unsigned short Port() const { return m_pServer->GetPort(); }
    Sandbox::Server& Server() { return *m_pServer; }
    HttpAnswer Get(const std::string& strPath);
    HttpAnswer Post(const std::string& strPath, const std::string& strBody = "");
    HttpAnswer Delete(const std::string& strPath);
    std::future<HttpAnswer> PostLater(const std::string& strPath, const std::string& strBody);
    void Advance(std::int64_t ms);  // and lets what is due by then happen
    // Who is checked in, by Seq No: "alice on g/s/w", with " moving" behind it.
    std::vector<std::string> Sessions();
    std::string Lines() const;                                           // all that the console has shown
    ::testing::AssertionResult Shows(const std::string& strText) const;  // waits for it

private:
    explicit RunningSandbox(Sandbox::Options options);

    mutable std::mutex m_mutex;
    std::string m_strLines;
    FakeClock m_clock;
    Sandbox::Console m_console;
    std::unique_ptr<Sandbox::Server> m_pServer;
    std::thread m_thread;
};

class Client {
public:
    // nBuffer: size of the system's buffers for this link, 0 leaves them.
    explicit Client(unsigned short nPort, int nBuffer = 0);
    ~Client();
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    void Send(const Wirova::IMessage& msg);
    bool SendBytes(const std::string& strBytes);  // false if the sandbox has closed the link
    void EndSending();                            // half a close; the sandbox's bytes still come
    // False, with nothing or a part sent, once the sandbox has not taken a byte for half a second.
    bool SendUnlessStuck(const std::string& strBytes);
    // The next frame, which must be of that class and whole. Fails the test otherwise.
    template <class Ans>
    std::unique_ptr<Ans> Receive()
    {
        auto ans = std::make_unique<Ans>();
        ReceiveInto(*ans);
        return ans;
    }
    template <class Ans, class Req>
    std::unique_ptr<Ans> Ask(Req& req)
    {
        if constexpr (requires { req.nReqID; })
            req.nReqID = ++m_nReqID;
        Send(req);
        auto ans = Receive<Ans>();
        if constexpr (requires { req.nReqID, ans->nReqID; }) {
            EXPECT_EQ(ans->nReqID, req.nReqID);
        }
        return ans;
    }
    std::unique_ptr<Wirova::IMessage> ReceiveAny();
    std::size_t ReceiveBytes();  // of one read
    // All that still comes; nothing if the sandbox does not close the link.
    std::optional<std::string> ReadUntilClosed();
    bool IsClosed();  // waits for the sandbox to close the link, reading what comes before

    // ---- what a game server does ----
    std::unique_ptr<XS2C_VelkarConnectAns> Register(const std::string& strGID = "g",
                                                    int nHeartbeatCycle = 10);
    std::unique_ptr<XS2C_CheckInAns> CheckIn(const std::string& strUserID);
    std::unique_ptr<XS2C_CheckOutAns> CheckOut(const std::string& strUserID,
                                               const std::string& strSeqNo = "");
    std::unique_ptr<XS2C_PurchaseProductAns> Buy(const std::string& strUserID,
                                                 const std::string& strProductID, int nCount = 1,
                                                 const std::string& strReceiver = "");
    std::unique_ptr<XS2C_SearchStorageAns> Box(const std::string& strUserID);
    int CoinOf(const std::string& strUserID);
    std::unique_ptr<XS2C_UserMoveToAns> MoveTo(const std::string& strUserID);
    std::unique_ptr<XS2C_UserMoveFromAns> MoveFrom(const std::string& strUserID);
    template <class List>
    void SendList(const std::vector<std::pair<std::string, std::string>>& vecUserAndSeqNo)
    {
        List list;
        for (const auto& [strUserID, strSeqNo] : vecUserAndSeqNo) {
            XCheckOutInfo& info = list.vecCheckOutInfo.Add();
            info.strUserID = strUserID;
            info.strSeqNo = strSeqNo;
        }
        Send(list);
        Settle();
    }
    void Heartbeat();
    void Settle();  // returns when the sandbox has dealt with everything sent before

private:
    void ReceiveInto(Wirova::IMessage& msg);
    Sandbox::StreamPtr ReceiveBody();  // null, and a failed test, if none comes
    bool ReadExactly(char* pBytes, std::size_t nSize);

    int m_fd;
    int m_nReqID = 0;
};

// A directory of this test's own, removed at the end.
class TempDir {
public:
    TempDir();
    ~TempDir();
    std::string operator/(const std::string& strName) const { return m_strPath + '/' + strName; }

private:
    std::string m_strPath;
};

// Of the demo's shop.
inline constexpr char kGame[] = "DEMOGAME";
// For level 30, on the server "s", by the character "hero".
void FillPurchase(XC2S_PurchaseProductReq& req, const std::string& strUserID,
                  const std::string& strProductID);

void WriteFile(const std::string& strPath, const std::string& strText);
std::string ReadFile(const std::string& strPath);  // empty if it is not there

}  // namespace SandboxTest
