#include "check/SettingsTree.h"

#include <algorithm>
#include <cctype>
#include <vector>

namespace Check {

namespace {

int Lower(char c) { return std::tolower(static_cast<unsigned char>(c)); }

}  // namespace

SettingsTree::SettingsTree(const std::string& strPath)
    : m_top(Tarvo::XmlParser::XMLNode::openFileHelper(strPath.c_str(), "TARVO", false, &m_results))
{
}

void SettingsTree::ForEach(const Node& parent, const char* pszElement,
                           const std::function<void(const Node&, const char*)>& visit)
{
    for (int n = 0; n < parent.nChildNode(); ++n) {
        const Node child = parent.getChildNode(n);
        if (SameName(child.getName(), pszElement))
            visit(child, child.getAttribute("name"));
    }
}

SettingsTree::Node SettingsTree::Find(const Node& parent, const char* pszElement, std::string_view name)
{
    Node found;
    ForEach(parent, pszElement, [&](const Node& child, const char* pszName) {
        if (found.isEmpty() && SameName(pszName, name))
            found = child;
    });
    return found;
}

int SettingsTree::LineOfNameless(const Node& parent, const char* pszElement, const Node& before)
{
    int nLine = 0;
    ForEach(parent, pszElement, [&](const Node& child, const char* pszName) {
        if (nLine == 0 && pszName == nullptr && (before.isEmpty() || child.getLine() <= before.getLine()))
            nLine = child.getLine();
    });
    return nLine;
}

bool SameName(const char* pszLeft, std::string_view right)
{
    if (pszLeft == nullptr)
        return false;
    const std::string_view left = pszLeft;
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char a, char b) { return Lower(a) == Lower(b); });
}

int Distance(std::string_view left, std::string_view right)
{
    // One row of the table of distances between all beginnings of the two names.
    std::vector<int> vecRow(right.size() + 1);
    for (std::size_t n = 0; n <= right.size(); ++n)
        vecRow[n] = static_cast<int>(n);
    for (std::size_t nLeft = 0; nLeft < left.size(); ++nLeft) {
        int nDiagonal = vecRow[0]++;
        for (std::size_t n = 0; n < right.size(); ++n) {
            const int nReplaced = nDiagonal + (Lower(left[nLeft]) == Lower(right[n]) ? 0 : 1);
            nDiagonal = vecRow[n + 1];
            vecRow[n + 1] = std::min({nReplaced, vecRow[n] + 1, vecRow[n + 1] + 1});
        }
    }
    return vecRow.back();
}

}  // namespace Check
