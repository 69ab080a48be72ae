// velkar-sandbox: the command line, the console on standard output, port files, exit codes.
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "sandbox/Commands.h"
#include "sandbox/Server.h"

namespace {

// Writes another file and renames it, so that a script that waits for the port file never reads half of it.
void WritePortFile(const std::string& strPath, unsigned short nPort)
{
    const std::string strNew = strPath + ".new";
    std::ofstream file(strNew, std::ios::trunc);
    file << nPort << '\n';
    file.close();
    std::error_code error;
    std::filesystem::rename(strNew, strPath, error);
    if (!file || error)
        throw Sandbox::StartError("The port file '" + strPath + "' cannot be written.");
}

void RemovePortFile(const std::string& strPath)
{
    std::error_code ignored;
    if (!strPath.empty())
        std::filesystem::remove(strPath, ignored);
}

}  // namespace

int main(int argc, char** argv)
{
    using namespace Sandbox;
    if (const auto exitCode = RunCommand(argc, argv))
        return *exitCode;
    Options options;
    if (const auto exitCode = ParseCommandLine(argc, argv, options))
        return *exitCode;
    std::signal(SIGPIPE, SIG_IGN);  // otherwise a closed pipe on standard output would end the process
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    const Console console(options.verbosity, [](const std::string& strLine) {
        std::fwrite(strLine.data(), 1, strLine.size(), stdout);
        std::fputc('\n', stdout);
    });
    const SystemClock clock;
    RemovePortFile(options.strPortFile);  // left over by a run that was killed
    RemovePortFile(options.strHttpPortFile);
    try {
        Server server(options, clock, console);
        server.StopOnSignals();
        if (!options.strPortFile.empty())
            WritePortFile(options.strPortFile, server.GetPort());
        if (!options.strHttpPortFile.empty())
            WritePortFile(options.strHttpPortFile, server.GetHttpPort());
        server.Run();
        RemovePortFile(options.strPortFile);
        RemovePortFile(options.strHttpPortFile);
        console.Say("Ended.");
        return kEnded;
    } catch (const StartError& e) {
        std::fprintf(stderr, "velkar-sandbox: %s\n", e.what());
        return kCannotStart;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "velkar-sandbox: unexpected failure: %s\n", e.what());
        return kFailed;
    }
}
