// How the time of a settings load grows from 1,000 to 10,000 products and event codes. Prints both times and
// their ratio; about 10 is linear.
#include <cstdio>
#include <ctime>
#include <fstream>
#include <string>

#include "config/BillingIdMap.h"
#include "config/ConfigReader.h"
#include "config/EventCodeMap.h"
#include "platform/Host.h"

namespace {

std::string SettingsText(int nCount)
{
    std::string products, events;
    for (int n = 1; n <= nCount; ++n) {
        const std::string strIndex = std::to_string(n);
        products += "<property_array name='" + strIndex + "' size='3' value0='" + strIndex +
                    "' value1='Product number " + strIndex + "' value2='1'/>\n";
        events += "<property name='" + std::to_string(n - 1) + "' value='Event number " + strIndex + "'/>\n";
    }
    const std::string strCount = std::to_string(nCount);
    return "<TARVO><module name='VELKAR'><group name='CONNECTOR_INFO'>"
           "<property name='SERVER_IP' value='127.0.0.1'/><property name='SERVER_PORT' value='1'/>"
           "<property name='HEARTBEAT_CYCLE' value='1'/><property name='RECONNECT_CYCLE' value='1'/>"
           "<property name='CHARGE_CYCLE' value='1'/><property name='USE_USER_NUMBER' value='true'/></group>"
           "<group name='BILLING_ID_INFO'><property name='ID_COUNT' value='" +
           strCount + "'/>\n" + products +
           "</group><group name='SPECIFIC_EVENT_CODE_INFO'><property name='EVENT_CODE_COUNT' value='" +
           strCount + "'/>\n" + events +
           "</group><group name='LOGOVA_INFO'><property name='LOGOVA_CONFIG_FILE' value='a'/>"
           "<property name='LOGOVA_SERVICE' value='a'/><property name='LOGOVA_LOGGER' value='a'/></group>"
           "</module></TARVO>";
}

// Milliseconds of processor time of the fastest of ten loads into empty maps; below 0 if one fails.
double TimeOfLoad(int nCount)
{
    const std::string strPath = Host::GetExecutableDirectory() + Host::GetPathSeparator() + "config_load-" +
                                std::to_string(nCount) + ".tl2";
    std::ofstream(strPath, std::ios::binary) << SettingsText(nCount);
    CConfigReader reader;
    bool bGood = reader.Open(strPath);
    reader.Shutdown();
    double dBest = 1e9;
    for (int n = 0; n < 10 && bGood; ++n) {
        BillingIdMap().Clear();
        EventCodeMap().Clear();
        const std::clock_t start = std::clock();
        bGood = reader.Load() && BillingIdMap().GetProductCount() == nCount;
        const double dTaken = 1000.0 * static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
        dBest = dTaken < dBest ? dTaken : dBest;
    }
    reader.Shutdown();
    std::remove(strPath.c_str());
    return bGood ? dBest : -1;
}

}  // namespace

int main()
{
    const double dSmall = TimeOfLoad(1000);
    const double dLarge = TimeOfLoad(10000);
    if (dSmall < 0 || dLarge < 0) {
        std::fprintf(stderr, "A load has failed.\n");
        return 1;
    }
    std::printf("load of 1000 products and 1000 event codes:   %8.2f ms\n", dSmall);
    std::printf("load of 10000 products and 10000 event codes: %8.2f ms\n", dLarge);
    std::printf("growth: %.1f times for 10 times the size\n", dLarge / dSmall);
    return 0;
}
