// CConfigReader says which keys it reads and what it refuses. This file finds the place in the file, tells
// apart why a key has no value, and adds what the reader passes over in silence.
#include "check/Settings.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <map>
#include <set>
#include <vector>

#include "check/SettingsTree.h"
#include "config/ConfigReader.h"
#include "platform/Host.h"

namespace Check {

namespace {

using Node = SettingsTree::Node;
using Kind = SettingsFinding::Kind;

// ---- files that are no document ----

struct XmlMistake {
    int nCode;  // an XMLError
    const char* pszSentence;
    const char* pszCure;
};

constexpr XmlMistake kXmlMistakes[] = {
    {Tarvo::XmlParser::eXMLErrorMissingEndTag, "An element has no end, or an end tag has another name.",
     "Close the element. The library starts with such a file, but a later save of it changes nothing."},
    {Tarvo::XmlParser::eXMLErrorNoXMLTagFound, "The file holds no element.",
     "Start from the sample VelkarConnectorConfig.tl2."},
    {Tarvo::XmlParser::eXMLErrorEmpty, "The file is empty.",
     "Start from the sample VelkarConnectorConfig.tl2."},
    {Tarvo::XmlParser::eXMLErrorMissingTagName, "No name of an element stands behind a '<'.",
     "Write &lt; for a '<' that belongs to a text."},
    {Tarvo::XmlParser::eXMLErrorMissingEndTagName, "An end tag has no name or no '>'.",
     "Write it as </group>, without attributes."},
    {Tarvo::XmlParser::eXMLErrorUnmatchedEndTag, "An end tag closes an element that is not open.",
     "Remove the end tag, or write the start tag that it belongs to."},
    {Tarvo::XmlParser::eXMLErrorUnmatchedEndClearTag, "A comment or CDATA section has no end.",
     "End it with --> or ]]>."},
    {Tarvo::XmlParser::eXMLErrorUnexpectedToken, "A tag holds a character that cannot stand here.",
     "Look for a missing quotation mark, '=' or '>' in front of this place."},
    {Tarvo::XmlParser::eXMLErrorFileNotFound, "The file cannot be read.",
     "It has to be a regular file of at most 64 MiB that this user may read."},
    {Tarvo::XmlParser::eXMLErrorFirstTagNotFound, "The element TARVO around the settings is missing.",
     "Put all modules into <TARVO> ... </TARVO>."},
    {Tarvo::XmlParser::eXMLErrorUnknownCharacterEntity, "An '&' begins no entity that is known here.",
     "Write &amp; for the '&' itself. The others are &lt; &gt; &quot; &apos; and &#65; with a number."},
    {Tarvo::XmlParser::eXMLErrorCharacterCodeAbove255, "A character is given by a number above 255.",
     "Write the character itself and save the file as UTF-8."},
    {Tarvo::XmlParser::eXMLErrorCharConversion, "The text cannot be converted from UTF-16.",
     "Save the file as UTF-8."},
};

// ---- keys ----

struct KeyCure {
    const char* pszKey;
    const char* pszCure;
};

constexpr const char* kCycleCure = "Write whole seconds, from 1 to 4000000.";
constexpr KeyCure kKeyCures[] = {
    {"SERVER_IP", "Write the address or the host name of the service, without its port."},
    {"SERVER_PORT", "Write the TCP port of the service, from 1 to 65535."},
    {"HEARTBEAT_CYCLE", kCycleCure},
    {"RECONNECT_CYCLE", kCycleCure},
    {"CHARGE_CYCLE", kCycleCure},
    {"USE_USER_NUMBER", "Write true or false."},
    {"ID_COUNT", "Write how many property arrays stand in the group, counted from 1; 999 for none."},
    {"EVENT_CODE_COUNT", "Write how many event names stand in the group, counted from 0; 999 for none."},
    {"LOGOVA_CONFIG_FILE", "Write the name of the log's own file, which stands beside the settings."},
    {"LOGOVA_SERVICE", "Write a name for the log, such as VelkarConnector."},
    {"LOGOVA_LOGGER", "Write a name for the log, such as connector."},
};

std::string CureOf(const std::string& strKey)
{
    for (const KeyCure& cure : kKeyCures) {
        if (strKey == cure.pszKey)
            return cure.pszCure;
    }
    return "";
}

constexpr std::size_t kLongestValue = 254;  // bytes

class SettingsCheck {
public:
    SettingsCheck(const std::string& strPath, Report& report)
        : m_strPath(strPath), m_report(report), m_tree(strPath)
    {
    }
    void Run();

private:
    void Collect();
    bool IsSettled(const SettingsFinding& finding) const;
    void Explain(const SettingsFinding& finding);
    void ExplainNoModule();
    void ExplainNoGroup(const std::string& strGroup);
    void ExplainNoValue(const SettingsFinding& finding);
    bool ExplainValue(const Node& node, const char* pszAttribute, const std::string& strWhat,
                      const std::string& strCure);
    void ExplainElsewhere(const SettingsFinding& finding, const std::string& strCure);
    void ExplainArray(const SettingsFinding& finding);
    void LookAtNumber(const SettingsFinding& finding);
    void LookAtProduct(const SettingsFinding& finding);
    void LookAtText(const SettingsFinding& finding);
    void LookForDoubles(const Node& parent, const char* pszElement);
    int LineOf(const SettingsFinding& finding) const;
    void Add(Weight weight, int nLine, const std::string& strSentence, const std::string& strCure)
    {
        m_report.Add({weight, m_strPath, nLine, strSentence, strCure});
    }

    const std::string m_strPath;
    Report& m_report;
    const SettingsTree m_tree;
    std::vector<SettingsFinding> m_vecFindings;
    std::set<std::string> m_setNoGroups;                     // groups that are missing
    std::set<std::pair<std::string, std::string>> m_setBad;  // group and key of each key that is refused
    std::map<std::string, int> m_mapProducts;                // lines of the products so far
};

// The line of the key or array; of the group or module if the key is not there.
int SettingsCheck::LineOf(const SettingsFinding& finding) const
{
    const Node group = m_tree.Group(finding.strGroup);
    for (const char* pszElement : {"property", "property_array"}) {
        if (const Node node = SettingsTree::Find(group, pszElement, finding.strKey); !node.isEmpty())
            return node.getLine();
    }
    return group.isEmpty() ? m_tree.Module().getLine() : group.getLine();
}

void SettingsCheck::Collect()
{
    ConfigReader().Check(m_strPath, [this](const SettingsFinding& finding) {
        m_vecFindings.push_back(finding);
        if (finding.kind == Kind::NoGroup)
            m_setNoGroups.insert(finding.strGroup);
        else if (finding.kind == Kind::NoValue || finding.kind == Kind::NoNumber)
            m_setBad.emplace(finding.strGroup, finding.strKey);
        else if (finding.kind == Kind::NoArray || finding.kind == Kind::NoProductId ||
                 finding.kind == Kind::NoBillingId)
            m_setBad.emplace(finding.strGroup, "ID_COUNT");
    });
}

// Whether another mistake explains this one: a key of a group that is missing, or a count of entries one of
// which has been found bad.
bool SettingsCheck::IsSettled(const SettingsFinding& finding) const
{
    if (finding.kind != Kind::NoGroup && m_setNoGroups.contains(finding.strGroup))
        return true;
    if (finding.kind != Kind::BadCount)
        return false;
    const bool bEvents = finding.strKey == "EVENT_CODE_COUNT";
    return std::any_of(m_setBad.begin(), m_setBad.end(), [&](const auto& bad) {
        return bad.first == finding.strGroup && (bEvents || bad.second == finding.strKey);
    });
}

void SettingsCheck::Run()
{
    const auto& results = m_tree.Results();
    for (const XmlMistake& mistake : kXmlMistakes) {
        if (mistake.nCode != results.error)
            continue;
        const std::string strColumn =
            results.nLine > 0 ? " (column " + std::to_string(results.nColumn) + ")" : "";
        Add(m_tree.Top().isEmpty() ? Weight::Error : Weight::Warning, results.nLine,
            mistake.pszSentence + strColumn, mistake.pszCure);
    }
    if (m_tree.Top().isEmpty())
        return;
    Collect();
    for (const SettingsFinding& finding : m_vecFindings) {
        if (!IsSettled(finding))
            Explain(finding);
    }
    LookForDoubles(m_tree.Top(), "module");
    LookForDoubles(m_tree.Module(), "group");
    SettingsTree::ForEach(m_tree.Module(), "group", [this](const Node& group, const char*) {
        LookForDoubles(group, "property");
        LookForDoubles(group, "property_array");
    });
}

void SettingsCheck::Explain(const SettingsFinding& finding)
{
    const std::string& strKey = finding.strKey;
    const std::string strValue = Quote(finding.strValue);
    const int nLine = LineOf(finding);
    switch (finding.kind) {
        case Kind::Read:
            if (finding.strGroup == "BILLING_ID_INFO" && strKey != "ID_COUNT")
                LookAtProduct(finding);
            else
                LookAtText(finding);
            break;
        case Kind::NoModule:
            ExplainNoModule();
            break;
        case Kind::NoGroup:
            ExplainNoGroup(finding.strGroup);
            break;
        case Kind::NoValue:
            ExplainNoValue(finding);
            break;
        case Kind::Number:
            LookAtNumber(finding);
            break;
        case Kind::NoNumber: {
            const bool bZero = finding.strValue.find_first_of("0123456789") <= 1;
            Add(Weight::Error, nLine, strKey + (bZero ? " is 0: " : " is no number: ") + strValue + ".",
                CureOf(strKey));
            break;
        }
        case Kind::OutOfRange:
        case Kind::BadCount:
        case Kind::UnknownWord:
            Add(Weight::Warning, nLine, "The value " + strValue + " of " + strKey + " " + finding.strText,
                CureOf(strKey));
            break;
        case Kind::NoArray:
            ExplainArray(finding);
            break;
        case Kind::NoProductId:
            Add(Weight::Error, nLine,
                "The product id value0 of product array " + strKey + " is no number or 0: " + strValue + ".",
                "Write the number that the operator of the service gives.");
            break;
        case Kind::NoBillingId:
            Add(Weight::Error, nLine,
                "The billing id value2 of product array " + strKey + " is no number or 0: " + strValue + ".",
                "Write 1 for a fixed term, 2 for metered, 3 for both, another number for neither.");
            break;
    }
}

void SettingsCheck::ExplainNoModule()
{
    const Node module = m_tree.Module();
    if (!module.isEmpty()) {
        const int nLine = SettingsTree::LineOfNameless(m_tree.Top(), "module", module);
        Add(Weight::Error, nLine, "A module without a name hides the module VELKAR behind it.",
            "Give the module a name, or put it behind VELKAR.");
        return;
    }
    Add(Weight::Error, m_tree.Top().getLine(), "The module VELKAR is missing.",
        "Put all groups into <module name=\"VELKAR\"> ... </module>.");
}

void SettingsCheck::ExplainNoGroup(const std::string& strGroup)
{
    const Node module = m_tree.Module(), group = m_tree.Group(strGroup);
    if (!group.isEmpty()) {
        Add(Weight::Error, SettingsTree::LineOfNameless(module, "group", group),
            "A group without a name hides the group " + strGroup + " behind it.",
            "Give the group a name, or put it behind the others.");
        return;
    }
    std::string strCure = "Add <group name=\"" + strGroup + "\"> with its keys to the module VELKAR.";
    SettingsTree::ForEach(module, "group", [&](const Node& other, const char* pszName) {
        if (pszName != nullptr && Distance(pszName, strGroup) <= 2)
            strCure =
                "Did you mean it by " + Quote(pszName) + " in line " + std::to_string(other.getLine()) + "?";
    });
    Add(Weight::Error, module.getLine(), "The group " + strGroup + " is missing.", strCure);
}

void SettingsCheck::ExplainNoValue(const SettingsFinding& finding)
{
    const Node group = m_tree.Group(finding.strGroup);
    const Node node = SettingsTree::Find(group, "property", finding.strKey);
    const bool bEvent =
        finding.strGroup == "SPECIFIC_EVENT_CODE_INFO" && finding.strKey != "EVENT_CODE_COUNT";
    const std::string strCure =
        bEvent ? "Add the event's name, or let EVENT_CODE_COUNT say how many stand there, counted from 0."
               : CureOf(finding.strKey);
    const std::string strWhat = bEvent ? "The name of event " + finding.strKey : finding.strKey;
    if (const int nLine = SettingsTree::LineOfNameless(group, "property", node); nLine > 0) {
        Add(Weight::Error, nLine, "A property without a name hides " + finding.strKey + " behind it.",
            "Give the property a name, or remove it.");
    } else if (node.isEmpty() && bEvent) {
        Add(Weight::Error, LineOf({Kind::Read, finding.strGroup, "EVENT_CODE_COUNT", "", ""}),
            strWhat + " is missing.", strCure);
    } else if (node.isEmpty()) {
        ExplainElsewhere(finding, strCure);
    } else if (!ExplainValue(node, "value", strWhat, strCure)) {
        Add(Weight::Error, node.getLine(), strWhat + " cannot be read.", strCure);
    }
}

// Says why an attribute gives no value. False if it should give one.
bool SettingsCheck::ExplainValue(const Node& node, const char* pszAttribute, const std::string& strWhat,
                                 const std::string& strCure)
{
    const char* pszValue = node.getAttribute(pszAttribute);
    if (pszValue == nullptr)
        pszValue = node.getText();
    const std::string_view value = pszValue == nullptr ? "" : pszValue;
    if (pszValue == nullptr)
        Add(Weight::Error, node.getLine(), strWhat + " has no attribute \"" + pszAttribute + "\".", strCure);
    else if (value.find_first_not_of(" \t\r\n") == std::string_view::npos)
        Add(Weight::Error, node.getLine(), strWhat + " is empty.", strCure);
    else if (value.size() > kLongestValue)
        Add(Weight::Error, node.getLine(),
            strWhat + " has " + std::to_string(value.size()) + " bytes; the most are 254.", strCure);
    else
        return false;
    return true;
}

// Of a key that is not in its group: where it stands instead, or what may be meant to be it.
void SettingsCheck::ExplainElsewhere(const SettingsFinding& finding, const std::string& strCure)
{
    const std::string& strKey = finding.strKey;
    std::string strOther, strSimilar;
    int nOther = 0;
    SettingsTree::ForEach(m_tree.Top(), "module", [&](const Node& module, const char*) {
        SettingsTree::ForEach(module, "group", [&](const Node& group, const char* pszGroup) {
            const Node node = SettingsTree::Find(group, "property", strKey);
            if (nOther == 0 && !node.isEmpty()) {
                strOther = pszGroup == nullptr ? "" : pszGroup;
                nOther = node.getLine();
            }
        });
    });
    const Node group = m_tree.Group(finding.strGroup);
    SettingsTree::ForEach(group, "property", [&](const Node& node, const char* pszName) {
        if (pszName != nullptr && CureOf(pszName).empty() && Distance(pszName, strKey) <= 2)
            strSimilar =
                "Did you mean it by " + Quote(pszName) + " in line " + std::to_string(node.getLine()) + "?";
    });
    const std::string strGroup = "in the group " + finding.strGroup;
    if (const Node array = SettingsTree::Find(group, "property_array", strKey); !array.isEmpty())
        Add(Weight::Error, array.getLine(), strKey + " is a property_array; it has to be a property.",
            strCure);
    else if (nOther > 0)
        Add(Weight::Error, nOther, strKey + " stands in the group " + Quote(strOther) + ".",
            "Move it to its own place " + strGroup + " of the module VELKAR.");
    else
        Add(Weight::Error, LineOf(finding), strKey + " is missing " + strGroup + ".",
            strSimilar.empty() ? strCure : strSimilar);
}

void SettingsCheck::ExplainArray(const SettingsFinding& finding)
{
    const Node group = m_tree.Group(finding.strGroup);
    const Node array = SettingsTree::Find(group, "property_array", finding.strKey);
    const std::string strWhat = "Product array " + finding.strKey;
    const std::string strForm =
        "Write <property_array name=\"" + finding.strKey +
        "\" size=\"3\" value0=\"product id\" value1=\"name\" value2=\"billing id\"/>.";
    if (const int nLine = SettingsTree::LineOfNameless(group, "property_array", array); nLine > 0) {
        Add(Weight::Error, nLine,
            "A property_array without a name hides product array " + finding.strKey + " behind it.",
            "Give the array a name, or remove it.");
        return;
    }
    if (array.isEmpty()) {
        Add(Weight::Error, LineOf({Kind::Read, finding.strGroup, "ID_COUNT", "", ""}),
            strWhat + " is missing, but ID_COUNT includes it.", strForm + " Or correct ID_COUNT.");
        return;
    }
    const char* const pszSize = array.getAttribute("size");
    if (pszSize == nullptr || std::atoi(pszSize) < 3) {
        Add(Weight::Error, array.getLine(), strWhat + " has no size of 3.", strForm);
        return;
    }
    const std::string strAttribute = "value" + finding.strValue;
    if (!ExplainValue(array, strAttribute.c_str(), strAttribute + " of product array " + finding.strKey,
                      strForm))
        Add(Weight::Error, array.getLine(), strWhat + " cannot be read.", strForm);
}

// ---- what the reader takes without a word ----

void SettingsCheck::LookAtNumber(const SettingsFinding& finding)
{
    const std::size_t nRest = finding.strValue.find_first_not_of("0123456789", 1);
    if (nRest != std::string::npos)
        Add(Weight::Warning, LineOf(finding),
            "Of the value " + Quote(finding.strValue) + " of " + finding.strKey + " only " +
                finding.strValue.substr(0, nRest) + " counts.",
            CureOf(finding.strKey));
}

void SettingsCheck::LookAtProduct(const SettingsFinding& finding)
{
    const int nLine = LineOf(finding);
    const auto [it, bNew] = m_mapProducts.emplace(finding.strValue, nLine);
    if (!bNew)
        Add(Weight::Warning, nLine,
            "Product " + finding.strValue + " stands in line " + std::to_string(it->second) +
                " already, and that entry counts.",
            "Remove one of the two, and correct names and ID_COUNT.");
}

void SettingsCheck::LookAtText(const SettingsFinding& finding)
{
    const std::string& strValue = finding.strValue;
    if (strValue.find_first_of("\"'") == 0)
        Add(Weight::Warning, LineOf(finding),
            finding.strKey + " has no closing quotation mark: " + Quote(strValue) + ".",
            "Put the value between two quotation marks.");
    const bool bPort = std::count(strValue.begin(), strValue.end(), ':') == 1;
    if (finding.strKey == "SERVER_IP" && (bPort || strValue.find_first_of("/ []") != std::string::npos))
        Add(Weight::Warning, LineOf(finding),
            "SERVER_IP is neither an address nor a host name: " + Quote(strValue) + ".",
            CureOf(finding.strKey) + " The port stands in SERVER_PORT.");
    const bool bDrive = strValue.size() > 1 && strValue[1] == ':';
    if (finding.strKey == "LOGOVA_CONFIG_FILE" && (strValue.find_first_of("/\\") == 0 || bDrive))
        Add(Weight::Warning, LineOf(finding),
            "LOGOVA_CONFIG_FILE is an absolute path, which is taken as relative: " + Quote(strValue) + ".",
            CureOf(finding.strKey));
}

// Of two children with one name the library sees the first one only.
void SettingsCheck::LookForDoubles(const Node& parent, const char* pszElement)
{
    std::map<std::string, int> mapLines;
    SettingsTree::ForEach(parent, pszElement, [&](const Node& child, const char* pszName) {
        if (pszName == nullptr)
            return;
        std::string strName = pszName;
        std::transform(strName.begin(), strName.end(), strName.begin(),
                       [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
        const auto [it, bNew] = mapLines.emplace(strName, child.getLine());
        if (!bNew)
            Add(Weight::Warning, child.getLine(),
                std::string("The ") + pszElement + " " + Quote(pszName) + " stands in line " +
                    std::to_string(it->second) + " already, and that one counts.",
                "Remove one of the two.");
    });
}

}  // namespace

bool CheckSettings(const std::string& strPath, Report& report)
{
    CConfigReader& reader = ConfigReader();
    Tarvo::XmlParser::SetReportSink([](const char*, const char*) {});  // the report tells it
    if (!Host::FileExists(strPath)) {
        report.Add(
            {Weight::Error, strPath, 0, "The settings file is not there.",
             "Put VelkarConnectorConfig.tl2 beside the program that loads the library, or name it with "
             "--settings."});
        return false;
    }
    const bool bGood = reader.Check(strPath, nullptr);
    const std::string strLibrary = reader.GetLastErrorText();
    SettingsCheck(strPath, report).Run();
    if (!bGood) {
        const Weight weight = report.Has(Weight::Error) ? Weight::Note : Weight::Error;
        report.Add({weight, "", 0, "InitModule would fail with: " + strLibrary, ""});
    }
    return bGood;
}

}  // namespace Check
