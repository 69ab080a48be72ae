#include "tests/support/Settings.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace Support {

namespace fs = std::filesystem;

namespace {

std::string Escaped(const std::string& strText)
{
    std::string out;
    for (const char c : strText) {
        switch (c) {
            case '&':
                out += "&amp;";
                break;
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '"':
                out += "&quot;";
                break;
            default:
                out += c;
        }
    }
    return out;
}

class Writer {
public:
    explicit Writer(const std::map<std::string, std::string>& overrides) : m_overrides(overrides) {}

    void Open(const std::string& strTag, const std::string& strName)
    {
        Line('<' + strTag + " name=\"" + strName + "\">");
        ++m_nDepth;
    }
    void Close(const std::string& strTag)
    {
        --m_nDepth;
        Line("</" + strTag + '>');
    }
    void Property(const std::string& strName, const std::string& strValue)
    {
        const auto it = m_overrides.find(strName);
        Line("<property name=\"" + strName + "\" value=\"" +
             Escaped(it == m_overrides.end() ? strValue : it->second) + "\"/>");
    }
    void Property(const std::string& strName, int nValue) { Property(strName, std::to_string(nValue)); }
    void Line(const std::string& strLine) { m_strText += std::string(m_nDepth, '\t') + strLine + '\n'; }
    const std::string& Text() const { return m_strText; }

private:
    const std::map<std::string, std::string>& m_overrides;
    std::size_t m_nDepth = 0;
    std::string m_strText;
};

// 999 is how the file says "none".
int CountOf(std::size_t nSize) { return nSize == 0 ? 999 : static_cast<int>(nSize); }

void WriteFile(const fs::path& path, const std::string& strText)
{
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << strText;
    file.close();
    if (!file)
        throw std::runtime_error("cannot write " + path.string());
}

// What every log service can start from.
constexpr const char* kLogConfiguration = "";

}  // namespace

std::string Settings::Text() const
{
    Writer w(overrides);
    w.Line("<?xml version=\"1.0\" encoding=\"utf-8\"?>");
    w.Line("<TARVO>");
    w.Open("module", "VELKAR");
    w.Open("group", "CONNECTOR_INFO");
    w.Property("SERVER_IP", strServerIP);
    w.Property("SERVER_PORT", nServerPort);
    w.Property("HEARTBEAT_CYCLE", nHeartbeatCycle);
    w.Property("RECONNECT_CYCLE", nReconnectCycle);
    w.Property("CHARGE_CYCLE", nChargeCycle);
    w.Property("USE_USER_NUMBER", bUseUserNumber ? "true" : "false");
    w.Close("group");
    w.Open("group", "BILLING_ID_INFO");
    w.Property("ID_COUNT", CountOf(products.size()));
    for (std::size_t i = 0; i < products.size(); ++i) {
        w.Line("<property_array name=\"" + std::to_string(i + 1) + "\" size=\"3\" value0=\"" +
               std::to_string(products[i].nProductID) + "\" value1=\"" + Escaped(products[i].strName) +
               "\" value2=\"" + std::to_string(products[i].nBillingID) + "\"/>");
    }
    w.Close("group");
    w.Open("group", "SPECIFIC_EVENT_CODE_INFO");
    w.Property("EVENT_CODE_COUNT", CountOf(events.size()));
    for (std::size_t i = 0; i < events.size(); ++i)
        w.Property(std::to_string(i), events[i]);
    w.Close("group");
    w.Open("group", "LOGOVA_INFO");
    w.Property("LOGOVA_CONFIG_FILE", strLogFile);
    w.Property("LOGOVA_SERVICE", strLogService);
    w.Property("LOGOVA_LOGGER", strLogLogger);
    w.Close("group");
    w.Close("module");
    w.Line("</TARVO>");
    return w.Text();
}

void Settings::WriteTo(const std::string& strDirectory) const
{
    const fs::path target = fs::path(strDirectory) / kSettingsFile;
    const fs::path temporary = fs::path(strDirectory) / "VelkarConnectorConfig.new";
    WriteFile(temporary, Text());
    std::error_code missing;
    const auto before = fs::last_write_time(target, missing);
    // The system's own steps of time may be coarser than two saves of a test.
    if (!missing && fs::last_write_time(temporary) <= before)
        fs::last_write_time(temporary, before + std::chrono::seconds(1));
    fs::rename(temporary, target);
    const fs::path log = fs::path(strDirectory) / strLogFile;
    if (!fs::exists(log))
        WriteFile(log, kLogConfiguration);
}

}  // namespace Support
