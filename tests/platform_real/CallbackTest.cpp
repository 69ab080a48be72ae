// The order of a link's callbacks, its credits, and what a slow handler may and may not hold up.
#include "tests/platform_real/Loopback.h"

using namespace Loopback;
using Events = std::vector<std::string>;

TEST(Callbacks, ConnectedReturnsBeforeAnythingElseOfItsLink)
{
    Peer peer;
    Gate gate;
    std::atomic<bool> bReturned{false};
    std::atomic<int> nEarly{0};
    Client client;
    client.m_onConnected = [&](LinkHandle* pLink) {
        Link::Recv(pLink, 1024);
        Link::Recv(pLink, 1024);
        gate.Wait();
        bReturned.store(true);
    };
    client.m_onReceived = client.m_onDisconnected = [&](LinkHandle*) { nEarly += bReturned.load() ? 0 : 1; };
    peer.Meet(client);
    peer.Write("hello");
    peer.Close();
    ASSERT_TRUE(client.WaitFor("connected"));
    std::this_thread::sleep_for(std::chrono::milliseconds(50));  // the other two have every chance
    EXPECT_EQ(Events{"connected"}, client.Events());
    gate.Open();
    EXPECT_TRUE(client.WaitFor("received"));
    EXPECT_TRUE(client.WaitFor("disconnected"));
    EXPECT_EQ(0, nEarly.load());
}

TEST(Callbacks, EveryCreditGivesOneAndNoMoreIsReadThanAskedFor)
{
    Peer peer;
    Client client;
    client.m_onConnected = [](LinkHandle* pLink) {
        for (int n = 0; n < 3; ++n)
            EXPECT_EQ(0, Link::Recv(pLink, 5));
    };
    peer.Meet(client);
    peer.Write("0123456789abcdefghijklmnopqrstuvwxyz");
    ASSERT_TRUE(client.WaitFor("received", 3));
    LinkHandle* const pLink = client.Active();
    EXPECT_EQ("0123456789abcde", TakeAll(pLink));
    Link::Recv(pLink, 1'000'000);
    ASSERT_TRUE(client.WaitFor("received", 4));
    EXPECT_EQ("fghijklmnopqrstuvwxyz", TakeAll(pLink));
    EXPECT_EQ(4, client.Count("received"));
}

TEST_F(Linked, WithoutCreditsThePeerIsHeldUpAndNothingIsLost)
{
    const std::size_t nSent = 32u << 20;
    m_peer.Write(std::string(nSent, 'x'));
    m_peer.Close();
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    EXPECT_TRUE(m_peer.IsHeldUp()) << "somebody has read it";
    EXPECT_EQ(0, m_client.Count("received"));
    std::size_t nTaken = 0;
    for (int nCalls = 1; nTaken < nSent; ++nCalls) {
        ASSERT_EQ(0, Link::Recv(m_pLink, 1 << 20));
        ASSERT_TRUE(m_client.WaitFor("received", nCalls));
        nTaken += TakeAll(m_pLink).size();
    }
    EXPECT_EQ(nSent, nTaken);
    EXPECT_EQ(0, Link::Recv(m_pLink, 1));  // finds the end
    EXPECT_TRUE(m_client.WaitFor("disconnected"));
}

// Somebody else reads while a callback hangs, and the link goes on as before afterwards, as often as it
// happens. The bytes stay in order, and a callback that hangs delays neither the loss nor a new link.
TEST(Callbacks, OneThatHangsAgainAndAgainLeavesTheLinkAlive)
{
    for (const std::size_t nThreads : {1u, 2u, 4u}) {
        Peer peer, second;
        Gate gate;
        std::atomic<int> nInside{0}, nMost{1};
        Client client(nThreads);
        client.m_onConnected = [](LinkHandle* pLink) {
            for (int n = 0; n < 2; ++n)
                Link::Recv(pLink, 1024);
        };
        client.m_onReceived = [&](LinkHandle* pLink) {
            EXPECT_LE(++nInside, nMost);
            const std::string str = TakeAll(pLink);
            if (str.find('h') != std::string::npos)
                std::this_thread::sleep_for(std::chrono::milliseconds(130));
            if (str.find("gate") != std::string::npos) {
                Link::LockReadStream(pLink);
                gate.Wait();
                Link::UnlockReadStream(pLink);
            }
            if (!str.empty())
                Send(pLink, str);
            --nInside;
            Link::Recv(pLink, 1024);
        };
        peer.Meet(client);
        for (int nRound = 0; nRound < 4; ++nRound) {
            for (const char* const psz : {"hang", "a", "b", "hang", "c", "d", "e"}) {
                std::string strSent = psz;
                peer.Write(strSent);
                if (nRound % 2 != 0) {
                    std::this_thread::sleep_for(std::chrono::milliseconds(nRound * 20));
                    peer.Write("more");
                    strSent += "more";
                }
                ASSERT_EQ(strSent, peer.Read(strSent.size())) << "round " << nRound;
            }
        }
        peer.Write("gate");
        peer.Close();
        if (nThreads > 1) {
            EXPECT_TRUE(client.WaitFor("disconnected"));
            nMost = 2;
            second.Meet(client);
            second.Write("new");
            EXPECT_EQ("new", second.Read(3));
        }
        gate.Open();
        client.Destroy();
    }
}

TEST(Callbacks, LossRunsOnceWithTheLinkOffTheListAndStillValid)
{
    for (const bool bReset : {false, true}) {
        Peer peer;
        std::atomic<bool> bListed{false};
        LinkHandle* pKept = nullptr;
        Client client;
        client.m_onConnected = [&](LinkHandle* pLink) {
            EXPECT_EQ(2, Link::AddRef(pLink));
            EXPECT_EQ(3, Link::AddRef(pLink));
            EXPECT_EQ(2, Link::Release(pLink));
            EXPECT_EQ(pLink, client.Active());
            pKept = pLink;
            Link::Recv(pLink, 1024);
            Link::Recv(pLink, 1024);
        };
        client.m_onDisconnected = [&](LinkHandle*) { bListed.store(client.Active() != nullptr); };
        peer.Meet(client);
        peer.Write("last words");
        ASSERT_TRUE(client.WaitFor("received"));
        bReset ? peer.Reset() : peer.Close();
        ASSERT_TRUE(client.WaitFor("disconnected"));
        EXPECT_FALSE(bListed.load());
        EXPECT_EQ(-1, Send(pKept, "x"));
        EXPECT_EQ(Code(asio::error::not_connected), Platova::GetLastError());
        EXPECT_EQ(-1, Link::Recv(pKept, 1));
        EXPECT_FALSE(Link::Close(pKept));
        client.Destroy();
        EXPECT_EQ(1, client.Count("disconnected"));
        EXPECT_EQ("last words", TakeAll(pKept)) << "gone with the connector";
        EXPECT_EQ(0, Link::Release(pKept));
    }
}

TEST_F(Linked, TheReadStreamIsReentrantAndGivenBackByItsHolderOnly)
{
    Strova::_THandle* const pStream = Link::LockReadStream(m_pLink);
    ASSERT_NE(nullptr, pStream);
    EXPECT_EQ(pStream, Link::LockReadStream(m_pLink));
    EXPECT_TRUE(Link::UnlockReadStream(m_pLink));
    std::thread([&] { EXPECT_FALSE(Link::UnlockReadStream(m_pLink)); }).join();
    std::atomic<bool> bIn{false};
    std::thread other([&] {
        TakeAll(m_pLink);
        bIn.store(true);
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_FALSE(bIn.load());
    EXPECT_TRUE(Link::UnlockReadStream(m_pLink));
    other.join();
    EXPECT_FALSE(Link::UnlockReadStream(m_pLink));
}

TEST_F(Linked, ActiveLinksAreReentrantAndGivenBackByTheirHolderOnly)
{
    auto* const pList = Connector::LockActiveLinks(m_client.Get());
    ASSERT_NE(nullptr, pList);
    EXPECT_EQ(pList, Connector::LockActiveLinks(m_client.Get()));
    EXPECT_NE(nullptr, Netrova::ActiveLinkList::GetLink(pList, 0));
    EXPECT_EQ(nullptr, Netrova::ActiveLinkList::GetLink(pList, 1));
    EXPECT_TRUE(Connector::UnlockActiveLinks(m_client.Get()));
    std::thread([&] { EXPECT_FALSE(Connector::UnlockActiveLinks(m_client.Get())); }).join();
    // A link that is closed meanwhile stays for whoever holds the list.
    EXPECT_TRUE(Link::Close(Netrova::ActiveLinkList::GetLink(pList, 0)));
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_NE(nullptr, Netrova::ActiveLinkList::GetLink(pList, 0));
    EXPECT_EQ(0, m_client.Count("disconnected"));
    EXPECT_TRUE(Connector::UnlockActiveLinks(m_client.Get()));
    EXPECT_TRUE(m_client.WaitFor("disconnected"));
    EXPECT_EQ(nullptr, m_client.Active());
    EXPECT_FALSE(Connector::UnlockActiveLinks(m_client.Get())) << "is not locked";
}
