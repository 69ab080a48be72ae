#include "tests/support/Settings.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace Support {

namespace fs = std::filesystem;

namespace {

std::string Escaped(const std::string& strText)
{
    static const std::map<char, std::string> s_map{
        {'&', "&amp;"}, {'<', "&lt;"}, {'>', "&gt;"}, {'"', "&quot;"}};
    std::string out;
    for (const char c : strText)
        out += s_map.count(c) != 0 ? s_map.at(c) : std::string(1, c);
    return out;
}

// 999 is how the file says "none".
std::string CountOf(std::size_t nSize) { return nSize == 0 ? "999" : std::to_string(nSize); }

void WriteFile(const fs::path& path, const std::string& strText)
{
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << strText;
    file.close();
    if (!file)
        throw std::runtime_error("cannot write " + path.string());
}

}  // namespace

std::string Settings::Text() const
{
    const auto property = [this](const std::string& strName, const std::string& strValue) {
        const auto it = overrides.find(strName);
        return "<property name=\"" + strName + "\" value=\"" +
               Escaped(it == overrides.end() ? strValue : it->second) + "\"/>\n";
    };
    const auto group = [](const std::string& strName, const std::string& strProperties) {
        return "<group name=\"" + strName + "\">\n" + strProperties + "</group>\n";
    };
    std::string strProducts = property("ID_COUNT", CountOf(products.size()));
    for (std::size_t i = 0; i < products.size(); ++i)
        strProducts += "<property_array name=\"" + std::to_string(i + 1) + "\" size=\"3\" value0=\"" +
                       std::to_string(products[i].nProductID) + "\" value1=\"" +
                       Escaped(products[i].strName) + "\" value2=\"" +
                       std::to_string(products[i].nBillingID) + "\"/>\n";
    std::string strEvents = property("EVENT_CODE_COUNT", CountOf(events.size()));
    for (std::size_t i = 0; i < events.size(); ++i)
        strEvents += property(std::to_string(i), events[i]);
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<TARVO>\n<module name=\"VELKAR\">\n" +
           group("CONNECTOR_INFO", property("SERVER_IP", strServerIP) +
                                       property("SERVER_PORT", std::to_string(nServerPort)) +
                                       property("HEARTBEAT_CYCLE", std::to_string(nHeartbeatCycle)) +
                                       property("RECONNECT_CYCLE", std::to_string(nReconnectCycle)) +
                                       property("CHARGE_CYCLE", std::to_string(nChargeCycle)) +
                                       property("USE_USER_NUMBER", bUseUserNumber ? "true" : "false")) +
           group("BILLING_ID_INFO", strProducts) + group("SPECIFIC_EVENT_CODE_INFO", strEvents) +
           group("LOGOVA_INFO", property("LOGOVA_CONFIG_FILE", strLogFile) +
                                    property("LOGOVA_SERVICE", strLogService) +
                                    property("LOGOVA_LOGGER", strLogLogger)) +
           "</module>\n</TARVO>\n";
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
        WriteFile(log, "");  // every log service can start from that
}

}  // namespace Support
