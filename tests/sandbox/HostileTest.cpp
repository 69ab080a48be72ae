// Peers that break the protocol, by mistake or on purpose: their link goes, everybody else is served.
#include "sandbox/wire/Frames.h"
#include "tests/sandbox/SandboxFixture.h"
#include "wirova/BigEndian.h"

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

class HostileTest : public testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(m_good.CheckIn("bob")->nResult, 0) << "the others are served"; }
    std::size_t CountLinks()
    {
        return m_sandbox.Server().Invoke([&] { return m_sandbox.Server().CountLinks(); });
    }

    RunningSandbox m_sandbox;
    Client m_good{m_sandbox.Port(), "good"};
};

}  // namespace

TEST_F(HostileTest, BrokenFramesCloseTheLink)
{
    constexpr std::int32_t kBillion = 1'000'000'000;
    const std::string strList = Number(XC2S_UserListSyncReq::kMsgID), strID = Number(XC2S_CheckInReq::kMsgID),
                      strCheckIn = strID + Number(1) + Number(5) + "alice" + Number(0) + Number(0);
    const std::pair<const char*, std::string> kCases[] = {
        {"no id", Number(0)},
        {"a negative length", Number(-1)},
        {"a byte too long", Number(Sandbox::kMaxFrameBody + 1)},
        {"an unknown id", Frame(Number(12345))},
        {"a record at top level", Frame(Number(XChargeInfo::kMsgID) + std::string(40, '\0'))},
        {"a body that ends early", Frame(strCheckIn.substr(0, strCheckIn.size() - 1))},
        {"a body that goes on", Frame(strCheckIn + "x")},
        {"a text of a billion bytes", Frame(strID + Number(1) + Number(kBillion) + "abc")},
        {"a billion records", Frame(strList + Number(kBillion) + std::string(64, '\0'))},
    };
    for (const auto& [pszWhat, strBytes] : kCases) {
        SCOPED_TRACE(pszWhat);
        Client client(m_sandbox.Port(), "bad");
        EXPECT_TRUE(client.SendBytes(strBytes));
        client.ReadUntilClosed();
    }
    EXPECT_TRUE(m_sandbox.Shows("bad/s/w: closed: protocol broken: a frame of 16777217 bytes is announced"));
    EXPECT_TRUE(m_sandbox.Shows(
        "bad/s/w: closed: protocol broken: 1 bytes too many in the body of a XC2S_CheckInReq"));
    EXPECT_FALSE(Contains(m_sandbox.Lines(), "internal failure"));
    EXPECT_EQ(CountLinks(), 1u);
}

TEST_F(HostileTest, OddButWholeFramesDoNot)
{
    Client client(m_sandbox.Port(), "odd\x1b[2J");
    // A negative text length is an empty text.
    client.SendBytes(Frame(Number(XC2S_CheckInReq::kMsgID) + Number(1) + Number(-7) + Number(0) + Number(0)));
    EXPECT_EQ(client.Receive<XS2C_CheckInAns>()->nResult, 7);
    XC2S_CheckInReq rough;
    rough.strUserID = std::string("a\0\n\x1b[2J'; DROP TABLE user; --", 30);
    client.Send(rough);
    EXPECT_EQ(client.Receive<XS2C_CheckInAns>()->strUserID, rough.strUserID) << "echoed byte for byte";
    EXPECT_FALSE(Contains(m_sandbox.Lines(), "\x1b")) << "no control characters to the terminal";

    // Whatever a database takes for a text: NUL, characters too long, halved, halves of pairs, private, none.
    XC2S_PurchaseProductReq gift;
    static_cast<Wirova::IMessage&>(gift).Clear();
    Assign(gift, std::string_view(
                     "strGameID=DEMOGAME strUserID=alice strProductID=POTION strRecvUserID=erin nCount=1"
                     " nLevel=30"));
    gift.strGiftMessage =
        std::string("\xC3\xA4\0\xC0\xAF\xED\xA0\x80\xF4\x8F\xBC\x80\xF4\x8F\xBF\xBF\xF4\x90\xFF\xE2\x82", 22);
    client.Send(gift);
    EXPECT_EQ(client.Receive<XS2C_PurchaseProductAns>()->nState, 0);
    const auto box = client.Ask<XS2C_SearchStorageAns>("SearchStorage strUserID=erin");
    EXPECT_EQ(box->vecStorage[0]->strGiftMessage, gift.strGiftMessage);

    client.Send(XS2C_CheckInAns());  // the wrong way round
    EXPECT_TRUE(m_sandbox.Shows("XS2C_CheckInAns is not served here"));
}

TEST_F(HostileTest, APeerThatDoesNotReadIsNotReadEither)
{
    Client client(m_sandbox.Port(), "flood");
    XC2S_QueryBillingInfoReq req;
    req.strUserIP = std::string(32 * 1024, 'x');  // comes back in the answer
    const std::chrono::milliseconds kStuck{500};
    for (req.nReqID = 1; client.SendBytes(Sandbox::FrameOf(req), kStuck); ++req.nReqID)
        ASSERT_LT(req.nReqID, 1000) << "32 MiB taken, and no answer has been fetched";
    m_good.Settle();
    for (int i = 1; i < req.nReqID; ++i)
        ASSERT_EQ(client.Receive<XS2C_QueryBillingInfoAns>()->nReqID, i) << "once it reads, all is there";
}

TEST_F(HostileTest, OutputThatPilesUpClosesTheLink)
{
    Client client(m_sandbox.Port(), "deaf");
    m_sandbox.Server().Invoke([&] {
        auto& mapConnectors = m_sandbox.Server().GetRegistry().GetConnectors();
        Sandbox::Link* const pLink = mapConnectors.at({"deaf", "s", "w"}).pLink;
        for (int i = 0; i < 40 && pLink->IsOpen(); ++i)
            pLink->Post(std::string(1u << 20, 'x'), {.delay = std::chrono::hours(1)});
    });
    EXPECT_TRUE(m_sandbox.Shows("deaf/s/w: closed: the peer does not read"));
    client.ReadUntilClosed();
}

TEST_F(HostileTest, TheMessageLogKeepsTheLastOnes)
{
    auto& log = m_sandbox.Server().GetMessageLog();
    for (std::size_t i = 0; i < Sandbox::MessageLog::kMaxMessages; ++i)
        m_good.CheckIn("nobody");
    const auto messages = m_sandbox.Server().Invoke([&] { return log.GetMessages(); });
    ASSERT_EQ(messages.size(), Sandbox::MessageLog::kMaxMessages);
    EXPECT_EQ(messages.back().nNumber, messages.front().nNumber + messages.size() - 1);
}
