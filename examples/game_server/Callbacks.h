// What the service tells the game and asks of it.
#pragma once

#include "Game.h"
#include "Sessions.h"
#include "Tasks.h"

// The table for InitModule. Game, sessions and tasks must live until UninitModule has returned; no callback
// starts afterwards. strServerID is this server's: requests that name another server are refused.
_CONNECTOR_CALLBACKS MakeCallbacks(Game& game, Sessions& sessions, Tasks& tasks,
                                   const std::string& strServerID);
