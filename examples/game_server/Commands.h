// The console of the example: one command a line.
#pragma once

#include <string>

#include "Game.h"
#include "Sessions.h"
#include "Shop.h"
#include "Tasks.h"

// The game's pieces, and the thread that belongs to them.
struct Server {
    Server(const std::string& strGameID, const std::string& strServerID) : shop(game, strGameID, strServerID)
    {
    }
    Tasks tasks;
    Game game;
    Sessions sessions{game};
    Shop shop;
};

// One command; "!" in front says that it is meant to fail. False if it did not do what it should. The game's
// thread alone.
bool RunCommand(Server& server, const std::string& strLine);
