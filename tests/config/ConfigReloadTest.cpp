// The thread that loads the file again, from Open to Shutdown.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>

#include "config/ConfigReader.h"
#include "tests/config/SettingsText.h"
#include "tests/platform/Waiting.h"

using SettingsText::Port;

namespace {

class ConfigReload : public testing::Test {
protected:
    void SetUp() override
    {
        m_file.Write(Port(1000));
        ASSERT_TRUE(m_reader.Open(m_file.Path())) << m_reader.GetLastErrorText();
    }
    void TearDown() override { m_reader.Shutdown(); }

    bool WaitForPort(int nPort)
    {
        return Eventually([&] { return m_reader.GetServerPort() == nPort; });
    }

    SettingsText::File m_file;
    SettingsText::File m_other;
    CConfigReader m_reader;
};

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

}  // namespace
