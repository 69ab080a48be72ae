// The configuration file of a log and the texts of its lines, without a log.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdarg>
#include <sstream>
#include <string>

#include "platform/Host.h"
#include "platform/common/LogConfig.h"
#include "platform/common/LogText.h"

using namespace Logova;

namespace {

// "Info log/x.log 16777216 10 Error 3", then the warnings.
std::string Told(const std::string& strText)
{
    const LogConfig config = ParseLogConfig(strText);
    std::ostringstream out;
    out << GetLevelName(config.level) << ' ' << config.strFile << ' ' << config.nMaxSize << ' '
        << config.nMaxFiles << ' ' << GetLevelName(config.flushLevel) << ' ' << config.nFlushSeconds;
    for (const std::string& strWarning : config.vecWarnings)
        out << '|' << strWarning;
    return out.str();
}

}  // namespace

TEST(LogConfig, TakesEveryKeyAndNamesTheLineOfEveryMistake)
{
    const std::string strDefault = "Info log/{service}.{logger}.log 16777216 10 Error 3";
    const struct {
        const char* pszText;
        std::string strTold;
        const char* pszWarning;  // the beginning of the only one
    } kTable[] = {
        {"", strDefault, nullptr},
        {"\n# nothing but a comment\n", strDefault, nullptr},
        {"\xEF\xBB\xBF\r\n  \t\r\n", strDefault, nullptr},
        {"\xEF\xBB\xBF# the game's log\r\nlevel=debug\r\n  file  =  my logs/#1.log   # behind a blank\r\n"
         "max_size = 512k\r\nmax_files = 3\r\nflush = Warning , 60",
         "Debug my logs/#1.log 524288 3 Warning 60", nullptr},
        {"file=f\nflush = 7", "Info f 16777216 10 Error 7", nullptr},
        {"file=f\nflush = TRACE", "Info f 16777216 10 Trace 3", nullptr},
        {"file=f\nmax_size = 2048", "Info f 2048 10 Error 3", nullptr},
        {"file=f\nmax_size = 1G", "Info f 1073741824 10 Error 3", nullptr},
        {"file=f\nlevel = Error\nlevel = Debug", "Debug f 16777216 10 Error 3", "line 3: level is set again"},
        {"\ncolour = red", strDefault, "line 2: the key \"colour\" is unknown"},
        {"Level = Info", strDefault, "line 1: the key \"Level\" is unknown"},
        {"just words", strDefault, "line 1: \"just words\" is not of the form key = value"},
        {"level = Verbose", strDefault, "line 1: level takes"},
        {"level =", strDefault, "line 1: level takes"},
        {"file =", strDefault, "line 1: file takes"},
        {"max_size = 1023", strDefault, "line 1: max_size takes a size from 1K to 1G, not \"1023\""},
        {"max_size = 2G", strDefault, "line 1: max_size takes"},
        {"max_size = 99999999999999999999", strDefault, "line 1: max_size takes"},
        {"max_size = -1M", strDefault, "line 1: max_size takes"},
        {"max_size = M", strDefault, "line 1: max_size takes"},
        {"max_files = 0", strDefault, "line 1: max_files takes"},
        {"max_files = 4x", strDefault, "line 1: max_files takes"},
        {"flush = 0", strDefault, "line 1: flush takes"},
        {"flush = Error 5", strDefault, "line 1: flush takes"},
        {"flush = Error, 5, 6", strDefault, "line 1: flush takes"},
    };
    for (const auto& row : kTable) {
        const std::string strTold = Told(row.pszText);
        const std::string strExpected =
            row.strTold + (row.pszWarning != nullptr ? std::string("|") + row.pszWarning : "");
        EXPECT_EQ(strExpected, strTold.substr(0, strExpected.size())) << row.pszText;
        EXPECT_EQ(row.pszWarning != nullptr ? 1 : 0, std::count(strTold.begin(), strTold.end(), '|'))
            << strTold;
    }
}

TEST(LogConfig, SaysLittleAboutAFileThatIsNone)
{
    std::string strGarbage;
    for (int n = 0; n < 60'000; ++n)
        strGarbage += static_cast<char>(n * 7919 % 251);
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
    for (const std::size_t nLength : {0u, 1022u, 1023u, 1024u, 1025u, 3'000'000u}) {
        const std::string strText(nLength, 'x');
        EXPECT_EQ(strText + "!", Format("%s!", strText.c_str()));
    }
}
