// What the service of the fixtures must not let pass, against a client that is nothing but bytes.
#include "tests/support/ServiceScript.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include "tests/fakeplatform/Fake.h"
#include "tests/fakeplatform/MemoryTransport.h"
#include "tests/platform/NetClient.h"

namespace {

using namespace Support;

class ServiceScriptTest : public testing::Test {
protected:
    ServiceScriptTest()
    {
        Fake::Reset();
        m_service = std::make_unique<ServiceScript>(std::make_unique<Fake::MemoryTransport>());
        m_checkin.nReqID = 7;
        m_checkin.strUserID = "abc";
        EXPECT_TRUE(m_client.Connect(m_service->Port()));
        EXPECT_TRUE(m_client.WaitFor("connected"));
        m_service->WaitForConnection();
    }
    void Send(const std::string& strBytes)
    {
        EXPECT_EQ(NetClient::Send(m_client.Active(), strBytes), static_cast<int>(strBytes.size()));
    }

    std::unique_ptr<ServiceScript> m_service;
    NetClient::Client m_client;
    XC2S_CheckInReq m_checkin;
};

TEST_F(ServiceScriptTest, TakesFramesInOrderHoweverTheyAreCut)
{
    const std::string strFrame = FrameOf(m_checkin);
    EXPECT_EQ(strFrame.substr(0, 12), std::string("\0\0\0\x17\0\x3F\x3A\x1A\0\0\0\x07", 12));
    Send(strFrame.substr(0, 3));
    Send(strFrame.substr(3) + FrameOf(XC2S_Heartbeat()) + strFrame.substr(0, 20));
    Send(strFrame.substr(20));
    EXPECT_EQ(m_service->Expect<XC2S_CheckInReq>()->strUserID, "abc");
    EXPECT_EQ(m_service->Expect<XC2S_CheckInReq>()->nReqID, 7);
    m_service->ExpectNothing();
    EXPECT_EQ(m_service->Count<XC2S_Heartbeat>(), 1);
    EXPECT_EQ(m_service->Names(), (std::vector<std::string>{"XC2S_CheckInReq", "XC2S_CheckInReq"}));
    EXPECT_TRUE(m_service->Faults().empty());
}

TEST_F(ServiceScriptTest, FailsATestOverAFrameThatNobodyExpected)
{
    Send(FrameOf(XC2S_ChargeReq()));
    EXPECT_NONFATAL_FAILURE(m_service->ExpectNothing(), "XC2S_ChargeReq");
}

TEST_F(ServiceScriptTest, NotesWhatIsNoMessage)
{
    std::string strLong = FrameOf(m_checkin) + '!';
    strLong[3] = static_cast<char>(strLong[3] + 1);
    Send(strLong);
    ASSERT_TRUE(Eventually([this] { return !m_service->Faults().empty(); }));
    Send(FrameOf(XC2S_Heartbeat()));
    m_service->Expect<XC2S_Heartbeat>();
    EXPECT_EQ(m_service->Faults().size(), 1u);
}

}  // namespace
