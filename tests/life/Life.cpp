// The life of the library as a host process sees it: the library file itself is loaded, nothing is linked.
//
//   life LIBRARY MODE    load     loads it, calls nothing, unloads it, twice
//                        exit     starts it and leaves main without stopping it
//                        exit-waiting   likewise, with callers inside a request
//                        exit-stopping   likewise, and stops it in an exit handler older than the start
//                        stop-connecting   stops it while it connects to a peer that says nothing
//                        unload   starts it, unloads it, and leaves main
//                        unload-waiting   stops and unloads it, with callers inside a request
//                        throwing   lets callbacks throw
//                        signal     takes a signal that is sent to the process, with the library running
//                        fork     calls it in a forked process while it runs
//                        broken-pipe   starts it with bad settings and nobody behind standard error
//                        hung-log   stops and exits with a log that takes no line
//                        values   starts it with values that are out of range, and with a bad file
//                        half-file, unseen, missing   changes the settings file under it
//                        folder   runs from a folder whose name is in no code page
//                        status   looks at the figures, the status file and the threads' names
//                        start    starts it with the settings that are there, and stops it
//                        restart  starts and stops it a hundred times, unloading it in between
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "tests/life/Library.h"
#include "tests/life/Status.h"
#include "tests/platform/Waiting.h"
#include "tests/support/Blackhole.h"
#include "tests/support/Files.h"
#include "tests/support/LoopbackService.h"
#include "tests/support/ServiceScript.h"
#include "tests/support/Settings.h"

#ifndef _WIN32
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#else
#include <process.h>
#endif

namespace {

namespace fs = std::filesystem;
using namespace Support;

// Ends before the process does: its thread may not run into the end of this program's own objects. The
// library's threads do run into it, and callers with them.
std::unique_ptr<ServiceScript>& ServiceHolder()
{
    static auto s_pService = std::make_unique<ServiceScript>(std::make_unique<LoopbackService>());
    return s_pService;
}
ServiceScript& Service() { return *ServiceHolder(); }

fs::path g_program;

fs::path Directory() { return g_program.parent_path(); }

// The settings with that product.
std::string TextWith(int nProductID, const char* pszName, unsigned short nPort = Service().Port())
{
    Settings settings;
    settings.nServerPort = nPort;
    settings.nReconnectCycle = 1;
    settings.products = {{nProductID, pszName, 2}};
    return settings.Text();
}

// The log stands in the directory that the library watches, and is written at each line.
void WriteSettings(const fs::path& directory)
{
    fs::remove(directory / "life.log");
    WriteFile(directory / kLogSettingsFile, "file = life.log\nlevel = Trace\nflush = Trace\n");
    WriteFile(directory / kSettingsFile, TextWith(kProductID, "Gold"));
}

void WaitInside(const Library& library)
{
    for (int i = 0; i < 4; ++i) {
        std::thread([library] {
            for (;;)
                library.CheckIn();
        }).detach();
    }
    Service().Expect<XC2S_CheckInReq>();
}

void UnloadWaiting(const Library& library)
{
    std::vector<std::thread> vecCallers;
    for (int i = 0; i < 4; ++i)
        vecCallers.emplace_back([&library] { library.CheckIn(); });
    for (int i = 0; i < 4; ++i)
        Service().Expect<XC2S_CheckInReq>();
    library.pfnUninit();
    Close(library.pLibrary);
    for (std::thread& caller : vecCallers)
        caller.join();
}

std::atomic<int> g_nThrown{0};

// A notice, and a request that gets no answer.
void Throw(const Library& library)
{
    _CONNECTOR_CALLBACKS callbacks{};
    callbacks.pfnNotifyStorageInfo = [](const _STORAGE_NOTI_INFO*) {
        ++g_nThrown;
        throw std::runtime_error("out of the game");
    };
    callbacks.pfnQueryGameMoney = [](const _GAME_USER_REQ*, _GAME_MONEY_RES*) {
        ++g_nThrown;
        throw 5;
    };
    library.Start(callbacks);
    for (int n = 1; n <= 3; ++n)
        Service().Send(XS2C_NotifyStorageInfo(), XS2C_QueryGameMoneyReq());
    if (!Eventually([] { return g_nThrown == 6; }))
        Die("callbacks that threw: " + std::to_string(g_nThrown));
    library.pfnUninit();
}

std::function<void()> g_stop;
std::thread g_notices;
std::atomic<int> g_nNotices{0};

// Notices come all the time. Behind the stop, in what remains of the exit, none reaches the game.
void LeaveStopping(const Library& library)
{
    g_stop = [library] {
        library.pfnUninit();
        const int nNotices = g_nNotices;
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        if (g_nNotices != nNotices)
            Die("callbacks after the stop: " + std::to_string(g_nNotices - nNotices));
        g_notices.join();
    };
    std::atexit([] { g_stop(); });
    _CONNECTOR_CALLBACKS callbacks{};
    callbacks.pfnNotifyStorageInfo = [](const _STORAGE_NOTI_INFO*) { ++g_nNotices; };
    library.Start(callbacks);
    g_notices = std::thread([] {
        for (;; std::this_thread::sleep_for(std::chrono::milliseconds(1))) {
            try {
                Service().Send(XS2C_NotifyStorageInfo());
            } catch (const std::logic_error&) {  // the connection has ended
                return;
            }
        }
    });
    Eventually([] { return g_nNotices != 0; });
    std::exit(0);  // with the service still there
}

// The connect that the stop breaks off has five seconds.
void StopConnecting(const Library& library)
{
    const Blackhole hole;
    // In force long before the reconnect cycle is over.
    WriteFile(Directory() / kSettingsFile, TextWith(kProductID, "Gold", hole.Port()));
    Service().Cut();
    std::this_thread::sleep_for(std::chrono::milliseconds(1500));
    const auto begin = std::chrono::steady_clock::now();
    library.pfnUninit();
    if (std::chrono::steady_clock::now() - begin > std::chrono::seconds(2))
        Die("the stop waits for the connect");
}

void Restart(const Library& library)
{
    for (int i = 0; i < 100; ++i) {
        const Library again(library.pszFile);
        again.Start();
        again.pfnUninit();
        Close(again.pLibrary);
    }
}

std::string NameOf(const Library& library, int nProductID)
{
    decltype(&GetBillingName) pfnName = nullptr;
    library.Get(pfnName, "GetBillingName");
    return pfnName(nProductID);
}

void AwaitName(const Library& library, int nProductID, const std::string& strName)
{
    if (!Eventually([&] { return NameOf(library, nProductID) == strName; }))
        Die("the file with " + strName + " is not in force");
}

// Ends the library as well.
void ExpectName(const Library& library, int nProductID, const std::string& strName)
{
    AwaitName(library, nProductID, strName);
    library.pfnUninit();
}

void HalfAFile(const Library& library)
{
    const std::string strText = TextWith(8, "Half");
    WriteFile(Directory() / kSettingsFile, strText.substr(0, strText.find("<group name=\"SPECIFIC")));
    std::this_thread::sleep_for(std::chrono::milliseconds(1500));
    if (!NameOf(library, 8).empty())
        Die("half a file is in force");
    WriteFile(Directory() / kSettingsFile, TextWith(8, "Whole"));
    ExpectName(library, 8, "Whole");
}

// The system tells nobody of a file that is written under its name in another directory.
void Unseen(const Library& library)
{
    const fs::path other = Directory() / "other";
    fs::create_directories(other);
    fs::remove(other / "name");
    fs::create_hard_link(Directory() / kSettingsFile, other / "name");
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    WriteFile(other / "name", TextWith(8, "Unseen"));
    ExpectName(library, 8, "Unseen");
}

// Each change in the directory makes the library look, and on Windows its own line in the log is such a
// change. A file that is gone before the library first looks for a change has another line.
void Missing(const Library& library)
{
    WriteFile(Directory() / kSettingsFile, TextWith(9, "There"));
    AwaitName(library, 9, "There");
    fs::remove(Directory() / kSettingsFile);
    for (int n = 0; n < 20; ++n) {
        WriteFile(Directory() / "another", "change");
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    const std::string strLine = "GetFileAttributesEx() failed.";
    std::string strLog;
    const bool bSaid = Eventually([&] {
        strLog = ReadFile(Directory() / "life.log");
        return strLog.find(strLine) != std::string::npos;
    });
    if (!bSaid || strLog.find(strLine) != strLog.rfind(strLine))
        Die("not one line:\n" + strLog.substr(0, 2000));
    WriteFile(Directory() / kSettingsFile, TextWith(8, "Back"));
    ExpectName(library, 8, "Back");
}

void OddValues(const Library& library)
{
    std::string strText = TextWith(kProductID, "Gold");
    const auto expect = [&](const std::string& strKey, const std::string& strValue,
                            const std::string& strLine) {
        const std::size_t nValue = strText.find("value=\"", strText.find(strKey)) + 7;
        strText.replace(nValue, strText.find('"', nValue) - nValue, strValue);
        return "The value '" + strValue + "' of '" + strKey + "' " + strLine;
    };
    const int nPort = Service().Port();
    const std::string arrLines[]{
        expect("SERVER_PORT", std::to_string(nPort + 65536),
               "is out of range. " + std::to_string(nPort) + " is used instead."),
        expect("HEARTBEAT_CYCLE", "9999999", "is out of range. 4000000 is used instead."),
        expect("CHARGE_CYCLE", "-5", "is out of range. 1 is used instead."),
        expect("USE_USER_NUMBER", "True", "is neither true nor false. false is used instead."),
        expect("ID_COUNT", "999", "stands for none. None of the entries in the file is used."),
        expect("EVENT_CODE_COUNT", "-1", "is out of range. None of the entries is used.")};
    WriteFile(Directory() / kSettingsFile, strText);
    library.Start();
    library.pfnUninit();
    for (const std::string& strLine : arrLines) {
        if (ReadFile(Directory() / "life.log").find("[Config reader]" + strLine) == std::string::npos)
            Die("no line: " + strLine);
    }
    WriteFile(Directory() / kSettingsFile, "<TARVO>\n <a></b>");
    char szError[1025];
    const std::string strPlace = " (Error: Unmatched end tag, line 2, column 5)";
    if (library.TryToStart({}, szError) || !std::string(szError).ends_with(strPlace))
        Die(std::string("no place in: ") + szError);
}

// In the code page of Japan the last letter ends in the byte of a backslash.
void RunElsewhere(const Library& library)
{
    const fs::path folder = Directory() / u8"\u03A9\u6F22\u30BD";
    const fs::path copy = folder / g_program.filename();
    fs::remove_all(folder);
    fs::create_directories(folder);
    fs::copy_file(g_program, copy);
    WriteSettings(folder);
#ifdef _WIN32
    const std::wstring strLibrary = fs::path(library.pszFile).wstring();
    const auto nResult = _wspawnl(_P_WAIT, copy.c_str(), L"life", strLibrary.c_str(), L"start", nullptr);
#else
    const int nResult = std::system(("'" + copy.string() + "' '" + library.pszFile + "' start").c_str());
#endif
    if (nResult != 0 || ReadFile(folder / "life.log").find("Velkar Connector stop...") == std::string::npos)
        Die("it does not run there: " + std::to_string(nResult));
}

void Expect(const std::string& strFile, const std::string& strPart)
{
    if (!Eventually([&] { return ReadFile(Directory() / strFile).find(strPart) != std::string::npos; }))
        Die(strFile + " lacks " + strPart + ":\n" + ReadFile(Directory() / strFile));
}

// The service freezes for the length of one request.
void LookAtStatus(const Library& library)
{
    constexpr int kWhole = sizeof(_CONNECTOR_STATUS);
    ExpectState(library, 0, kWhole);
    for (const int nSize : {0, 15, -1, 1 << 20})
        ExpectState(library, 0, nSize);
    const std::string strConfig = ReadFile(Directory() / kLogSettingsFile);
    WriteFile(Directory() / kLogSettingsFile, strConfig + "status_file = status/{service}.prom\n");
    library.Start();
    for (const int nSize : {16, 80, kWhole - 1, kWhole, kWhole + 8})
        ExpectState(library, 3, nSize);
    ExpectThreads();
    Service().SayYes();
    library.CheckIn();
    const std::string strFile = "status/velkar.prom", strOwner = "{gid=\"GAME\",sid=\"SERVER\",wid=\"WORLD\"";
    Expect(strFile, "velkar_link_up" + strOwner + "} 1\n");
    Expect(strFile, "messages_answered_total" + strOwner + ",message=\"XC2S_CheckInReq\"} 1\n");
    Service().SayNothing();
    library.CheckIn();
    Expect("life.log", "Requests without an answer in time: XC2S_CheckInReq 1.");
    Service().SayYes();
    library.CheckIn();
    Expect("life.log", "The service answers again after 5 s: XC2S_CheckInReq (1 without an answer).");
    for (int n = 0; n < 2000; ++n, std::this_thread::sleep_for(std::chrono::milliseconds(1))) {
        const std::string strText = ReadFile(Directory() / strFile);
        if (strText.empty() && fs::path::preferred_separator == '\\')
            continue;  // Windows lets no reader in at the moment of the rename
        if (!strText.starts_with("# HELP ") || !(strText.ends_with("} 1\n") || strText.ends_with("} 2\n")))
            Die("a part of a status:\n" + strText);
    }
    library.pfnUninit();
    ExpectState(library, 0, kWhole);
    Expect(strFile, "velkar_link_state" + strOwner + "} 0\n");
    WriteFile(Directory() / kLogSettingsFile, strConfig + "status_file = life.json\n");
    library.Start();
    Expect("life.json", "\"link_state\": \"up\"");
    library.pfnUninit();
    Expect("life.json", "\"link_state\": \"stopped\"");
}

#ifndef _WIN32
void SetTermination(int nHow)
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGTERM);
    pthread_sigmask(nHow, &set, nullptr);
}

// As a host does that waits for its end in one thread and leaves the others, and so the library's, unblocked.
void TakeSignal(const char* pszLibrary)
{
    SetTermination(SIG_BLOCK);
    WriteSettings(Directory());
    SetTermination(SIG_UNBLOCK);
    const Library library(pszLibrary);
    library.Start();
    SetTermination(SIG_BLOCK);
    kill(getpid(), SIGTERM);
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGTERM);
    int nSignal = 0;
    if (sigwait(&set, &nSignal) != 0 || nSignal != SIGTERM)
        Die("no signal");
    library.pfnUninit();
    ServiceHolder().reset();
}

void Fork(const Library& library)
{
    const pid_t nChild = fork();
    if (nChild == 0) {
        alarm(4);  // a request that is sent takes longer
        char szError[1025];
        const bool bStarted = library.TryToStart({}, szError);
        const std::string strError = szError;
        library.CheckIn();
        library.pfnUninit();
        std::_Exit(bStarted || strError.find("forked") == std::string::npos ? 1 : 0);
    }
    int nStatus = 0;
    if (waitpid(nChild, &nStatus, 0) != nChild || nStatus != 0)
        Die("the forked process ended with " + std::to_string(nStatus));
    library.pfnUninit();
}

void BreakPipe(const char* pszLibrary)
{
    WriteFile(Directory() / kSettingsFile, "<TARVO><module");
    int arrEnds[2];
    if (pipe(arrEnds) != 0 || dup2(arrEnds[1], STDERR_FILENO) < 0)
        Die("no pipe");
    close(arrEnds[0]);
    char szError[1025];
    if (Library(pszLibrary).TryToStart({}, szError))
        Die("started");
}

// The pipe is full, and nobody reads.
void HangLog(const Library& library)
{
    const fs::path pipe = Directory() / "hung.log";
    fs::remove(pipe);
    WriteFile(Directory() / kLogSettingsFile, "file = hung.log\n");
    const int nPipe = mkfifo(pipe.c_str(), 0600) == 0 ? open(pipe.c_str(), O_RDWR | O_NONBLOCK) : -1;
    while (write(nPipe, "full", 1) == 1) {
    }
    library.Start();
    library.pfnUninit();
    alarm(5);  // until the process has ended
}
#endif

struct Mode {
    bool bRunning;  // begins with the library started
    void (*pfnRun)(const Library&);
};
const std::map<std::string, Mode> kModes{
    {"restart", {false, &Restart}},
    {"throwing", {false, &Throw}},
    {"values", {false, &OddValues}},
    {"folder", {false, &RunElsewhere}},
    {"status", {false, &LookAtStatus}},
    {"exit", {true, [](const Library&) {}}},
    {"exit-waiting", {true, &WaitInside}},
    {"exit-stopping", {false, &LeaveStopping}},
    {"stop-connecting", {true, &StopConnecting}},
    {"unload", {true, [](const Library& library) { Close(library.pLibrary); }}},
    {"unload-waiting", {true, &UnloadWaiting}},
    {"start", {true, [](const Library& library) { library.pfnUninit(); }}},
    {"half-file", {true, &HalfAFile}},
    {"unseen", {true, &Unseen}},
    {"missing", {true, &Missing}},
#ifndef _WIN32
    {"hung-log", {false, &HangLog}},
    {"fork", {true, &Fork}},
#endif
};

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 3)
        Die("life LIBRARY MODE");
    const std::string strMode = argv[2];
    g_program = argv[0];
    if (strMode == "load") {
        for (int i = 0; i < 2; ++i)
            Close(Library(argv[1]).pLibrary);
        return 0;
    }
#ifndef _WIN32
    if (strMode == "signal" || strMode == "broken-pipe") {
        (strMode == "signal" ? TakeSignal : BreakPipe)(argv[1]);
        return 0;
    }
#endif
    const auto it = kModes.find(strMode);
    if (it == kModes.end())
        Die("unknown mode " + strMode);
    if (strMode != "start")
        WriteSettings(Directory());
    const Library library(argv[1]);
    if (it->second.bRunning)
        library.Start();
    it->second.pfnRun(library);
    ServiceHolder().reset();
    return 0;
}
