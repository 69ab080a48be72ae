// The interface over a document, and the items of a TL2 file by name.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

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
            <property name="A" value=" &#10;	attribute value  "/><property name="a" value="second"/>
            <property name="B">  text <!-- c --> value </property>
            <property name="C"><![CDATA[ clear value ]]></property>
            <property name="D" value="by attribute">text</property>
            <property name="E"/><property name="F" value=""/>
            <property name="G" value="   ">text</property>
            <property name="H" value>text behind an attribute without value</property>
            <property_array name="1" size="2" value0="zero" value1=" one " value2="two"/>
            <property_array name="2" size="0" value0="zero"/>
            <property_array name="3" value0="zero"/>
        </group>
        <group name="second"><property name="A" value="of the second"/></group>
        <group name="clears">
            <property_array name="1" size="2"><![CDATA[ zero ]]><![CDATA[one]]><![CDATA[two]]></property_array>
            <property_array name="2" size="3"><![CDATA[zero]]><![CDATA[one]]></property_array>
            <property name="P"><![CDATA[not at its place among the properties]]></property>
        </group>
        <group name="broken">
            <property name="before" value="found"/><property value="nameless"/>
            <property name="behind" value="not found"/>
        </group>
    </Module>
</tarvo>)";

class Tl2 : public testing::Test {
protected:
    void SetUp() override { Open(kDocument); }
    void Open(const std::string& strXml) { m_parser.reset(ParseXmlString(strXml.c_str(), "TARVO")); }
    // "-" for a value that is not found, which leaves an empty buffer.
    static std::string Told(bool bFound, const char* pszOut)
    {
        EXPECT_EQ(bFound, *pszOut != '\0');
        return bFound ? pszOut : "-";
    }
    std::string Property(const std::string& strName, int nSize = 100)
    {
        char out[2000] = "before";
        return Told(GetProperty(m_parser.get(), out, nSize, strName.c_str()), out);
    }
    std::string Properties(const std::vector<const char*>& vecNames)
    {
        std::string strAll;
        for (const char* pszName : vecNames)
            strAll += Property(pszName) + "|";
        return strAll;
    }
    std::string Elements(const std::vector<std::pair<const char*, int>>& vecPlaces)
    {
        std::string strAll;
        char out[100] = "before";
        for (const auto& [pszName, nPosition] : vecPlaces)
            strAll += Told(GetPropertyArray(m_parser.get(), out, sizeof(out), pszName, nPosition), out) + "|";
        return strAll;
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
    EXPECT_EQ(Property("A"), "-") << "nor properties";
    EXPECT_TRUE(MoveToGroup(p, "FIRST") && MoveToGroup(p, "Second")) << "from a group to its neighbour";
    EXPECT_EQ(Property("a"), "of the second");
    EXPECT_FALSE(MoveToGroup(p, "CONNECTOR_INFO")) << "that one is another module's";
    EXPECT_TRUE(MoveToGroup(p, "first")) << "a failed move leads to the module";
}

TEST_F(Tl2, PropertiesAndArrays)
{
    ASSERT_TRUE(Go("FIRST"));
    EXPECT_EQ(Properties({"a", "B", "c", "D", "H"}),
              "attribute value|textvalue|clear value|by attribute|text behind an attribute without value|");
    EXPECT_EQ(Properties({"E", "F", "G", "none", "", "1"}), "-|-|-|-|-|-|");
    EXPECT_EQ(Elements({{"1", 0}, {"1", 1}, {"1", 2}, {"1", -1}}), "zero|one|-|-|") << "the size counts";
    EXPECT_EQ(Elements({{"2", 0}, {"3", 0}, {"A", 0}}), "-|-|-|");
    ASSERT_TRUE(Go("clears"));
    EXPECT_EQ(Property("P"), "zero") << "clear sections are counted among all children";
    EXPECT_EQ(Elements({{"1", 0}, {"1", 1}, {"1", 2}}), "zero|one|-|");
    EXPECT_EQ(Elements({{"2", 0}}), "-|") << "there has to be a section for every element";
    ASSERT_TRUE(Go("broken"));
    EXPECT_EQ(Properties({"before", "behind"}), "found|-|") << "a child without a name ends the search";
}

TEST_F(Tl2, LimitsOfNamesAndValues)
{
    const auto make = [](std::size_t nLength) { return std::string(nLength, 'x'); };
    const auto property = [](const std::string& strName, const std::string& strValue) {
        return "<property name='" + strName + "' value='" + strValue + "'/>";
    };
    const std::string strBlanks(1023, ' ');
    Open("<tarvo><module name='" + make(256) + "'/><module name='" + make(255) + "'><group name='g'>" +
         property(make(1024), "1") + property(make(1023), "2") + property("long", make(99)) +
         property("padded", strBlanks.substr(1) + "v") + property("overfull", strBlanks + "v") +
         "<property name='text'>" + make(1500) + "</property><property name='clear'><![CDATA[" + make(1024) +
         "]]></property></group></module></tarvo>");
    EXPECT_FALSE(MoveToModule(m_parser.get(), make(256).c_str()));
    ASSERT_TRUE(MoveToModule(m_parser.get(), make(255).c_str()) && MoveToGroup(m_parser.get(), "G"));
    EXPECT_EQ(Property(make(1024)) + Property(make(1023)), "-2");
    EXPECT_EQ(Property("long", 100), make(99));
    EXPECT_EQ(Property("long", 99), "-") << "never a part of a value";
    EXPECT_EQ(Property("text", 1501), make(1500));
    EXPECT_EQ(Property("text", 1500) + Property("overfull") + Property("clear", 2000), "---");
    EXPECT_EQ(Property("padded", 2), "v");
    char out[2] = "x";
    EXPECT_FALSE(GetProperty(m_parser.get(), out, 0, "padded") ||
                 GetProperty(m_parser.get(), out, -1, "padded") || *out != 'x');
}

TEST_F(Tl2, PositionAndCopies)
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
    EXPECT_EQ(Told(p.GetText(out, 5), out), "text");
    EXPECT_EQ(Told(p.GetText(out, 4), out), "-");
    EXPECT_EQ(Told(p.GetAttribute(out, 8, "X"), out), "1234567");
    EXPECT_EQ(Told(p.GetAttribute(out, 8, "y"), out) + Told(p.GetAttribute(out, 8, "none"), out), "--");
    EXPECT_EQ(Told(p.GetClear(out, 8, 0), out), "1234567") << "cut between two characters";
    EXPECT_EQ(p.GetChildCount("B"), 2);
    EXPECT_EQ(Told(p.GetChildText(out, 8, "b", 0), out), "inner");
    EXPECT_EQ(Told(p.GetChildText(out, 8, "b", 1), out) + Told(p.GetChildText(out, 8, "c", 0), out), "--");
    EXPECT_EQ(Told(p.GetChildAttribute(out, 8, "b", "z", 0), out), "1");
    EXPECT_EQ(Told(p.GetChildClear(out, 8, 0, 0), out) + Told(p.GetChildClear(out, 8, 1, 0), out), "c-");
    EXPECT_FALSE(p.GetChildClear(out, 8, 9, 0) || p.GetText(nullptr, 8) || p.GetText(out, 0));

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
    ASSERT_TRUE(p.MoveToChild("b", 1) && p.ParseString("<n/>", "n"));
    EXPECT_FALSE(p.MoveToParent()) << "the way back was the old document's";
}

TEST(Tl2Parser, BuildsAndWritesADocument)
{
    const std::unique_ptr<IXmlParser> p(CreateXmlParser("top"));
    ASSERT_TRUE(p->AddChild("b") && p->AddAttribute("x", "1 & 2") && p->MoveToChild("b", 0));
    EXPECT_FALSE(p->AddText("t")) << "false, but added";
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
    EXPECT_TRUE(p->FreeString(&pszText) && pszText == nullptr);
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
    const std::pair<int, std::vector<const char*>> kTable[] = {
        {12, {"12x"}},
        {7, {"+7"}},
        {-7, {"-7"}},
        {0, {"", "x1", "-", "+-1", " 1", "0x10"}},
        {kMost, {"2147483647", "2147483648", "99999999999999999999999999"}},
        {-kMost - 1, {"-2147483648", "-99999999999999999999999999"}}};
    for (const auto& [nValue, vecTexts] : kTable)
        for (const char* pszText : vecTexts)
            EXPECT_EQ(TextToInteger(pszText), nValue) << pszText;
}

}  // namespace
