// velkar-check: the command line and the order of the checks.
#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <cstdio>
#include <vector>

#include "check/Connection.h"
#include "check/LogFile.h"
#include "check/Settings.h"
#include "config/ConfigReader.h"
#include "platform/Host.h"

namespace {

constexpr const char* kFileName = "VelkarConnectorConfig.tl2";
constexpr int kWrongCommandLine = 3;

// The file beside this program, where the library would find the file if this program loaded it; otherwise
// that of the current directory.
std::string FindSettings()
{
    const std::string strBeside = Host::GetExecutableDirectory() + Host::GetPathSeparator() + kFileName;
    return Host::FileExists(strBeside) ? strBeside : kFileName;
}

int Run(const std::string& strSettings, bool bConnect, const Check::Identity& identity)
{
    const std::string strPath = strSettings.empty() ? FindSettings() : Host::PathFromText(strSettings);
    Check::Report report;
    std::printf("Settings: %s\n", Host::TextFromPath(strPath).c_str());
    const bool bUsable = Check::CheckSettings(strPath, report);
    if (!ConfigReader().GetLogovaConfigFile().empty())
        Check::CheckLogFile(strPath, report);
    if (bUsable && bConnect)
        Check::CheckConnection(identity, report);
    else if (bConnect)
        report.Add({Check::Weight::Note, "", 0, "No connection was tried with these settings.", ""});
    report.Print();
    return report.ExitCode();
}

}  // namespace

int main(int argc, char** argv)
{
    CLI::App app(
        "Reads the settings and the log's configuration as the Velkar Connector does, and says what is "
        "wrong.\n"
        "Exit code: 0 all is well, 1 warnings, 2 the library does not start, 3 wrong command line.",
        "velkar-check");
    std::string strSettings;
    bool bConnect = false;
    std::vector<std::string> vecIdentity;
    app.add_option(
           "--settings", strSettings,
           "The settings file; without it VelkarConnectorConfig.tl2 beside this program, or in the current "
           "directory")
        ->type_name("FILE");
    auto* const pConnect =
        app.add_flag("--connect", bConnect, "Connect to the service, too, and see whether it answers");
    app.add_option(
           "--identity", vecIdentity,
           "With --connect: register under this identity. A running game server that has it may lose its "
           "connection for one RECONNECT_CYCLE")
        ->type_name("GID SID WID")
        ->expected(3)
        ->needs(pConnect);
    app.set_version_flag("--version", "velkar-check " VELKAR_VERSION);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : kWrongCommandLine;
    }
    vecIdentity.resize(3);
    try {
        return Run(strSettings, bConnect, {vecIdentity[0], vecIdentity[1], vecIdentity[2]});
    } catch (const std::exception& exception) {  // out of memory
        std::fprintf(stderr, "velkar-check: %s\n", exception.what());
        return 2;
    }
}
