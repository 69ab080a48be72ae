// The service of the fixtures over both of its transports, against a client that is nothing but bytes.
#include "tests/support/ServiceScript.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <asio.hpp>
#include <chrono>
#include <thread>
#include <utility>

#include "tests/fakeplatform/MemoryTransport.h"
#include "tests/fakeplatform/tests/Client.h"
#include "tests/support/LoopbackService.h"

namespace {

using namespace Support;

// The client's end in memory.
class MemoryEnd {
public:
    using Service = Fake::MemoryTransport;
    bool Connect(unsigned short nPort)
    {
        if (!m_client.Connect(nPort))
            return false;
        for (int i = 0; i < 1000; ++i)
            m_client.Credit(1024);
        return true;
    }
    void Send(const std::string& strBytes) { m_client.Send(strBytes); }
    std::string Receive(std::size_t nSize)
    {
        std::string strAll;
        const auto end = std::chrono::steady_clock::now() + kPatience;
        do {
            strAll.clear();
            for (const std::string& strEntry : m_client.Log())
                strAll += strEntry.rfind("received ", 0) == 0 ? strEntry.substr(9) : "";
            std::this_thread::yield();
        } while (strAll.size() < m_nTaken + nSize && std::chrono::steady_clock::now() < end);
        return strAll.substr(std::exchange(m_nTaken, m_nTaken + nSize), nSize);
    }
    bool WaitForEnd() { return m_client.WaitFor("disconnected"); }

private:
    Client m_client;
    std::size_t m_nTaken = 0;
};

// The same over a socket.
class SocketEnd {
public:
    using Service = LoopbackService;
    bool Connect(unsigned short nPort)
    {
        asio::error_code failed;
        m_socket.connect({asio::ip::address_v4::loopback(), nPort}, failed);
        return !failed;
    }
    void Send(const std::string& strBytes) { asio::write(m_socket, asio::buffer(strBytes)); }
    std::string Receive(std::size_t nSize)
    {
        std::string out(nSize, '\0');
        asio::read(m_socket, asio::buffer(out));
        return out;
    }
    bool WaitForEnd()
    {
        char c = 0;
        asio::error_code failed;
        m_socket.read_some(asio::buffer(&c, 1), failed);
        m_socket.close();
        return !!failed;
    }

private:
    asio::io_context m_context;
    asio::ip::tcp::socket m_socket{m_context};
};

template <class End>
class ServiceScriptTest : public testing::Test {
protected:
    ServiceScriptTest() : m_service(std::make_unique<typename End::Service>())
    {
        m_checkin.nReqID = 7;
        m_checkin.strUserID = "abc";
    }

    ServiceScript m_service;
    XC2S_CheckInReq m_checkin;
};
using Ends = testing::Types<MemoryEnd, SocketEnd>;
TYPED_TEST_SUITE(ServiceScriptTest, Ends);

std::string Answer(int nReqID)
{
    XS2C_CheckInAns ans;
    XC2S_CheckInReq req;
    req.nReqID = nReqID;
    req.strUserID = "abc";
    FillSuccess(req, ans);
    return FrameOf(ans);
}

TYPED_TEST(ServiceScriptTest, TakesFramesInOrderHoweverTheyAreCut)
{
    TypeParam client;
    ASSERT_TRUE(client.Connect(this->m_service.Port()));
    const std::string strFrame = FrameOf(this->m_checkin);
    EXPECT_EQ(strFrame.substr(0, 12), std::string("\0\0\0\x17\0\x3F\x3A\x1A\0\0\0\x07", 12));
    client.Send(strFrame.substr(0, 3));
    client.Send(strFrame.substr(3) + FrameOf(XC2S_Heartbeat()) + strFrame.substr(0, 20));
    client.Send(strFrame.substr(20));
    EXPECT_EQ(this->m_service.template Expect<XC2S_CheckInReq>()->strUserID, "abc");
    EXPECT_EQ(this->m_service.template Expect<XC2S_CheckInReq>()->nReqID, 7);
    this->m_service.ExpectNothing();
    EXPECT_EQ(this->m_service.template Count<XC2S_Heartbeat>(), 1);
    EXPECT_EQ(this->m_service.Names(), (std::vector<std::string>{"XC2S_CheckInReq", "XC2S_CheckInReq"}));
    EXPECT_TRUE(this->m_service.Faults().empty());
}

TYPED_TEST(ServiceScriptTest, AnswersByItselfAndByHand)
{
    TypeParam client;
    ASSERT_TRUE(client.Connect(this->m_service.Port()));
    client.Send(FrameOf(this->m_checkin));
    this->m_service.Reply(*this->m_service.template Expect<XC2S_CheckInReq>());
    this->m_service.SayYes();
    client.Send(FrameOf(this->m_checkin));
    const std::string strTwice = Answer(7) + Answer(7);
    EXPECT_EQ(client.Receive(strTwice.size()), strTwice);

    // Only the second of these is answered.
    this->m_service.template On<XC2S_CheckInReq>([](const auto&, auto& ans) { return ++ans.nReqID == 9; });
    client.Send(FrameOf(this->m_checkin));
    this->m_checkin.nReqID = 8;
    client.Send(FrameOf(this->m_checkin));
    EXPECT_EQ(client.Receive(Answer(9).size()), Answer(9));
}

TYPED_TEST(ServiceScriptTest, FailsATestOverAFrameThatNobodyExpected)
{
    TypeParam client;
    ASSERT_TRUE(client.Connect(this->m_service.Port()));
    this->m_service.WaitForConnection();
    client.Send(FrameOf(XC2S_ChargeReq()));
    EXPECT_NONFATAL_FAILURE(this->m_service.ExpectNothing(), "XC2S_ChargeReq");
}

TYPED_TEST(ServiceScriptTest, RegistersAsItIsTold)
{
    XS2C_VelkarConnectAns accepted, refused;
    refused.nResult = 3;
    refused.strMessage = "no";
    TypeParam client;
    ASSERT_TRUE(client.Connect(this->m_service.Port()));
    this->m_service.AnswerRegistrationTwice();
    client.Send(FrameOf(XC2S_VelkarConnectReq()));
    const std::string strTwice = FrameOf(accepted) + FrameOf(accepted);
    EXPECT_EQ(client.Receive(strTwice.size()), strTwice);

    this->m_service.IgnoreRegistration();
    client.Send(FrameOf(XC2S_VelkarConnectReq()));
    while (this->m_service.template Count<XC2S_VelkarConnectReq>() < 2)
        std::this_thread::yield();
    this->m_service.RefuseRegistration(3, "no");
    client.Send(FrameOf(XC2S_VelkarConnectReq()));
    EXPECT_EQ(client.Receive(FrameOf(refused).size()), FrameOf(refused));
    this->m_service.ExpectNothing();
}

TYPED_TEST(ServiceScriptTest, GoesDownBehindItsBytesAndComesUpOnItsPort)
{
    const unsigned short nPort = this->m_service.Port();
    TypeParam first, second, third;
    ASSERT_TRUE(first.Connect(nPort));
    this->m_service.WaitForConnection();
    this->m_service.SendBytewise(this->m_checkin);
    this->m_service.Down();
    EXPECT_EQ(first.Receive(FrameOf(this->m_checkin).size()), FrameOf(this->m_checkin));
    EXPECT_TRUE(first.WaitForEnd());
    this->m_service.WaitForDisconnect();
    EXPECT_FALSE(second.Connect(nPort));
    this->m_service.Up();
    ASSERT_TRUE(third.Connect(nPort));
    this->m_service.WaitForConnection(2);
    this->m_service.Cut();
    EXPECT_TRUE(third.WaitForEnd());
    this->m_service.WaitForDisconnect();
}

TYPED_TEST(ServiceScriptTest, NotesWhatIsNoMessage)
{
    TypeParam client;
    ASSERT_TRUE(client.Connect(this->m_service.Port()));
    std::string strLong = FrameOf(this->m_checkin) + '!';
    strLong[3] = static_cast<char>(strLong[3] + 1);
    client.Send(strLong);
    while (this->m_service.Faults().empty())
        std::this_thread::yield();
    client.Send(FrameOf(XC2S_Heartbeat()));
    this->m_service.template Expect<XC2S_Heartbeat>();
    EXPECT_EQ(this->m_service.Faults().size(), 1u);
}

}  // namespace
