// The 31 messages that arrive from the service, and what every handler has in common.
#pragma once

#include "wirova/WirovaBase.h"

// Enters them all, in the order of the table, each with a null context.
void RegisterHandlers(Wirova::CMsgHandlerTable& table);
