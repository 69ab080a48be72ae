// velkar-sandbox: the command line, the console on standard output, port files, exit codes.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <vector>

#include "platform/Program.h"
#include "sandbox/Commands.h"
#include "sandbox/Server.h"
#include "sandbox/base/Files.h"

namespace {

using namespace Sandbox;

// Writes another file and renames it, so that a script that waits for the port file never reads half of it.
void WritePortFile(const std::string& strPath, unsigned short nPort)
{
    const std::string strNew = strPath + ".new";
    std::ofstream file(PathOf(strNew), std::ios::trunc | std::ios::binary);
    file << nPort << '\n';
    file.close();
    std::error_code error;
    std::filesystem::rename(PathOf(strNew), PathOf(strPath), error);
    if (!file || error)
        throw StartError("The port file '" + strPath + "' cannot be written.");
}

void RemovePortFile(const std::string& strPath)
{
    std::error_code ignored;
    if (!strPath.empty())
        std::filesystem::remove(PathOf(strPath), ignored);
}

// The server stops if the session ends, as long as this object lives.
struct SessionEnd {
    explicit SessionEnd(Server& server)
    {
        Host::OnSessionEnd([&server] { server.Stop(); });
    }
    ~SessionEnd() { Host::OnSessionEnd({}); }
};

// Serves until somebody ends the program.
int Serve(const Options& options)
{
    Host::IgnoreBrokenPipes();  // standard output may be one
    const Console console(options.verbosity, [](const std::string& strLine) {
        std::fwrite(strLine.data(), 1, strLine.size(), stdout);
        std::fputc('\n', stdout);
        std::fflush(stdout);  // not every system has line buffers
    });
    const SystemClock clock;
    RemovePortFile(options.strPortFile);  // left over by a run that was killed
    RemovePortFile(options.strHttpPortFile);
    try {
        Server server(options, clock, console);
        server.StopOnSignals();
        const SessionEnd sessionEnd(server);
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

}  // namespace

int main(int argc, char** argv)
{
    const std::vector<const char*> vecArguments = Host::BeginProgram(argc, argv);
    argc = static_cast<int>(vecArguments.size());
    if (const auto exitCode = RunCommand(argc, vecArguments.data()))
        return *exitCode;
    Options options;
    if (const auto exitCode = ParseCommandLine(argc, vecArguments.data(), options))
        return *exitCode;
    return Serve(options);
}
