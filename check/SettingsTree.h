// The elements of a settings file with their lines, for telling where a mistake is and why a key is not
// found.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "config/proj/TarvoXmlParser/src/xmlParser.h"

namespace Check {

class SettingsTree {
public:
    using Node = Tarvo::XmlParser::XMLNode;

    // Reads the file as the library does.
    explicit SettingsTree(const std::string& strPath);

    // The code and place of what is wrong with the document. Without a document the look-ups find nothing.
    const Tarvo::XmlParser::XMLResults& Results() const { return m_results; }
    const Node& Top() const { return m_top; }
    // The first child of that element with that name; empty if there is none. Unlike the library's own
    // look-up it goes on behind a child without a name.
    static Node Find(const Node& parent, const char* pszElement, std::string_view name);
    Node Module() const { return Find(m_top, "module", "VELKAR"); }
    Node Group(std::string_view name) const { return Find(Module(), "group", name); }
    // The line of the first child of that element that has no name and ends the library's look-up; 0 if there
    // is none in front of `before`, which may be empty.
    static int LineOfNameless(const Node& parent, const char* pszElement, const Node& before);
    static void ForEach(const Node& parent, const char* pszElement,
                        const std::function<void(const Node& child, const char* pszName)>& visit);

private:
    Tarvo::XmlParser::XMLResults m_results;
    Node m_top;
};

// Whether the two names differ in case alone.
bool SameName(const char* pszLeft, std::string_view right);
// How many characters have to be added, removed or replaced to make one name of the other, whatever their
// case.
int Distance(std::string_view left, std::string_view right);

}  // namespace Check
