// Files: encodings, sizes, things that are no files, and the report of a bad one.
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

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
    static int ErrorOf(const std::string& strPath)
    {
        XMLResults results;
        XMLNode::parseFile(strPath.c_str(), "TARVO", &results);
        return results.error;
    }
    // Of a file with those bytes, in the encoding in force.
    std::string TextOf(const std::string& strBytes)
    {
        m_file.Write(strBytes);
        const XMLNode node = XMLNode::openFileHelper(m_file.Path().c_str(), "TARVO", false);
        return node.getText() == nullptr ? "(none)" : node.getText();
    }
    static int Guess(const std::string& strText, bool bAttribute = true)
    {
        return XMLNode::guessCharEncoding(strText.data(), static_cast<int>(strText.size()), bAttribute);
    }

    SettingsText::File m_file;
};

std::string Utf16(const std::string& strAscii)
{
    std::string out = "\xFF\xFE";
    for (const char c : strAscii)
        out += {c, '\0'};
    return out;
}

// In a single-byte file 0xE4 is a letter; as the first byte of three it would swallow the tag.
TEST_F(XmlFile, Encodings)
{
    const std::string strLong = "<TARVO name='long enough to be guessed'>",
                      strLatin = strLong + "\xE4</TARVO>";
    const std::pair<std::string, const char*> kTable[] = {
        {"\xEF\xBB\xBF" + strLong + "\xC3\xA4</TARVO>", "\xC3\xA4"},
        {Utf16(strLong + "wide</TARVO>"), "wide"},
        {Utf16("<TARVO>") + "\xAC\x20\x24\x26" + Utf16("</TARVO>").substr(2), "\xE2\x82\xAC\xE2\x98\xA4"},
        {"<?xml version='1.0' encoding='iso-8859-1'?>" + strLatin, "\xE4"},
        {strLatin, "\xE4"},
        {"<?xml version='1.0' encoding='sjis'?>" + strLong + "\x83<</TARVO>", "\x83<"}};
    for (const auto& [strBytes, pszText] : kTable) {
        XMLNode::setGlobalOptions(char_encoding_UTF8);
        EXPECT_EQ(TextOf(strBytes), pszText);
    }
    XMLNode::setGlobalOptions(char_encoding_UTF8, false);
    EXPECT_EQ(TextOf("\xEF\xBB\xBF<TARVO>x</TARVO>"), "x") << "the mark is text in front";

    // A file that is too short to be guessed is read in the encoding in force.
    const std::string strShort = "<TARVO>\x83<</TARVO>";
    XMLNode::setGlobalOptions(char_encoding_ShiftJIS);
    EXPECT_EQ(TextOf(strShort), "\x83<");
    XMLNode::setGlobalOptions(char_encoding_legacy);
    EXPECT_EQ(TextOf(strShort), "(none)");
    EXPECT_EQ(TextOf("<?xml version='1.0' encoding='sjis'?><TARVO>x</TARVO>"), "x");
    EXPECT_EQ(TextOf(strShort), "\x83<") << "the encoding that a file names stays in force";
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
        {Utf16(strPadding), 0}};                                 // no matter for bytes
    for (const auto& [strText, nEncoding] : kTable)
        EXPECT_EQ(Guess(strText), nEncoding) << strText;
    const std::pair<int, std::vector<const char*>> kNamed[] = {
        {1, {"encoding=\"UTF-8\"", "encoding = ' utf8'", "encoding=utf-8", "Encoding='gbk'", "encoding"}},
        {2, {"encoding='latin1'", "encoding='"}},
        {3, {"encoding='ShiftJIS'", "encoding='shift-jis'", "encoding='SJIS'"}},
        {4, {"encoding='gb2312'"}},
        {5, {"encoding='BIG5-HKSCS'"}},
        {6, {"encoding='gbk'"}}};
    for (const auto& [nEncoding, vecTexts] : kNamed)
        for (const char* pszText : vecTexts) {
            EXPECT_EQ(Guess(strPadding + pszText), nEncoding) << pszText;
            EXPECT_EQ(Guess(strPadding + pszText, false), 1) << pszText;
        }
    XMLNode::setGlobalOptions(char_encoding_UTF8, false);
    EXPECT_EQ(Guess(strPadding + std::string(1, '\0') + "\xE4 x"), 1) << "a zero byte ends the look";
    EXPECT_EQ(XMLNode::guessCharEncoding(nullptr, 100) + XMLNode::guessCharEncoding("", -1), 0);
}

TEST_F(XmlFile, WhatIsNoReadableFile)
{
    for (const std::string& strPath : {m_file.Path(), std::string(), Host::GetExecutableDirectory()})
        EXPECT_EQ(ErrorOf(strPath), 10) << strPath;
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
    m_file.Write("<TARVO/>");
    std::filesystem::resize_file(m_file.Path(), kMaxFileSize);
    EXPECT_EQ(ErrorOf(m_file.Path()), 0) << "the zeroes behind the text end it";
    std::filesystem::resize_file(m_file.Path(), kMaxFileSize + 1);
    EXPECT_EQ(ErrorOf(m_file.Path()), 10);
}

TEST_F(XmlFile, ReportOfABadFile)
{
    const std::string strHead = "XML Parsing error|XML Parsing error inside file '" + m_file.Path() + "'.\n";
    const std::pair<std::string, std::string> kTable[] = {
        {"<TARVO>\n <a></b>", "Error: Unmatched end tag\nAt line 2, column 5.\n"},
        {"<TARVO>", "Warning: Unmatched end tag\nAt line 1, column 8.\n"},
        {"<OTHER/>", "Error: First Tag not found\nAt line 0, column 0.\nFirst Tag should be 'TARVO'.\n"},
        {"", "Error: No XML data\nAt line 0, column 0.\n"}};
    EXPECT_EQ(TextOf("<TARVO>x</TARVO>") + g_strReport, "x");
    for (const auto& [strText, strReport] : kTable) {
        TextOf(strText);
        EXPECT_EQ(g_strReport, strHead + strReport);
    }
    std::filesystem::resize_file(m_file.Path(), kMaxFileSize + 1);
    EXPECT_EQ(OpenXmlFile(m_file.Path().c_str(), "TARVO", false), nullptr);
    EXPECT_EQ(g_strReport,
              strHead + "Error: File not found\nAt line 0, column 0.\nThe file is larger than 64 MiB.\n");
}

}  // namespace
