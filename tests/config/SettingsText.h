// A good settings file that a test makes bad in one place, and the place on disk for it.
#pragma once

#include <cstdio>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "platform/Host.h"
#include "tests/support/Files.h"

namespace SettingsText {

class Text {
public:
    using Values = std::map<std::string, std::string>;

    // Properties of CONNECTOR_INFO and LOGOVA_INFO, ID_COUNT and EVENT_CODE_COUNT.
    Text& Set(const Values& values)
    {
        for (const auto& [strKey, strValue] : values)
            m_values[strKey] = strValue;
        return *this;
    }
    Text& Remove(const std::string& strWord)  // a key, a group or VELKAR
    {
        m_values.erase(strWord);
        m_setRemoved.insert(strWord);
        return *this;
    }
    struct Billing {
        std::string strId, strName, strBillingId;
    };
    // From 1 on, with their count.
    Text& Products(const std::vector<Billing>& vecProducts)
    {
        for (const auto& [strId, strName, strBillingId] : vecProducts)
            m_strProducts += "<property_array name='" + std::to_string(++m_nProducts) +
                             "' size='3' value0='" + strId + "' value1='" + strName + "' value2='" +
                             strBillingId + "'/>\n";
        return Set({{"ID_COUNT", std::to_string(m_nProducts)}});
    }
    // From 0 on, with their count.
    Text& Events(const std::vector<std::string>& vecNames)
    {
        for (const std::string& strName : vecNames)
            m_strEvents += Property(std::to_string(m_nEvents++), strName);
        return Set({{"EVENT_CODE_COUNT", std::to_string(m_nEvents)}});
    }

    std::string Xml() const
    {
        return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<TARVO>\n<module name='" + Word("VELKAR") +
               "'>\n" +
               Group("CONNECTOR_INFO", {"SERVER_IP", "SERVER_PORT", "HEARTBEAT_CYCLE", "RECONNECT_CYCLE",
                                        "CHARGE_CYCLE", "USE_USER_NUMBER", "TL2RELOAD_CYCLE"}) +
               Group("BILLING_ID_INFO", {"ID_COUNT"}, m_strProducts) +
               Group("SPECIFIC_EVENT_CODE_INFO", {"EVENT_CODE_COUNT"}, m_strEvents) +
               Group("LOGOVA_INFO", {"LOGOVA_CONFIG_FILE", "LOGOVA_SERVICE", "LOGOVA_LOGGER"}) +
               "</module>\n</TARVO>\n";
    }

private:
    std::string Word(const std::string& str) const { return m_setRemoved.contains(str) ? "other" : str; }
    static std::string Property(const std::string& strKey, const std::string& strValue)
    {
        return "<property name='" + strKey + "' value='" + strValue + "'/>\n";
    }
    std::string Group(const char* pszName, const std::vector<const char*>& vecKeys,
                      const std::string& strMore = "") const
    {
        std::string out = "<group name='" + Word(pszName) + "'>\n";
        for (const char* pszKey : vecKeys) {
            if (const auto it = m_values.find(pszKey); it != m_values.end())
                out += Property(pszKey, it->second);
        }
        return out + strMore + "</group>\n";
    }

    Values m_values{
        {"SERVER_IP", "10.0.0.1"},     {"SERVER_PORT", "7000"},     {"HEARTBEAT_CYCLE", "11"},
        {"RECONNECT_CYCLE", "12"},     {"CHARGE_CYCLE", "13"},      {"USE_USER_NUMBER", "true"},
        {"ID_COUNT", "999"},           {"EVENT_CODE_COUNT", "999"}, {"LOGOVA_CONFIG_FILE", "log.conf"},
        {"LOGOVA_SERVICE", "service"}, {"LOGOVA_LOGGER", "logger"}};
    std::set<std::string> m_setRemoved;
    int m_nProducts = 0, m_nEvents = 0;
    std::string m_strProducts, m_strEvents;
};

// A good file but for the port.
inline Text Port(int nPort) { return Text().Set({{"SERVER_PORT", std::to_string(nPort)}}); }

// A file of its own in the directory that the reload thread watches; gone with the object.
class File {
public:
    File()
    {
        static int s_nFiles = 0;
        m_strPath = Host::GetExecutableDirectory() + Host::GetPathSeparator() + "config-test-" +
                    std::to_string(++s_nFiles) + ".tl2";
        std::remove(m_strPath.c_str());
    }
    ~File() { std::remove(m_strPath.c_str()); }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    const std::string& Path() const { return m_strPath; }
    // Truncates and writes, as an editor does.
    void Write(const std::string& strBytes) const { Support::WriteFile(m_strPath, strBytes); }
    void Write(const Text& text) const { Write(text.Xml()); }

private:
    std::string m_strPath;
};

}  // namespace SettingsText
