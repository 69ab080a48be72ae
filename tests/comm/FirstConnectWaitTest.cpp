#include "comm/FirstConnectWait.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

namespace {

void Answer(CFirstConnectWait& wait, int nResult, const char* pszMessage, const void* pLink = nullptr)
{
    wait.SetConnectResult(pLink, nResult);
    wait.SetConnectMessage(pLink, pszMessage);
    wait.ReleaseConnectWait(pLink);
}

// An acceptance that was late from one link does not count for the next.
TEST(FirstConnectWait, AnAnswerBelongsToItsLink)
{
    CFirstConnectWait wait;
    wait.Open();
    wait.ExpectAnswer();
    const int links[2] = {};
    wait.SetLink(&links[1]);
    Answer(wait, 0, "welcome", &links[0]);
    std::thread handler([&] { Answer(wait, 3, "no", &links[1]); });
    wait.WaitForConnectAnswer();
    handler.join();
    EXPECT_EQ(wait.GetConnectResult(), 3);
}

TEST(FirstConnectWait, TheStopEndsAHeldHandlerAndAWait)
{
    CFirstConnectWait wait;
    wait.Open();
    wait.ExpectAnswer();
    std::thread handler([&] { Answer(wait, 0, "welcome"); });
    wait.Cancel();
    handler.join();
    const auto begin = std::chrono::steady_clock::now();
    wait.WaitForConnectAnswer();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(1));
    EXPECT_EQ(wait.GetConnectResult(), -1);
}

}  // namespace
