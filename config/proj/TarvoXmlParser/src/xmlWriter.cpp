// Writes a node as text, which the parser reads as the same tree again. Not used for settings; IXmlParser
// offers it.
#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "config/proj/TarvoXmlParser/src/xmlRecord.h"

namespace Tarvo::XmlParser {
namespace {

// The most tabs in front of a line. Elements that are nested deeper get no more tabs, or the text of a deep
// tree would consist mostly of tabs.
constexpr std::size_t kDeepestIndent = 32;

// Walks the tree with a list of the open elements in place of a recursion, so depth costs no stack.
class TreeWriter {
public:
    TreeWriter(std::string& strOut, bool bFormat)
        : m_strOut(strOut), m_bFormat(bFormat), m_lengths(GetGlobalOptions().Lengths())
    {
    }

    void Write(const XMLRecord& top)
    {
        Open(top);
        while (!m_vecOpen.empty()) {
            Level& level = m_vecOpen.back();
            const XMLRecord& record = *level.pRecord;
            const auto& order = record.Content().order;
            if (level.nNext == order.size()) {
                m_vecOpen.pop_back();
                Close(record);
                continue;
            }
            WriteItem(record.Content(), order[level.nNext++]);
        }
    }

private:
    struct Level {
        const XMLRecord* pRecord;
        std::size_t nNext;  // index in the record's order of the next item to write
    };

    void WriteItem(const XMLContent& content, int nEntry)
    {
        const auto nIndex = static_cast<std::size_t>(nEntry / 4);
        switch (nEntry % 4) {
            case XMLRecord::Child:
                Open(*content.children[nIndex]);
                break;
            case XMLRecord::Text:
                Encode(m_lengths, content.texts[nIndex].begin(), m_strOut);
                break;
            default: {
                const XMLClear& clear = content.clears[nIndex];
                m_strOut += clear.pszOpenTag;
                m_strOut += clear.value;
                m_strOut += clear.pszCloseTag;
                break;
            }
        }
    }

    // Writes the start tag; the nameless root has none. A node with items is then open until they are
    // written.
    void Open(const XMLRecord& record)
    {
        const bool bEmpty = record.Content().order.empty();
        if (record.HasName()) {
            NewLine(m_vecOpen.size());
            m_strOut += record.bDeclaration ? "<?" : "<";
            m_strOut += record.name;
            for (const XMLAttribute& attribute : record.attributes)
                WriteAttribute(attribute);
            if (record.bDeclaration)
                m_strOut += "?>";
            else
                m_strOut += bEmpty ? "/>" : ">";
        }
        if (!bEmpty)
            m_vecOpen.push_back({&record, 0});
    }

    void Close(const XMLRecord& record)
    {
        if (!record.HasName() || record.bDeclaration)
            return;
        if (!record.Content().children.empty())
            NewLine(m_vecOpen.size());
        m_strOut += "</";
        m_strOut += record.name;
        m_strOut += '>';
    }

    void WriteAttribute(const XMLAttribute& attribute)
    {
        m_strOut += ' ';
        m_strOut += attribute.name;
        if (attribute.value == nullptr)
            return;
        m_strOut += "=\"";
        Encode(m_lengths, attribute.value, m_strOut);
        m_strOut += '"';
    }

    // A line break and the tabs of that depth, if the text is formatted; none in front of the first element.
    void NewLine(std::size_t nDepth)
    {
        if (!m_bFormat || m_strOut.empty())
            return;
        m_strOut += '\n';
        m_strOut.append(std::min(nDepth, kDeepestIndent), '\t');
    }

    std::string& m_strOut;
    const bool m_bFormat;
    const LengthTable& m_lengths;
    std::vector<Level> m_vecOpen;
};

}  // namespace

char* XMLNode::createXMLString(int nFormat, int* pnSize) const
{
    if (pnSize != nullptr)
        *pnSize = 0;
    if (m_pRecord == nullptr)
        return nullptr;
    std::string strOut;
    TreeWriter(strOut, nFormat != 0).Write(*m_pRecord);
    if (pnSize != nullptr)
        *pnSize = static_cast<int>(strOut.size());
    auto text = std::make_unique_for_overwrite<char[]>(strOut.size() + 1);
    strOut.copy(text.get(), strOut.size());
    text[strOut.size()] = '\0';
    return text.release();
}

}  // namespace Tarvo::XmlParser
