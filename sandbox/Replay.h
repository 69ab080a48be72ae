// "velkar-sandbox replay FILE": plays the service's part of a recorded run against the game server that
// connects, and compares what the game server sends with what was recorded.
#pragma once

namespace Sandbox {

// The command line begins with "replay". Returns the exit code of the program.
int RunReplayCommand(int argc, const char* const* argv);

}  // namespace Sandbox
