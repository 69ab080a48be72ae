// Texts that are meant to hurt: depth, size, and repetition that makes a careless reader slow.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

#include "config/proj/TarvoXmlParser/src/TarvoXmlParser.h"
#include "config/proj/TarvoXmlParser/src/xmlParser.h"
#include "tests/config/Growth.h"

using namespace Tarvo::XmlParser;

namespace {

std::string Repeat(const std::string& strText, int nTimes)
{
    std::string out;
    out.reserve(strText.size() * static_cast<std::size_t>(nTimes));
    for (int n = 0; n < nTimes; ++n)
        out += strText;
    return out;
}

// Deeper than the stack of any thread bears.
TEST(XmlHostile, DepthCostsNoStackAndLittleIndentation)
{
    constexpr int kDepth = 200000;
    XMLResults results;
    const std::string strDeep = Repeat("<a>", kDepth);
    const auto written = [&](const std::string& strXml, int nFormat) {
        int nSize = 0;
        const std::unique_ptr<char[]> text(
            XMLNode::parseString(strXml.c_str(), "a", &results).createXMLString(nFormat, &nSize));
        return nSize;
    };
    EXPECT_EQ(written(strDeep + Repeat("</a>", kDepth), 0), kDepth * 7 - 3)
        << "the innermost is written short";
    EXPECT_EQ(results.error, 0);
    EXPECT_LT(written(strDeep.substr(0, 60000), 1), 20000 * 100);
    EXPECT_EQ(results.error, 1);
    EXPECT_TRUE(XMLNode::parseString((strDeep + "</b>").c_str(), nullptr, &results).isEmpty());
    EXPECT_EQ(results.error, 6);

    XMLNode top = XMLNode::createXMLTopNode("a");
    XMLNode inner = top;
    for (int n = 0; n < kDepth; ++n)
        inner = inner.addChild("b");
    top = XMLNode();
    EXPECT_STREQ(inner.getName(), "b") << "the innermost outlives all those around it";
}

TEST(XmlHostile, TooManyItemsAreRefused)
{
    XMLResults results;
    const int nFits = static_cast<int>(kMaxItems) - 1;
    const std::string strFits = "<a " + Repeat("b ", nFits);
    EXPECT_EQ(XMLNode::parseString((strFits + "/>").c_str(), nullptr, &results).nAttribute(), nFits);
    EXPECT_TRUE(XMLNode::parseString((strFits + "><c/>").c_str(), nullptr, &results).isEmpty());
    EXPECT_EQ(results.error, 8);
    EXPECT_EQ(results.nColumn, nFits * 2 + 7);
}

TEST(XmlHostile, ParsingGrowsWithTheText)
{
    const std::pair<const char*, std::function<std::string(int)>> kTable[] = {
        {"nested", [](int n) { return Repeat("<a>", n); }},
        {"siblings", [](int n) { return "<t>" + Repeat("<a/>", n) + "</t>"; }},
        {"joined comments", [](int n) { return "<t>" + Repeat("some text<!---->", n) + "</t>"; }},
        {"kept comments", [](int n) { return "<t>" + Repeat("<!-- -->", n) + "</t>"; }},
        {"open quotes", [](int n) { return "<t>" + Repeat("\" ' ", n) + Repeat("\" <a>", n); }},
        {"one open quote", [](int n) { return "<t>" + Repeat("'\n\"x\" ", n); }},
        {"attributes", [](int n) { return "<t " + Repeat("a='1' b ", n) + "/>"; }},
        {"open numbers", [](int n) { return "<t>" + Repeat("&#", n) + "</t>"; }},
        {"numbers", [](int n) { return "<t>" + Repeat("&#65;&amp;", n) + "</t>"; }},
        {"unmatched end tags", [](int n) { return Repeat("<a><b>", n) + Repeat("</a>", n); }},
        {"one end tag for all", [](int n) { return "<t>" + Repeat("<a>", n) + "</t>"; }},
        {"doctypes", [](int n) { return Repeat("<!DOCTYPE a [<b>]>", n) + "<t/>"; }},
        {"open doctypes", [](int n) { return "<t>" + Repeat("<!DOCTYPE a>", n) + Repeat("<!DOCTYPE <", n); }},
        {"declarations", [](int n) { return Repeat("<?a?>", n); }},
        {"brackets", [](int n) { return "<t><![CDATA[" + Repeat("]]", n) + "]]></t>"; }},
        {"lines", [](int n) { return "<t>" + Repeat("\n", n) + "&foo;</t>"; }},
    };
    for (const auto& [pszWhat, make] : kTable) {
        constexpr int kSmall = 4000;
        const std::string strSmall = make(kSmall), strLarge = make(kSmall * 8);
        const double dGrowth = Growth::OverEight(
            kSmall, [&](int n) { XMLNode::parseString((n == kSmall ? strSmall : strLarge).c_str(), "t"); });
        EXPECT_LT(dGrowth, Growth::kMost) << pszWhat;
    }
}

}  // namespace
