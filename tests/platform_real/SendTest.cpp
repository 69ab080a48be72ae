// The way out of a link: order, bounds, and what a closing link still writes.
#include "tests/platform_real/Loopback.h"

using namespace Loopback;

namespace {

// A record that says who sent it, as the how-manieth, and how long it is.
std::string Record(int nThread, int nNumber)
{
    const std::size_t nLength = static_cast<std::size_t>(nNumber * 37 % 3000);
    return std::to_string(nThread) + ":" + std::to_string(nNumber) + ":" +
           std::string(nLength, static_cast<char>('a' + nThread)) + "\n";
}

}  // namespace

TEST(Send, KeepsBlocksWholeAndInTheOrderOfTheCalls)
{
    constexpr int kThreads = 8;
    constexpr int kRecords = 400;
    Server server;
    Client client;
    ASSERT_TRUE(client.Connect(server.Port()));
    Peer peer = server.Accept();
    LinkHandle* const pLink = client.Active();
    std::vector<std::thread> vecThreads;
    for (int t = 0; t < kThreads; ++t) {
        vecThreads.emplace_back([pLink, t] {
            for (int n = 0; n < kRecords; ++n) {
                const std::string strRecord = Record(t, n);
                EXPECT_EQ(static_cast<int>(strRecord.size()), Send(pLink, strRecord));
            }
        });
    }
    std::size_t nExpected = 0;
    for (int t = 0; t < kThreads; ++t)
        for (int n = 0; n < kRecords; ++n) nExpected += Record(t, n).size();
    const std::string strAll = peer.Read(nExpected);
    for (std::thread& thread : vecThreads) thread.join();
    ASSERT_EQ(nExpected, strAll.size());

    std::vector<int> vecNext(kThreads, 0);
    for (std::size_t nBegin = 0; nBegin < strAll.size();) {
        const std::size_t nEnd = strAll.find('\n', nBegin);
        const int nThread = strAll[nBegin] - '0';
        ASSERT_TRUE(nThread >= 0 && nThread < kThreads) << "torn at " << nBegin;
        ASSERT_EQ(Record(nThread, vecNext[static_cast<std::size_t>(nThread)]++),
                  strAll.substr(nBegin, nEnd + 1 - nBegin));
        nBegin = nEnd + 1;
    }
}

TEST(Send, TakesWhatTheStreamStillHolds)
{
    Server server;
    Client client;
    ASSERT_TRUE(client.Connect(server.Port()));
    Peer peer = server.Accept();
    LinkHandle* const pLink = client.Active();
    Strova::_THandle* const pStream = Strova::CreateHandle();
    Strova::Write(pStream, "taken, sent", 11);
    Strova::RemoveLeft(pStream, 7);
    EXPECT_EQ(4, Link::Send(pLink, Strova::GetXMemory(pStream)));
    Strova::DestroyHandle(pStream);
    EXPECT_EQ(0, Send(pLink, ""));
    EXPECT_EQ(-1, Link::Send(pLink, nullptr));
    EXPECT_EQ("sent", peer.Read(4));
}

TEST(Send, RefusesMoreOnceTooMuchIsWaitingAndGoesOnWhenThePeerReads)
{
    Server server;
    Client client;
    ASSERT_TRUE(client.Connect(server.Port()));
    Peer peer = server.Accept();
    LinkHandle* const pLink = client.Active();
    const std::string strBlock(1 << 20, 'b');
    std::size_t nQueued = 0;
    const auto begin = std::chrono::steady_clock::now();
    while (Send(pLink, strBlock) != -1) {
        nQueued += strBlock.size();
        ASSERT_LT(nQueued, std::size_t{200} << 20) << "the queue has no bound";
    }
    EXPECT_EQ(Code(asio::error::no_buffer_space), Platova::GetLastError());
    EXPECT_GT(nQueued, Link::kMaxQueuedBytes);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20))
        << "it has waited for the peer";
    EXPECT_EQ(nQueued, peer.Read(nQueued).size());
    EXPECT_TRUE(Eventually([&] { return Send(pLink, "more") == 4; }));
    EXPECT_EQ("more", peer.Read(4));
}

TEST(Send, AcceptsOneBlockOfAnySize)
{
    Server server;
    Client client;
    ASSERT_TRUE(client.Connect(server.Port()));
    Peer peer = server.Accept();
    LinkHandle* const pLink = client.Active();
    const std::string strBlock(Link::kMaxQueuedBytes * 2, 'c');
    EXPECT_EQ(static_cast<int>(strBlock.size()), Send(pLink, strBlock));
    EXPECT_EQ(-1, Send(pLink, "x"));
    EXPECT_EQ(strBlock.size(), peer.Read(strBlock.size()).size());
}

TEST(Close, WritesWhatWasQueuedAndThenEnds)
{
    Server server;
    Client client;
    ASSERT_TRUE(client.Connect(server.Port()));
    Peer peer = server.Accept();
    LinkHandle* const pLink = client.Active();
    Link::AddRef(pLink);
    std::string strAll;
    for (int n = 0; n < 500; ++n) {
        strAll += Record(1, n);
        ASSERT_GT(Send(pLink, Record(1, n)), 0);
    }
    std::error_code ended;
    std::string strRead;
    std::thread reader([&] { strRead = peer.ReadToTheEnd(ended); });
    EXPECT_TRUE(Link::Close(pLink));
    EXPECT_FALSE(Link::Close(pLink));
    EXPECT_EQ(-1, Send(pLink, "late"));
    EXPECT_TRUE(client.WaitFor("disconnected"));
    reader.join();
    EXPECT_EQ(strAll, strRead);
    EXPECT_EQ(asio::error::eof, ended);
    Link::Release(pLink);
}

// Closing with unread bytes would otherwise reset the connection under the last message.
TEST(Close, IsNoResetAlthoughThePeerHasSentSomethingUnread)
{
    Server server;
    Client client;
    ASSERT_TRUE(client.Connect(server.Port()));
    Peer peer = server.Accept();
    peer.Write(std::string(10'000, 'u'));
    std::this_thread::sleep_for(std::chrono::milliseconds(20));  // it has arrived
    ASSERT_EQ(4, Send(client.Active(), "last"));
    ASSERT_TRUE(Link::Close(client.Active()));
    std::error_code ended;
    EXPECT_EQ("last", peer.ReadToTheEnd(ended));
    EXPECT_EQ(asio::error::eof, ended);
}

TEST(Close, DoesNotWaitForAPeerThatDoesNotRead)
{
    Server server;
    Client client;
    ASSERT_TRUE(client.Connect(server.Port()));
    Peer peer = server.Accept();
    while (Send(client.Active(), std::string(1 << 20, 'b')) != -1) {
    }
    const auto begin = std::chrono::steady_clock::now();
    client.DestroyConnector();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
    EXPECT_EQ(1, client.Count("disconnected"));
}

TEST(Close, MayComeInTheMiddleOfSends)
{
    for (int nRound = 0; nRound < 20; ++nRound) {
        Server server;
        Client client;
        ASSERT_TRUE(client.Connect(server.Port()));
        Peer peer = server.Accept();
        LinkHandle* const pLink = client.Active();
        Link::AddRef(pLink);
        std::atomic<int> nFailed{0};
        std::vector<std::thread> vecThreads;
        for (int t = 0; t < 3; ++t) {
            vecThreads.emplace_back([&] {
                while (Send(pLink, "some words") != -1) {
                }
                ++nFailed;
            });
        }
        std::thread reader([&] {
            std::error_code ended;
            peer.ReadToTheEnd(ended);
        });
        EXPECT_TRUE(Link::Close(pLink));
        for (std::thread& thread : vecThreads) thread.join();
        reader.join();
        client.Destroy();
        EXPECT_EQ(3, nFailed.load());
        EXPECT_EQ(1, client.Count("disconnected"));
        EXPECT_EQ(0, Link::Release(pLink));
    }
}

// Nobody reads on this link, so it is the writing that finds out.
TEST(Send, NoticesThatThePeerIsGone)
{
    Server server;
    Client client;
    ASSERT_TRUE(client.Connect(server.Port()));
    Peer peer = server.Accept();
    peer.Reset();
    LinkHandle* const pLink = client.Active();
    ASSERT_NE(nullptr, pLink);
    Link::AddRef(pLink);
    EXPECT_TRUE(Eventually([&] { return Send(pLink, "anybody there?") == -1; }));
    EXPECT_TRUE(client.WaitFor("disconnected"));
    Link::Release(pLink);
}
