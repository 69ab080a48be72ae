#include "sandbox/Options.h"

#include <CLI/CLI.hpp>

#include "sandbox/base/Version.h"

namespace Sandbox {

std::optional<int> ParseCommandLine(int argc, const char* const* argv, Options& options)
{
    CLI::App app{
        "A stand-in for the Velkar billing service, for people without the real one.\n"
        "It speaks the connector's protocol without any authentication: keep it on this machine.\n"
        "The commands \"follow\", \"trigger\" and \"coverage\" ask a sandbox that runs already, \"run\" and "
        "\"replay\" "
        "start one; each has a --help."};
    app.set_version_flag("--version", std::string("velkar-sandbox ") + kVersion);

    int nDelay = static_cast<int>(options.answerDelay.count());
    app.add_option("--host", options.strHost, "Address to listen on")->capture_default_str();
    app.add_option("--port", options.nPort, "TCP port; 0 takes a free one and prints it")
        ->capture_default_str();
    auto* const pDb = app.add_option(
        "--db", options.strDb,
        "SQLite file, or postgresql://..., that keeps users and sessions; in memory if not given");
    app.add_option("--record", options.strRecord,
                   "File that gets what passes, for \"replay\"; begins with the seed, so not with --db")
        ->excludes(pDb);
    app.add_option("--seed", options.strSeed, "Users and shops to start with: demo, none, or a JSON file")
        ->capture_default_str();
    app.add_flag("--save-on-purchase", options.bSaveOnPurchase,
                 "Ask the game to save each purchase into the inventory of a receiver who is checked in");
    app.add_option("--answer-delay", nDelay, "Milliseconds before an answer leaves")
        ->check(CLI::Range(0, 600'000))
        ->capture_default_str();
    app.add_option("--port-file", options.strPortFile, "File that gets the port once the sandbox listens");
    auto* const pHttpHost =
        app.add_option("--http-host", options.strHttpHost, "Address of the HTTP interface")
            ->capture_default_str();
    auto* const pHttpPort = app.add_option("--http-port", options.nHttpPort,
                                           "TCP port of the HTTP interface; 0 takes a free one and prints it")
                                ->capture_default_str();
    auto* const pHttpPortFile =
        app.add_option("--http-port-file", options.strHttpPortFile, "File that gets the HTTP port likewise");
    bool bNoHttp = false;
    app.add_flag("--no-http", bNoHttp, "No HTTP interface")
        ->excludes(pHttpHost)
        ->excludes(pHttpPort)
        ->excludes(pHttpPortFile);
    bool bQuiet = false, bVerbose = false;
    auto* const pQuiet = app.add_flag("--quiet", bQuiet, "Only start, end and what goes wrong");
    app.add_flag("--verbose", bVerbose, "Heartbeats too, and messages at length")->excludes(pQuiet);

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        return app.exit(e) == 0 ? kEnded : kBadCommandLine;
    }
    options.bHttp = !bNoHttp;
    options.answerDelay = std::chrono::milliseconds(nDelay);
    if (bQuiet)
        options.verbosity = Verbosity::Quiet;
    if (bVerbose)
        options.verbosity = Verbosity::Verbose;
    return std::nullopt;
}

}  // namespace Sandbox
