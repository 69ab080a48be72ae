// The in-memory network: credits, chunks, closing, and the orders to it.
#include <gtest/gtest.h>

#include <future>

#include "tests/fakeplatform/Fake.h"
#include "tests/fakeplatform/MemoryTransport.h"
#include "tests/platform/NetClient.h"

using namespace NetClient;

namespace {

// A peer that notes the bytes it is told of.
struct NotingSink final : Support::Transport::Sink {
    void OnOpen(int) override {}
    void OnBytes(int, std::string) override { ++nDeliveries; }
    void OnClose(int) override {}
    std::atomic<int> nDeliveries{0};
};

class FakeNetTest : public testing::Test {
protected:
    FakeNetTest()
    {
        Fake::Reset();
        m_transport.Start(m_sink);
        m_client = std::make_unique<Client>();
        m_client->m_onConnected = [this](LinkHandle* pLink) {
            Link::AddRef(pLink);
            m_vecLinks.push_back(pLink);
        };
        m_client->m_onReceived = [this](LinkHandle* pLink) {
            m_vecReceived.push_back(TakeAll(pLink));
            ++m_nReceived;
        };
    }
    ~FakeNetTest() override
    {
        Fake::HoldPools(false);
        m_client.reset();
        for (LinkHandle* const pLink : m_vecLinks)
            Link::Release(pLink);
        m_transport.Stop();
        EXPECT_EQ(Fake::Alive(), Fake::Counts()) << Fake::Describe(Fake::Alive());
    }
    LinkHandle* Connect(int nTimes = 1)
    {
        EXPECT_TRUE(m_client->Connect(m_transport.Port()));
        EXPECT_TRUE(m_client->WaitFor("connected", nTimes));
        EXPECT_TRUE(Eventually([this] { return m_client->Active() != nullptr; }));
        return m_client->Active();
    }
    bool WaitForReceived(int nTimes)
    {
        return Eventually([&] { return m_nReceived == nTimes; });
    }

    NotingSink m_sink;
    Fake::MemoryTransport m_transport;
    std::vector<LinkHandle*> m_vecLinks;     // with a reference each
    std::vector<std::string> m_vecReceived;  // what each received callback has found
    std::atomic<int> m_nReceived{0};
    std::unique_ptr<Client> m_client;
};

TEST_F(FakeNetTest, ACreditBringsOneChunkOrThePartOfItThatWasAskedFor)
{
    LinkHandle* const pLink = Connect();
    m_transport.Send(1, "abcdefghij");
    m_transport.Send(1, "kl");
    Link::Recv(pLink, 4);
    ASSERT_TRUE(WaitForReceived(1));
    EXPECT_EQ(m_client->Count("received"), 1) << "nothing without a credit";
    Link::Recv(pLink, 6);
    Link::Recv(pLink, 1024);
    ASSERT_TRUE(WaitForReceived(3));
    EXPECT_EQ(m_vecReceived, (std::vector<std::string>{"abcd", "efghij", "kl"}));
}

TEST_F(FakeNetTest, AGracefulCloseComesBehindTheBytesAndAnAbruptOneLosesThem)
{
    LinkHandle* const pFirst = Connect();
    m_transport.Send(1, "ab");
    m_transport.Close(1, false);
    Link::Recv(pFirst, 1024);
    ASSERT_TRUE(m_client->WaitFor("disconnected"));
    EXPECT_EQ(m_client->Events(), (std::vector<std::string>{"connected", "received", "disconnected"}));
    EXPECT_EQ(Send(pFirst, "x"), -1);

    Connect(2);
    m_transport.Send(2, "cd");
    m_transport.Close(2, true);
    ASSERT_TRUE(m_client->WaitFor("disconnected", 2));
    EXPECT_EQ(m_vecReceived, std::vector<std::string>{"ab"});
}

// What a request call does: send, prepare, wait. The answer comes at once.
TEST_F(FakeNetTest, AnAnswerWaitsForTheCallerUnlessOrderedNotTo)
{
    Kernova::Threading::ManualResetEvent answered(false);
    std::atomic<bool> bPrepared{false};
    std::vector<bool> vecSeen;
    m_client->m_onReceived = [&](LinkHandle*) {
        vecSeen.push_back(bPrepared.load());
        answered.Set();
    };
    LinkHandle* const pLink = Connect();
    for (const bool bLate : {false, true}) {
        Fake::SendReturnsLate(bLate);
        answered.Reset();
        bPrepared.store(false);
        Link::Recv(pLink, 1024);
        auto caller = std::async(std::launch::async, [&] {
            Send(pLink, "req");
            std::this_thread::sleep_for(std::chrono::milliseconds(20));  // the answer has every chance
            bPrepared.store(true);
            return answered.Wait(5000);
        });
        EXPECT_TRUE(Eventually([&] { return m_sink.nDeliveries == (bLate ? 2 : 1); }));
        m_transport.Send(1, "answer");
        EXPECT_TRUE(caller.get());
    }
    EXPECT_EQ(vecSeen, (std::vector<bool>{true, false}));
    m_client->Destroy();
}

TEST_F(FakeNetTest, HeldPoolsStartNoCallback)
{
    Fake::HoldPools(true);
    ASSERT_TRUE(m_client->Connect(m_transport.Port()));
    m_transport.Settle();
    EXPECT_TRUE(m_client->Events().empty());
    Fake::HoldPools(false);
    EXPECT_TRUE(m_client->WaitFor("connected"));
}

}  // namespace
