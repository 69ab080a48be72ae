// The billing of a user who moves to another game server, as one word of text. The game itself brings the
// word to the other server, by a message between its servers or through a database.
#pragma once

#include <string>

#include "VelkarConnector.h"

std::string WriteMoveLine(const _USER_MOVE_INFO& info);
// False if WriteMoveLine has not written the text; the record must not be used then.
bool ReadMoveLine(const std::string& strText, _USER_MOVE_INFO& info);
