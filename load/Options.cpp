#include "load/Options.h"

#include <CLI/CLI.hpp>

namespace Load {

std::optional<int> ParseCommandLine(int argc, const char* const* argv, Options& options)
{
    CLI::App app{
        "Plays many game servers and their users against a Velkar service, over the wire.\n"
        "Against a service of your own: users, coin and goods of the mix have to exist there."};
    app.set_version_flag("--version", "velkar-load " VELKAR_VERSION);
    app.add_option("--host", options.strHost, "Address of the service")->capture_default_str();
    app.add_option("--port", options.nPort, "Its TCP port")->capture_default_str();
    app.add_option("--servers", options.nServers, "Game servers, one link each")
        ->check(CLI::Range(1, 10'000))
        ->capture_default_str();
    app.add_option("--users", options.nUsers, "Users over all servers")
        ->check(CLI::Range(1, 5'000'000))
        ->capture_default_str();
    app.add_option("--rate", options.dRate, "Calls a second over all servers; 0: as fast as answers come")
        ->check(CLI::Range(0.0, 1e6))
        ->capture_default_str();
    app.add_option("--in-flight", options.nInFlight, "Calls that wait for answers, for each server at most")
        ->check(CLI::Range(1, 10'000))
        ->capture_default_str();
    app.add_option("--seconds", options.nSeconds, "How long to measure")
        ->check(CLI::Range(1, 86'400))
        ->capture_default_str();
    app.add_option("--calls", options.nCalls, "Ends after so many calls; 0: when the time is over")
        ->capture_default_str();
    app.add_option("--warm", options.nWarm, "Per cent of the users who are checked in before it begins")
        ->check(CLI::Range(0, 100))
        ->capture_default_str();
    app.add_option("--mix", options.strMix,
                   "JSON file of the calls; --print-mix shows the one that is built in");
    app.add_option("--seed", options.nSeed, "Of the random numbers; the same seed draws the same calls")
        ->capture_default_str();
    app.add_option("--svg", options.strSvg, "File for the picture");
    app.add_option("--json", options.strJson, "File for the figures");
    app.add_option("--log", options.strLog, "File with a line for each call: name, user, outcome");
    app.add_option("--write-seed", options.strSeedFile,
                   "Writes a seed file of these users and a shop for velkar-sandbox, and ends");
    app.add_flag("--print-mix", options.bPrintMix, "Prints the mix that is built in, and ends");
    app.add_flag("--strict", options.bStrict,
                 "Exit code 3 if a call was refused, late or lost, or a link lost");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        return app.exit(e) == 0 ? kDone : kBadCommandLine;
    }
    return std::nullopt;
}

}  // namespace Load
