// Log services on real files.
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "platform/Logova.h"
#include "platform/Platova.h"
#include "tests/platform/Waiting.h"
#include "tests/support/Files.h"
#include "tests/support/TempDirectory.h"

#ifndef _WIN32
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace fs = std::filesystem;

namespace {

class Log : public testing::Test {
protected:
    ~Log() override { Logova::Uninitialize("Svc"); }

    bool Initialize(const std::string& strConfig, const std::string& strService = "Svc")
    {
        const std::string strPath = Support::WriteFile(m_dir / (strService + ".conf"), strConfig);
        return Logova::Initialize(strService.c_str(), strPath.c_str());
    }
    // The logger "Main" of a service with that configuration.
    Logova::_THandle* Start(const std::string& strConfig, const std::string& strService = "Svc")
    {
        EXPECT_TRUE(Initialize(strConfig, strService));
        Logova::_THandle* const pLogger = Logova::GetLogger(strService.c_str(), "Main");
        EXPECT_NE(nullptr, pLogger);
        return pLogger;
    }
    static void Stop(const std::string& strService = "Svc")
    {
        EXPECT_TRUE(Logova::Uninitialize(strService.c_str()));
    }
    std::string Read(const std::string& strFile) const { return Support::ReadFile(m_dir / strFile); }
    std::vector<std::string> Lines(const std::string& strFile) const
    {
        std::istringstream text(Read(strFile));
        std::vector<std::string> vecLines;
        for (std::string strLine; std::getline(text, strLine);)
            vecLines.push_back(strLine.substr(0, strLine.find('\r')));
        return vecLines;
    }
    bool Contains(const std::string& strFile, const std::string& strText) const
    {
        return Read(strFile).find(strText) != std::string::npos;
    }

    // In what has been captured from the error stream the text stands, and the word only once.
    static void ExpectOneComplaint(const std::string& strText, const std::string& strWord)
    {
        const std::string strAll = testing::internal::GetCapturedStderr();
        EXPECT_NE(std::string::npos, strAll.find(strText)) << strAll;
        EXPECT_EQ(strAll.find(strWord), strAll.rfind(strWord)) << "more than once";
    }

    const Support::TempDirectory m_temporary;
    const fs::path& m_dir = m_temporary.Path();
};

}  // namespace

TEST_F(Log, WritesTheNineLevelsUpToItsOwn)
{
    using Write = void (*)(Logova::_THandle*, const char*);
    using Format = void (*)(Logova::_THandle*, const char*, ...);
    const std::tuple<std::string, Write, Format> kLevels[]{
        {"Emerg", &Logova::Emerg, &Logova::EmergFmt},       {"Alert", &Logova::Alert, &Logova::AlertFmt},
        {"Fatal", &Logova::Fatal, &Logova::FatalFmt},       {"Error", &Logova::Error, &Logova::ErrorFmt},
        {"Warning", &Logova::Warning, &Logova::WarningFmt}, {"Notice", &Logova::Notice, &Logova::NoticeFmt},
        {"Info", &Logova::Info, &Logova::InfoFmt},          {"Debug", &Logova::Debug, &Logova::DebugFmt},
        {"Trace", &Logova::Trace, &Logova::TraceFmt}};
    std::string strExpected;  // of each line its level and text
    for (const auto& [strLevel, own, ownFormat] : kLevels) {
        auto* const pLogger = Start("level = " + strLevel + "\nfile = " + strLevel + ".log");
        for (const auto& [strOther, write, format] : kLevels) {
            write(pLogger, "plain 100% %s %n");
            format(pLogger, "number %I64d", -5'000'000'000LL);
        }
        Stop();
        strExpected += strLevel + " plain 100% %s %n|" + strLevel + " number -5000000000|";
        const std::regex line(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} \[(\w+)\] \[\d+\] (.*))");
        std::string strWritten;
        for (const std::string& strLine : Lines(strLevel + ".log"))
            strWritten += std::regex_replace(strLine, line, "$1 $2|");
        EXPECT_EQ(strExpected, strWritten);
    }
}

TEST_F(Log, DoesNotStartWithoutAFileOrTwice)
{
    EXPECT_FALSE(Logova::Initialize("Svc", (m_dir / "missing.conf").string().c_str()));
    EXPECT_NE(0u, Platova::GetLastError());
    EXPECT_FALSE(Logova::Initialize("Svc", m_dir.string().c_str())) << "a directory";
    EXPECT_FALSE(Initialize(std::string(1 << 20, '#'))) << "no configuration is that long";
    EXPECT_EQ(nullptr, Logova::GetLogger("Svc", "Main"));
    Logova::InfoFmt(nullptr, "nobody hears %s", "this");
    auto* const pLogger = Start("file = x.log");
    EXPECT_FALSE(Initialize(""));
    EXPECT_EQ(pLogger, Logova::GetLogger("Svc", "Main"));
    Stop();
    EXPECT_FALSE(Logova::Uninitialize("Svc"));
}

TEST_F(Log, StartsAgainAppendsAndMakesItsDirectory)
{
    Logova::Info(Start(""), "hello");
    Stop();
    EXPECT_TRUE(Contains("log/Svc.Main.log", "[Info]")) << "not where the defaults put it";
    for (int n = 0; n < 20; ++n) {
        Logova::InfoFmt(Start("file = a/b/{logger}.txt\nflush = Emerg, 3600"), "round %d", n);
        Stop();
        ASSERT_EQ(static_cast<std::size_t>(n + 1), Lines("a/b/Main.txt").size())
            << "not written out at the end";
    }
    EXPECT_TRUE(Contains("a/b/Main.txt", "round 0"));
}

TEST_F(Log, ReportsTheMistakesOfItsConfigurationInTheLogItself)
{
    auto* const pLogger = Start("level = Error\ncolour = red\nfile = x.log\nmax_size = huge\n");
    Logova::Warning(pLogger, "below the level");
    Stop();
    EXPECT_EQ(2u, Lines("x.log").size());
    for (const char* pszText : {"[Warning]", "Svc.conf, line 2: the key \"colour\" is unknown.",
                                "line 4: max_size takes a size from 1K to 1G, not \"huge\""})
        EXPECT_TRUE(Contains("x.log", pszText)) << pszText;
}

TEST_F(Log, IsRotatedWithoutLosingALineBeforeItsTime)
{
    auto* const pLogger = Start("file = x.log\nmax_size = 4K\nmax_files = 3");
    for (int n = 0; n < 400; ++n)
        Logova::InfoFmt(pLogger, "line %d", n);
    Stop();
    EXPECT_FALSE(fs::exists(m_dir / "x.4.log"));
    int nNext = -1;
    for (const char* pszFile : {"x.3.log", "x.2.log", "x.1.log", "x.log"}) {
        EXPECT_LE(Read(pszFile).size(), 4096u);
        const std::vector<std::string> vecLines = Lines(pszFile);
        ASSERT_FALSE(vecLines.empty()) << pszFile;
        for (const std::string& strLine : vecLines) {
            const int nLine = std::stoi(strLine.substr(strLine.rfind(' ')));
            ASSERT_TRUE(nNext == -1 || nLine == nNext) << strLine;
            nNext = nLine + 1;
        }
    }
    EXPECT_EQ(400, nNext);
}

// Nobody can rename the file: on Windows because it is being read, elsewhere because the name is taken.
TEST_F(Log, GrowsOnWhileItCannotBeRotated)
{
    fs::create_directory(m_dir / "x.rotating.log");
    std::ofstream(m_dir / "x.1.log") << "old";
    std::ofstream(m_dir / "x.log") << "first half";
    std::ifstream reader(m_dir / "x.log");
    auto* const pLogger = Start("file = x.log\nmax_size = 1K\nmax_files = 3\nflush = Info");
    for (int n = 0; n < 60; ++n)
        Logova::InfoFmt(pLogger, "line %d", n);
    EXPECT_TRUE(Eventually([&] { return Lines("x.log").size() == 61; })) << Read("x.log");
    EXPECT_EQ("first half", Lines("x.log").front()) << "a line goes on where another one ends";
    EXPECT_EQ("old", Read("x.1.log"));
    EXPECT_FALSE(fs::exists(m_dir / "x.2.log"));

    reader.close();
    fs::remove(m_dir / "x.rotating.log");
    std::ofstream(m_dir / "x.rotating.log") << "left by a crash";
    EXPECT_TRUE(Eventually([&] {
        Logova::Info(pLogger, "again");
        // Slowly: the lines of a second rotation would take the oldest file away.
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        return Read("x.3.log") == "old";
    }));
    Stop();
    EXPECT_EQ("left by a crash", Read("x.2.log"));
    EXPECT_TRUE(Contains("x.1.log", "line 59"));
    EXPECT_FALSE(fs::exists(m_dir / "x.rotating.log"));
}

TEST_F(Log, TakesLinesOfAnyLength)
{
    auto* const pLogger = Start("file = x.log\nmax_size = 1K\nmax_files = 1");
    const std::string strLong(2'000'000, 'l');
    Logova::Info(pLogger, strLong.c_str());
    Logova::Info(pLogger, "two\r\nlines");
    Stop();
    EXPECT_TRUE(Contains("x.1.log", strLong) && Contains("x.log", "two\r\nlines"));
}

TEST_F(Log, KeepsNoLineForAnExitWithoutAStop)
{
    auto* const pLogger = Start("file = x.log\nflush = Emerg, 3600");
    Logova::Info(pLogger, "first");
    EXPECT_TRUE(Eventually([&] { return Contains("x.log", "first"); }));
}

TEST_F(Log, SeveralServicesAndLoggersMayShareAFile)
{
    ASSERT_TRUE(Initialize("file = shared.log", "A"));
    ASSERT_TRUE(Initialize("file = shared.log", "B"));
    std::vector<std::thread> vecThreads;
    for (const char* pszService : {"A", "B"}) {
        for (const char* pszLogger : {"one", "two"})
            vecThreads.emplace_back([=] {
                auto* const pLogger = Logova::GetLogger(pszService, pszLogger);
                for (int n = 0; n < 500; ++n)
                    Logova::InfoFmt(pLogger, "<%s.%s %d>", pszService, pszLogger, n);
            });
    }
    for (std::thread& thread : vecThreads)
        thread.join();
    Stop("A");
    Stop("B");
    const std::vector<std::string> vecLines = Lines("shared.log");
    EXPECT_EQ(2000u, vecLines.size());
    const std::regex whole(R"([^<>]*<[AB]\.(one|two) \d+>)");
    for (const std::string& strLine : vecLines)
        ASSERT_TRUE(std::regex_match(strLine, whole)) << strLine;
}

// The directory's name is taken by a file at first. The end of the one service tells that its lines have
// been tried; the other one has the same file.
TEST_F(Log, ComesBackWhenItsFileCanBeWrittenAgain)
{
    std::ofstream(m_dir / "logs") << "in the way";
    testing::internal::CaptureStderr();
    auto* const pLost = Start("file = logs/x.log", "Lost");
    auto* const pBack = Start("file = logs/x.log\nflush = Info");
    for (int n = 0; n < 100; ++n)
        Logova::Info(pLost, "lost");
    Stop("Lost");
    fs::remove(m_dir / "logs");
    EXPECT_TRUE(Eventually([&] {
        Logova::Info(pBack, "back");
        return Contains("logs/x.log", "back");
    }));
    Stop();
    EXPECT_TRUE(Contains("logs/x.log", "lines could not be written."));
    ExpectOneComplaint("Log service \"Lost\": Cannot open ", "\"Lost\"");
}

// A service that names the file otherwise opens it anew, as another process does.
TEST_F(Log, LeavesTheRotationToTheProcessThatHasTheFile)
{
    auto* const pFirst = Start("file = ./x.log\nmax_size = 1G\nflush = Info", "First");
    Logova::Info(pFirst, "first");
    ASSERT_TRUE(Eventually([&] { return Contains("x.log", "first"); }));
    auto* const pLogger = Start("file = x.log\nmax_size = 1K\nflush = Info");
    for (int n = 0; n < 60; ++n)
        Logova::InfoFmt(pLogger, "line %d", n);
    EXPECT_TRUE(Eventually([&] { return Lines("x.log").size() == 62; })) << Read("x.log");
    EXPECT_TRUE(Contains("x.log", "[Warning]") && Contains("x.log", "x.log too. Put {pid} into"));
    EXPECT_FALSE(fs::exists(m_dir / "x.1.log")) << "both have rotated the file";

    std::error_code refused;  // on Windows, where the file grows on
    fs::rename(m_dir / "x.log", m_dir / "moved", refused);
    Logova::Info(pLogger, "into either");
    Stop("First");
    Logova::Info(pLogger, "into the new one");
    Stop();
    EXPECT_TRUE(Contains("x.log", "into the new one"));
    EXPECT_EQ(fs::path::preferred_separator == '\\', static_cast<bool>(refused));
}

#ifndef _WIN32

TEST_F(Log, DoesNotWaitForAConfigurationOutOfAPipe)
{
    ASSERT_EQ(0, mkfifo((m_dir / "pipe.conf").string().c_str(), 0600));
    EXPECT_FALSE(Logova::Initialize("Svc", (m_dir / "pipe.conf").string().c_str()));
}

TEST_F(Log, OnAFullDiskSlowsNobody)
{
    fs::create_symlink("/dev/full", m_dir / "full.log");
    testing::internal::CaptureStderr();
    auto* const pFull = Start("file = full.log");
    auto* const pGood = Start("file = good.log", "Good");
    const auto begin = std::chrono::steady_clock::now();
    for (int n = 0; n < 20'000; ++n)
        Logova::ErrorFmt(pFull, "nowhere to go %d", n);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
    Logova::Info(pGood, "not concerned");
    Stop();
    Stop("Good");
    EXPECT_TRUE(Contains("good.log", "not concerned"));
    ExpectOneComplaint("Log service \"Svc\": Cannot write to ", "Log service");
}

// A pipe that nobody reads from stands for a disk that hangs.
class LogOnAHangingDisk : public Log {
protected:
    LogOnAHangingDisk()
    {
        EXPECT_EQ(0, mkfifo((m_dir / "pipe").string().c_str(), 0600));
        m_pLogger = Start("file = pipe\nmax_size = 1G");
        const std::string strDump(100'000, 'd');
        for (int n = 0; n < 2000; ++n)
            Logova::Info(m_pLogger, strDump.c_str());
    }
    // What comes out when the disk answers at last.
    std::string StopAndRead()
    {
        std::string strAll;
        std::thread disk([&] { strAll = Read("pipe"); });
        Stop();
        disk.join();
        return strAll;
    }
    Logova::_THandle* m_pLogger;
};

TEST_F(LogOnAHangingDisk, NobodyWaitsAndTheOldestGo)
{
    const int kLines = 20'000;
    for (int n = 0; n < kLines; ++n)
        Logova::InfoFmt(m_pLogger, "line %d", n);
    const std::string strAll = StopAndRead();
    EXPECT_NE(std::string::npos, strAll.find("line " + std::to_string(kLines - 1) + "\n"))
        << "the newest went";
    EXPECT_EQ(std::string::npos, strAll.find("line 1\n")) << "the queue has no bound";
    EXPECT_NE(std::string::npos, strAll.find("lines were lost because the file was too slow."));
}

// What is left comes when the disk answers, although the service and its handles are gone.
TEST_F(LogOnAHangingDisk, TheEndWaitsTwoSeconds)
{
    Logova::Info(m_pLogger, "the last line");
    const auto begin = std::chrono::steady_clock::now();
    Stop();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(8));
    EXPECT_TRUE(Contains("pipe", "the last line\n"));
}

// They may not fill the memory.
TEST_F(LogOnAHangingDisk, LongLinesAreCut)
{
    const std::size_t nAll = StopAndRead().size();
    EXPECT_GT(nAll, 2000u * 4096u);
    EXPECT_LT(nAll, 64u << 20);
}

#endif
