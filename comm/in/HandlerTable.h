// The roof of the way in: the table of the 31 messages that the service sends. connector/Module.cpp hands
// RegisterHandlers to the comm handler, so that the comm handler need not know any handler.
#pragma once

#include "wirova/WirovaBase.h"

// Enters all handlers, each with a null context. Called once a process, on the pool thread of the first
// connection, before the registration is sent: no message can arrive earlier.
void RegisterHandlers(Wirova::CMsgHandlerTable& table);
