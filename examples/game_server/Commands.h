// The console of the example: one command a line.
#pragma once

#include <string>

#include "Game.h"
#include "Sessions.h"
#include "Tasks.h"

// The game's pieces, and the thread that belongs to them.
struct Server {
    Tasks tasks;
    Game game;
    Sessions sessions{game};
};

// One command; "!" in front says that it is meant to fail. False if it did not do what it should. The game's
// thread alone.
bool RunCommand(Server& server, const std::string& strLine);
