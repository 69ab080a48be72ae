// The command line; docs/sandbox-program.md explains every option.
#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "sandbox/base/Console.h"

namespace Sandbox {

struct Options {
    std::string strHost = "127.0.0.1";
    unsigned short nPort = 12000;  // 0: any free one
    std::string strDb{};           // a file, or a URL of PostgreSQL; empty: in memory
    std::string strSeed = "demo";  // or "none", or a JSON file, or its text
    std::string strRecord{};       // file for a recording; empty: none
    std::chrono::milliseconds answerDelay{0};
    Verbosity verbosity = Verbosity::Normal;
    std::string strPortFile{};  // empty: none
    bool bHttp = true;
    std::string strHttpHost = "127.0.0.1";
    unsigned short nHttpPort = 12001;  // 0: any free one
    std::string strHttpPortFile{};     // empty: none
    bool bSaveOnPurchase = false;
};

// Exit codes of the program.
enum ExitCode : int { kEnded = 0, kCannotStart = 1, kBadCommandLine = 2, kFailed = 3 };

// Fills options and returns nothing. If the command line asks for help or version or is wrong, prints that
// and returns the exit code of the program.
std::optional<int> ParseCommandLine(int argc, const char* const* argv, Options& options);

}  // namespace Sandbox
