#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <future>
#include <string>

#include "platform/Host.h"
#include "platform/Platova.h"
#include "tests/support/Files.h"
#include "tests/support/TempDirectory.h"

namespace fs = std::filesystem;

namespace {

// A directory of the test's own, and the two things that a watcher waits for.
class HostFiles : public testing::Test {
protected:
    ~HostFiles() override
    {
        Host::CloseChange(m_pChange);
        Host::CloseStopEvent(m_pStop);
    }

    void Save(const std::string& strText) const { Support::WriteFile(m_strFile, strText); }

    // How a wait ends during which that is done. One that does not end fails the test instead of hanging it.
    Host::WaitResult Wait(const std::function<void()>& meanwhile = [] {})
    {
        auto result = std::async(std::launch::async, Host::WaitForStopOrChange, m_pStop, m_pChange, 60'000);
        meanwhile();
        if (result.wait_for(std::chrono::seconds(20)) != std::future_status::ready) {
            ADD_FAILURE() << "the wait does not end";
            Host::SetStopEvent(m_pStop);
        }
        return result.get();
    }

    const Support::TempDirectory m_dir;
    const std::string m_strFile = (m_dir.Path() / "settings").string();
    Host::StopEvent* const m_pStop = Host::CreateStopEvent();
    Host::ChangeNotification* const m_pChange = Host::FindFirstChange(m_dir.Path().string());
};

}  // namespace

TEST(Host, NamesADirectoryThatAPathCanBeBuiltFromAndAPlausibleLocalTime)
{
    const std::string strDirectory = Host::GetExecutableDirectory();
    ASSERT_FALSE(strDirectory.empty());
    EXPECT_TRUE(fs::is_directory(strDirectory + Host::GetPathSeparator()));
    EXPECT_EQ(std::string::npos, std::string("/\\").find(strDirectory.back()));
    const Host::LocalTime t = Host::GetLocalTime();
    EXPECT_TRUE(t.nYear >= 2024 && t.nMonth >= 1 && t.nMonth <= 12 && t.nDay >= 1 && t.nDay <= 31);
    EXPECT_TRUE(t.nHour >= 0 && t.nHour <= 23 && t.nMinute >= 0 && t.nMinute <= 59);
    EXPECT_TRUE(t.nSecond >= 0 && t.nSecond <= 60 && t.nMillisecond >= 0 && t.nMillisecond <= 999);
}

TEST_F(HostFiles, TellsWhetherAFileIsThereAndWhenItWasWritten)
{
    std::int64_t nFirst = 0, nAgain = 0, nLater = 0;
    EXPECT_FALSE(Host::FileExists(m_strFile) || Host::GetLastWriteTime(m_strFile, nFirst));
    EXPECT_EQ(nullptr, Host::FindFirstChange(m_strFile));
    EXPECT_NE(0u, Platova::GetLastError());
    Save("a");
    EXPECT_TRUE(Host::FileExists(m_strFile));
    ASSERT_TRUE(Host::GetLastWriteTime(m_strFile, nFirst) && Host::GetLastWriteTime(m_strFile, nAgain));
    EXPECT_EQ(nFirst, nAgain);
    fs::last_write_time(m_strFile, fs::last_write_time(m_strFile) + std::chrono::hours(1));
    ASSERT_TRUE(Host::GetLastWriteTime(m_strFile, nLater));
    EXPECT_NE(nFirst, nLater);
}

// Whoever reloads between a change and arming it again must not miss what was saved meanwhile.
TEST_F(HostFiles, AChangeBeforeArmingIsNotLost)
{
    for (std::size_t n = 1; n <= 3; ++n) {
        ASSERT_EQ(Host::WaitResult::Changed, Wait([&] { Save(std::string(n, 'a')); }));
        Save(std::string(n + 10, 'b'));
        EXPECT_TRUE(Host::FindNextChange(m_pChange));
        EXPECT_EQ(Host::WaitResult::Changed, Wait());
        EXPECT_TRUE(Host::FindNextChange(m_pChange));
    }
}

TEST_F(HostFiles, AWaitHasItsLimitAndNeedsNoWatch)
{
    EXPECT_EQ(Host::WaitResult::TimedOut, Host::WaitForStopOrChange(m_pStop, m_pChange, 20));
    EXPECT_EQ(Host::WaitResult::TimedOut, Host::WaitForStopOrChange(m_pStop, nullptr, 20));
    Host::SetStopEvent(m_pStop);
    EXPECT_EQ(Host::WaitResult::Stopped, Host::WaitForStopOrChange(m_pStop, nullptr, 60'000));
}

TEST_F(HostFiles, TheOrderToStopComesFirstAndCountsOnce)
{
    Save("a");
    Host::SetStopEvent(m_pStop);
    EXPECT_EQ(Host::WaitResult::Stopped, Wait());
    EXPECT_EQ(Host::WaitResult::Changed, Wait());
    EXPECT_TRUE(Host::FindNextChange(m_pChange));
    EXPECT_NE(Host::WaitResult::Failed, Wait([&] { Host::SetStopEvent(m_pStop); }));
}

namespace {

// Little-endian UTF-16 of a text.
std::string Utf16(const std::u16string& str)
{
    std::string strResult;
    for (const char16_t c : str)
        strResult += {static_cast<char>(c & 0xFF), static_cast<char>(c >> 8)};
    return strResult;
}

}  // namespace

TEST(WideText, IsToldFromOtherText)
{
    const std::u16string strSettings = u"<Settings>\r\n  <Server ip=\"127.0.0.1\"/>\r\n</Settings>\r\n";
    const std::pair<std::string, bool> kTable[] = {
        {Utf16(u"\uFEFF" + strSettings), true},
        {Utf16(u"\uFEFF<Name>\uD55C\uAD6D\uC5B4</Name>\r\n"), true},
        {Utf16(strSettings), true},
        {"<?xml version=\"1.0\"?>\r\n<Settings><Server/></Settings>\r\n", false},
        {"<Name>\xED\x95\x9C\xEA\xB5\xAD\xEC\x96\xB4</Name>\r\n", false},
        {"", false}};
    for (const auto& [str, bWide] : kTable)
        EXPECT_EQ(bWide, Host::IsTextUnicode(str.data(), static_cast<int>(str.size()))) << str;
}

TEST(WideText, BecomesUtf8OfEveryLengthAndAHalfPairIsReplaced)
{
    using namespace std::string_literals;
    const std::pair<std::string, const char*> kTable[] = {
        {Utf16(u"a\u00E9\uD55C\U0001F600z"), "a\xC3\xA9\xED\x95\x9C\xF0\x9F\x98\x80z"},
        {"", ""},
        {Utf16(u"ab") + "c", "ab"},  // half a character at the end is left out
        {"a\0\x3D\xD8z\0"s, "a\xEF\xBF\xBDz"},
        {"\0\xDE"s, "\xEF\xBF\xBD"},
        {"\x3D\xD8"s, "\xEF\xBF\xBD"},
    };
    std::string strOut = "left over";
    for (const auto& [strWide, pszUtf8] : kTable) {
        ASSERT_TRUE(Host::WideToMultiByte(strWide.data(), static_cast<int>(strWide.size()), true, strOut));
        EXPECT_EQ(pszUtf8, strOut);
    }
    EXPECT_FALSE(Host::WideToMultiByte("", -1, true, strOut));
    // Plain letters are the same in the system's own code page.
    ASSERT_TRUE(Host::WideToMultiByte("1\0002\0", 4, false, strOut));
    EXPECT_EQ("12", strOut);
}
