// main of every test program: a limit for each test, and a skipped test is a failure.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

namespace {

// In seconds; a storm that is to last longer gets the time.
int Limit()
{
    const char* const pszStorm = std::getenv("VELKAR_STORM_SECONDS");
    return 120 + (pszStorm != nullptr ? std::atoi(pszStorm) : 0);
}

std::atomic<const testing::TestInfo*> g_pTest{nullptr};
std::atomic<int> g_nSeconds{0};  // of the test

// Ends the process, loudly, when a test takes longer than its limit. Its thread goes with the process.
class Watchdog final : public testing::EmptyTestEventListener {
public:
    Watchdog() { std::thread(&Run).detach(); }

private:
    void OnTestStart(const testing::TestInfo& info) override
    {
        g_nSeconds = 0;
        g_pTest = &info;
    }
    void OnTestEnd(const testing::TestInfo&) override { g_pTest = nullptr; }
    static void Run()
    {
        for (;;) {
            std::this_thread::sleep_for(std::chrono::seconds(1));
            const testing::TestInfo* const pTest = g_pTest;
            if (pTest == nullptr || ++g_nSeconds <= Limit())
                continue;
            std::fprintf(stderr, "%s.%s has run into its limit of %d s\n", pTest->test_suite_name(),
                         pTest->name(), Limit());
            std::fflush(stderr);
            std::abort();
        }
    }
};

}  // namespace

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    testing::UnitTest::GetInstance()->listeners().Append(new Watchdog);  // GoogleTest owns and deletes it
    const int nResult = RUN_ALL_TESTS();
    const bool bAllRan = testing::UnitTest::GetInstance()->skipped_test_count() == 0 &&
                         testing::UnitTest::GetInstance()->test_to_run_count() != 0;
    if (!bAllRan)
        std::puts("A test was skipped, or none has run: that counts as a failure.");
    return bAllRan ? nResult : 1;
}
