// Pools, connectors and links from the beginning to the end, in and out of the usual order.
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

TEST(Life, NullHandlesAreRefused)
{
    EXPECT_EQ(nullptr, Connector::CreateHandle(nullptr));
    EXPECT_EQ(nullptr, Kernova::ThreadPool::CreateHandle(0));
    EXPECT_NE(0u, Platova::GetLastError());
    Client client;
    EXPECT_EQ(nullptr, Connector::CreateHandle(client.Pool())) << "a pool serves one connector at a time";
    Connector::DestroyHandle(nullptr);
    Kernova::ThreadPool::DestroyHandle(nullptr);
}
