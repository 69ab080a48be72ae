// The configuration file of a log and the texts of its lines, without a log.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdarg>
#include <regex>
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
    const std::pair<const char*, std::string> kTable[] = {
        {"", strDefault},
        {"\n# nothing but a comment\n", strDefault},
        {"\xEF\xBB\xBF\r\n  \t\r\n", strDefault},
        {"\xEF\xBB\xBF# the game's log\r\nlevel=debug\r\n  file  =  my logs/#1.log   # behind a blank\r\n"
         "max_size = 512k\r\nmax_files = 3\r\nflush = Warning , 60",
         "Debug my logs/#1.log 524288 3 Warning 60"},
        {"file=f\nflush = 7", "Info f 16777216 10 Error 7"},
        {"file=f\nflush = TRACE\nmax_size = 2048", "Info f 2048 10 Trace 3"},
        {"file=f\nmax_size = 1G", "Info f 1073741824 10 Error 3"},
        {"file=f\nlevel = Error\nlevel = Debug", "Debug f 16777216 10 Error 3|line 3: level is set again"},
        {"\ncolour = red", strDefault + "|line 2: the key \"colour\" is unknown"},
        {"Level = Info", strDefault + "|line 1: the key \"Level\" is unknown"},
        {"just words", strDefault + "|line 1: \"just words\" is not of the form key = value"},
        {"max_size = 1023", strDefault + "|line 1: max_size takes a size from 1K to 1G, not \"1023\""}};
    const auto expect = [](const char* pszText, const std::string& strExpected) {
        const std::string strTold = Told(pszText);
        EXPECT_EQ(strExpected, strTold.substr(0, strExpected.size())) << pszText;
        EXPECT_EQ(std::count(strExpected.begin(), strExpected.end(), '|'),
                  std::count(strTold.begin(), strTold.end(), '|'))
            << strTold;
    };
    for (const auto& [pszText, strExpected] : kTable)
        expect(pszText, strExpected);
    for (const char* pszRefused :
         {"level = Verbose", "level =", "file =", "max_size = 2G", "max_size = 99999999999999999999",
          "max_size = -1M", "max_size = M", "max_files = 0", "max_files = 4x", "flush = 0", "flush = Error 5",
          "flush = Error, 5, 6", "slow = 0", "slow = 5001", "status_file =", "status_every = 3601"}) {
        const std::string strText = pszRefused;
        expect(pszRefused, strDefault + "|line 1: " + strText.substr(0, strText.find(' ')) + " takes");
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
    const auto path = [](const char* pszFile, const char* pszConfig, const char* pszService = "Velkar",
                         const char* pszLogger = "Main") {
        return GetLogPath(pszFile, pszConfig, pszService, pszLogger);
    };
    const char* const pszBoth = "log/{service}-{logger}-{logger}.log";
    EXPECT_EQ("/srv/game/log/Velkar-Main-Main.log", path(pszBoth, "/srv/game/log.conf"));
    EXPECT_EQ("log/Velkar-Main-Main.log", path(pszBoth, "log.conf"));
    EXPECT_EQ("log/.._.._etc-a_b_c-a_b_c.log", path(pszBoth, "log.conf", "../../etc", "a\\b:c"));
    EXPECT_EQ("/var/log/velkar.log", path("/var/log/velkar.log", "/srv/game/log.conf"));
    EXPECT_EQ(bWindows ? "D:\\logs\\velkar.log" : "/srv/D:\\logs\\velkar.log",
              path("D:\\logs\\velkar.log", "/srv/log.conf"));
    if (bWindows) {
        EXPECT_EQ("C:\\game\\logs\\a.log", path("logs\\a.log", "C:\\game\\log.conf"));
    }
    EXPECT_EQ("", path("{service}", "log.conf", ""));
    EXPECT_TRUE(
        std::regex_match(path("{service}.{pid}.log", "log.conf"), std::regex("Velkar\\.[0-9]+\\.log")));
}

namespace {

std::string Format(const char* pszFormat, ...)
{
    std::va_list args;
    va_start(args, pszFormat);
    char szShort[kShortText];
    std::string strLong;
    const std::string strResult(FormatText(pszFormat, args, szShort, strLong));
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
    EXPECT_EQ("-2147483648 4294967295 (null)",
              Format("%d %u %s", INT_MIN, UINT_MAX, static_cast<char*>(nullptr)));
    EXPECT_EQ("I64d", Format("I64d"));
    EXPECT_EQ("   1.50", Format("%*.*f", 7, 2, 1.5));
    int nLeft = 7;
    EXPECT_EQ("5 -6 ff -1 1.5 a\\n 7", Format("%zu %ld %hhx %lld %Lg %s%n %d", sizeof("four"), -6L, 0x1FF,
                                              -1LL, 1.5L, "a\n", &nLeft, 7));
    EXPECT_EQ(7, nLeft) << "nothing is stored";
    EXPECT_EQ("1 %y %s", Format("%d %y %s", 1, "text"));
    EXPECT_TRUE(Format("%p %s", static_cast<void*>(&nLeft), "b\n").ends_with(" b\\n"));
}

TEST(LogText, NoArgumentForgesALine)
{
    EXPECT_EQ("User:\r\n\ta\\r\\nb\\tc\\x1B[1m\\x7F \xC3\xA9",
              Format("User:\r\n\t%s", "a\r\nb\tc\x1B[1m\x7F \xC3\xA9"));
    EXPECT_EQ("\\n|a\\n |  \\n|b|07", Format("%c|%-4s|%*.1s|%.1s|%02d", '\n', "a\n", 4, "\nb", "b\n", 7));
    const std::string strLong(2000, 'x');
    EXPECT_EQ(strLong + "\\n!\n", Format("%s!\n", (strLong + "\n").c_str())) << "beside the short buffer";
}

TEST(LogText, IsAsLongAsItTakes)
{
    for (const std::size_t nLength : {0u, 1022u, 1023u, 1024u, 1025u, 3'000'000u}) {
        const std::string strText(nLength, 'x');
        EXPECT_EQ(strText + "!", Format("%s!", strText.c_str()));
    }
}
