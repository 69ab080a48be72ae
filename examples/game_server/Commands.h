// The commands of the example's console, one on each line.
#pragma once

#include <string>

#include "Game.h"
#include "Sessions.h"
#include "Shop.h"
#include "Tasks.h"

// The game's pieces. The thread that runs tasks is the game's thread; sessions and shop belong to it.
struct Server {
    Server(const std::string& strGameID, const std::string& strServerID) : shop(game, strGameID, strServerID)
    {
    }
    Tasks tasks;
    Game game;
    Sessions sessions{game};
    Shop shop;
};

// Runs one command and returns whether it did what it should: succeed, or fail if "!" stands in front of it.
// Only on the game's thread.
bool RunCommand(Server& server, const std::string& strLine);
