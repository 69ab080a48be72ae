// The users and the shop of the built-in mix as a seed file of velkar-sandbox.
#pragma once

#include <string>

namespace Load {

// Throws std::runtime_error if the file cannot be written.
void WriteSeed(const std::string& strPath, int nUsers);

}  // namespace Load
