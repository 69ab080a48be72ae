// The settings on a platform whose operations fail on order: log lines, the dialog, no spinning.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <thread>

#include "base/Logger.h"
#include "config/ConfigReader.h"
#include "tests/config/SettingsText.h"
#include "tests/fakeplatform/Fake.h"
#include "tests/fakeplatform/FakeHost.h"
#include "tests/fakeplatform/FakeLog.h"
#include "tests/platform/Waiting.h"

using Fake::Op;
using Fake::Journal::Level;
using SettingsText::Port;

namespace {

class ReloadFaults : public testing::Test {
protected:
    void SetUp() override
    {
        Fake::Reset();
        m_file = std::make_unique<SettingsText::File>();
        m_log = std::make_unique<SettingsText::File>();
        m_log->Write("");
        ASSERT_TRUE(Logger().Init("service", m_log->Path(), "logger"));
        m_file->Write(Port(1000));
    }
    void TearDown() override
    {
        m_reader.Shutdown();
        Logger().Uninit();
        EXPECT_TRUE(Fake::Alive() == Fake::Counts()) << Fake::Describe(Fake::Alive());
        EXPECT_TRUE(Fake::Violations().empty());
    }
    bool Open() { return m_reader.Open(m_file->Path()); }
    bool WaitForPort(int nPort)
    {
        return Eventually([&] { return m_reader.GetServerPort() == nPort; });
    }
    // To the first wait of the thread.
    void Watch()
    {
        const int nWaits = Fake::Calls(Op::WaitForChange);
        ASSERT_TRUE(Open());
        ASSERT_TRUE(Eventually([&] { return Fake::Calls(Op::WaitForChange) > nWaits; }));
    }
    // Until the thread has dealt with a change and is ready for the next one.
    void Notify()
    {
        const int nArmed = Fake::Calls(Op::FindNextChange);
        Fake::HostProcess::NotifyChange();
        ASSERT_TRUE(Eventually([&] { return Fake::Calls(Op::FindNextChange) > nArmed; }));
    }
    static bool IsLogged(Level level, const std::string& strText, bool bFormatted)
    {
        const auto lines = Fake::Journal::Lines();
        return std::any_of(lines.begin(), lines.end(), [&](const auto& line) {
            return line.level == level && line.strText == strText && line.bFormatted == bFormatted;
        });
    }

    std::unique_ptr<SettingsText::File> m_file, m_log;
    CConfigReader m_reader;
};

TEST_F(ReloadFaults, AThreadThatCannotWatchSaysSoAndLooksNowAndThen)
{
    int nPort = 1000;
    const std::pair<Op, std::string> kTable[] = {
        {Op::LastWriteTime, "get attribute of a TL2 file. FILE: " + m_file->Path() + "."},
        {Op::CreateStopEvent, "create a handle for a TL2 file reload thread. ErrorCode: 4711"},
        {Op::FindFirstChange, "create a handle for a TL2 file modify notification. ErrorCode: 4711"},
    };
    for (const auto& [op, strText] : kTable) {
        const std::string strLine = "[Config reader::Reload thread] Failed to " + strText;
        Fake::Fail(op, Fake::kAlways);
        EXPECT_TRUE(Open()) << "the settings are there all the same";
        EXPECT_TRUE(Fake::Journal::WaitFor(Level::Warning, strLine));
        EXPECT_TRUE(IsLogged(Level::Warning, strLine, true));
        if (op == Op::LastWriteTime)
            Fake::Fail(op, 0);
        m_file->Write(Port(++nPort));
        EXPECT_TRUE(WaitForPort(nPort));
        m_reader.Shutdown();
        Fake::Fail(op, 0);
    }
    Fake::Fail(Op::ThreadStart);
    EXPECT_TRUE(Open());
    m_reader.Shutdown();
    EXPECT_TRUE(Open());
    m_file->Write(Port(1001));
    EXPECT_TRUE(WaitForPort(1001)) << "a later start watches again";
}

TEST_F(ReloadFaults, AFailingWatchNeitherSpinsNorGivesUp)
{
    for (const auto& [op, nMost] : {std::pair{Op::WaitForChange, 100}, {Op::FindNextChange, 20}}) {
        Fake::Fail(op, Fake::kAlways);
        Watch();
        Fake::HostProcess::NotifyChange();
        std::this_thread::sleep_for(std::chrono::milliseconds(400));  // two seconds of the library
        EXPECT_LT(Fake::Calls(op), nMost);
        if (op == Op::WaitForChange)
            Fake::Fail(op, 0);
        m_file->Write(Port(2000 + nMost));
        EXPECT_TRUE(WaitForPort(2000 + nMost)) << "it still looks now and then";
        Fake::Fail(op, Fake::kAlways);
        m_reader.Shutdown();
        Fake::Fail(op, 0);
    }
}

// The directory may have been deleted and made again.
TEST_F(ReloadFaults, ASilentWatchIsRenewed)
{
    Watch();
    const int nWatches = Fake::Calls(Op::FindFirstChange);
    EXPECT_TRUE(Eventually([&] { return Fake::Calls(Op::FindFirstChange) > nWatches + 1; }));
    EXPECT_EQ(Fake::Journal::Count(Level::Warning), 0);
}

// Somebody else has the file open, as a scanner for viruses does.
TEST_F(ReloadFaults, AFileThatCouldNotBeOpenedIsTriedAgain)
{
    Watch();
    Fake::Fail(Op::OpenFile, Fake::kAlways);
    m_file->Write(Port(1001));
    ASSERT_TRUE(Eventually([] { return Fake::Journal::Count(Level::Fatal) == 1; }));
    EXPECT_EQ(Fake::Calls(Op::OpenFile), 2);
    Fake::Fail(Op::OpenFile, 0);
    EXPECT_TRUE(WaitForPort(1001));
}

TEST_F(ReloadFaults, ACountThatIsNotThatOfItsListIsNamedInTheLog)
{
    for (const auto& [strCount, strWhat] :
         {std::pair<std::string, std::string>{"3",
                                              "more than the file has of good entries in a row. The first 2"},
          {"1", "less than the file has of entries. The first 1"}}) {
        m_file->Write(
            SettingsText::Text().Products({{"1", "a", "1"}, {"2", "b", "1"}}).Set({{"ID_COUNT", strCount}}));
        EXPECT_EQ(m_reader.Open(m_file->Path()), strCount == "1");
        m_reader.LogWarnings();
        EXPECT_TRUE(Fake::Journal::Logged(Level::Warning, "[Config reader]The value '" + strCount +
                                                              "' of 'ID_COUNT' is " + strWhat +
                                                              " of them are used."));
    }
}

TEST_F(ReloadFaults, OnlyAMovedTimeReloads)
{
    const std::string strReload = "[Config reader::Reload thread] Reload TL2 contents.";
    Watch();
    Notify();
    EXPECT_EQ(Fake::Journal::Count(Level::Info), 0);
    Fake::Fail(Op::LastWriteTime);
    Notify();
    EXPECT_TRUE(IsLogged(Level::Warning, strReload + " GetFileAttributesEx() failed. ErrorCode: 4711", true));
    EXPECT_EQ(Fake::Journal::Count(Level::Warning), 1);
    m_file->Write(Port(1001));
    ASSERT_TRUE(WaitForPort(1001));
    m_reader.Shutdown();
    EXPECT_EQ(Fake::Journal::Count(Level::Info), 1);
    EXPECT_TRUE(IsLogged(Level::Info, strReload, false));
}

// A dialog may hold up the caller of the first load, never the thread that the stop waits for.
TEST_F(ReloadFaults, OnlyTheFirstLoadShowsADialog)
{
    const std::string strReport = "XML Parsing error inside file '" + m_file->Path() +
                                  "'.\nError: First Tag not found\nAt line 0, column 0.\n"
                                  "First Tag should be 'TARVO'.\n";
    m_file->Write("<OTHER/>");
    for (const bool bShown : {true, false}) {
        Fake::HostProcess::SetBoxAnswer(bShown);
        EXPECT_FALSE(Open());
        const auto box = Fake::HostProcess::Boxes().back();
        EXPECT_EQ(box.strTitle + "|" + box.strText, "XML Parsing error|" + strReport);
        EXPECT_EQ(Fake::Journal::Logged(Level::Error, strReport), !bShown) << "unless somebody has seen it";
    }
    EXPECT_EQ(Fake::Calls(Op::ThreadStart), 0) << "nothing to watch after a failed open";

    Fake::HostProcess::SetBoxAnswer(true);
    m_file->Write(Port(1000));
    ASSERT_TRUE(Open());
    m_file->Write("<OTHER/>");
    ASSERT_TRUE(Eventually([] { return Fake::Journal::Count(Level::Error) == 2; }));
    m_reader.Shutdown();
    EXPECT_FALSE(m_reader.Load());
    EXPECT_EQ(Fake::HostProcess::Boxes().size(), 2U);
}

TEST_F(ReloadFaults, FailedLoadsInTheLog)
{
    const std::string strPrefix = "[Config reader]Failed to ";
    m_file->Write(Port(1).Remove("VELKAR"));
    EXPECT_FALSE(Open());
    EXPECT_TRUE(IsLogged(Level::Fatal, strPrefix + "move to 'VELKAR' module.", false));
    m_file->Write("");
    EXPECT_FALSE(m_reader.Load());
    EXPECT_TRUE(
        IsLogged(Level::Fatal, strPrefix + "open and parse a TL2 file. FileName : " + m_file->Path(), true));
    EXPECT_FALSE(m_reader.Open("100%s%n.tl2"));
    EXPECT_TRUE(IsLogged(Level::Fatal, strPrefix + "find a TL2 file. FileName : 100%s%n.tl2", true));
    EXPECT_EQ(Fake::Journal::Count(Level::Fatal), 3);
}

}  // namespace
