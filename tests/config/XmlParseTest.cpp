// What the parser makes of a text: faults and their places, entities, quotes, declarations, clear sections,
// unwinding end tags.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "config/proj/TarvoXmlParser/src/xmlParser.h"

using namespace Tarvo::XmlParser;

namespace {

// Puts the process-wide options back.
class Xml : public testing::Test {
protected:
    void TearDown() override { XMLNode::setGlobalOptions(char_encoding_UTF8); }
    static XMLNode Parse(const std::string& strXml) { return XMLNode::parseString(strXml.c_str()); }
    // "8 2:4" for fault 8 in line 2, column 4.
    static std::string Fault(const char* pszXml, const char* pszTag = nullptr)
    {
        XMLResults results;
        const XMLNode node = XMLNode::parseString(pszXml, pszTag, &results);
        EXPECT_EQ(node.isEmpty(), results.error > 2) << "only warnings return the tree";
        return std::to_string(results.error) + " " + std::to_string(results.nLine) + ":" +
               std::to_string(results.nColumn);
    }
    // Of the first element: its clear section, or else its attribute b, or else its text.
    static std::string Value(const std::string& strXml)
    {
        const XMLNode node = Parse(strXml);
        if (const XMLClear* const pClear = node.getClear())
            return pClear->value;
        const char* const pszB = node.getAttribute("b");
        const char* const pszValue = pszB != nullptr ? pszB : node.getText();
        return pszValue != nullptr ? pszValue : "(none)";
    }
    static std::string Written(const std::string& strXml, int nFormat = 0)
    {
        int nSize = -1;
        const std::unique_ptr<char[]> text(Parse(strXml).createXMLString(nFormat, &nSize));
        EXPECT_EQ(std::strlen(text.get()), static_cast<std::size_t>(nSize));
        return text.get();
    }
};

// Fault 1 is an element without an end tag of its own, 6 an end tag that fits nothing open; the first place
// counts. Fault 2 is a text without an element and wins over its other faults. Faults 12 and 13 are unknown
// entities and characters above 255; a character of several bytes counts as one column.
TEST_F(Xml, EveryFaultHasItsCodeAndPlace)
{
    const std::pair<const char*, std::vector<const char*>> kTable[] = {
        {"0 1:9", {"<a>x</a>"}},
        {"1 1:7", {"<a><b></a>"}},
        {"1 3:2", {"<a>\n<b></b>\n "}},
        {"1 2:4", {"<a>\n<b></a>\n<c>"}},
        {"1 1:5", {"<a/></b>"}},
        {"6 1:4", {"<a></b>"}},
        {"6 1:7", {"<a><b></c></a>"}},
        {"2 1:11", {"no element"}},
        {"2 1:1", {"", "&foo;"}},
        {"4 1:6", {"<a/><=>"}},
        {"4 1:7", {"<a/>< \"b\">"}},
        {"5 1:6", {"<a></>"}},
        {"5 1:8", {"<a></a b>"}},
        {"7 2:1", {"<a>\n<!-- open</a>"}},
        {"7 1:4", {"<a><![CDATA[x]></a>"}},
        {"7 1:5", {"<a/><!DOCTYPE a [ <!ENTITY b> "}},
        {"8 1:4", {"<a =\"b\"/>", "<a \"b\"/>", "<a <b/></a>", "<a <!-- c --> b=\"c\"/>"}},
        {"8 1:6", {"<a b \"c\"/>", "<a b=/>", "<a b==c/>"}},
        {"12 1:6", {"<a>x &foo; y</a>"}},
        {"12 1:13", {"<a b=\"1\" c=\"&foo;\"/>"}},
        {"12 2:4", {"<a>\n\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80&foo;</a>"}},
        {"12 1:4", {"<a>&#65</a>", "<a>&#;</a>", "<a>&#x4G;</a>", "<a>&#6A;</a>", "<a>&#0;</a>"}},
        {"13 1:5", {"<a>\xC3\xA9&#300;</a>"}},
        {"13 1:4", {"<a>&#x100;</a>", "<a>&#99999999999999999999;</a>"}},
        {"12 1:11", {"<a>&#300; &foo;</a>"}},
        {"12 1:15", {"<a>0123456789 &foo;</a>"}},
        {"12 4:26",
         {"<a>plain characters\n\n, \xC3\xA4 and some more of them\na line that ends in some &foo;</a>"}}};
    for (const auto& [pszFault, vecXml] : kTable)
        for (const char* pszXml : vecXml)
            EXPECT_EQ(Fault(pszXml), pszFault) << pszXml;
    EXPECT_EQ(Fault("<a/>", "b") + "|" + Fault("no element", "a") + "|" + Fault(nullptr),
              "11 0:0|11 0:0|9 0:0");
    for (const char* pszCut :
         {"<a>\xC3", "<a>\xE2\x82", "<a b=\"\xF0", "\xE2", "<a><!--\xF0\x9F", "<a>&#\xE2"})
        Parse(pszCut);  // nothing behind the text is read
}

// Entities are decoded once. A quote that is not closed before the next tag is text. The openings of clear
// sections have one case.
TEST_F(Xml, TextsAttributesAndClearSections)
{
    const std::pair<const char*, const char*> kTable[] = {
        {"<a>&amp;&lt;&gt;&quot;&apos;</a>", "&<>\"'"},
        {"<a>&AMP;&Lt;</a>", "&<"},
        {"<a>&#x41;&#X4a;&#65;&#0000065;&#255;</a>", "AJAA\xFF"},
        {"<a>&amp;lt;</a>", "&lt;"},
        {"<a>\"tis <!---->'t was</a>", "\"tis't was"},
        {"<a> \t\r\n x  y \n</a>", "x  y"},
        {"<a> \n </a>", "(none)"},
        {"<a>x = \"y\" > z/></a>", "x = \"y\" > z/>"},
        {"<a b='&quot;&#10;'/>", "\"\n"},
        {"<a b='it \"is\" > /> fine' c=\"\"/>", "it \"is\" > /> fine"},
        {"<a B = plain\n c b=\"second\"/>", "plain"},
        {"<a c=\"\" b=\"\"/>", ""},
        {"<a b c=5/>", "(none)"},
        {"<a c b=5/>", "5"},
        {"<a b=c/d></a>", "c/d"},
        {"<a b='x ><c d='y'/></a>", "'x"},
        {"<?xml b=1.0?><a/>", "1.0"},
        {"<a><![CDATA[&amp;<b>]]></a>", "&amp;<b>"},
        {"<a><![CDATA[x]]]></a>", "x]"},
        {"<a><PRE><b></PRE><pre/></a>", "<b>"},
        {"<a><pre></pre></a>", "(none)"}};
    for (const auto& [pszXml, pszValue] : kTable)
        EXPECT_EQ(Value(pszXml), pszValue) << pszXml;
    const XMLNode twice = Parse("<a b='1' c B='2'></a>");
    EXPECT_STREQ(twice.getAttribute("b", 1), "2");
    EXPECT_EQ(twice.getAttribute("b", 2), nullptr);
}

// What a text is when it has been read and written again, and what that text is after the same; nothing for a
// text that stays as it is. A question mark ends a declaration only. A comment joins the texts around it; two
// comments, and other sections, stay where they are. An end tag ends all elements within its own.
TEST_F(Xml, WhatIsKept)
{
    const std::pair<const char*, const char*> kTable[] = {
        {"<a b=\"&quot;&lt;&amp;&gt;&apos;\" c d=\"\">x &amp; &lt;y&gt;</a>", ""},
        {"<?xml version=\"1.0\"?><a><?pi x=\"1?\"?><b/></a>", ""},
        {"<a b?></a>", "<a b?/>"},
        {"<a><![CDATA[<&]]><b/><b><PRE> <x> </PRE></b></a>", ""},
        {"<!DOCTYPE a [ <!ENTITY b \"c>\"> ]><!DOCTYPE d><a/>", ""},
        {"<a>one <!-- 1 --> two<!-- 2 -->three<b/>four</a>", "<a>onetwothree<b/>four</a>"},
        {"<a>one<!--1--><!--2-->two<![CDATA[3]]>three</a>", ""},
        {"<a b='1' c B='2'><d e='x ><f/></a>", "<a b=\"1\" c B=\"2\"><d e=\"&apos;x\"><f/></d></a>"},
        {"<a><b><c><d></b><e/></a>", "<a><b><c><d/></c></b><e/></a>"},
        {"<Tag></tAG>", "<Tag/>"}};
    for (const auto& [pszXml, pszWritten] : kTable) {
        const std::string strWritten = *pszWritten == '\0' ? pszXml : pszWritten;
        EXPECT_EQ(Written(pszXml), strWritten);
        EXPECT_EQ(Written(strWritten), strWritten);
        EXPECT_EQ(Written(Written(pszXml, 1)), strWritten) << "by way of indented text";
    }
    EXPECT_EQ(Written("<a><b>x</b><c><d/></c></a>", 1), "<a>\n\t<b>x</b>\n\t<c>\n\t\t<d/>\n\t</c>\n</a>");

    XMLNode::setGlobalOptions(char_encoding_UTF8, true, false, false);
    EXPECT_EQ(Parse("<a>one<!-- 1 -->two</a>").nText(), 2);
    XMLNode::setGlobalOptions(char_encoding_UTF8, true, false, true);
    EXPECT_EQ(Value("<a> x </a>") + Value("<a> </a>") + Value("<a></a>"), " x  (none)");
}

TEST_F(Xml, WhatStandsBesideTheElement)
{
    const char* const pszDeclared =
        "<?xml version=\"1.0\" encoding='utf-8' ?>\n<!-- c -->\n<TARVO><m/></TARVO>\n";
    for (const char* pszXml :
         {pszDeclared, "<?xml version=1.0?><TARVO><m/></TARVO>", "<?xml version='1.0'/><TARVO><m/></TARVO>",
          "<!-- c --><?xml version='1.0'?><TARVO><m/></TARVO>", "<?xml?><?style a='b'?><tarvo><m/></tarvo>",
          "text <TARVO><m/></TARVO>", "<TARVO><m/></TARVO></b><c/>"})
        EXPECT_EQ(XMLNode::parseString(pszXml, "TARVO").nChildNode(), 1) << pszXml;
    const XMLNode node = Parse(pszDeclared);
    EXPECT_TRUE(node.isDeclaration());
    EXPECT_EQ(node.nAttribute(), 2) << "the question mark is no attribute";
}

// The second byte of a character is neither a bracket nor a quote nor an ampersand.
TEST_F(Xml, CharactersOfSeveralBytes)
{
    const std::string strClear = "<a><![CDATA[\x83]]>x]]></a>", strQuoted = "<a b=\"\x81\"\x81&\"/>";
    XMLNode::setGlobalOptions(char_encoding_ShiftJIS);
    EXPECT_EQ(Value(strClear), "\x83]]>x");
    XMLNode::setGlobalOptions(char_encoding_legacy);
    EXPECT_EQ(Value(strClear), "\x83");
    XMLNode::setGlobalOptions(char_encoding_Big5);
    EXPECT_EQ(Value(strQuoted), "\x81\"\x81&");
    XMLNode::setGlobalOptions(7);
    XMLNode::setGlobalOptions(char_encoding_error);
    EXPECT_EQ(Value(strQuoted), "\x81\"\x81&") << "an unknown encoding, and 0, are not taken over";
}

}  // namespace
