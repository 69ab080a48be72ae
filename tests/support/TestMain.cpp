// main of every test program: a limit for each test, and a skipped test is a failure.
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <thread>

namespace {

constexpr std::chrono::seconds kLimit{120};

// Ends the process, loudly, when a test takes longer than its limit.
class Watchdog final : public testing::EmptyTestEventListener {
public:
    Watchdog() : m_thread([this] { Run(); }) {}
    ~Watchdog() override
    {
        {
            const std::lock_guard lock(m_mutex);
            m_bEnd = true;
        }
        m_cond.notify_all();
        m_thread.join();
    }
    bool AnySkipped() const { return m_bSkipped; }

private:
    void OnTestStart(const testing::TestInfo& info) override
    {
        const std::lock_guard lock(m_mutex);
        m_strTest = std::string(info.test_suite_name()) + "." + info.name();
        m_deadline = std::chrono::steady_clock::now() + kLimit;
    }
    void OnTestEnd(const testing::TestInfo& info) override
    {
        m_bSkipped |= info.result()->Skipped();
        const std::lock_guard lock(m_mutex);
        m_strTest.clear();
    }
    void Run()
    {
        std::unique_lock lock(m_mutex);
        while (!m_cond.wait_for(lock, std::chrono::milliseconds(500), [this] { return m_bEnd; })) {
            if (!m_strTest.empty() && std::chrono::steady_clock::now() > m_deadline) {
                std::fprintf(stderr, "%s has run into its limit of %d s\n", m_strTest.c_str(),
                             static_cast<int>(kLimit.count()));
                std::fflush(stderr);
                std::abort();
            }
        }
    }

    std::mutex m_mutex;
    std::condition_variable m_cond;
    bool m_bEnd = false;
    bool m_bSkipped = false;
    std::string m_strTest;
    std::chrono::steady_clock::time_point m_deadline;
    std::thread m_thread;
};

}  // namespace

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    auto* const pWatchdog = new Watchdog;  // GoogleTest owns and deletes it
    testing::UnitTest::GetInstance()->listeners().Append(pWatchdog);
    const int nResult = RUN_ALL_TESTS();
    if (pWatchdog->AnySkipped()) {
        std::puts("A test was skipped: that counts as a failure.");
        return 1;
    }
    if (testing::UnitTest::GetInstance()->test_to_run_count() == 0) {
        std::puts("No test has run: that counts as a failure.");
        return 1;
    }
    return nResult;
}
