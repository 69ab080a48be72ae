// What the parser makes of a text: faults and their places, entities, quotes, declarations, clear sections,
// unwinding end tags.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

#include "config/proj/TarvoXmlParser/src/xmlParser.h"

using namespace Tarvo::XmlParser;

namespace {

// Puts the process-wide options back.
class Xml : public testing::Test {
protected:
    void TearDown() override { XMLNode::setGlobalOptions(char_encoding_UTF8); }
    static XMLNode Parse(const std::string& strXml, const char* pszTag = nullptr)
    {
        return XMLNode::parseString(strXml.c_str(), pszTag);
    }
    static std::string Written(const XMLNode& node, int nFormat = 0)
    {
        int nSize = -1;
        const std::unique_ptr<char[]> text(node.createXMLString(nFormat, &nSize));
        EXPECT_EQ(std::strlen(text.get()), static_cast<std::size_t>(nSize));
        return text.get();
    }
};

TEST_F(Xml, EveryFaultHasItsCodeAndPlace)
{
    const struct {
        const char* pszXml;
        const char* pszTag;
        int nError, nLine, nColumn;
    } kTable[] = {
        {"<a>x</a>", "a", 0, 1, 9},
        {"<a><b></a>", "a", 1, 1, 7},             // an enclosing element's end tag comes first
        {"<a>\n<b></b>\n ", "a", 1, 3, 2},        // the input ends
        {"<a>\n<b></a>\n<c>", nullptr, 1, 2, 4},  // both: the first place counts
        {"<a/></b>", nullptr, 1, 1, 5},           // outside every element
        {"<a></b>", nullptr, 6, 1, 4},            // fits nothing that is open
        {"<a><b></c></a>", nullptr, 6, 1, 7},     // the same two levels down
        {"no element", nullptr, 2, 1, 11},
        {"", nullptr, 2, 1, 1},
        {"&foo;", nullptr, 2, 1, 1},  // no element wins over the fault
        {"<a/><=>", nullptr, 4, 1, 6},
        {"<a/>< \"b\">", nullptr, 4, 1, 7},
        {"<a></>", nullptr, 5, 1, 6},
        {"<a></a b>", nullptr, 5, 1, 8},
        {"<a>\n<!-- open</a>", nullptr, 7, 2, 1},
        {"<a><![CDATA[x]></a>", nullptr, 7, 1, 4},
        {"<a/><!DOCTYPE a [ <!ENTITY b> ", nullptr, 7, 1, 5},
        {"<a =\"b\"/>", nullptr, 8, 1, 4},
        {"<a \"b\"/>", nullptr, 8, 1, 4},
        {"<a b \"c\"/>", nullptr, 8, 1, 6},
        {"<a b=/>", nullptr, 8, 1, 6},
        {"<a b==c/>", nullptr, 8, 1, 6},
        {"<a <b/></a>", nullptr, 8, 1, 4},
        {"<a <!-- c --> b=\"c\"/>", nullptr, 8, 1, 4},
        {"<a/>", "b", 11, 0, 0},
        {"no element", "a", 11, 0, 0},
        {"<a>x &foo; y</a>", nullptr, 12, 1, 6},
        {"<a b=\"1\" c=\"&foo;\"/>", nullptr, 12, 1, 13},
        {"<a>&#65</a>", nullptr, 12, 1, 4},
        {"<a>&#;</a>", nullptr, 12, 1, 4},
        {"<a>&#x4G;</a>", nullptr, 12, 1, 4},
        {"<a>&#6A;</a>", nullptr, 12, 1, 4},
        {"<a>&#0;</a>", nullptr, 12, 1, 4},  // would end the text for its readers
        {"<a>\xC3\xA9&#300;</a>", nullptr, 13, 1, 5},
        {"<a>&#x100;</a>", nullptr, 13, 1, 4},
        {"<a>&#99999999999999999999;</a>", nullptr, 13, 1, 4},
        {"<a>&#300; &foo;</a>", nullptr, 12, 1, 11},
    };
    for (const auto& row : kTable) {
        SCOPED_TRACE(row.pszXml);
        XMLResults results;
        const XMLNode node = XMLNode::parseString(row.pszXml, row.pszTag, &results);
        EXPECT_EQ(results.error, row.nError);
        EXPECT_EQ(results.nLine, row.nLine);
        EXPECT_EQ(results.nColumn, row.nColumn);
        EXPECT_EQ(node.isEmpty(), row.nError > 2) << "only warnings return the tree";
    }
    XMLResults results;
    EXPECT_TRUE(XMLNode::parseString(nullptr, "a", &results).isEmpty());
    EXPECT_EQ(results.error, 9);
    EXPECT_EQ(results.nLine, 0);
}

TEST_F(Xml, ErrorTexts)
{
    EXPECT_STREQ(XMLNode::getError(0), "No error");
    EXPECT_STREQ(XMLNode::getError(1), "Warning: Unmatched end tag");
    EXPECT_STREQ(XMLNode::getError(6), "Error: Unmatched end tag");
    EXPECT_STREQ(XMLNode::getError(13),
                 "Error: Character code above 255 is forbidden in MultiByte char mode.");
    EXPECT_STREQ(XMLNode::getError(20), "Error: Base64 decode output buffer is too small");
    EXPECT_STREQ(XMLNode::getError(21), "Unknown");
    EXPECT_STREQ(XMLNode::getError(-1), "Unknown");
    EXPECT_STREQ(XMLNode::getVersion(), "v2.41");
}

TEST_F(Xml, TextsAttributesAndClearSections)
{
    const struct {
        char cKind;  // t the text, b the attribute b, c the first clear section of the first element
        const char* pszXml;
        const char* pszValue;
    } kTable[] = {
        {'t', "<a>&amp;&lt;&gt;&quot;&apos;</a>", "&<>\"'"},
        {'t', "<a>&AMP;&Lt;</a>", "&<"},
        {'t', "<a>&#x41;&#X4a;&#65;&#0000065;&#255;</a>", "AJAA\xFF"},
        {'t', "<a>&amp;lt;</a>", "&lt;"},  // decoded once
        {'t', "<a>\"tis <!---->'t was</a>", "\"tis't was"},
        {'t', "<a> \t\r\n x  y \n</a>", "x  y"},
        {'t', "<a> \n </a>", nullptr},
        {'t', "<a>x = \"y\" > z/></a>", "x = \"y\" > z/>"},
        {'b', "<a b='&quot;&#10;'/>", "\"\n"},
        {'b', "<a b='it \"is\" > /> fine' c=\"\"/>", "it \"is\" > /> fine"},
        {'b', "<a B = plain\n c b=\"second\"/>", "plain"},
        {'b', "<a c=\"\" b=\"\"/>", ""},
        {'b', "<a b c=5/>", nullptr},
        {'b', "<a c b=5/>", "5"},
        {'b', "<a b=c/d></a>", "c/d"},
        {'b', "<a b='x ><c d='y'/></a>", "'x"},  // not closed before the next tag: text
        {'b', "<?xml b=1.0?><a/>", "1.0"},
        {'c', "<a><![CDATA[&amp;<b>]]></a>", "&amp;<b>"},
        {'c', "<a><![CDATA[x]]]></a>", "x]"},
        {'c', "<a><PRE><b></PRE><pre/></a>", "<b>"},
        {'c', "<a><pre></pre></a>", nullptr},  // openings have one case
    };
    for (const auto& row : kTable) {
        const XMLNode node = Parse(row.pszXml);
        const XMLClear* const pClear = node.getClear();
        const char* const pszValue = row.cKind == 't'   ? node.getText()
                                     : row.cKind == 'b' ? node.getAttribute("b")
                                     : pClear           ? pClear->value.get()
                                                        : nullptr;
        EXPECT_STREQ(pszValue, row.pszValue) << row.pszXml;
    }
    const XMLNode twice = Parse("<a b='1' c B='2'></a>");
    EXPECT_STREQ(twice.getAttribute("b", 1), "2");
    EXPECT_EQ(twice.getAttribute("b", 2), nullptr);
}

// What a text is when it has been read and written again, and what that text is after the same.
TEST_F(Xml, WhatIsKept)
{
    const struct {
        const char *pszXml, *pszWritten;
    } kTable[] = {
        {"<a b=\"&quot;&lt;&amp;&gt;&apos;\" c d=\"\">x &amp; &lt;y&gt;</a>", nullptr},
        {"<?xml version=\"1.0\"?><a><?pi x=\"1?\"?><b/></a>", nullptr},
        {"<a b?></a>", "<a b?/>"},  // only in a declaration it is its end
        {"<a><![CDATA[<&]]><b/><b><PRE> <x> </PRE></b></a>", nullptr},
        {"<!DOCTYPE a [ <!ENTITY b \"c>\"> ]><!DOCTYPE d><a/>", nullptr},
        // A comment joins the texts around it; two of them, and other sections, stay where they are.
        {"<a>one <!-- 1 --> two<!-- 2 -->three<b/>four</a>", "<a>onetwothree<b/>four</a>"},
        {"<a>one<!--1--><!--2-->two<![CDATA[3]]>three</a>", nullptr},
        {"<a b='1' c B='2'><d e='x ><f/></a>", "<a b=\"1\" c B=\"2\"><d e=\"&apos;x\"><f/></d></a>"},
        {"<a><b><c><d></b><e/></a>", "<a><b><c><d/></c></b><e/></a>"},  // an end tag ends all within
        {"<Tag></tAG>", "<Tag/>"},
    };
    for (const auto& row : kTable) {
        const std::string strWritten = row.pszWritten == nullptr ? row.pszXml : row.pszWritten;
        EXPECT_EQ(Written(Parse(row.pszXml)), strWritten);
        EXPECT_EQ(Written(Parse(strWritten)), strWritten);
        EXPECT_EQ(Written(Parse(Written(Parse(row.pszXml), 1))), strWritten) << "by way of indented text";
    }
    EXPECT_EQ(Written(Parse("<a><b>x</b><c><d/></c></a>"), 1),
              "<a>\n\t<b>x</b>\n\t<c>\n\t\t<d/>\n\t</c>\n</a>");

    XMLNode::setGlobalOptions(char_encoding_UTF8, true, false, false);
    EXPECT_EQ(Parse("<a>one<!-- 1 -->two</a>").nText(), 2);
    XMLNode::setGlobalOptions(char_encoding_UTF8, true, false, true);
    EXPECT_STREQ(Parse("<a> x </a>").getText(), " x ");
    EXPECT_STREQ(Parse("<a> </a>").getText(), " ");
    EXPECT_EQ(Parse("<a></a>").nText(), 0);
}

TEST_F(Xml, WhatStandsBesideTheElement)
{
    const char* const pszDeclared =
        "<?xml version=\"1.0\" encoding='utf-8' ?>\n<!-- c -->\n<TARVO><m/></TARVO>\n";
    for (const char* pszXml :
         {pszDeclared, "<?xml version=1.0?><TARVO><m/></TARVO>", "<?xml version='1.0'/><TARVO><m/></TARVO>",
          "<!-- c --><?xml version='1.0'?><TARVO><m/></TARVO>", "<?xml?><?style a='b'?><tarvo><m/></tarvo>",
          "text <TARVO><m/></TARVO>", "<TARVO><m/></TARVO></b><c/>"}) {
        EXPECT_EQ(Parse(pszXml, "TARVO").nChildNode(), 1) << pszXml;
    }
    const XMLNode node = Parse(pszDeclared);
    EXPECT_TRUE(node.isDeclaration());
    EXPECT_STREQ(node.getAttribute("version"), "1.0");
    EXPECT_EQ(node.nAttribute(), 2) << "the question mark is no attribute";
}

TEST_F(Xml, CharactersOfSeveralBytes)
{
    // The second byte 0x5D looks like a bracket.
    const std::string strClear = "<a><![CDATA[\x83]]>x]]></a>";
    XMLNode::setGlobalOptions(char_encoding_ShiftJIS);
    EXPECT_STREQ(Parse(strClear).getClear()->value.get(), "\x83]]>x");
    XMLNode::setGlobalOptions(char_encoding_legacy);
    EXPECT_STREQ(Parse(strClear).getClear()->value.get(), "\x83");
    // Neither is the second byte of such a character a quote or an ampersand.
    XMLNode::setGlobalOptions(char_encoding_Big5);
    EXPECT_STREQ(Parse("<a b=\"\x81\"\x81&\"/>").getAttribute("b"), "\x81\"\x81&");
    // An unknown encoding, and 0, are not taken over.
    XMLNode::setGlobalOptions(7);
    XMLNode::setGlobalOptions(char_encoding_error);
    EXPECT_STREQ(Parse("<a b=\"\x81\"\x81&\"/>").getAttribute("b"), "\x81\"\x81&");

    XMLNode::setGlobalOptions(char_encoding_UTF8);
    XMLResults results;
    XMLNode::parseString("<a>\n\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80&foo;</a>", nullptr, &results);
    EXPECT_EQ(results.nLine, 2);
    EXPECT_EQ(results.nColumn, 4) << "columns are characters";
    for (const char* pszCut :
         {"<a>\xC3", "<a>\xE2\x82", "<a b=\"\xF0", "\xE2", "<a><!--\xF0\x9F", "<a>&#\xE2"})
        Parse(pszCut);  // nothing behind the text is read
}

}  // namespace
