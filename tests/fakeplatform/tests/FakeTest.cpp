// What would let a broken library pass if it did not work: failures on order, the clock, violations, and the
// faults that the fixtures' service notes.
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <future>

#include "platform/Host.h"
#include "platform/KernovaXtl.h"
#include "platform/Platova.h"
#include "tests/fakeplatform/Fake.h"
#include "tests/fakeplatform/MemoryTransport.h"
#include "tests/platform/NetClient.h"
#include "tests/support/Outside.h"
#include "tests/support/ServiceScript.h"

namespace {

using Fake::Op;
using std::chrono::steady_clock;
using namespace Support;

TEST(FakeOrders, SkipCallsFailSoManyAndEnd)
{
    Fake::Reset();
    Strova::_THandle* const pStream = Strova::CreateHandle();
    Fake::Fail(Op::StreamWrite, 2, 1, 77);
    const auto write = [&] { return Strova::Write(pStream, "ab", 2); };
    EXPECT_EQ(write(), 2);
    EXPECT_EQ(write(), -1);
    EXPECT_EQ(Platova::GetLastError(), 77u);
    {
        const Outside outside;
        EXPECT_EQ(write(), 2);
    }
    EXPECT_EQ(write(), -1);
    EXPECT_EQ(write(), 2);
    EXPECT_EQ(Fake::Calls(Op::StreamWrite), 4);
    EXPECT_EQ(Fake::Alive(), (Fake::Counts{{"streams", 1}}));
    Strova::DestroyHandle(pStream);
}

TEST(FakeClock, ChangesCountForWaitsThatHaveBegun)
{
    Fake::SetSecond(std::chrono::milliseconds(20));
    const auto begin = steady_clock::now();
    EXPECT_FALSE(Kernova::Threading::ManualResetEvent(false).Wait(5000));
    EXPECT_GE(steady_clock::now() - begin, std::chrono::milliseconds(99));
    Fake::SetSecond(std::chrono::seconds(1));
    auto hurried = std::async(std::launch::async, [&] { Host::Sleep(600u * 1000); });
    EXPECT_EQ(hurried.wait_for(std::chrono::milliseconds(20)), std::future_status::timeout);
    Fake::SetSecond(std::chrono::milliseconds(1));
    hurried.get();
    EXPECT_LT(steady_clock::now() - begin, std::chrono::seconds(60));
}

class FakeNet : public testing::Test {
protected:
    FakeNet()
    {
        Fake::Reset();
        EXPECT_TRUE(m_client.Connect(m_service.Port()));
        EXPECT_TRUE(m_client.WaitFor("connected"));
        m_service.WaitForConnection();
    }
    void Send(const std::string& strBytes)
    {
        EXPECT_EQ(NetClient::Send(m_client.Active(), strBytes), static_cast<int>(strBytes.size()));
    }

    ServiceScript m_service{std::make_unique<Fake::MemoryTransport>()};
    NetClient::Client m_client;
};

TEST_F(FakeNet, TheServiceNotesFramesThatNobodyExpectedAndWhatIsNoMessage)
{
    XC2S_CheckInReq req;
    req.strUserID = "abc";
    const std::string strFrame = FrameOf(req);
    Send(strFrame.substr(0, 3));
    Send(strFrame.substr(3) + FrameOf(XC2S_Heartbeat()));
    EXPECT_EQ(m_service.Expect<XC2S_CheckInReq>()->strUserID, "abc");
    m_service.ExpectNothing();
    EXPECT_TRUE(m_service.Faults().empty());
    Send(FrameOf(XC2S_ChargeReq()));
    EXPECT_NONFATAL_FAILURE(m_service.ExpectNothing(), "XC2S_ChargeReq");
    std::string strLong = strFrame + '!';
    strLong[3] = static_cast<char>(strLong[3] + 1);
    Send(strLong);
    EXPECT_TRUE(Eventually([this] { return m_service.Faults().size() == 1; }));
}

TEST_F(FakeNet, BreachesOfTheContractsAreNoted)
{
    Kernova::ThreadPool::DestroyHandle(m_client.Pool());
    EXPECT_EQ(Fake::Violations().size(), 1u);
    Strova::_THandle* const pStream = Strova::CreateHandle();
    Netrova::Link::Send(m_client.Active(), Strova::GetXMemory(pStream));
    Strova::Write(pStream, "again", 5);
    Strova::DestroyHandle(pStream);
    EXPECT_EQ(Fake::Violations().size(), 2u);
    m_client.DestroyConnector();
    EXPECT_EQ(Fake::Alive(), Fake::Counts());
}

}  // namespace
