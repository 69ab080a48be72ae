// Start and stop, from every state and with every step failing.
#include <future>
#include <thread>

#include "base/Logger.h"
#include "base/ModuleFlags.h"
#include "config/BillingIdMap.h"
#include "tests/fakeplatform/LogicTest.h"

namespace {

TEST_F(LogicTest, StartsOnceAndSaysSo)
{
    UninitModule();  // what is not running is not stopped
    ASSERT_TRUE(Game().Start());
    EXPECT_EQ(Game().LastError(), "");
    EXPECT_TRUE(Game().Init());
    EXPECT_EQ(Game().LastError(), "Velkar Connector is already initialized.");
    EXPECT_EQ(Service().Connections(), 1);
    Game().Stop();
    UninitModule();
    EXPECT_STREQ(Game().Checkin("abc").szError, "Velkar Connector is not initialized.");
}

TEST_F(LogicTest, RegistersWithItsIdentityBeforeAnythingElse)
{
    Game().settings.nHeartbeatCycle = 7;
    HostProcess::SetLocalTime({2026, 3, 4, 5, 6, 7, 89});
    std::memset(Game().id.WID, 'W', sizeof(Game().id.WID));  // no NUL: read to its end
    ASSERT_TRUE(Game().Start());
    const auto req = Service().Expect<XC2S_VelkarConnectReq>();
    EXPECT_EQ(req->strGID + ' ' + req->strWID, "GAME " + std::string(20, 'W'));
    EXPECT_EQ(req->nHeartbeatCycle, 7);
    EXPECT_EQ(req->strConnectTime, "2026/03/04 05:06:07.089");
    EXPECT_EQ(Service().Names().front(), "XC2S_VelkarConnectReq");
}

TEST_F(LogicTest, ARefusalIsTheServicesOwnTextAndSilenceTheLibrarys)
{
    SetSecond(std::chrono::milliseconds(100));
    Service().IgnoreRegistration();
    EXPECT_FALSE(Game().Start());
    EXPECT_EQ(Game().LastError(), "Failed to add connector to Velkar server.");
    SetSecond(std::chrono::seconds(1));  // a busy machine answers in time, too
    Service().RefuseRegistration("nResult=5 strMessage=full");
    EXPECT_FALSE(Game().Start());
    EXPECT_EQ(Game().LastError(), "full");
    EXPECT_TRUE(NothingIsLeft());
    Service().AcceptRegistration();
    EXPECT_TRUE(Game().Start());
}

// A product that is mended after a failed start has its new billing id, which decides who is charged.
TEST_F(LogicTest, AStartFindsNothingOfAFailedOne)
{
    Game().settings.products = {{10, "Gold", 2}};
    Service().RefuseRegistration("nResult=5");
    EXPECT_FALSE(Game().Start());
    Service().AcceptRegistration();
    Game().settings.products = {{10, "Gold", 1}};
    ASSERT_TRUE(Game().Start());
    EXPECT_EQ(BillingIdMap().GetBillingId(10), 1);
}

TEST_F(LogicTest, AServiceThatIsDownFailsTheStartAtOnce)
{
    Service().Down();
    EXPECT_FALSE(Game().Start());
    EXPECT_EQ(Game().LastError(), "[Comm Handler] Failed to connect to Velkar server. IP: 127.0.0.1, Port: " +
                                      std::to_string(Service().Port()) + ", ErrorCode: 10061");
    EXPECT_EQ(Calls(Op::ThreadStart), 1);  // the settings' thread: no other was ever started
}

TEST_F(LogicTest, EveryStepOfTheStartMayFailAndLeavesNothing)
{
    const char* const pszNoPool = "[Comm Handler] Failed to create a thread pool or connector.";
    const char* const pszNoCallbacks =
        "[Comm Handler] Failed to set callback functions for socket operations.";
    const struct {
        Op op;
        int nAfter;
        const char* pszError;
    } kSteps[] = {{Op::PoolCreate, 0, pszNoPool},
                  {Op::ConnectorCreate, 0, pszNoPool},
                  {Op::SetOnConnected, 0, pszNoCallbacks},
                  {Op::SetOnDisconnected, 0, pszNoCallbacks},
                  {Op::SetOnTimeout, 0, pszNoCallbacks},
                  {Op::SetOnReceived, 0, pszNoCallbacks},
                  {Op::ThreadStart, 1, "[Comm Handler] Failed to start a charge gen thread."},
                  {Op::ThreadStart, 2, "[Comm Handler] Failed to start a comm thread."}};
    for (const auto& step : kSteps) {
        Fail(step.op, 1, step.nAfter);
        EXPECT_FALSE(Game().Start());
        EXPECT_EQ(Game().LastError(), step.pszError);
        EXPECT_TRUE(NothingIsLeft());
        EXPECT_FALSE(BeingTerminatedFlag().IsSet());
        EXPECT_TRUE(Game().Start()) << "the start behind step " << static_cast<int>(step.op);
        Game().Stop();
    }
}

// Both times the library runs on in silence.
TEST_F(LogicTest, ALoggerThatFailsAndALogCallThatThrows)
{
    Service().SayYes();
    Fail(Op::LogInitialize);
    ASSERT_TRUE(Game().Start());
    EXPECT_EQ(Game().LastError(), "Failed to initialize a logger.");
    EXPECT_EQ(Game().Checkin("abc").nResult, 0);
    EXPECT_TRUE(Journal::Lines().empty());

    Game().Stop();
    ASSERT_TRUE(Game().Start());
    Journal::ThrowOnWrite(true);
    EXPECT_EQ(Game().Checkin("abc").nResult, 0);
    Journal::ThrowOnWrite(false);
    Journal::Clear();
    EXPECT_EQ(Game().Checkout("abc").bSuccess, 1);
    EXPECT_TRUE(Journal::Lines().empty());
    Logger().Mend();
}

TEST_F(LogicTest, TheErrorTextFitsItsBuffer)
{
    char szError[64] = "untouched";
    EXPECT_FALSE(InitModule(nullptr, &Game().callbacks, szError, -1));
    EXPECT_STREQ(szError, "untouched");
    EXPECT_FALSE(InitModule(nullptr, &Game().callbacks, szError, 38));
    EXPECT_STREQ(szError, "Connector id or callbacks arg is NULL");
    EXPECT_FALSE(InitModule(&Game().id, nullptr, szError, 39));
    EXPECT_STREQ(szError, "Connector id or callbacks arg is NULL.");
    EXPECT_FALSE(InitModule(&Game().id, nullptr, nullptr, 64));
}

TEST_F(LogicTest, CallsDuringStartAndStopSayWhatIsGoingOn)
{
    Service().IgnoreRegistration();
    auto start = Game().Later([&] { return static_cast<bool>(Game().Start()); });
    Service().Expect<XC2S_VelkarConnectReq>();
    EXPECT_STREQ(Game().Checkin("abc").szError, "Velkar Connector is not initialized.");
    UninitModule();  // nothing is initialised yet
    EXPECT_FALSE(start.get());

    Service().AcceptRegistration();
    ASSERT_TRUE(Game().Start());
    HoldPools(true);  // the stop has to wait for the disconnected callback
    auto stop = Game().Later([] { UninitModule(); });
    while (!BeingTerminatedFlag().IsSet())
        std::this_thread::yield();
    EXPECT_STREQ(Game().Checkin("abc").szError, "Velkar Connector is being terminated.");
    EXPECT_TRUE(Game().Init());  // still initialised, until the last step of the stop
    EXPECT_EQ(Game().LastError(), "Velkar Connector is already initialized.");
    HoldPools(false);
    stop.get();
}

TEST_F(LogicTest, ManyThreadsStartAndStopAtOnce)
{
    SetSecond(std::chrono::seconds(1));  // no start may fail for want of time, however loaded the machine
    Game().WriteSettings();
    std::vector<std::future<void>> vecThreads;  // their end is waited for
    for (int i = 0; i < 4; ++i) {
        vecThreads.push_back(Game().Later([&, i] {
            for (int n = 0; n < 25; ++n) {
                InitModule(&Game().id, &Game().callbacks, nullptr, 0);
                if ((n + i) % 2 == 0)
                    UninitModule();
            }
        }));
    }
    vecThreads.clear();
    UninitModule();
    EXPECT_TRUE(NothingIsLeft());
    EXPECT_TRUE(Game().Init()) << Game().LastError();
}

TEST_F(LogicTest, StopsPromptlyWhileReconnecting)
{
    SetSecond(std::chrono::milliseconds(200));
    ASSERT_TRUE(Game().Start());
    Service().Down();
    Service().WaitForDisconnect();
    SetSecond(std::chrono::hours(1));  // neither the cycle nor anything else passes now
    Game().Stop();

    SetSecond(std::chrono::milliseconds(200));
    Service().Up();
    Game().settings.nReconnectCycle = 1;
    ASSERT_TRUE(Game().Start());
    Service().IgnoreRegistration();
    Service().Drop();
    Service().WaitForConnection(3);
    SetSecond(std::chrono::hours(1));  // nor does the answer's limit
    Game().Stop();
}

}  // namespace
