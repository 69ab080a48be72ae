// The tree: counted handles, look-ups and additions.
#include <gtest/gtest.h>

#include <string>

#include "config/proj/TarvoXmlParser/src/xmlParser.h"

using namespace Tarvo::XmlParser;

namespace {

TEST(XmlTree, HandlesKeepWhatTheyHold)
{
    XMLNode child;
    {
        XMLNode top = XMLNode::parseString("<a><b><c x='1'/></b><d/></a>");
        child = top.getChildNode("b");
        XMLNode& self = top;
        top = self;
        EXPECT_EQ(top.nChildNode(), 2);
        XMLNode moved = std::move(top);
        top = moved.getChildNode("d");  // the parent goes while the child stays
    }
    child = child.getChildNode("c");  // from the last handle of its parent to a part of it
    EXPECT_STREQ(child.getAttribute("x"), "1");
    child = XMLNode();
    EXPECT_TRUE(child.isEmpty());
}

// The same answers with few children, which are walked, and with many, which are indexed.
TEST(XmlTree, ChildrenByNameAndIndex)
{
    for (const int nCount : {3, 60}) {
        XMLNode top = XMLNode::createXMLTopNode("top");
        for (int n = 0; n < nCount; ++n)
            top.addChild(n % 3 == 1 ? "Odd" : "even").addAttribute("n", std::to_string(n).c_str());
        const int nOdd = nCount / 3;
        EXPECT_EQ(top.nChildNode("ODD"), nOdd);
        EXPECT_EQ(top.nChildNode("even"), nCount - nOdd);
        for (int n = 0; n < nOdd; ++n)
            EXPECT_EQ(top.getChildNode("odd", n).getAttribute("n"), std::to_string(3 * n + 1));
        EXPECT_EQ(top.getChildNode("odd", -1).getAttribute("n"), std::to_string(nCount - 2));
        EXPECT_TRUE(top.getChildNode("odd", nOdd).isEmpty() && top.getChildNode("none", -1).isEmpty() &&
                    top.getChildNode(nCount).isEmpty());

        top.addChild("odd", false, 0);  // what has been looked up before must not be remembered
        EXPECT_EQ(top.nChildNode("odd"), nOdd + 1);
        EXPECT_EQ(top.getChildNode("odd", 0).nAttribute(), 0);
    }
}

TEST(XmlTree, ChildrenByTheirNameAttribute)
{
    XMLNode top =
        XMLNode::parseString("<g><p name='a'/><q name='b'/><p name='B' v='1'/><p NAME='b' v='2'/></g>");
    EXPECT_EQ(top.findNamedChild("P", "b"), 1) << "the first, counted among its own kind";
    EXPECT_EQ(top.findNamedChild("x", "a"), -1);
    XMLNode added = top.addChild("p");
    EXPECT_EQ(top.findNamedChild("p", "c"), -1);
    added.addAttribute("name", "c");
    EXPECT_EQ(top.findNamedChild("p", "c"), 3) << "a name given later counts";
    top.addChild("p", false, 0);
    EXPECT_EQ(top.findNamedChild("p", "a"), -1) << "a child without a name ends the search";
}

}  // namespace
