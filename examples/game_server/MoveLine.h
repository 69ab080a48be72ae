// What a user takes along to another game server, as one word. How it gets there is the game's affair:
// a message between its servers, a database.
#pragma once

#include <string>

#include "VelkarConnector.h"

std::string WriteMoveLine(const _USER_MOVE_INFO& info);
// False, with the record undefined, if the text is not one of WriteMoveLine's.
bool ReadMoveLine(const std::string& strText, _USER_MOVE_INFO& info);
