// An index of a node's children by name. A caller that asks for each of many children by name would otherwise
// walk all of them every time.
#pragma once

#include <map>
#include <string_view>
#include <vector>

#include "config/proj/TarvoXmlParser/src/xmlText.h"

namespace Tarvo::XmlParser {

struct XMLRecord;

// Its keys are texts of the tree. One thread at a time, look-ups included.
class ChildIndex {
public:
    // The children with one element name, in the order of the document.
    struct Kind {
        std::vector<XMLRecord*> children;

        // A value of the attribute "name", and the first child with it as a position among the children.
        struct Named {
            std::string_view name;
            int nPosition;
        };
        // In the order of LessNoCase; ends at the first child without the attribute. Made when asked for.
        std::vector<Named> named;
        bool bNamed = false;
        std::size_t nLast = 0;  // where the last search in `named` ended
    };

    bool IsEmpty() const { return m_mapKinds.empty(); }
    void Clear();
    void Add(XMLRecord* pChild);

    // Null if no child has that element name.
    Kind* Find(std::string_view strElement);
    // The first child of the kind whose attribute "name" is strName, as a position; -1 if there is none.
    static int FindNamed(Kind& kind, std::string_view strName);

private:
    using Kinds = std::map<std::string_view, Kind, LessNoCase>;

    static void MakeNamed(Kind& kind);

    Kinds m_mapKinds;
    Kinds::value_type* m_pLast = nullptr;  // of the last addition or look-up
};

}  // namespace Tarvo::XmlParser
