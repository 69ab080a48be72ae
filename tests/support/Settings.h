// The library's settings file, with every compulsory key and with values that disturb no test: the
// cycles are so long that nothing happens by itself.
//
//     Settings settings;               what Game().settings is
//     settings.nReconnectCycle = 1;    seconds
//     settings.products = {{7, "Gold", 2}, {8, "Silver", 1}};
//     settings.events = {"BILLING_EXPIRE", "WARNING"};   event codes 0, 1
//     settings.WriteTo(strDirectory);
#pragma once

#include <string>
#include <vector>

#include "tests/support/Answers.h"

namespace Support {

struct Settings {
    struct Product {
        int nProductID;
        std::string strName;
        int nBillingID;  // 1: a term, 2: charged, 3: both
    };

    int nServerPort = 1;
    int nHeartbeatCycle = 3600;
    int nReconnectCycle = 3600;
    int nChargeCycle = 3600;
    bool bUseUserNumber = false;
    std::vector<Product> products = {{kProductID, "Gold", 2}};
    std::vector<std::string> events;  // names of the codes from 0 on

    std::string Text() const;
    // Puts the file into the directory in one step, with a last write time that no earlier one had, and
    // beside it a file for the log service if there is none.
    void WriteTo(const std::string& strDirectory) const;
};

inline constexpr const char* kSettingsFile = "VelkarConnectorConfig.tl2";
inline constexpr const char* kLogSettingsFile = "VelkarConnectorLog.conf";

}  // namespace Support
