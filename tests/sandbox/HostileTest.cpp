// Peers that break the protocol, by mistake or on purpose: their link goes, everybody else is served.
#include <gtest/gtest.h>

#include <limits>
#include <random>

#include "sandbox/wire/Frames.h"
#include "tests/sandbox/SandboxFixture.h"
#include "wirova/BigEndian.h"
#include "wirova/messages/MessageCatalog.h"

using namespace SandboxTest;

namespace {

std::string Number(std::int32_t n)
{
    unsigned char bytes[4];
    Wirova::PutBigEndian(n, bytes);
    return {reinterpret_cast<const char*>(bytes), 4};
}

std::string Frame(const std::string& strBody)
{
    return Number(static_cast<std::int32_t>(strBody.size())) + strBody;
}

std::string CheckInBody()
{
    return Number(XC2S_CheckInReq::kMsgID) + Number(1) + Number(5) + "alice" + Number(0) + Number(0);
}

class HostileTest : public testing::Test {
protected:
    HostileTest() { m_good.Register("good", 1000); }
    ~HostileTest() override
    {
        EXPECT_EQ(m_good.CheckIn("bob")->nResult, 0) << "the others are served";
        EXPECT_EQ(m_good.CheckOut("bob")->bSuccess.nByte, 1);
    }
    std::size_t CountLinks()
    {
        return m_sandbox.Server().Invoke([&] { return m_sandbox.Server().CountLinks(); });
    }

    RunningSandbox m_sandbox;
    Client m_good{m_sandbox.Port()};
};

}  // namespace

TEST_F(HostileTest, BrokenFramesCloseTheLink)
{
    constexpr std::int32_t kMin = std::numeric_limits<std::int32_t>::min();
    const auto nBillion = 1'000'000'000;
    const std::string strList = Number(XC2S_UserListSyncReq::kMsgID);
    const struct {
        const char* pszWhat;
        std::string strBytes;
    } kCases[] = {
        {"no id", Number(0)},
        {"half an id", Number(3) + "abc"},
        {"a negative length", Number(-1)},
        {"the most negative length", Number(kMin)},
        {"a byte too long", Number(Sandbox::kMaxFrameBody + 1)},
        {"an unknown id", Frame(Number(12345))},
        {"a record at top level", Frame(Number(XChargeInfo::kMsgID) + std::string(40, '\0'))},
        {"a body that ends early", Frame(CheckInBody().substr(0, CheckInBody().size() - 1))},
        {"a body that goes on", Frame(CheckInBody() + "x")},
        {"an id alone", Frame(Number(XC2S_CheckInReq::kMsgID))},
        {"a text of a billion bytes",
         Frame(Number(XC2S_CheckInReq::kMsgID) + Number(1) + Number(nBillion) + "abc")},
        {"a negative count", Frame(strList + Number(-1))},
        {"the most negative count", Frame(strList + Number(kMin))},
        {"a billion records", Frame(strList + Number(nBillion) + std::string(64, '\0'))},
        {"a heartbeat with a tail", Frame(Number(XC2S_Heartbeat::kMsgID) + Number(0))},
    };
    for (const auto& test : kCases) {
        Client client(m_sandbox.Port());
        client.Register("bad");
        EXPECT_TRUE(client.SendBytes(test.strBytes)) << test.pszWhat;
        EXPECT_TRUE(client.IsClosed()) << test.pszWhat;
    }
    EXPECT_TRUE(m_sandbox.Shows("bad/s/w: closed: protocol broken: a frame of 16777217 bytes is announced"));
    EXPECT_TRUE(m_sandbox.Shows(
        "bad/s/w: closed: protocol broken: 1 bytes too many in the body of a XC2S_CheckInReq"));
    EXPECT_EQ(m_sandbox.Lines().find("internal failure"), std::string::npos);
    EXPECT_EQ(CountLinks(), 1u);
}

TEST_F(HostileTest, OddButWholeFramesDoNot)
{
    Client client(m_sandbox.Port());
    client.Register("odd\x1b[2J");
    // A negative text length is an empty text.
    client.SendBytes(Frame(Number(XC2S_CheckInReq::kMsgID) + Number(1) + Number(-7) + Number(0) + Number(0)));
    EXPECT_EQ(client.Receive<XS2C_CheckInAns>()->nResult, 7);
    const std::string strRough("a\0\n\x1b[2J'; DROP TABLE user; --", 30);
    EXPECT_EQ(client.CheckIn(strRough)->nResult, 2);
    EXPECT_EQ(client.CheckIn(strRough)->strUserID, strRough) << "echoed byte for byte";
    EXPECT_EQ(m_sandbox.Lines().find('\x1b'), std::string::npos) << "no control characters to the terminal";

    client.Send(XS2C_CheckInAns());  // the wrong way round
    XC2S_PurchaseProductReq purchase;
    purchase.strPassWD = "open sesame";
    client.Ask<XS2C_PurchaseProductAns>(purchase);
    client.Settle();
    EXPECT_TRUE(m_sandbox.Shows("XS2C_CheckInAns is not served here"));
    EXPECT_EQ(m_sandbox.Lines().find("open sesame"), std::string::npos);
    m_sandbox.Server().Invoke([&] {
        for (const auto& message : m_sandbox.Server().GetMessageLog().GetMessages())
            EXPECT_EQ(message.strFields.find("open sesame"), std::string::npos);
    });
}

TEST_F(HostileTest, FramesArriveHoweverTheyAreCut)
{
    Client client(m_sandbox.Port());
    client.Register("cut");
    std::string strAll;
    for (std::int32_t i = 1; i <= 300; ++i) {
        XC2S_QueryBillingInfoReq req;
        req.nReqID = i;
        req.strUserID = "alice";
        strAll += Sandbox::FrameOf(req);
    }
    for (std::size_t i = 0; i < 100; ++i)
        client.SendBytes(strAll.substr(i, 1));
    client.SendBytes(strAll.substr(100));
    for (std::int32_t i = 1; i <= 300; ++i)
        ASSERT_EQ(client.Receive<XS2C_QueryBillingInfoAns>()->nReqID, i);
}

TEST_F(HostileTest, GarbageAndMutatedFrames)
{
    std::mt19937 random(20261121);
    const auto byte = [&] { return static_cast<char>(random() & 0xFF); };
    for (int i = 0; i < 60; ++i) {
        Client client(m_sandbox.Port());
        std::string strBytes(random() % 3000, '\0');
        std::generate(strBytes.begin(), strBytes.end(), byte);
        client.SendBytes(strBytes);
    }
    // Every class of the protocol, saved empty and then damaged in one place.
    for (const Wirova::ClassInfo& info : Wirova::AllClasses()) {
        std::string strFrame = Sandbox::FrameOf(*info.pfnMake());
        Client whole(m_sandbox.Port()), damaged(m_sandbox.Port());
        whole.Register("whole");
        whole.SendBytes(strFrame);
        damaged.Register("damaged");
        strFrame[4 + random() % (strFrame.size() - 4)] = byte();
        damaged.SendBytes(strFrame);
    }
    while (CountLinks() > 1)
        std::this_thread::yield();  // every link of the above has met its end
    m_good.Settle();
}

TEST_F(HostileTest, APeerThatDoesNotReadIsNotReadEither)
{
    Client client(m_sandbox.Port(), 32 * 1024);
    client.Register("flood", 1000);
    XC2S_QueryBillingInfoReq req;
    req.strUserIP = std::string(32 * 1024, 'x');  // comes back in the answer
    std::int32_t nSent = 0;
    do {
        req.nReqID = nSent + 1;
        ASSERT_LT(nSent, 1000) << "32 MiB taken, and no answer has been fetched";
    } while (client.SendUnlessStuck(Sandbox::FrameOf(req)) && ++nSent);
    m_good.Settle();
    for (std::int32_t i = 1; i <= nSent; ++i)
        ASSERT_EQ(client.Receive<XS2C_QueryBillingInfoAns>()->nReqID, i) << "once it reads, all is there";
}

TEST_F(HostileTest, OutputThatPilesUpClosesTheLink)
{
    Client client(m_sandbox.Port());
    client.Register("deaf");
    m_sandbox.Server().Invoke([&] {
        auto& mapConnectors = m_sandbox.Server().GetRegistry().GetConnectors();
        Sandbox::Link* const pLink = mapConnectors.at({"deaf", "s", "w"}).pLink;
        for (int i = 0; i < 40 && pLink->IsOpen(); ++i)
            pLink->Post(std::string(1u << 20, 'x'), {.delay = std::chrono::hours(1)});
    });
    EXPECT_TRUE(m_sandbox.Shows("deaf/s/w: closed: the peer does not read"));
    EXPECT_TRUE(client.IsClosed());
}

TEST_F(HostileTest, HugeListsAreCountedAndNotListed)
{
    Client client(m_sandbox.Port());
    client.Register("huge");
    XC2S_UserListSyncReq list;
    for (int i = 0; i < 20'000; ++i)
        list.vecCheckOutInfo.Add().strUserID = "nobody";
    client.Send(list);
    client.Settle();
    EXPECT_TRUE(m_sandbox.Shows("user list: 0 confirmed, 0 checked in again, 20000 not taken"));
    EXPECT_LT(m_sandbox.Lines().size(), 100'000u);
    m_sandbox.Server().Invoke([&] {
        for (const auto& message : m_sandbox.Server().GetMessageLog().GetMessages())
            EXPECT_LE(message.strFields.size(), 2 * Sandbox::MessageLog::kMaxFields);
    });
}

TEST_F(HostileTest, TheMessageLogKeepsTheLastOnes)
{
    for (std::size_t i = 0; i < Sandbox::MessageLog::kMaxMessages; ++i)
        m_good.CheckIn("nobody");
    m_sandbox.Server().Invoke([&] {
        const auto& messages = m_sandbox.Server().GetMessageLog().GetMessages();
        ASSERT_EQ(messages.size(), Sandbox::MessageLog::kMaxMessages);
        EXPECT_EQ(messages.back().nNumber, messages.front().nNumber + messages.size() - 1);
        EXPECT_EQ(messages.back().strConnector, "good/s/w");
        EXPECT_EQ(messages.back().direction, Sandbox::Direction::ToConnector);
        EXPECT_STREQ(messages.back().pszClass, "XS2C_CheckInAns");
    });
}
