// A small game server that uses the Velkar Connector the way a game would.
//
//   game_server              plays the scenario below
//   game_server --console    takes the same commands from standard input; "help" lists them
//   --gid, --sid, --wid ID   who this server is; two servers of a game differ in the server or the world id
//
// A "!" in front of a command says that it is meant to fail. The exit code is 0 only if every command did
// what it should.
#include <chrono>
#include <cstdio>
#include <cstring>
#include <functional>
#include <future>
#include <iostream>
#include <sstream>
#include <string>
#include <thread>

#include "Callbacks.h"
#include "Commands.h"
#include "Text.h"

namespace {

struct Options {
    bool bConsole = false;
    std::string strGID = "DEMOGAME", strSID = "SERVER01", strWID = "WORLD01";
};

bool ReadOptions(int argc, char** argv, Options& options)
{
    for (int i = 1; i < argc; ++i) {
        const std::string strName = argv[i];
        std::string* const pID = strName == "--gid"   ? &options.strGID
                                 : strName == "--sid" ? &options.strSID
                                 : strName == "--wid" ? &options.strWID
                                                      : nullptr;
        if (strName == "--console") {
            options.bConsole = true;
        } else if (pID != nullptr && i + 1 < argc && std::strlen(argv[i + 1]) < sizeof(_CONNECTOR_ID::GID)) {
            *pID = argv[++i];
        } else {
            std::fprintf(
                stderr,
                "Not understood: %s\nUsage: game_server [--console] [--gid ID] [--sid ID] [--wid ID], "
                "ids of at most 20 bytes\n",
                argv[i]);
            return false;
        }
    }
    return true;
}

const char* const kScenario[] = {
    "in alice 10.0.0.1", "in bob 10.0.0.2", "inex carol 10.0.0.3", "!in nobody 10.0.0.4", "who", "wait 3",
    "out alice",         "out bob",         "out carol",           "!out carol",
};

// Waits on the thread that feeds the commands, so that the game goes on meanwhile.
bool Wait(const std::string& strSeconds)
{
    std::istringstream number(strSeconds);
    int nSeconds = -1;
    if (!(number >> nSeconds) || nSeconds < 0)
        return false;
    std::this_thread::sleep_for(std::chrono::seconds(nSeconds));
    return true;
}

// Gives the game's thread one line after the other, each when the one before is done. Returns false if any
// command did not do what it should.
bool Feed(Server& server, const std::function<bool(std::string&)>& nextLine)
{
    bool bGood = true;
    for (std::string strLine; nextLine(strLine);) {
        std::istringstream words(strLine);
        std::string strName, strRest;
        words >> strName >> strRest;
        if (strName.empty() || strName[0] == '#')
            continue;
        if (strName == "wait") {
            server.tasks.Post([strLine] { std::printf("> %s\n", strLine.c_str()); });
            bGood = Wait(strRest) && bGood;
            continue;
        }
        std::promise<bool> done;
        server.tasks.Post([&] { done.set_value(RunCommand(server, strLine)); });
        bGood = done.get_future().get() && bGood;
    }
    return bGood;
}

// Runs the game on this thread until another thread has fed all commands.
bool Play(Server& server, bool bConsole)
{
    std::size_t nNext = 0;
    const auto nextLine = [&](std::string& strLine) {
        if (bConsole)
            return static_cast<bool>(std::getline(std::cin, strLine));
        if (nNext == sizeof(kScenario) / sizeof(kScenario[0]))
            return false;
        strLine = kScenario[nNext++];
        return true;
    };
    auto fed = std::async(std::launch::async, [&] {
        const bool bGood = Feed(server, nextLine);
        server.tasks.Stop();
        return bGood;
    });
    server.tasks.Run([&server] { server.sessions.FindForgotten(); });
    return fed.get();
}

}  // namespace

int main(int argc, char** argv)
{
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    Options options;
    if (!ReadOptions(argc, argv, options))
        return 2;

    _CONNECTOR_ID id{};
    Put(id.GID, options.strGID);
    Put(id.SID, options.strSID);
    Put(id.WID, options.strWID);
    Server server(options.strGID, options.strSID);
    const _CONNECTOR_CALLBACKS callbacks =
        MakeCallbacks(server.game, server.sessions, server.tasks, options.strSID);

    char szError[1025];
    if (!InitModule(&id, &callbacks, szError, static_cast<int>(sizeof(szError)))) {
        std::printf("The connector does not start: %s\n", szError);
        return 1;
    }
    std::printf("%s is registered at the service.%s%s\n", options.strSID.c_str(), szError[0] ? " Note: " : "",
                szError);

    const bool bGood = Play(server, options.bConsole);

    server.sessions.CheckEveryoneOut();
    UninitModule();             // no callback runs after this call
    server.tasks.RunPending();  // tasks that the last callbacks have posted
    std::printf(bGood ? "The connector has stopped; every step did what it should.\n"
                      : "The connector has stopped; at least one step went wrong.\n");
    return bGood ? 0 : 1;
}
