// The interface over a document, and the items of a TL2 file by name.
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>

#include "config/proj/TarvoXmlParser/src/TLXMLWrapper.h"
#include "config/proj/TarvoXmlParser/src/TextToInteger.h"
#include "config/proj/TarvoXmlParser/src/xmlParser.h"

using namespace Tarvo::XmlParser;

namespace {

constexpr const char* kDocument = R"(<?xml version="1.0"?>
<tarvo>
    <module name="OTHER"><group name="CONNECTOR_INFO"><property name="A" value="wrong"/></group></module>
    <Module NAME="velkar">
        <group name="First">
            <property name="A" value=" &#10;	attribute value  "/>
            <property name="B">  text <!-- c --> value </property>
            <property name="C"><![CDATA[ clear value ]]></property>
            <property name="D" value="by attribute">text</property>
            <property name="a" value="second of the name"/>
            <property name="E"/>
            <property name="F" value=""/>
            <property name="G" value="   ">text</property>
            <property name="H" value>text behind an attribute without value</property>
            <property_array name="1" size="2" value0="zero" value1=" one " value2="two"/>
            <property_array name="2" size="0" value0="zero"/>
            <property_array name="3" value0="zero"/>
            <property_array name="4" size="x" value0="zero"/>
        </group>
        <group name="second"><property name="A" value="of the second"/></group>
        <group name="clears">
            <property_array name="1" size="2"><![CDATA[ zero ]]><![CDATA[one]]><![CDATA[two]]></property_array>
            <property_array name="2" size="3"><![CDATA[zero]]><![CDATA[one]]></property_array>
            <property name="P"><![CDATA[not at its place among the properties]]></property>
        </group>
        <group name="broken">
            <property name="before" value="found"/>
            <property value="nameless"/>
            <property name="behind" value="not found"/>
        </group>
    </Module>
</tarvo>)";

class Tl2 : public testing::Test {
protected:
    void SetUp() override { Open(kDocument); }
    void Open(const std::string& strXml) { m_parser.reset(ParseXmlString(strXml.c_str(), "TARVO")); }
    std::string Property(const std::string& strName, int nSize = 100)
    {
        char out[2000] = "before";
        const bool bFound = GetProperty(m_parser.get(), out, nSize, strName.c_str());
        EXPECT_EQ(bFound, *out != '\0');
        return bFound ? out : "(none)";
    }
    std::string Element(const char* pszName, int nPosition)
    {
        char out[100] = "before";
        const bool bFound = GetPropertyArray(m_parser.get(), out, sizeof(out), pszName, nPosition);
        EXPECT_EQ(bFound, *out != '\0');
        return bFound ? out : "(none)";
    }
    bool Go(const char* pszGroup)
    {
        m_parser->MoveToTop();
        return MoveToModule(m_parser.get(), "VELKAR") && MoveToGroup(m_parser.get(), pszGroup);
    }

    std::unique_ptr<IXmlParser> m_parser;
};

TEST_F(Tl2, ModulesAndGroups)
{
    IXmlParser* const p = m_parser.get();
    EXPECT_FALSE(MoveToGroup(p, "first")) << "groups are found inside a module";
    EXPECT_FALSE(MoveToModule(p, "none"));
    ASSERT_TRUE(MoveToModule(p, "VELKAR"));
    EXPECT_FALSE(MoveToModule(p, "VELKAR")) << "no modules are below a module";
    EXPECT_EQ(Property("A"), "(none)") << "nor properties";
    EXPECT_TRUE(MoveToGroup(p, "FIRST"));
    EXPECT_TRUE(MoveToGroup(p, "Second")) << "from a group to its neighbour";
    EXPECT_EQ(Property("a"), "of the second");
    EXPECT_FALSE(MoveToGroup(p, "CONNECTOR_INFO")) << "that one is another module's";
    EXPECT_STREQ(p->GetName(), "Module");
    EXPECT_TRUE(MoveToGroup(p, "first"));
}

TEST_F(Tl2, Properties)
{
    ASSERT_TRUE(Go("FIRST"));
    EXPECT_EQ(Property("a"), "attribute value") << "the first one, stripped";
    EXPECT_EQ(Property("B"), "textvalue") << "as the parser kept it";
    EXPECT_EQ(Property("c"), "clear value");
    EXPECT_EQ(Property("D"), "by attribute");
    EXPECT_EQ(Property("H"), "text behind an attribute without value");
    for (const char* pszName : {"E", "F", "G", "none", "", "1"})
        EXPECT_EQ(Property(pszName), "(none)") << pszName;
    EXPECT_EQ(Element("1", 0) + Element("1", 1), "zeroone");
    for (const auto& [pszName, nPosition] :
         {std::pair{"1", 2}, {"1", -1}, {"2", 0}, {"3", 0}, {"4", 0}, {"A", 0}})
        EXPECT_EQ(Element(pszName, nPosition), "(none)")
            << pszName << ", the size counts, not the attributes";

    ASSERT_TRUE(Go("clears"));
    EXPECT_EQ(Property("P"), "zero") << "clear sections are counted among all children";
    EXPECT_EQ(Element("1", 0) + Element("1", 1) + Element("1", 2), "zeroone(none)");
    EXPECT_EQ(Element("2", 0), "(none)") << "there has to be a section for every element";
    ASSERT_TRUE(Go("broken"));
    EXPECT_EQ(Property("before"), "found");
    EXPECT_EQ(Property("behind"), "(none)") << "a child without a name ends the search";
}

TEST_F(Tl2, LimitsOfNamesAndValues)
{
    const auto make = [](std::size_t nLength) { return std::string(nLength, 'x'); };
    Open("<tarvo><module name='" + make(256) + "'/><module name='" + make(255) +
         "'><group name='g'><property name='" + make(1024) + "' value='1'/><property name='" + make(1023) +
         "' value='2'/><property name='long' value='" + make(99) + "'/><property name='text'>" + make(1500) +
         "</property><property name='padded' value='" + std::string(1000, ' ') +
         "v'/><property name='overfull' value='" + std::string(1023, ' ') +
         "v'/><property name='clear'><![CDATA[" + make(1024) + "]]></property></group></module></tarvo>");
    EXPECT_FALSE(MoveToModule(m_parser.get(), make(256).c_str()));
    ASSERT_TRUE(MoveToModule(m_parser.get(), make(255).c_str()));
    ASSERT_TRUE(MoveToGroup(m_parser.get(), "G"));
    EXPECT_EQ(Property(make(1024)), "(none)");
    EXPECT_EQ(Property(make(1023)), "2");
    EXPECT_EQ(Property("long", 100), make(99));
    EXPECT_EQ(Property("long", 99), "(none)") << "never a part of a value";
    EXPECT_EQ(Property("text", 1501), make(1500));
    EXPECT_EQ(Property("text", 1500), "(none)");
    EXPECT_EQ(Property("padded", 2), "v");
    EXPECT_EQ(Property("overfull"), "(none)");
    EXPECT_EQ(Property("clear", 2000), "(none)");
    char out[2] = "x";
    EXPECT_FALSE(GetProperty(m_parser.get(), out, 0, "padded"));
    EXPECT_FALSE(GetProperty(m_parser.get(), out, -1, "padded"));
    EXPECT_STREQ(out, "x");
}

TEST(Tl2Parser, NullArguments)
{
    char out[10];
    IXmlParser* p = nullptr;
    DestroyXmlParser(nullptr);
    DestroyXmlParser(&p);
    p = CreateXmlParser("a");
    EXPECT_TRUE(!CreateXmlParser(nullptr) && !ParseXmlString(nullptr, "a") &&
                !ParseXmlString("<a/>", nullptr) && !OpenXmlFile(nullptr, "a") && !OpenXmlFile("a", nullptr));
    EXPECT_FALSE(MoveToModule(nullptr, "a") || MoveToGroup(nullptr, "a") ||
                 GetProperty(p, nullptr, 10, "a") || GetProperty(p, out, 10, nullptr) ||
                 GetPropertyArray(p, nullptr, 10, "a", 0));
    DestroyXmlParser(&p);
}

TEST(Tl2Parser, PositionAndCopies)
{
    CTLXMLWrapper p;
    char out[8] = "before";
    EXPECT_FALSE(p.GetText(out, 8) || *out != '\0' || p.GetName(out, 8) || p.GetAttribute(out, 8, "x") ||
                 p.GetClear(out, 8, 0) || p.MoveToChild("b", 0) || p.MoveToParent() || p.AddChild("x") ||
                 p.AddText("x") || p.AddAttribute("x", "") || p.AddClear("x", "", "") ||
                 p.GetChildCount("x"));
    EXPECT_TRUE(XMLNode().getChildNode(0).isEmpty() && XMLNode().findNamedChild("a", "b") == -1);
    ASSERT_TRUE(
        p.ParseString("<a x='1234567' y='12345678'>text<b z='1'>inner<![CDATA[c]]></b><b/><c>longer text</c>"
                      "<![CDATA[1234567\xE2\x82\xAC]]><longname/></a>",
                      "a"));
    // A text as it has been copied; "-" for none, which leaves an empty buffer.
    const auto copied = [&](bool bCopied) {
        EXPECT_EQ(bCopied, *out != '\0');
        return bCopied ? std::string(out) : "-";
    };
    EXPECT_EQ(copied(p.GetText(out, 5)), "text");
    EXPECT_EQ(copied(p.GetText(out, 4)), "-");
    EXPECT_EQ(copied(p.GetAttribute(out, 8, "X")), "1234567");
    EXPECT_EQ(copied(p.GetAttribute(out, 8, "y")) + copied(p.GetAttribute(out, 8, "none")), "--");
    EXPECT_EQ(copied(p.GetClear(out, 8, 0)), "1234567")
        << "cut between two characters, with room for the end";
    EXPECT_EQ(p.GetChildCount("B"), 2);
    EXPECT_EQ(copied(p.GetChildText(out, 8, "b", 0)), "inner");
    EXPECT_EQ(copied(p.GetChildText(out, 8, "b", 1)) + copied(p.GetChildText(out, 8, "c", 0)), "--");
    EXPECT_EQ(copied(p.GetChildAttribute(out, 8, "b", "z", 0)) + copied(p.GetChildClear(out, 8, 0, 0)), "1c");
    EXPECT_EQ(copied(p.GetChildClear(out, 8, 1, 0)) + copied(p.GetChildClear(out, 8, 9, 0)), "--");
    EXPECT_FALSE(p.GetText(nullptr, 8) || p.GetText(out, 0));

    ASSERT_TRUE(p.MoveToChild("b", 0));
    EXPECT_FALSE(p.MoveToChild("none", 0));
    EXPECT_STREQ(p.GetName(), "b") << "a failed move does not move";
    ASSERT_TRUE(p.MoveToParent() && p.MoveToChild("longname", -1) && p.GetName(out, 5));
    EXPECT_STREQ(out, "long");
    ASSERT_TRUE(p.MoveToParent() && p.MoveToChild("b", 0));
    const char* const pszInner = p.GetText();
    EXPECT_FALSE(p.ParseString("<z/>", "a"));
    EXPECT_STREQ(pszInner, "inner") << "a failed parse leaves the document";
    EXPECT_TRUE(p.MoveToParent());
    EXPECT_FALSE(p.MoveToParent());
    ASSERT_TRUE(p.MoveToChild("b", 1));
    ASSERT_TRUE(p.ParseString("<n/>", "n"));
    EXPECT_FALSE(p.MoveToParent()) << "the way back was the old document's";
}

TEST(Tl2Parser, BuildsAndWritesADocument)
{
    const std::unique_ptr<IXmlParser> p(CreateXmlParser("top"));
    EXPECT_TRUE(p->AddChild("b"));
    EXPECT_TRUE(p->AddAttribute("x", "1 & 2"));
    ASSERT_TRUE(p->MoveToChild("b", 0));
    EXPECT_FALSE(p->AddText("t"));
    EXPECT_STREQ(p->GetText(), "t") << "false, but added";
    EXPECT_TRUE(p->AddClear("c", "<!--", "-->"));
    EXPECT_FALSE(p->AddChild(nullptr) || p->AddAttribute("x", nullptr) || p->AddText(nullptr) ||
                 p->AddClear("", nullptr, ""));
    p->MoveToTop();

    const std::string strWhole = "<top x=\"1 &amp; 2\">\n\t<b>t<!--c--></b>\n</top>";
    char* pszText = nullptr;
    int nLength = 0;
    ASSERT_TRUE(p->CreateString(&pszText, &nLength));
    EXPECT_EQ(pszText, strWhole);
    EXPECT_EQ(nLength, static_cast<int>(strWhole.size()));
    EXPECT_TRUE(p->FreeString(&pszText));
    EXPECT_EQ(pszText, nullptr);
    EXPECT_FALSE(p->FreeString(&pszText) || p->FreeString(nullptr) || p->CreateString(nullptr, nullptr));

    char out[8];
    EXPECT_TRUE(p->CreateString(out, 8, false));
    EXPECT_EQ(std::string(out), strWhole.substr(0, 7));
    EXPECT_FALSE(p->CreateString(out, 0, false) || p->CreateString(nullptr, 8, false) ||
                 CTLXMLWrapper().CreateString(out, 8, true));
}

TEST(Tl2Parser, Numbers)
{
    constexpr int kMost = 2147483647;
    const std::map<std::string, int> kTable = {{"12x", 12},
                                               {"+7", 7},
                                               {"-7", -7},
                                               {"", 0},
                                               {"x1", 0},
                                               {"-", 0},
                                               {"+-1", 0},
                                               {" 1", 0},
                                               {"0x10", 0},
                                               {"2147483647", kMost},
                                               {"2147483648", kMost},
                                               {"99999999999999999999999999", kMost},
                                               {"-2147483648", -kMost - 1},
                                               {"-99999999999999999999999999", -kMost - 1}};
    for (const auto& [strText, nValue] : kTable)
        EXPECT_EQ(TextToInteger(strText.c_str()), nValue) << strText;
}

}  // namespace
