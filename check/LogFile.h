// The check of the log's configuration.
#pragma once

#include <string>

#include "check/Report.h"

namespace Check {

// Reads the file that the settings in force name, relative to the directory of the settings file, as the
// library does at its start. The library runs without a log rather than not at all, so no mistake is an
// error.
void CheckLogFile(const std::string& strSettingsPath, Report& report);

}  // namespace Check
