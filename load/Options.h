// The command line; docs/load.md explains every option.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace Load {

struct Options {
    std::string strHost = "127.0.0.1";
    unsigned short nPort = 12000;
    int nServers = 10;
    int nUsers = 1000;         // over all servers
    double dRate = 0;          // calls a second over all servers; 0: as fast as answers come
    int nInFlight = 8;         // calls without an answer, for each server at most
    int nSeconds = 10;         // of measurement
    std::uint64_t nCalls = 0;  // above 0: ends after so many
    int nWarm = 50;            // per cent of the users who are checked in before the measurement
    std::uint64_t nSeed = 1;
    std::string strMix{}, strSvg{}, strJson{}, strLog{};
    std::string strSeedFile{};  // not empty: is written, and nothing else is done
    bool bPrintMix = false;
    bool bStrict = false;  // refused, late and lost calls fail the run
};

enum ExitCode : int { kDone = 0, kFailed = 1, kBadCommandLine = 2, kNotClean = 3 };

// Fills options and returns nothing. If the command line asks for help or version or is wrong, prints that
// and returns the exit code of the program.
std::optional<int> ParseCommandLine(int argc, const char* const* argv, Options& options);

}  // namespace Load
