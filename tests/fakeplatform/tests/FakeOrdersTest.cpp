// Failures on order, the clock, the log, the change notification and the violations.
#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <future>

#include "platform/Host.h"
#include "platform/KernovaXtl.h"
#include "platform/Logova.h"
#include "platform/Netrova.h"
#include "platform/Platova.h"
#include "tests/fakeplatform/Fake.h"
#include "tests/fakeplatform/FakeHost.h"
#include "tests/fakeplatform/FakeLog.h"
#include "tests/support/Outside.h"

namespace {

using Fake::Fail;
using Fake::Op;
using std::chrono::steady_clock;

class FakeOrdersTest : public testing::Test {
protected:
    void SetUp() override { Fake::Reset(); }
    void TearDown() override { Fake::Reset(); }
};

TEST_F(FakeOrdersTest, AnOrderSkipsCallsFailsSoManyAndEnds)
{
    Strova::_THandle* const pStream = Strova::CreateHandle();
    Fail(Op::StreamWrite, 2, 1, 77);
    const auto write = [&] { return Strova::Write(pStream, "ab", 2); };
    EXPECT_EQ(write(), 2);
    EXPECT_EQ(write(), -1);
    EXPECT_EQ(Platova::GetLastError(), 77u);
    {
        const Support::Outside outside;
        EXPECT_EQ(write(), 2);
    }
    EXPECT_EQ(write(), -1);
    EXPECT_EQ(write(), 2);
    EXPECT_EQ(Fake::Calls(Op::StreamWrite), 4);
    EXPECT_EQ(Strova::GetLength(pStream), 6);
    Strova::DestroyHandle(pStream);

    Fail(Op::PoolCreate, Fake::kAlways);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(Kernova::ThreadPool::CreateHandle(1), nullptr);
    Fake::Reset();
    Kernova::ThreadPool::DestroyHandle(Kernova::ThreadPool::CreateHandle(1));
}

TEST_F(FakeOrdersTest, WaitsTakeTheirTimeByTheClockAndAChangeOfItCountsForThemToo)
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

TEST_F(FakeOrdersTest, BreachesOfTheContractsAreNoted)
{
    Strova::_THandle* const pStream = Strova::CreateHandle();
    Kernova::ThreadPool::_THandle* const pPool = Kernova::ThreadPool::CreateHandle(1);
    Netrova::Connector::_THandle* const pConnector = Netrova::Connector::CreateHandle(pPool);
    Kernova::ThreadPool::DestroyHandle(pPool);
    EXPECT_EQ(Fake::Violations().size(), 1u);
    Netrova::Connector::DestroyHandle(pConnector);
    Kernova::ThreadPool::DestroyHandle(pPool);
    EXPECT_EQ(Fake::Violations().size(), 1u);
    EXPECT_EQ(Fake::Alive().nStreams, 1);
    Strova::DestroyHandle(pStream);
}

TEST_F(FakeOrdersTest, TheLogKeepsLinesInOrderAndThrowsWhenToldTo)
{
    using namespace Fake::Journal;
    const std::string strFile = Fake::HostProcess::Directory() + "/log.conf";
    std::ofstream(strFile) << "";
    ASSERT_TRUE(Logova::Initialize("service", strFile.c_str()));
    Logova::_THandle* const pLogger = Logova::GetLogger("service", "logger");
    Logova::Info(pLogger, "100%d");
    Logova::ErrorFmt(pLogger, "%s %I64d", "big", 1LL << 40);
    EXPECT_TRUE(Logged(Level::Info, "100%d"));
    EXPECT_TRUE(Logged(Level::Error, "big 1099511627776"));
    EXPECT_FALSE(Logged(Level::Info, "big"));
    EXPECT_TRUE(LoggedInOrder({"100", "big"}));
    EXPECT_FALSE(LoggedInOrder({"big", "100"}));
    ThrowOnWrite(true);
    EXPECT_ANY_THROW(Logova::Debug(pLogger, "text"));
    ThrowOnWrite(false);
    EXPECT_TRUE(Logova::Uninitialize("service"));
    Logova::Debug(pLogger, "late");
    EXPECT_EQ(Fake::Violations().size(), 1u);
}

}  // namespace
