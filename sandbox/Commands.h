// The commands of the program: "velkar-sandbox run", and those that ask a sandbox which runs already,
// "velkar-sandbox follow" and "velkar-sandbox trigger". They are clients of its HTTP interface.
#pragma once

#include <optional>

namespace Sandbox {

// Runs the command of the command line and returns the exit code of the program; nothing if the command line
// names no command.
std::optional<int> RunCommand(int argc, const char* const* argv);

}  // namespace Sandbox
