// What the operator sees: figures, lines about trouble, and the status file's text.
#include <regex>

#include "comm/MessageCounts.h"
#include "comm/RequestWatch.h"
#include "comm/Status.h"
#include "tests/fakeplatform/LogicTest.h"

namespace {

_CONNECTOR_STATUS Status()
{
    _CONNECTOR_STATUS status{};
    status.nSize = sizeof(status);
    EXPECT_TRUE(GetConnectorStatus(&status));
    return status;
}

class OperatorTest : public StartedTest {
protected:
    void SetUp() override
    {
        StartedTest::SetUp();
        Service().SayYes();
        m_watch.Look(1, true);
    }
    // The log's thread looks at that time, in seconds; gives the warnings since the last look.
    std::string Look(double dSeconds)
    {
        m_watch.Look(static_cast<std::int64_t>((100 + dSeconds) * 1e9), false);
        std::string strNew;
        for (const Journal::Line& line : Journal::Lines())
            strNew += line.level == Journal::Level::Warning ? line.strText + '\n' : "";
        Journal::Clear();
        return strNew;
    }
    static void ExpectMatch(const std::string& strText, const char* pszPattern)
    {
        EXPECT_TRUE(std::regex_search(strText, std::regex(pszPattern))) << strText;
    }

    CRequestWatch m_watch;
};

TEST_F(OperatorTest, AFreezeOfFortySeconds)
{
    const auto of = [] { return Status().arrMessages[Wirova::kSentNumber<XC2S_CheckInReq>]; };
    const auto before = of();
    ASSERT_EQ(Game().Checkin("abc").nResult, 0);
    EXPECT_EQ(Look(1), "");
    Service().SayNothing();
    SetSecond(std::chrono::milliseconds(100));
    const std::string strLine = "[Velkar Connector] Requests without an answer in time: XC2S_CheckInReq ";
    for (int nTenths = 15; nTenths < 400; ++nTenths) {
        if (nTenths % 50 == 0) {
            Service().Forget();
            auto later = Game().Later([&] { return Game().Checkin("def"); });
            Service().Expect<XC2S_CheckInReq>();
            EXPECT_EQ(Status().nWaiters, 1);
            later.get();
        }
        const bool bLine = nTenths % 100 == 50;
        EXPECT_EQ(Look(nTenths / 10.0), !bLine ? "" : strLine + (nTenths == 50 ? "1.\n" : "2.\n")) << nTenths;
    }
    Service().SayYes();
    ASSERT_EQ(Game().Checkin("def").nResult, 0);
    ExpectMatch(Look(40), "answers again after 40 s: XC2S_CheckInReq \\(7 without an answer\\)\\.\n$");
    EXPECT_EQ(Look(60), "");
    EXPECT_EQ(of().nSent - before.nSent, 9);
    EXPECT_EQ(of().nTimedOut - before.nTimedOut, 7);
    EXPECT_EQ(of().nAnswered - before.nAnswered, 2);
}

TEST_F(OperatorTest, ALossAndTheReturn)
{
    Game().Stop();
    EXPECT_EQ(Status().nLinkState, 0);
    Game().settings.nReconnectCycle = 1;
    ASSERT_TRUE(Game().Start());
    ASSERT_EQ(Game().Checkin("abc").nResult, 0);
    const auto before = Status();
    Service().Down();
    ASSERT_TRUE(Journal::WaitFor(Journal::Level::Warning, "] The connection to 127.0.0.1:"));
    while (Status().nConnectAttempts < before.nConnectAttempts + 2)
        std::this_thread::yield();
    EXPECT_EQ(Game().Checkout("abc").bSuccess, 0);
    EXPECT_EQ(Game().Checkin("def").nResult, -1);
    EXPECT_EQ(Status().nFailedCheckouts, 1);
    ExpectMatch(Look(1),
                "is lost after \\d+ s: the service has ended it\\.\n(.*\n)*"
                ".*not sent: XC2S_CheckInReq 1, XC2S_CheckOutReq 1\\.\n");
    Service().Up();
    ASSERT_TRUE(Journal::WaitFor(Journal::Level::Warning, "is up again after"));
    while (Game().Checkin("def").nResult != 0) {
    }
    ExpectMatch(Look(7),
                "is up again after \\d+ s\\. \\[Attempts: [2-9]\\d*\\]\n(.*\n)*"
                ".*sent again after 6 s: XC2S_CheckInReq \\(1 not sent\\)\\.\n");
    EXPECT_EQ(Status().nLinkState, 3);
    EXPECT_EQ(Status().nConnects - before.nConnects, 1);
    EXPECT_EQ(Status().nLinkLosses - before.nLinkLosses, 1);
    EXPECT_EQ(Status().nFailedCheckouts, 0);
}

TEST_F(OperatorTest, SlowAnswersAndTheirBuckets)
{
    MessageCounts::SlowLimit() = 1;
    ASSERT_EQ(Game().Checkin("abc").nResult, 0);
    ASSERT_EQ(Game().Checkin("abc").nResult, 0);
    MessageCounts::SlowLimit() = std::numeric_limits<std::int64_t>::max();
    ExpectMatch(Look(1), "\\] Slow answers: XC2S_CheckInReq 2 \\(longest \\d+ ms\\)\\.\n$");
    constexpr std::int64_t kFirst = kFirstBucket, kLast = kFirst << 15;
    std::string strBuckets;
    for (const std::int64_t n : {-kFirst, kFirst, kFirst + 1, 2 * kFirst, 2 * kFirst + 1, kLast, kLast + 1})
        strBuckets += std::to_string(LatencyBucket(n)) + ' ';
    EXPECT_EQ(strBuckets, "0 0 1 1 2 15 16 ");
}

TEST(StatusText, SaysTheSameInBothForms)
{
    _CONNECTOR_STATUS status{};
    status.nLinkState = 3, status.nLinkSince = 1'700'000'000'007, status.nMessages = 1;
    auto& message = status.arrMessages[0];
    Put(message.szName, "XC2S_CheckInReq");
    message.nSent = 5, message.nAnswered = 4, message.nLatencyMicroseconds = 2'000'150;
    message.arrLatency[0] = 3, message.arrLatency[16] = 1;
    const StatusOwner owner{{"GA\"ME", "S\\1", "W\xE9"}, 1'700'000'001'000};
    const std::string strText = StatusText(status, owner, false), strJson = StatusText(status, owner, true);
    const std::string strOwner = "{gid=\"GA_ME\",sid=\"S_1\",wid=\"W_\"";
    const std::string strOf = strOwner + ",message=\"XC2S_CheckInReq\"", strTime = "\nvelkar_answer_seconds";
    for (const std::string& strPart :
         {"# TYPE velkar_users gauge\nvelkar_users" + strOwner + "} 0\n",
          "\nvelkar_link_since_timestamp_seconds" + strOwner + "} 1700000000.007\n",
          strTime + "_bucket" + strOf + ",le=\"3.2768\"} 3" + strTime + "_bucket" + strOf +
              ",le=\"+Inf\"} 4" + strTime + "_sum" + strOf + "} 2.000150" + strTime + "_count" + strOf +
              "} 4\n"})
        EXPECT_NE(strText.find(strPart), std::string::npos) << strPart << "\n in \n" << strText;
    for (const std::string strPart : {"{\n  \"gid\": \"GA_ME\", \"sid\": \"S_1\", \"wid\": \"W_\",\n",
                                      "\"link_state\": \"up\", \"link_up\": true,\n",
                                      "3.2768, null],\n  \"messages\": [\n    {\"message\": "
                                      "\"XC2S_CheckInReq\", \"sent\": 5, \"refused\": 0, ",
                                      "[3, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1]}\n  ]\n}\n"})
        EXPECT_NE(strJson.find(strPart), std::string::npos) << strPart << "\n in \n" << strJson;
}

}  // namespace
