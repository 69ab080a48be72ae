// Files: encodings, sizes, things that are no files, and the report of a bad one.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>

#ifndef _WIN32
#include <sys/stat.h>
#endif

#include "config/proj/TarvoXmlParser/src/TarvoXmlParser.h"
#include "config/proj/TarvoXmlParser/src/xmlParser.h"
#include "tests/config/SettingsText.h"

using namespace Tarvo::XmlParser;

namespace {

std::string g_strReport;

class XmlFile : public testing::Test {
protected:
    void SetUp() override
    {
        g_strReport.clear();
        SetReportSink([](const char* pszTitle, const char* pszText) {
            g_strReport = std::string(pszTitle) + "|" + pszText;
        });
    }
    void TearDown() override
    {
        SetReportSink(nullptr);
        XMLNode::setGlobalOptions(char_encoding_UTF8);
    }
    int ErrorOf(const std::string& strPath)
    {
        XMLResults results;
        XMLNode::parseFile(strPath.c_str(), "TARVO", &results);
        return results.error;
    }
    std::string TextOf(const std::string& strBytes, bool bGuessWide = true)
    {
        m_file.Write(strBytes);
        XMLNode::setGlobalOptions(char_encoding_UTF8, bGuessWide);
        const XMLNode node = XMLNode::openFileHelper(m_file.Path().c_str(), "TARVO", false);
        return node.getText() == nullptr ? "(none)" : node.getText();
    }
    static int Guess(const std::string& strText, bool bAttribute = true)
    {
        return XMLNode::guessCharEncoding(strText.data(), static_cast<int>(strText.size()), bAttribute);
    }

    Settings::File m_file;
};

std::string Utf16(const std::string& strAscii)
{
    std::string out = "\xFF\xFE";
    for (const char c : strAscii)
        out += {c, '\0'};
    return out;
}

TEST_F(XmlFile, Encodings)
{
    const std::string strLong = "<TARVO name='long enough to be guessed'>";
    EXPECT_EQ(TextOf("\xEF\xBB\xBF" + strLong + "\xC3\xA4</TARVO>"), "\xC3\xA4");
    EXPECT_EQ(TextOf(Utf16(strLong + "wide</TARVO>")), "wide");
    EXPECT_EQ(TextOf(Utf16("<TARVO>") + std::string("\xAC\x20\x24\x26", 4) + Utf16("</TARVO>").substr(2)),
              "\xE2\x82\xAC\xE2\x98\xA4")
        << "UTF-16 becomes UTF-8";
    // In a single-byte file 0xE4 is a letter; as the first byte of three it would swallow the tag.
    const std::string strLatin = strLong + "\xE4</TARVO>";
    EXPECT_EQ(TextOf("<?xml version='1.0' encoding='iso-8859-1'?>" + strLatin), "\xE4");
    EXPECT_EQ(TextOf(strLatin), "\xE4");
    EXPECT_EQ(TextOf("<?xml version='1.0' encoding='sjis'?>" + strLong + "\x83<</TARVO>"), "\x83<");
    EXPECT_EQ(TextOf("\xEF\xBB\xBF<TARVO>x</TARVO>", false), "x") << "the mark is text in front";
}

TEST_F(XmlFile, GuessedEncodings)
{
    const std::string strPadding(30, ' ');
    const std::pair<std::string, int> kTable[] = {
        {std::string(24, 'a'), 0},  // too short to tell
        {std::string(25, 'a'), 1},
        {"\xEF\xBB\xBF" + strPadding + "\xE4 ", 1},
        {strPadding + "\xE4 x", 2},
        {strPadding + "\xE4\xB8", 1},                            // cut at the end of the buffer
        {"<?xml encoding='utf-8'?>" + strPadding + "\xE4 ", 0},  // says one thing and is another
        {std::string(200, ' ') + "encoding='gbk'", 1},           // too far behind
        {Utf16(strPadding), 0},                                  // no matter for bytes
    };
    for (const auto& [strText, nEncoding] : kTable)
        EXPECT_EQ(Guess(strText), nEncoding) << strText;
    const std::pair<const char*, int> kNamed[] = {
        {"encoding=\"UTF-8\"", 1},    {"encoding = ' utf8'", 1},
        {"encoding='ShiftJIS'", 3},   {"encoding='shift-jis'", 3},
        {"encoding='SJIS'", 3},       {"encoding='gb2312'", 4},
        {"encoding='BIG5-HKSCS'", 5}, {"encoding='gbk'", 6},
        {"encoding='latin1'", 2},     {"encoding='", 2},
        {"encoding=utf-8", 1},        {"encoding 'gbk'", 1},
        {"Encoding='gbk'", 1},        {"encoding", 1},
    };
    for (const auto& [pszText, nEncoding] : kNamed) {
        EXPECT_EQ(Guess(strPadding + pszText), nEncoding) << pszText;
        EXPECT_EQ(Guess(strPadding + pszText, false), 1) << pszText;
    }
    XMLNode::setGlobalOptions(char_encoding_UTF8, false);
    EXPECT_EQ(Guess(strPadding + std::string(1, '\0') + "\xE4 x"), 1) << "a zero byte ends the look";
    EXPECT_EQ(XMLNode::guessCharEncoding(nullptr, 100), 0);
    EXPECT_EQ(XMLNode::guessCharEncoding("", -1), 0);
}

TEST_F(XmlFile, ShortFilesUseTheEncodingInForce)
{
    const auto isRead = [this](const char* pszText) {
        m_file.Write(pszText);
        return !XMLNode::openFileHelper(m_file.Path().c_str(), "TARVO", false).isEmpty();
    };
    XMLNode::setGlobalOptions(char_encoding_ShiftJIS);
    EXPECT_TRUE(isRead("<TARVO>\x83<</TARVO>"));
    XMLNode::setGlobalOptions(char_encoding_legacy);
    EXPECT_FALSE(isRead("<TARVO>\x83<</TARVO>"));
    EXPECT_TRUE(isRead("<?xml version='1.0' encoding='sjis'?><TARVO/>"));
    EXPECT_TRUE(isRead("<TARVO>\x83<</TARVO>")) << "what a file has stays in force";
}

TEST_F(XmlFile, WhatIsNoReadableFile)
{
    EXPECT_EQ(ErrorOf(m_file.Path()), 10);
    EXPECT_EQ(ErrorOf(""), 10);
    EXPECT_EQ(ErrorOf(Host::GetExecutableDirectory()), 10);
    EXPECT_TRUE(XMLNode::parseFile(nullptr).isEmpty());
#ifdef _WIN32
    EXPECT_EQ(ErrorOf("CON"), 10);
#else
    ASSERT_EQ(mkfifo(m_file.Path().c_str(), 0600), 0);
    EXPECT_EQ(ErrorOf(m_file.Path()), 10) << "nobody ever writes to that pipe";
    std::filesystem::remove(m_file.Path());
    EXPECT_EQ(ErrorOf("/dev/zero"), 10);
#endif
    m_file.Write("");
    EXPECT_EQ(ErrorOf(m_file.Path()), 3);
    const std::string strDocument = "<TARVO/>";
    m_file.Write(strDocument);
    std::filesystem::resize_file(m_file.Path(), kMaxFileSize);
    EXPECT_EQ(ErrorOf(m_file.Path()), 0) << "the zeroes behind the text end it";
    std::filesystem::resize_file(m_file.Path(), kMaxFileSize + 1);
    EXPECT_EQ(ErrorOf(m_file.Path()), 10);
}

TEST_F(XmlFile, ReportOfABadFile)
{
    const auto report = [this](const char* pszText) {
        g_strReport.clear();
        m_file.Write(pszText);
        const std::unique_ptr<IXmlParser> p(OpenXmlFile(m_file.Path().c_str(), "TARVO", false));
        return g_strReport;
    };
    const std::string strHead = "XML Parsing error|XML Parsing error inside file '" + m_file.Path() + "'.\n";
    EXPECT_EQ(report("<TARVO/>"), "");
    EXPECT_EQ(report("<TARVO>\n <a></b>"), strHead + "Error: Unmatched end tag\nAt line 2, column 5.\n");
    EXPECT_EQ(report("<TARVO>"), strHead + "Warning: Unmatched end tag\nAt line 1, column 8.\n");
    EXPECT_EQ(report("<OTHER/>"),
              strHead + "Error: First Tag not found\nAt line 0, column 0.\nFirst Tag should be 'TARVO'.\n");
    EXPECT_EQ(report(""), strHead + "Error: No XML data\nAt line 0, column 0.\n");
    std::filesystem::resize_file(m_file.Path(), kMaxFileSize + 1);
    EXPECT_EQ(OpenXmlFile(m_file.Path().c_str(), "TARVO", false), nullptr);
    EXPECT_EQ(g_strReport,
              strHead + "Error: File not found\nAt line 0, column 0.\nThe file is larger than 64 MiB.\n");
}

}  // namespace
