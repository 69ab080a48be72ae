#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <stdexcept>

#include "platform/Kernova.h"
#include "platform/Platova.h"
#include "tests/platform/Waiting.h"

namespace {

class Body final : public Kernova::Threading::Thread {
public:
    ~Body() override { Stop(); }
    void Execute() override
    {
        ++m_nRuns;
        m_work(*this);
        ++m_nEnds;
    }
    bool MustEnd() const { return Terminated(); }
    void RunUntilStopped()
    {
        while (!Terminated())
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }

    std::atomic<int> m_nRuns{0};
    std::atomic<int> m_nEnds{0};
    std::function<void(Body&)> m_work = [](Body& body) { body.RunUntilStopped(); };
};

}  // namespace

TEST(Thread, RunsItsBodyUntilStoppedAndHasLeftItBeforeItStartsAgain)
{
    Body body;
    std::atomic<int> nInside{0};
    std::atomic<bool> bOverlap{false};
    body.m_work = [&](Body& self) {
        bOverlap = bOverlap || ++nInside != 1;
        self.RunUntilStopped();
        if (self.m_nRuns <= 10)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));  // slow to leave
        --nInside;
    };
    body.Stop();  // never started
    for (int n = 1; n <= 100; ++n) {
        ASSERT_TRUE(body.Start());
        ASSERT_TRUE(Eventually([&] { return body.m_nRuns == n; }));
        ASSERT_FALSE(body.Start()) << "a thread that runs was started again";
        ASSERT_FALSE(body.MustEnd()) << "still under the order of the time before";
        body.Stop();
        body.Stop();
        ASSERT_TRUE(body.MustEnd());
    }
    ASSERT_TRUE(Eventually([&] { return body.m_nEnds == 100; }));
    EXPECT_FALSE(bOverlap.load());
}

TEST(Thread, MayStopItself)
{
    Body body;
    body.m_work = [](Body& self) {
        self.Stop();
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        self.Stop();  // also while somebody waits to start it again
    };
    ASSERT_TRUE(body.Start());
    ASSERT_TRUE(Eventually([&] { return body.MustEnd(); }));
    ASSERT_TRUE(body.Start());
    ASSERT_TRUE(Eventually([&] { return body.m_nEnds == 2; }));
}

// A thread that has come to its end by itself, an exception included, may be started again.
TEST(Thread, StartsAgainAfterItsBodyHasEnded)
{
    Body body;
    body.m_work = [](Body& self) {
        if (self.m_nRuns % 2 == 0)
            throw std::runtime_error("must not end the process");
    };
    for (int n = 1; n <= 4; ++n) {
        ASSERT_TRUE(Eventually([&] { return body.Start(); }));
        ASSERT_TRUE(Eventually([&] { return body.m_nRuns == n; }));
    }
}

TEST(Platova, KnowsAtLeastOneProcessorAndKeepsErrorsToTheThread)
{
    EXPECT_GE(Platova::GetProcessorCount(), 1u);
    unsigned int nCode = 1;
    std::thread([&] { nCode = Platova::GetLastError(); }).join();
    EXPECT_EQ(0u, nCode);
}
