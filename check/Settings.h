// The check of a settings file: what the library's own reader says of it, explained.
#pragma once

#include <string>

#include "check/Report.h"

namespace Check {

// Puts every mistake of the file into the report. Afterwards the values of the file are in force in
// ConfigReader(). False if the library would not start with it.
bool CheckSettings(const std::string& strPath, Report& report);

}  // namespace Check
