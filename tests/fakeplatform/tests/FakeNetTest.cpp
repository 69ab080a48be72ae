// The in-memory network: credits, chunks, closing, and the orders to it.
#include <gtest/gtest.h>

#include <future>

#include "platform/Platova.h"
#include "tests/fakeplatform/Fake.h"
#include "tests/fakeplatform/MemoryTransport.h"
#include "tests/fakeplatform/tests/Client.h"

namespace {

using Log = std::vector<std::string>;

class FakeNetTest : public testing::Test {
protected:
    FakeNetTest()
    {
        Fake::Reset();
        m_transport.Start(m_sink);
    }
    ~FakeNetTest() override
    {
        Fake::HoldPools(false);
        m_transport.Stop();
    }

    NotingSink m_sink;
    Fake::MemoryTransport m_transport;
};

TEST_F(FakeNetTest, ACreditBringsOneChunkOrThePartOfItThatWasAskedFor)
{
    Client client;
    ASSERT_TRUE(client.Connect(m_transport.Port()));
    client.Link();
    m_transport.Send(1, "abcdefghij");
    m_transport.Send(1, "kl");
    client.Credit(4);
    ASSERT_TRUE(client.WaitFor("received abcd"));
    EXPECT_EQ(client.Log(), (Log{"connected", "received abcd"}));  // and nothing without a credit
    client.Credit(6);
    client.Credit(1024);
    ASSERT_TRUE(client.WaitFor("received kl"));
    EXPECT_EQ(client.Log(), (Log{"connected", "received abcd", "received efghij", "received kl"}));
}

TEST_F(FakeNetTest, AGracefulCloseComesBehindTheBytesAndAnAbruptOneLosesThem)
{
    Client client;
    ASSERT_TRUE(client.Connect(m_transport.Port()));
    client.Link();
    m_transport.Send(1, "ab");
    m_transport.Close(1, false);
    client.Credit(1024);
    ASSERT_TRUE(client.WaitFor("disconnected"));
    EXPECT_EQ(client.Log(), (Log{"connected", "received ab", "disconnected"}));
    EXPECT_EQ(client.Send("x"), -1);

    ASSERT_TRUE(client.Connect(m_transport.Port()));
    ASSERT_TRUE(client.WaitFor("connected", 2));
    m_transport.Send(2, "cd");
    m_transport.Close(2, true);
    ASSERT_TRUE(client.WaitFor("disconnected", 2));
    EXPECT_EQ(client.Log().size(), 5u);
    m_transport.Settle();
    EXPECT_EQ(m_sink.Log(), (Log{"open 1", "close 1", "open 2", "close 2"}));
}

TEST_F(FakeNetTest, DisconnectedDoesNotWaitForReceivedButDestroyHandleDoes)
{
    std::promise<void> go;
    std::atomic<bool> bReturned{false};
    auto pClient = std::make_unique<Client>();
    pClient->onReceived = [&] {
        go.get_future().wait();
        bReturned.store(true);
    };
    ASSERT_TRUE(pClient->Connect(m_transport.Port()));
    pClient->Credit(1024);
    m_transport.Send(1, "a");
    ASSERT_TRUE(pClient->WaitFor("received a"));
    m_transport.Close(1, true);
    ASSERT_TRUE(pClient->WaitFor("disconnected"));
    auto destroyed = std::async(std::launch::async, [&] {
        pClient.reset();
        return bReturned.load();
    });
    EXPECT_EQ(destroyed.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    go.set_value();
    EXPECT_TRUE(destroyed.get());
    m_transport.Settle();
    EXPECT_EQ(Fake::Alive(), Fake::Counts()) << Fake::Describe(Fake::Alive());
}

TEST_F(FakeNetTest, TheSendQueueIsBoundedWhileThePeerDoesNotRead)
{
    Client client;
    ASSERT_TRUE(client.Connect(m_transport.Port()));
    m_transport.HoldReading(true);
    const std::string strMegabyte(1 << 20, 'x');
    int nSent = 0;
    while (nSent < 100 && client.Send(strMegabyte) == 1 << 20)
        ++nSent;
    EXPECT_EQ(nSent, 17);  // refused while more than 16 MiB are waiting
    m_transport.HoldReading(false);
    m_transport.Settle();
    EXPECT_EQ(client.Send("x"), 1);
}

TEST_F(FakeNetTest, ConnectFailsInEveryOrderedWay)
{
    Client client;
    Fake::Fail(Fake::Op::Connect, 1, 0, 99);
    EXPECT_FALSE(client.Connect(m_transport.Port()));
    EXPECT_EQ(Platova::GetLastError(), 99u);
    EXPECT_FALSE(client.Connect(1));
    EXPECT_EQ(Platova::GetLastError(), Fake::kRefusedCode);
    m_transport.Accept(false);
    EXPECT_FALSE(client.Connect(m_transport.Port()));
    m_transport.Accept(true);

    Fake::FastClock();
    Fake::BlockConnect(true);
    EXPECT_FALSE(client.Connect(m_transport.Port()));
    EXPECT_EQ(Platova::GetLastError(), Fake::kTimedOutCode);
    Fake::SetSecond(std::chrono::seconds(3600));
    auto later = std::async(std::launch::async, [&] { return client.Connect(m_transport.Port()); });
    EXPECT_EQ(later.wait_for(std::chrono::milliseconds(30)), std::future_status::timeout);
    Fake::BlockConnect(false);
    EXPECT_TRUE(later.get());
    EXPECT_EQ(Fake::LastHost(), "peer");
}

// What a request call does: send, prepare, wait. The answer comes at once.
TEST_F(FakeNetTest, AnAnswerWaitsForTheCallerUnlessOrderedNotTo)
{
    Kernova::Threading::ManualResetEvent answered(false);
    std::atomic<bool> bPrepared{false};
    std::vector<bool> vecSeen;
    Client client;
    client.onReceived = [&] {
        vecSeen.push_back(bPrepared.load());
        answered.Set();
    };
    ASSERT_TRUE(client.Connect(m_transport.Port()));
    client.Credit(1024);
    client.Credit(1024);
    m_transport.Send(1, "early");
    ASSERT_TRUE(answered.Wait(5000));
    const auto request = [&] {
        answered.Reset();
        bPrepared.store(false);
        client.Send("req");
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        bPrepared.store(true);
        return answered.Wait(5000);
    };
    auto caller = std::async(std::launch::async, request);
    m_sink.WaitFor("bytes req");
    m_transport.Send(1, "answer");
    EXPECT_TRUE(caller.get());

    Fake::SendReturnsLate(true);
    client.Credit(1024);
    caller = std::async(std::launch::async, request);
    m_sink.WaitFor("bytes req", 2);
    m_transport.Send(1, "answer");
    EXPECT_TRUE(caller.get());
    EXPECT_EQ(vecSeen, (std::vector<bool>{false, true, false}));
}

TEST_F(FakeNetTest, HeldPoolsStartNoCallback)
{
    Client client;
    Fake::HoldPools(true);
    ASSERT_TRUE(client.Connect(m_transport.Port()));
    m_transport.Settle();
    EXPECT_TRUE(client.Log().empty());
    Fake::HoldPools(false);
    EXPECT_TRUE(client.WaitFor("connected"));
}

}  // namespace
