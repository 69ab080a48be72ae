// What would let a broken library pass if it did not work: violations, and the faults that the fixtures'
// service notes.
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include "tests/fakeplatform/Fake.h"
#include "tests/fakeplatform/MemoryTransport.h"
#include "tests/platform/NetClient.h"
#include "tests/support/ServiceScript.h"

namespace {

using namespace Support;

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
