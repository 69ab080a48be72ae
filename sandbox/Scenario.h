// "velkar-sandbox run scenario.json": starts a sandbox, plays the steps of a file against the game server
// that connects, and reports. docs/scenarios.md describes the file.
#pragma once

namespace Sandbox {

// The command line begins with "run". Returns the exit code of the program.
int RunScenarioCommand(int argc, const char* const* argv);

}  // namespace Sandbox
