// A good settings file that a test makes bad in one place, and the place on disk for it.
#pragma once

#include <cstdio>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "platform/Host.h"

namespace Settings {

class Text {
public:
    // Properties of CONNECTOR_INFO and LOGOVA_INFO, ID_COUNT and EVENT_CODE_COUNT.
    Text& Set(const std::string& strKey, const std::string& strValue)
    {
        m_values[strKey] = strValue;
        return *this;
    }
    Text& Remove(const std::string& strWord)  // a key, a group or VELKAR
    {
        m_values.erase(strWord);
        m_vecRemoved.push_back(strWord);
        return *this;
    }
    Text& Product(const std::string& strIndex, const std::string& strId, const std::string& strName,
                  const std::string& strBillingId)
    {
        m_strProducts += "<property_array name='" + strIndex + "' size='3' value0='" + strId + "' value1='" +
                         strName + "' value2='" + strBillingId + "'/>\n";
        return *this;
    }
    Text& Event(const std::string& strCode, const std::string& strName)
    {
        m_strEvents += "<property name='" + strCode + "' value='" + strName + "'/>\n";
        return *this;
    }

    std::string Xml() const
    {
        return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<TARVO>\n<module name='" + Word("VELKAR") +
               "'>\n" +
               Group("CONNECTOR_INFO",
                     {"SERVER_IP", "SERVER_PORT", "HEARTBEAT_CYCLE", "RECONNECT_CYCLE", "CHARGE_CYCLE",
                      "USE_USER_NUMBER", "TL2RELOAD_CYCLE"},
                     "") +
               Group("BILLING_ID_INFO", {"ID_COUNT"}, m_strProducts) +
               Group("SPECIFIC_EVENT_CODE_INFO", {"EVENT_CODE_COUNT"}, m_strEvents) +
               Group("LOGOVA_INFO", {"LOGOVA_CONFIG_FILE", "LOGOVA_SERVICE", "LOGOVA_LOGGER"}, "") +
               "</module>\n</TARVO>\n";
    }

private:
    std::string Word(const std::string& strWord) const
    {
        for (const std::string& strRemoved : m_vecRemoved) {
            if (strRemoved == strWord)
                return "other";
        }
        return strWord;
    }
    std::string Group(const char* pszName, const std::vector<std::string>& vecKeys,
                      const std::string& strMore) const
    {
        std::string out = "<group name='" + Word(pszName) + "'>\n";
        for (const std::string& strKey : vecKeys) {
            if (const auto it = m_values.find(strKey); it != m_values.end())
                out += "<property name='" + strKey + "' value='" + it->second + "'/>\n";
        }
        return out + strMore + "</group>\n";
    }

    std::map<std::string, std::string> m_values{
        {"SERVER_IP", "10.0.0.1"},     {"SERVER_PORT", "7000"},     {"HEARTBEAT_CYCLE", "11"},
        {"RECONNECT_CYCLE", "12"},     {"CHARGE_CYCLE", "13"},      {"USE_USER_NUMBER", "true"},
        {"ID_COUNT", "999"},           {"EVENT_CODE_COUNT", "999"}, {"LOGOVA_CONFIG_FILE", "log.conf"},
        {"LOGOVA_SERVICE", "service"}, {"LOGOVA_LOGGER", "logger"},
    };
    std::vector<std::string> m_vecRemoved;
    std::string m_strProducts;
    std::string m_strEvents;
};

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
    void Write(const std::string& strBytes) const
    {
        std::ofstream(m_strPath, std::ios::binary | std::ios::trunc) << strBytes;
    }
    void Write(const Text& text) const { Write(text.Xml()); }

private:
    std::string m_strPath;
};

}  // namespace Settings
