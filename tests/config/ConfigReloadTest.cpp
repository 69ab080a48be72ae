// The thread that loads the file again, from Open to Shutdown.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

#include "config/ConfigReader.h"
#include "connector/Logger.h"
#include "tests/config/SettingsText.h"

namespace {

class ConfigReload : public testing::Test {
protected:
    void SetUp() override
    {
        m_file.Write(Port(1000));
        ASSERT_TRUE(m_reader.Open(m_file.Path())) << m_reader.GetLastErrorText();
    }
    void TearDown() override { m_reader.Shutdown(); }

    static Settings::Text Port(int nPort)
    {
        return Settings::Text().Set("SERVER_PORT", std::to_string(nPort));
    }
    template <class Predicate>
    static bool WaitFor(Predicate predicate)
    {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (!predicate()) {
            if (std::chrono::steady_clock::now() > end)
                return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
        return true;
    }
    bool WaitForPort(int nPort)
    {
        return WaitFor([&] { return m_reader.GetServerPort() == nPort; });
    }

    Settings::File m_file;
    Settings::File m_other;
    CConfigReader m_reader;
};

TEST_F(ConfigReload, SavingTakesEffect)
{
    EXPECT_EQ(m_reader.GetServerPort(), 1000);
    for (int nPort = 1001; nPort < 1006; ++nPort) {
        m_file.Write(Port(nPort));
        ASSERT_TRUE(WaitForPort(nPort)) << nPort;
    }
}

// Saves that come close together, within a tick of the file system's clock: the last one counts.
TEST_F(ConfigReload, TheLastOfManySavesIsInForce)
{
    for (int nRound = 0; nRound < 8; ++nRound) {
        for (int n = 0; n <= nRound; ++n) {
            m_file.Write("");
            m_file.Write(Port(2000 + nRound * 10 + n));
        }
        ASSERT_TRUE(WaitForPort(2000 + nRound * 11)) << nRound;
    }
}

TEST_F(ConfigReload, SavingRightBehindOpenIsSeen)
{
    for (int nPort = 3000; nPort < 3010; ++nPort) {
        m_reader.Shutdown();
        m_file.Write(Port(nPort));
        ASSERT_TRUE(m_reader.Open(m_file.Path()));
        m_file.Write(Port(nPort + 500));
        ASSERT_TRUE(WaitForPort(nPort + 500)) << nPort;
    }
}

TEST_F(ConfigReload, ANewFileIsMovedOverTheOldOne)
{
    m_other.Write(Port(1001));
    std::filesystem::rename(m_other.Path(), m_file.Path());
    EXPECT_TRUE(WaitForPort(1001));
    // An older file counts too: its time is another one.
    m_other.Write(Port(1002));
    std::filesystem::last_write_time(m_other.Path(),
                                     std::filesystem::last_write_time(m_file.Path()) - std::chrono::hours(1));
    std::filesystem::rename(m_other.Path(), m_file.Path());
    EXPECT_TRUE(WaitForPort(1002));
}

TEST_F(ConfigReload, ADeletedFileComesBack)
{
    m_file.Write(Port(1001));
    ASSERT_TRUE(WaitForPort(1001));
    std::filesystem::remove(m_file.Path());
    m_other.Write("something that is noticed while the file is away");
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(m_reader.GetServerPort(), 1001);
    m_file.Write(Port(1002));
    EXPECT_TRUE(WaitForPort(1002));
}

TEST_F(ConfigReload, ABadEditKeepsWatching)
{
    m_file.Write("<TARVO><broken=");
    ASSERT_TRUE(WaitFor([&] { return !m_reader.GetLastErrorText().empty(); }));
    EXPECT_EQ(m_reader.GetServerPort(), 1000);
    m_file.Write(Port(1001).Remove("HEARTBEAT_CYCLE"));
    ASSERT_TRUE(
        WaitFor([&] { return m_reader.GetLastErrorText() == "Failed to get 'HEARTBEAT_CYCLE' property."; }));
    EXPECT_EQ(m_reader.GetServerPort(), 1001);
    m_file.Write(Port(1002));
    EXPECT_TRUE(WaitForPort(1002));
}

// The time alone counts. The save after it shows that the thread has long passed the one before.
TEST_F(ConfigReload, AChangeThatKeepsTheTimeIsNone)
{
    m_reader.Shutdown();
    const auto now = std::filesystem::last_write_time(m_file.Path());
    const auto time = std::chrono::floor<std::chrono::seconds>(now) - std::chrono::hours(1);
    std::filesystem::last_write_time(m_file.Path(), time);
    ASSERT_TRUE(m_reader.Open(m_file.Path()));
    m_other.Write(Port(1001));
    std::filesystem::last_write_time(m_other.Path(), time);
    std::filesystem::rename(m_other.Path(), m_file.Path());
    for (int n = 0; n < 5; ++n)
        m_other.Write("another file of the directory");
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_EQ(m_reader.GetServerPort(), 1000);
    m_file.Write(Port(1002));
    EXPECT_TRUE(WaitForPort(1002));
}

// What an operator reads of it in the log.
TEST_F(ConfigReload, LogLines)
{
    const std::string strPrefix = "[Config reader::Reload thread] ";
    Settings::File config;
    config.Write("level = Trace\nfile = config-test-log/reload.log\nflush = Trace\n");
    const std::filesystem::path log =
        std::filesystem::path(config.Path()).parent_path() / "config-test-log" / "reload.log";
    std::filesystem::remove(log);
    auto& logger = Kernova::XTL::Singleton<CLogger>::Instance();
    ASSERT_TRUE(logger.Init("reload", config.Path(), "test"));
    const auto count = [&](const std::string& strLine) {
        std::ifstream file(log);
        const std::string strLog{std::istreambuf_iterator<char>(file), {}};
        int nCount = 0;
        for (std::size_t n = strLog.find(strLine); n != std::string::npos; n = strLog.find(strLine, n + 1))
            ++nCount;
        return nCount;
    };
    const auto waitFor = [&](const std::string& strLine, int nCount) {
        EXPECT_TRUE(WaitFor([&] { return count(strLine) >= nCount; })) << strLine;
    };

    m_file.Write(Port(1001));
    waitFor(strPrefix + "Reload TL2 contents.", 1);
    m_file.Write(Port(0));
    waitFor("[Config reader]Failed to convert 'SERVER_PORT' value to integer.", 1);
    m_other.Write("another file of the directory");
    m_file.Write("<TARVO><broken=");
    waitFor("[Config reader]Failed to open and parse a TL2 file. FileName : " + m_file.Path(), 1);
    waitFor("[Config reader]XML Parsing error: XML Parsing error inside file", 1);
    EXPECT_EQ(count("Reload TL2 contents.\n") + count("Reload TL2 contents.\r\n"), 3) << "one for each save";
    std::filesystem::remove(m_file.Path());
    m_other.Write("another change");
    waitFor(strPrefix + "Reload TL2 contents. GetFileAttributesEx() failed. ErrorCode: ", 1);

    m_reader.Shutdown();
    m_file.Write(Port(1002));
    ASSERT_TRUE(m_reader.Open(m_file.Path()));
    std::filesystem::remove(m_file.Path());
    m_reader.Shutdown();
    EXPECT_EQ(count("Reload TL2 contents.\n") + count("Reload TL2 contents.\r\n"), 3);
    logger.Uninit();
    std::filesystem::remove_all(log.parent_path());
}

TEST_F(ConfigReload, ShutdownAtAnyMoment)
{
    for (int n = 0; n < 30; ++n) {
        m_reader.Shutdown();
        m_reader.Shutdown();
        m_file.Write(Port(n + 1));
        ASSERT_TRUE(m_reader.Open(m_file.Path()));
        EXPECT_EQ(m_reader.GetServerPort(), n + 1) << "values outlive a shutdown and are read anew";
        if (n % 3 == 0)
            m_file.Write(Port(5000));  // into a load
        if (n % 3 == 1)
            std::this_thread::sleep_for(std::chrono::milliseconds(n));
    }
    ASSERT_TRUE(m_reader.Open(m_file.Path()))
        << "a second Open without a Shutdown loads, and the thread runs on";
    m_file.Write(Port(6000));
    EXPECT_TRUE(WaitForPort(6000));
}

TEST_F(ConfigReload, NoThreadAfterAFailedOpen)
{
    m_reader.Shutdown();
    m_file.Write(Port(0));
    EXPECT_FALSE(m_reader.Open(m_file.Path()));
    m_file.Write(Port(1001));
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    EXPECT_EQ(m_reader.GetServerPort(), 0);
}

}  // namespace
