// The configuration file of a log and the texts of its lines, without a log.
#include <gtest/gtest.h>

#include <climits>
#include <cstdarg>
#include <string>

#include "platform/Host.h"
#include "platform/common/LogConfig.h"
#include "platform/common/LogText.h"

using namespace Logova;

TEST(LogConfig, OfAnEmptyFileIsTheDefault)
{
    for (const char* pszText : {"", "\n\n", "# nothing but a comment", "\xEF\xBB\xBF\r\n  \t\r\n"}) {
        const LogConfig config = ParseLogConfig(pszText);
        EXPECT_TRUE(config.vecWarnings.empty()) << config.vecWarnings[0];
        EXPECT_EQ(Level::Info, config.level);
        EXPECT_EQ("log/{service}.{logger}.log", config.strFile);
        EXPECT_EQ(16u << 20, config.nMaxSize);
        EXPECT_EQ(10u, config.nMaxFiles);
        EXPECT_EQ(Level::Error, config.flushLevel);
        EXPECT_EQ(3, config.nFlushSeconds);
    }
}

TEST(LogConfig, TakesEveryKeyInAnyUsualSpelling)
{
    const LogConfig config = ParseLogConfig(
        "\xEF\xBB\xBF# the game's log\r\n"
        "level=debug\r\n"
        "  file  =  my logs/#1.log   # a comment behind a blank\r\n"
        "max_size = 512k\r\n"
        "max_files = 3\r\n"
        "flush = Warning , 60");
    EXPECT_TRUE(config.vecWarnings.empty()) << config.vecWarnings[0];
    EXPECT_EQ(Level::Debug, config.level);
    EXPECT_EQ("my logs/#1.log", config.strFile);
    EXPECT_EQ(512u << 10, config.nMaxSize);
    EXPECT_EQ(3u, config.nMaxFiles);
    EXPECT_EQ(Level::Warning, config.flushLevel);
    EXPECT_EQ(60, config.nFlushSeconds);
    EXPECT_EQ(7, ParseLogConfig("flush = 7").nFlushSeconds);
    EXPECT_EQ(Level::Error, ParseLogConfig("flush = 7").flushLevel);
    EXPECT_EQ(Level::Trace, ParseLogConfig("flush = TRACE").flushLevel);
    EXPECT_EQ(2048u, ParseLogConfig("max_size = 2048").nMaxSize);
    EXPECT_EQ(1u << 30, ParseLogConfig("max_size = 1G").nMaxSize);
}

TEST(LogConfig, NamesTheLineOfEveryMistakeAndKeepsTheDefault)
{
    struct Case {
        const char* pszLine;
        const char* pszReason;
    };
    for (const Case& bad : std::initializer_list<Case>{{"colour = red", "unknown"},
                                                       {"Level = Info", "unknown"},
                                                       {"just words", "key = value"},
                                                       {"level = Verbose", "level takes"},
                                                       {"level =", "level takes"},
                                                       {"file =", "file takes"},
                                                       {"max_size = 1023", "max_size takes"},
                                                       {"max_size = 2G", "max_size takes"},
                                                       {"max_size = 99999999999999999999", "max_size takes"},
                                                       {"max_size = -1M", "max_size takes"},
                                                       {"max_size = M", "max_size takes"},
                                                       {"max_files = 0", "max_files takes"},
                                                       {"max_files = 4x", "max_files takes"},
                                                       {"flush = 0", "flush takes"},
                                                       {"flush = Error 5", "flush takes"},
                                                       {"flush = Error, 5, 6", "flush takes"}}) {
        const LogConfig config = ParseLogConfig(std::string("# first\n") + bad.pszLine + "\n");
        ASSERT_EQ(1u, config.vecWarnings.size()) << bad.pszLine;
        EXPECT_EQ(0u, config.vecWarnings[0].find("line 2: ")) << config.vecWarnings[0];
        EXPECT_NE(std::string::npos, config.vecWarnings[0].find(bad.pszReason)) << config.vecWarnings[0];
        EXPECT_EQ(Level::Info, config.level);
        EXPECT_EQ(16u << 20, config.nMaxSize);
        EXPECT_EQ(Level::Error, config.flushLevel);
        EXPECT_EQ(3, config.nFlushSeconds);
    }
    const LogConfig twice = ParseLogConfig("level = Error\nlevel = Debug\n");
    EXPECT_EQ(Level::Debug, twice.level);
    EXPECT_EQ(1u, twice.vecWarnings.size());
}

TEST(LogConfig, SaysLittleAboutAFileThatIsNone)
{
    std::string strGarbage;
    for (int n = 0; n < 60'000; ++n) strGarbage += static_cast<char>(n * 7919 % 251);
    const LogConfig config = ParseLogConfig(strGarbage);
    EXPECT_LE(config.vecWarnings.size(), 21u);
    for (const std::string& strWarning : config.vecWarnings) {
        EXPECT_LT(strWarning.size(), 200u);
        EXPECT_EQ(std::string::npos, strWarning.find('\n'));
    }
}

TEST(LogConfig, PutsTheFileBesideTheConfiguration)
{
    const bool bWindows = std::string(Host::GetPathSeparator()) == "\\";
    LogConfig config;
    config.strFile = "log/{service}-{logger}-{logger}.log";
    EXPECT_EQ("/srv/game/log/Velkar-Main-Main.log",
              GetLogPath(config, "/srv/game/log.conf", "Velkar", "Main"));
    EXPECT_EQ("log/Velkar-Main-Main.log", GetLogPath(config, "log.conf", "Velkar", "Main"));
    EXPECT_EQ("log/.._.._etc-a_b_c-a_b_c.log", GetLogPath(config, "log.conf", "../../etc", "a\\b:c"));
    config.strFile = "/var/log/velkar.log";
    EXPECT_EQ("/var/log/velkar.log", GetLogPath(config, "/srv/game/log.conf", "S", "L"));
    config.strFile = "D:\\logs\\velkar.log";
    EXPECT_EQ(bWindows ? "D:\\logs\\velkar.log" : "/srv/D:\\logs\\velkar.log",
              GetLogPath(config, "/srv/log.conf", "S", "L"));
    if (bWindows) {
        config.strFile = "logs\\a.log";
        EXPECT_EQ("C:\\game\\logs\\a.log", GetLogPath(config, "C:\\game\\log.conf", "S", "L"));
    }
    config.strFile = "{service}";
    EXPECT_EQ("", GetLogPath(config, "log.conf", "", "L"));
}

namespace {

std::string Format(const char* pszFormat, ...)
{
    std::va_list args;
    va_start(args, pszFormat);
    const std::string strResult = FormatText(pszFormat, args);
    va_end(args);
    return strResult;
}

}  // namespace

TEST(LogText, FormatsSixtyFourBitsInTheHouseManner)
{
    EXPECT_EQ("-9223372036854775808", Format("%I64d", LLONG_MIN));
    EXPECT_EQ("18446744073709551615", Format("%I64u", ULLONG_MAX));
    EXPECT_EQ("ffffffffffffffff", Format("%I64x", ULLONG_MAX));
    EXPECT_EQ("[42                  ][00042][+7]", Format("[%-20I64d][%05I64d][%+I64d]", 42LL, 42LL, 7LL));
    EXPECT_EQ("a -1 b 5000000000 c", Format("%s %d %s %I64d %c", "a", -1, "b", 5'000'000'000LL, 'c'));
    EXPECT_EQ("%I64d 100% 3", Format("%%I64d 100%% %I64d", 3LL));
    EXPECT_EQ("I64d", Format("I64d"));
    EXPECT_EQ("   1.50", Format("%*.*f", 7, 2, 1.5));
}

TEST(LogText, IsAsLongAsItTakes)
{
    for (const std::size_t nLength : {std::size_t{0}, std::size_t{1022}, std::size_t{1023}, std::size_t{1024},
                                      std::size_t{1025}, std::size_t{3'000'000}}) {
        const std::string strText(nLength, 'x');
        EXPECT_EQ(strText + "!", Format("%s!", strText.c_str()));
    }
}
