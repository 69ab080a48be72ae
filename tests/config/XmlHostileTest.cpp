// Texts that are meant to hurt: depth, size, and repetition that makes a careless reader slow.
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

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
TEST(XmlHostile, DepthCostsNoStack)
{
    constexpr int kDepth = 200000;
    XMLResults results;
    const std::string strDeep = Repeat("<a>", kDepth);
    {
        const XMLNode closed =
            XMLNode::parseString((strDeep + Repeat("</a>", kDepth)).c_str(), "a", &results);
        EXPECT_EQ(results.error, 0);
        int nSize = 0;
        const std::unique_ptr<char[]> text(closed.createXMLString(0, &nSize));
        EXPECT_EQ(nSize, kDepth * 7 - 3) << "the innermost is written short";
    }
    XMLNode::parseString(strDeep.c_str(), nullptr, &results);
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

TEST(XmlHostile, IndentationIsBounded)
{
    XMLNode top = XMLNode::createXMLTopNode("a");
    XMLNode inner = top;
    for (int n = 0; n < 20000; ++n)
        inner = inner.addChild("b");
    int nSize = 0;
    const std::unique_ptr<char[]> text(top.createXMLString(1, &nSize));
    EXPECT_LT(nSize, 20000 * 100);
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
    const struct {
        const char* pszWhat;
        std::function<std::string(int)> make;
    } kTable[] = {
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
    for (const auto& row : kTable) {
        constexpr int kSmall = 4000;
        const std::string strSmall = row.make(kSmall), strLarge = row.make(kSmall * 8);
        const double dGrowth = Growth::OverEight(
            kSmall, [&](int n) { XMLNode::parseString((n == kSmall ? strSmall : strLarge).c_str(), "t"); });
        EXPECT_LT(dGrowth, Growth::kMost) << row.pszWhat;
    }
}

// Different documents on different threads, with the options being set meanwhile: for ThreadSanitizer.
TEST(XmlHostile, DocumentsOnSeveralThreads)
{
    std::vector<std::thread> vecThreads;
    std::atomic<int> nGood{0};
    for (int nThread = 0; nThread < 4; ++nThread) {
        vecThreads.emplace_back([&nGood, nThread] {
            for (int n = 0; n < 200; ++n) {
                XMLNode::setGlobalOptions(nThread % 2 == 0 ? char_encoding_UTF8 : char_encoding_legacy);
                const XMLNode node = XMLNode::parseString("<a><b c='&lt;'/>x<!-- -->y</a>", "a");
                nGood += node.getText() == std::string("xy") ? 1 : 0;
            }
        });
    }
    for (std::thread& thread : vecThreads)
        thread.join();
    EXPECT_EQ(nGood, 800);
    XMLNode::setGlobalOptions(char_encoding_UTF8);
}

}  // namespace
