#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "platform/Host.h"
#include "platform/Platova.h"
#include "tests/platform/Waiting.h"

namespace fs = std::filesystem;

namespace {

// A directory of the test's own, and the two things that a watcher waits for.
class HostFiles : public testing::Test {
protected:
    HostFiles()
    {
        const auto* const pInfo = testing::UnitTest::GetInstance()->current_test_info();
        const auto nNow = std::chrono::steady_clock::now().time_since_epoch().count();
        m_dir = fs::temp_directory_path() /
                ("velkar-host-" + std::string(pInfo->name()) + "-" + std::to_string(nNow));
        fs::create_directories(m_dir);
        m_pStop = Host::CreateStopEvent();
    }
    ~HostFiles() override
    {
        Host::CloseStopEvent(m_pStop);
        std::error_code ignored;
        fs::remove_all(m_dir, ignored);
    }

    std::string Path(const std::string& strName) const { return (m_dir / strName).string(); }
    void Save(const std::string& strName, const std::string& strText) const
    {
        std::ofstream(m_dir / strName, std::ios::binary | std::ios::trunc) << strText;
    }

    fs::path m_dir;
    Host::StopEvent* m_pStop = nullptr;
};

// Waits on a thread of its own; an answer that does not come fails the test instead of hanging it.
class Waiter {
public:
    Waiter(Host::StopEvent* pStop, Host::ChangeNotification* pChange)
        : m_pStop(pStop), m_thread([this, pStop, pChange] {
              m_result = Host::WaitForStopOrChange(pStop, pChange);
              m_bDone.store(true);
          })
    {
    }
    ~Waiter()
    {
        if (!m_bDone.load())
            Host::SetStopEvent(m_pStop);
        m_thread.join();
    }
    bool IsDone() const { return m_bDone.load(); }
    Host::WaitResult Result() const
    {
        EXPECT_TRUE(Eventually([this] { return m_bDone.load(); }));
        return m_bDone.load() ? m_result : Host::WaitResult::Failed;
    }

private:
    Host::StopEvent* const m_pStop;
    Host::WaitResult m_result = Host::WaitResult::Failed;
    std::atomic<bool> m_bDone{false};
    std::thread m_thread;
};

}  // namespace

TEST(Host, NamesADirectoryThatAPathCanBeBuiltFrom)
{
    const std::string strDirectory = Host::GetExecutableDirectory();
    ASSERT_FALSE(strDirectory.empty());
    EXPECT_TRUE(fs::is_directory(strDirectory + Host::GetPathSeparator()));
    EXPECT_EQ(std::string::npos, std::string("/\\").find(strDirectory.back()));
}

TEST(Host, TellsAPlausibleLocalTime)
{
    const Host::LocalTime time = Host::GetLocalTime();
    EXPECT_GE(time.nYear, 2024);
    EXPECT_TRUE(time.nMonth >= 1 && time.nMonth <= 12) << time.nMonth;
    EXPECT_TRUE(time.nDay >= 1 && time.nDay <= 31) << time.nDay;
    EXPECT_TRUE(time.nHour >= 0 && time.nHour <= 23) << time.nHour;
    EXPECT_TRUE(time.nMinute >= 0 && time.nMinute <= 59) << time.nMinute;
    EXPECT_TRUE(time.nSecond >= 0 && time.nSecond <= 60) << time.nSecond;
    EXPECT_TRUE(time.nMillisecond >= 0 && time.nMillisecond <= 999) << time.nMillisecond;
}

TEST(Host, HoldsTheLibraryInPairs)
{
    Host::HoldLibrary();
    Host::HoldLibrary();
    Host::ReleaseLibrary();
    Host::ReleaseLibrary();
    EXPECT_FALSE(Host::GetExecutableDirectory().empty()) << "still here";
}

TEST_F(HostFiles, TellsWhetherAFileIsThereAndWhenItWasWritten)
{
    std::int64_t nFirst = 0, nAgain = 0, nLater = 0;
    EXPECT_FALSE(Host::FileExists(Path("missing")));
    EXPECT_FALSE(Host::GetLastWriteTime(Path("missing"), nFirst));
    EXPECT_NE(0u, Platova::GetLastError());
    Save("settings", "a");
    EXPECT_TRUE(Host::FileExists(Path("settings")));
    ASSERT_TRUE(Host::GetLastWriteTime(Path("settings"), nFirst));
    ASSERT_TRUE(Host::GetLastWriteTime(Path("settings"), nAgain));
    EXPECT_EQ(nFirst, nAgain);
    fs::last_write_time(m_dir / "settings", fs::last_write_time(m_dir / "settings") + std::chrono::hours(1));
    ASSERT_TRUE(Host::GetLastWriteTime(Path("settings"), nLater));
    EXPECT_NE(nFirst, nLater);
}

TEST_F(HostFiles, WaitEndsWhenAFileIsWrittenAndAgainOnceArmed)
{
    Save("settings", "a");
    Host::ChangeNotification* const pChange = Host::FindFirstChange(m_dir.string());
    ASSERT_NE(nullptr, pChange);
    for (int n = 1; n <= 3; ++n) {
        const Waiter waiter(m_pStop, pChange);
        Save("settings", std::string(static_cast<std::size_t>(10 * n), 'a'));
        EXPECT_EQ(Host::WaitResult::Changed, waiter.Result());
        EXPECT_TRUE(Host::FindNextChange(pChange));
    }
    Host::CloseChange(pChange);
}

TEST_F(HostFiles, WaitEndsWhenAFileIsMovedOverAnother)
{
    Save("settings", "old");
    fs::create_directory(m_dir / "elsewhere");
    Save("elsewhere/new", "of another size");
    Host::ChangeNotification* const pChange = Host::FindFirstChange(m_dir.string());
    ASSERT_NE(nullptr, pChange);
    {
        const Waiter waiter(m_pStop, pChange);
        fs::rename(m_dir / "elsewhere" / "new", m_dir / "settings");
        EXPECT_EQ(Host::WaitResult::Changed, waiter.Result());
    }
    Host::CloseChange(pChange);
}

// Whoever reloads between a change and arming it again must not miss what was saved meanwhile.
TEST_F(HostFiles, AChangeBeforeArmingIsNotLost)
{
    Host::ChangeNotification* const pChange = Host::FindFirstChange(m_dir.string());
    ASSERT_NE(nullptr, pChange);
    {
        const Waiter waiter(m_pStop, pChange);
        Save("settings", "a");
        ASSERT_EQ(Host::WaitResult::Changed, waiter.Result());
    }
    Save("settings", "a second time");
    EXPECT_TRUE(Host::FindNextChange(pChange));
    const Waiter waiter(m_pStop, pChange);
    EXPECT_EQ(Host::WaitResult::Changed, waiter.Result());
    Host::CloseChange(pChange);
}

TEST_F(HostFiles, TheOrderToStopComesFirstAndCountsOnce)
{
    Host::ChangeNotification* const pChange = Host::FindFirstChange(m_dir.string());
    ASSERT_NE(nullptr, pChange);
    Save("settings", "a");
    Host::SetStopEvent(m_pStop);
    EXPECT_EQ(Host::WaitResult::Stopped, Waiter(m_pStop, pChange).Result());
    EXPECT_EQ(Host::WaitResult::Changed, Waiter(m_pStop, pChange).Result());
    EXPECT_TRUE(Host::FindNextChange(pChange));
    {
        const Waiter waiter(m_pStop, pChange);
        Host::SetStopEvent(m_pStop);  // while it waits
        EXPECT_NE(Host::WaitResult::Failed, waiter.Result());
    }
    Host::CloseChange(pChange);
}

TEST_F(HostFiles, AMissingDirectoryCannotBeWatched)
{
    EXPECT_EQ(nullptr, Host::FindFirstChange(Path("missing")));
    EXPECT_NE(0u, Platova::GetLastError());
}

namespace {

// Little-endian UTF-16 of a text.
std::string Utf16(const std::u16string& str)
{
    std::string strResult;
    for (const char16_t c : str) {
        strResult += static_cast<char>(c & 0xFF);
        strResult += static_cast<char>(c >> 8);
    }
    return strResult;
}

bool LooksWide(const std::string& str)
{
    return Host::IsTextUnicode(str.data(), static_cast<int>(str.size()));
}

bool ToUtf8(const std::string& strWide, std::string& strOut)
{
    return Host::WideToMultiByte(strWide.data(), static_cast<int>(strWide.size()), true, strOut);
}

}  // namespace

TEST(WideText, IsToldFromOtherText)
{
    const std::u16string strSettings =
        u"<Settings>\r\n  <Server ip=\"127.0.0.1\" port=\"9000\"/>\r\n</Settings>\r\n";
    EXPECT_TRUE(LooksWide(Utf16(u"\uFEFF" + strSettings)));
    EXPECT_TRUE(LooksWide(Utf16(u"\uFEFF<Name>\uD55C\uAD6D\uC5B4</Name>\r\n")));
    EXPECT_TRUE(LooksWide(Utf16(strSettings)));
    EXPECT_FALSE(LooksWide("<?xml version=\"1.0\"?>\r\n<Settings><Server/></Settings>\r\n"));
    EXPECT_FALSE(LooksWide("<Name>\xED\x95\x9C\xEA\xB5\xAD\xEC\x96\xB4</Name>\r\n"));
    EXPECT_FALSE(Host::IsTextUnicode("", 0));
}

TEST(WideText, BecomesUtf8OfEveryLength)
{
    std::string strOut = "left over";
    ASSERT_TRUE(ToUtf8(Utf16(u"a\u00E9\uD55C\U0001F600z"), strOut));
    EXPECT_EQ("a\xC3\xA9\xED\x95\x9C\xF0\x9F\x98\x80z", strOut);
    ASSERT_TRUE(ToUtf8("", strOut));
    EXPECT_EQ("", strOut);
    ASSERT_TRUE(ToUtf8(Utf16(u"ab") + "c", strOut)) << "half a character at the end is left out";
    EXPECT_EQ("ab", strOut);
    EXPECT_FALSE(Host::WideToMultiByte("", -1, true, strOut));
}

TEST(WideText, AHalfPairIsReplaced)
{
    std::string strOut;
    ASSERT_TRUE(ToUtf8(std::string("a\0\x3D\xD8z\0", 6), strOut));
    EXPECT_EQ("a\xEF\xBF\xBDz", strOut);
    ASSERT_TRUE(ToUtf8(std::string("\x00\xDE", 2), strOut));
    EXPECT_EQ("\xEF\xBF\xBD", strOut);
    ASSERT_TRUE(ToUtf8(std::string("\x3D\xD8", 2), strOut));
    EXPECT_EQ("\xEF\xBF\xBD", strOut);
}

TEST(WideText, OfPlainLettersIsTheSameInTheSystemsOwnCodePage)
{
    const std::string strWide = Utf16(u"Plain text 123");
    std::string strOut;
    ASSERT_TRUE(Host::WideToMultiByte(strWide.data(), static_cast<int>(strWide.size()), false, strOut));
    EXPECT_EQ("Plain text 123", strOut);
}
