// The check of the service's address and, if one is named, of a connector's identity.
#pragma once

#include <string>

#include "check/Report.h"

namespace Check {

// The three texts of _CONNECTOR_ID. All empty: no identity, which no service accepts.
struct Identity {
    std::string strGID, strSID, strWID;
    bool IsEmpty() const { return strGID.empty() && strSID.empty() && strWID.empty(); }
};

// Connects to the address of the settings in force, as the library does, and sends a registration. Blocks for
// up to 5000 milliseconds to connect and as long again for the answer, and with an identity that the service
// accepts for as long as a game server that has it may take to come back.
void CheckConnection(const Identity& identity, Report& report);

}  // namespace Check
