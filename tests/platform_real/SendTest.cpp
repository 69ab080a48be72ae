// The way out of a link: order, bounds, and what a closing link still writes.
#include "platform/common/NetTransport.h"
#include "platform/common/SendQueue.h"
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

TEST_F(Linked, SendKeepsBlocksWholeAndInTheOrderOfTheCalls)
{
    constexpr int kThreads = 8;
    constexpr int kRecords = 400;
    std::vector<std::thread> vecThreads;
    for (int t = 0; t < kThreads; ++t) {
        vecThreads.emplace_back([this, t] {
            for (int n = 0; n < kRecords; ++n) {
                const std::string strRecord = Record(t, n);
                EXPECT_EQ(static_cast<int>(strRecord.size()), Send(m_pLink, strRecord));
            }
        });
    }
    std::size_t nExpected = 0;
    for (int t = 0; t < kThreads; ++t)
        for (int n = 0; n < kRecords; ++n)
            nExpected += Record(t, n).size();
    const std::string strAll = m_peer.Read(nExpected);
    for (std::thread& thread : vecThreads)
        thread.join();
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

TEST_F(Linked, SendTakesWhatTheStreamStillHolds)
{
    Strova::_THandle* const pStream = Strova::CreateHandle();
    Strova::Write(pStream, "taken, sent", 11);
    Strova::RemoveLeft(pStream, 7);
    EXPECT_EQ(4, Link::Send(m_pLink, Strova::GetXMemory(pStream)));
    Strova::DestroyHandle(pStream);
    EXPECT_EQ(0, Send(m_pLink, ""));
    EXPECT_EQ(-1, Link::Send(m_pLink, nullptr));
    EXPECT_EQ("sent", m_peer.Read(4));
}

// The holder prepares for the answer between its send and its unlock. The blocks of others do not take its
// blocks along, and an unlock of an inner hold releases them as the outermost one does.
TEST_F(Linked, WhatTheHolderOfTheListSendsLeavesWhenTheListIsGivenBack)
{
    for (int nRound = 0; nRound < 20; ++nRound) {
        for (int nHold = 0; nHold < 2; ++nHold)
            ASSERT_NE(nullptr, Connector::LockActiveLinks(m_client.Get()));
        EXPECT_EQ(4, Send(m_pLink, "held"));
        std::thread([&] { EXPECT_EQ(5, Send(m_pLink, "other")); }).join();
        EXPECT_EQ("other", m_peer.Read(5));
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        EXPECT_FALSE(m_peer.HasUnread());
        EXPECT_TRUE(Connector::UnlockActiveLinks(m_client.Get()));
        EXPECT_EQ("held", m_peer.Read(4));
        EXPECT_EQ(4, Send(m_pLink, "more"));
        EXPECT_TRUE(Connector::UnlockActiveLinks(m_client.Get()));
        EXPECT_EQ("more", m_peer.Read(4));
    }
}

TEST_F(Linked, WhatIsGatheredLeavesWithTheLastSenderWithTheEndOrWithTheLink)
{
    const auto sendHeld = [&](const char* pszText) {
        ASSERT_NE(nullptr, Connector::LockActiveLinks(m_client.Get()));
        EXPECT_GT(Send(m_pLink, pszText), 0);
        EXPECT_TRUE(Connector::UnlockActiveLinks(m_client.Get()));
    };
    const auto nothingLeaves = [&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        EXPECT_FALSE(m_peer.HasUnread());
    };
    Link::BeginGathering(m_pLink, 2);
    sendHeld("one,");
    nothingLeaves();
    sendHeld("two,");
    EXPECT_EQ("one,two,", m_peer.Read(8));
    sendHeld("more");
    EXPECT_EQ("more", m_peer.Read(4));

    Link::BeginGathering(m_pLink, 3);
    sendHeld("one of three");
    nothingLeaves();
    Link::EndGathering(m_pLink);
    EXPECT_EQ("one of three", m_peer.Read(12));

    std::this_thread::sleep_for(std::chrono::milliseconds(15));  // gathering rests, as that has taken long
    Link::BeginGathering(m_pLink, 3);
    sendHeld("last");
    nothingLeaves();
    EXPECT_TRUE(Link::Close(m_pLink));
    EXPECT_EQ("last", m_peer.ReadToTheEnd());
    Link::EndGathering(m_pLink);
}

// The processor that the gathering gives away comes back late on a busy machine.
TEST(GatheringPace, RestsLongerEachTimeThatItHasTakenLong)
{
    using std::chrono::milliseconds;
    Netrova::GatheringPace pace;
    auto now = Netrova::GatheringPace::Clock::now();
    const auto takeLongAndRest = [&](milliseconds rest) {
        ASSERT_TRUE(pace.Begin(8, now));
        pace.End(now += milliseconds(2));
        EXPECT_FALSE(pace.Begin(8, now + rest - milliseconds(1)));
        now += rest;
    };
    for (const int nRest : {10, 20, 40})
        takeLongAndRest(milliseconds(nRest));
    for (int n = 0; n < 1000; ++n) {
        ASSERT_TRUE(pace.Begin(8, now));
        pace.End(now);
    }
    takeLongAndRest(milliseconds(40));
}

TEST_F(Linked, CloseWritesWhatIsHeld)
{
    ASSERT_NE(nullptr, Connector::LockActiveLinks(m_client.Get()));
    EXPECT_EQ(4, Send(m_pLink, "last"));
    EXPECT_TRUE(Link::Close(m_pLink));
    EXPECT_TRUE(Connector::UnlockActiveLinks(m_client.Get()));
    EXPECT_EQ("last", m_peer.ReadToTheEnd());
}

TEST_F(Linked, SendRefusesMoreOnceTooMuchIsWaitingAndGoesOnWhenThePeerReads)
{
    const std::string strBlock(1 << 20, 'b');
    std::size_t nQueued = 0;
    const auto begin = std::chrono::steady_clock::now();
    while (Send(m_pLink, strBlock) != -1) {
        nQueued += strBlock.size();
        ASSERT_LT(nQueued, std::size_t{200} << 20) << "the queue has no bound";
    }
    EXPECT_EQ(Code(asio::error::no_buffer_space), Platova::GetLastError());
    EXPECT_GT(nQueued, Link::kMaxQueuedBytes);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20))
        << "it has waited for the peer";
    EXPECT_EQ(nQueued, m_peer.Read(nQueued).size());
    EXPECT_TRUE(Eventually([&] { return Send(m_pLink, "more") == 4; }));
    EXPECT_EQ("more", m_peer.Read(4));
}

TEST_F(Linked, SendAcceptsOneBlockOfAnySize)
{
    const std::string strBlock(Link::kMaxQueuedBytes * 2, 'c');
    EXPECT_EQ(static_cast<int>(strBlock.size()), Send(m_pLink, strBlock));
    EXPECT_EQ(1, Send(m_pLink, "x")) << "one large block is no full queue";
    EXPECT_EQ(strBlock.size(), m_peer.Read(strBlock.size()).size());
}

TEST_F(Linked, APeerThatReadsNoMoreIsLost)
{
    Netrova::Transport::SetMaxStall(std::chrono::milliseconds(100));
    const std::string strBlock(Link::kMaxQueuedBytes, 'd');
    EXPECT_GT(Send(m_pLink, strBlock), 0);
    const bool bLost = m_client.WaitFor("disconnected");
    Netrova::Transport::SetMaxStall(std::chrono::seconds(Link::kMaxStall));
    EXPECT_TRUE(bLost);
}

TEST_F(Linked, CloseWritesWhatWasQueuedAndThenEnds)
{
    std::string strAll;
    for (int n = 0; n < 500; ++n) {
        strAll += Record(1, n);
        ASSERT_GT(Send(m_pLink, Record(1, n)), 0);
    }
    const std::string strFirst = m_peer.Read(1);  // the peer reads from now on
    EXPECT_TRUE(Link::Close(m_pLink));
    EXPECT_FALSE(Link::Close(m_pLink));
    EXPECT_EQ(-1, Send(m_pLink, "late"));
    EXPECT_EQ(strAll, strFirst + m_peer.ReadToTheEnd());
    EXPECT_TRUE(m_client.WaitFor("disconnected"));
    EXPECT_FALSE(m_peer.WasReset());
}

// Closing with unread bytes would otherwise reset the connection under the last message.
TEST_F(Linked, CloseIsNoResetAlthoughThePeerHasSentSomethingUnread)
{
    m_peer.Write(std::string(10'000, 'u'));
    std::this_thread::sleep_for(std::chrono::milliseconds(20));  // it has arrived
    ASSERT_EQ(4, Send(m_pLink, "last"));
    ASSERT_TRUE(Link::Close(m_pLink));
    EXPECT_EQ("last", m_peer.ReadToTheEnd());
    EXPECT_FALSE(m_peer.WasReset());
}

TEST_F(Linked, CloseDoesNotWaitForAPeerThatDoesNotRead)
{
    while (Send(m_pLink, std::string(1 << 20, 'b')) != -1) {
    }
    const auto begin = std::chrono::steady_clock::now();
    m_client.DestroyConnector();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
    EXPECT_EQ(1, m_client.Count("disconnected"));
}

// Nobody reads on this link, so it is the writing that finds out.
TEST_F(Linked, SendNoticesThatThePeerIsGone)
{
    m_peer.Reset();
    EXPECT_TRUE(Eventually([&] { return Send(m_pLink, "anybody there?") == -1; }));
    EXPECT_TRUE(m_client.WaitFor("disconnected"));
}
