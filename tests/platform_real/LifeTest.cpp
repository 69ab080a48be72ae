// Pools, connectors and links from the beginning to the end, in and out of the usual order.
#include <cstdlib>

#include "platform/Kernova.h"
#include "tests/platform_real/Loopback.h"

using namespace Loopback;

TEST(Life, ConnectedAndDisconnectedComeEvenIfTheEndFollowsAtOnce)
{
    Peer peer;
    for (int n = 0; n < 50; ++n) {
        Client client;
        ASSERT_TRUE(client.Connect(peer.Port()));
        client.DestroyConnector();
        ASSERT_EQ((std::vector<std::string>{"connected", "disconnected"}), client.Events());
    }
}

TEST(Life, DestroyWaitsForTheCallbackThatRuns)
{
    Peer peer;
    Gate gate;
    std::atomic<bool> bEnded{false};
    Client client(2);
    client.m_onConnected = [](LinkHandle* pLink) { Link::Recv(pLink, 16); };
    client.m_onReceived = [&](LinkHandle* pLink) {
        gate.Wait();
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        EXPECT_EQ(-1, Send(pLink, "too late")) << "the link is closed first";
        EXPECT_EQ(nullptr, Connector::LockActiveLinks(client.Get())) << "nothing can be sent on the way out";
        bEnded.store(true);
    };
    peer.Meet(client);
    peer.Write("x");
    ASSERT_TRUE(client.WaitFor("received"));
    std::thread opener([&] {
        EXPECT_TRUE(client.WaitFor("disconnected"));  // does not wait for the other callback
        gate.Open();
    });
    client.DestroyConnector();
    EXPECT_TRUE(bEnded.load());
    opener.join();
}

TEST(Life, NullHandlesAreRefused)
{
    EXPECT_EQ(nullptr, Connector::CreateHandle(nullptr));
    EXPECT_EQ(nullptr, Kernova::ThreadPool::CreateHandle(0));
    EXPECT_NE(0u, Platova::GetLastError());
    Connector::DestroyHandle(nullptr);
    Kernova::ThreadPool::DestroyHandle(nullptr);
}

TEST(Pool, ServesOneConnectorAtATime)
{
    Peer peer;
    Client client(2);
    EXPECT_EQ(nullptr, Connector::CreateHandle(client.Pool()));
    client.DestroyConnector();
    Connector::_THandle* const pSecond = Connector::CreateHandle(client.Pool());
    ASSERT_NE(nullptr, pSecond);
    static std::atomic<int> s_nConnected;
    s_nConnected = 0;
    Connector::SetOnConnected(
        pSecond, [](auto*, auto*, void*) { ++s_nConnected; }, nullptr);
    EXPECT_TRUE(Connector::Connect(pSecond, "127.0.0.1", peer.Port(), 10'000));
    EXPECT_TRUE(Eventually([] { return s_nConnected.load() == 1; }));
    Connector::DestroyHandle(pSecond);
}

namespace {

// A host that returns from main without a word, with callbacks on their way and threads at work.
[[noreturn]] void ExitInTheMiddle()
{
    static Peer* const s_pPeer = new Peer;
    static Client* const s_pClient = new Client(4);
    s_pClient->m_onConnected = [](LinkHandle* pLink) { Link::Recv(pLink, 1); };
    s_pClient->m_onReceived = [](LinkHandle* pLink) {
        Link::Recv(pLink, 1);
        Send(pLink, "y");
    };
    s_pPeer->Meet(*s_pClient);
    s_pPeer->Write(std::string(1 << 20, 'x'));  // more than the callbacks take before the end
    const bool bReady = s_pClient->WaitFor("received", 10);
    std::exit(bReady ? 0 : 1);
}

}  // namespace

TEST(LifeDeathTest, ExitWithoutStoppingEndsTheProcessQuietly)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    for (int n = 0; n < 3; ++n)
        EXPECT_EXIT(ExitInTheMiddle(), testing::ExitedWithCode(0), "");
}
