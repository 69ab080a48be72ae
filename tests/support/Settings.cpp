#include "tests/support/Settings.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace Support {

namespace fs = std::filesystem;

namespace {

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
    std::ostringstream out;
    const auto property = [&](const auto& name, const auto& value) {
        out << "<property name=\"" << name << "\" value=\"" << value << "\"/>\n";
    };
    out << "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<TARVO>\n<module name=\"VELKAR\">\n"
           "<group name=\"CONNECTOR_INFO\">\n";
    property("SERVER_IP", "127.0.0.1");
    property("SERVER_PORT", nServerPort);
    property("HEARTBEAT_CYCLE", nHeartbeatCycle);
    property("RECONNECT_CYCLE", nReconnectCycle);
    property("CHARGE_CYCLE", nChargeCycle);
    property("USE_USER_NUMBER", bUseUserNumber ? "true" : "false");
    out << "</group>\n<group name=\"BILLING_ID_INFO\">\n";
    property("ID_COUNT", CountOf(products.size()));
    for (std::size_t i = 0; i < products.size(); ++i)
        out << "<property_array name=\"" << i + 1 << "\" size=\"3\" value0=\"" << products[i].nProductID
            << "\" value1=\"" << products[i].strName << "\" value2=\"" << products[i].nBillingID << "\"/>\n";
    out << "</group>\n<group name=\"SPECIFIC_EVENT_CODE_INFO\">\n";
    property("EVENT_CODE_COUNT", CountOf(events.size()));
    for (std::size_t i = 0; i < events.size(); ++i)
        property(i, events[i]);
    out << "</group>\n<group name=\"LOGOVA_INFO\">\n";
    property("LOGOVA_CONFIG_FILE", kLogSettingsFile);
    property("LOGOVA_SERVICE", "velkar");
    property("LOGOVA_LOGGER", "connector");
    out << "</group>\n</module>\n</TARVO>\n";
    return out.str();
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
    const fs::path log = fs::path(strDirectory) / kLogSettingsFile;
    if (!fs::exists(log))
        WriteFile(log, "");  // every log service can start from that
}

}  // namespace Support
