// The library without memory and without the system's help: every allocation that it makes, and every system
// call that can fail, fails once, eight times in a row, and from there on. The library may refuse then. It
// may not end the process, hang or lose a user, and once nothing fails any more all of it works again.
//
//   sweep LIBRARY STRIDE          each STRIDE-th place of every row
//   sweep LIBRARY 1 ROW NUMBER    one place
//
// Each place is tried in a process of its own, so that one fault hides no other.
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <map>
#include <thread>
#include <vector>

#include "tests/life/Library.h"
#include "tests/support/LoopbackService.h"
#include "tests/support/ServiceScript.h"
#include "tests/support/Settings.h"
#include "tests/support/TempDirectory.h"
#include "tests/sweep/Faults.h"

namespace {

using namespace Support;
using namespace std::chrono_literals;

constexpr std::size_t kAbreast = 64;  // processes; most of them sleep
constexpr unsigned int kHang = 25;    // seconds; four calls without an answer take twenty
constexpr int kAlways = 1'000'000;

// What a process leaves for the one that has started it.
struct Result {
    int nPlaces;
    char szStep[128];
};
Result* g_pResult;

void Step(const std::string& strStep)
{
    alarm(kHang);
    std::snprintf(g_pResult->szStep, sizeof(g_pResult->szStep), "%s", strStep.c_str());
}
[[noreturn]] void Fail(const std::string& strWhy)
{
    Step(strWhy);
    _exit(3);
}

// A game server, its service and the library, under an order to fail.
class Guest {
    template <auto pfnExport, class... Args>
    auto Call(const char* pszName, Args... args) const
    {
        std::remove_const_t<decltype(pfnExport)> pfn = nullptr;
        m_library.Get(pfn, pszName);
        const Faults::Inside inside;
        return pfn(args...);
    }

public:
    Guest(const char* pszLibrary, std::string strDirectory, std::function<void()> arm)
        : m_library(pszLibrary), m_strDirectory(std::move(strDirectory)), m_arm(std::move(arm))
    {
        std::filesystem::create_directory(m_strDirectory);
        Faults::SetDirectory(m_strDirectory.c_str());
        m_service.SayYes();
        m_service.On<XC2S_QueryMenuListReq>([](const auto&, auto& ans) {
            for (int n = 0; n < 300; ++n)
                ans.vecMenu.Add();
        });
        m_settings.nServerPort = m_service.Port();
        m_settings.nReconnectCycle = 1;
        m_settings.WriteTo(m_strDirectory);
    }

    // The part under the order to fail, and then everything without it.
    void Run(const std::string& strPart)
    {
        if (strPart != "start to stop")
            ExpectStart();
        m_arm();
        Step(strPart);
        if (strPart == "start to stop") {
            const bool bStarted = Start();
            Step("calls behind the start");
            if (bStarted)
                Play();
            Stop();
        } else if (strPart == "calls") {
            Play();
        } else if (strPart == "reload") {
            m_settings.products.front().strName = "Silver";
            m_settings.WriteTo(m_strDirectory);
            const auto isLoaded = [&] {
                return Call<&GetBillingName>("GetBillingName", kProductID)[0] == 'S';
            };
            for (int n = 0; n < 30 && !isLoaded(); ++n)
                std::this_thread::sleep_for(10ms);
        } else {
            m_service.Cut();
            for (int n = 0; n < 150 && m_service.Connections() < 2; ++n)
                std::this_thread::sleep_for(10ms);
        }
        g_pResult->nPlaces = Faults::Release();
        if (strPart != "start to stop") {
            ExpectPlay();
            Stop();
        }
        ExpectStart();
        ExpectPlay();
        Stop();
    }

private:
    bool Start()
    {
        const Faults::Inside inside;
        return m_library.TryToStart({}, m_szError);
    }
    void ExpectStart()
    {
        Step("start");
        if (!Start())
            Fail(std::string("start: ") + m_szError);
    }
    void Stop() const
    {
        Step("stop");
        Call<&UninitModule>("UninitModule");
    }
    // False if a call has failed, which it may while faults are ordered.
    bool Play() const
    {
        const _USER_REQ req{"abc", "10.0.0.1"};
        const _GAME_REQ game{"GAME"};
        _CHECKIN_RES checkin;
        _RESULT_RES charge, checkout;
        _LIST_RES list;
        _USER_MOVE_INFO info;
        Call<&Checkin>("Checkin", &req, &checkin);
        // Who has been told that a user is in finds the user in the map. No order to fail holds outside of
        // Inside.
        decltype(&GetBillingInfoForUserMove) pfnGetInfo;
        m_library.Get(pfnGetInfo, "GetBillingInfoForUserMove");
        if (checkin.nResult == 0 && !pfnGetInfo("abc", &info))
            Fail("the user is not in");
        Call<&QueryMenuList>("QueryMenuList", &game, &list);
        const std::size_t nRows = Call<&GetDataSize>("GetDataSize", list.hData, nullptr, 0u);
        Call<&DestroyHandle>("DestroyHandle", list.hData);
        Call<&Charge>("Charge", &charge);
        Call<&Checkout>("Checkout", &req, &checkout);
        return checkin.nResult == 0 && nRows == 300 && checkout.bSuccess != 0;
    }
    void ExpectPlay() const
    {
        Step("play again");
        while (!Play())
            std::this_thread::sleep_for(50ms);
    }

    const Library m_library;
    const std::string m_strDirectory;
    const std::function<void()> m_arm;
    ServiceScript m_service{std::make_unique<LoopbackService>()};
    Settings m_settings;
    char m_szError[1025];
};

// One part, under one kind of fault.
struct Row {
    const char* pszPart;
    Faults::Kind kind;
    int nWidth;
    int nPlaces = 0;
    int nTried = 0;
    int nFaults = 0;
};

std::vector<Row> MakeRows()
{
    std::vector<Row> vecRows;
    for (const char* const pszPart : {"start to stop", "calls", "reload", "reconnection"}) {
        for (const Faults::Kind kind : {Faults::Kind::Memory, Faults::Kind::Calls}) {
            for (const int nWidth : {1, 8, kAlways})
                vecRows.push_back({pszPart, kind, nWidth});
        }
    }
    return vecRows;
}

// Tries places, several at a time.
class Trials {
public:
    explicit Trials(const char* pszLibrary) : m_pszLibrary(pszLibrary) {}

    void Begin(Row& row, int nNumber)
    {
        while (m_mapRunning.size() == kAbreast)
            AwaitOne();
        void* const pShared =
            mmap(nullptr, sizeof(Result), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        g_pResult = static_cast<Result*>(pShared);
        const pid_t nProcess = fork();
        if (nProcess == 0) {
            Guest(m_pszLibrary, (m_directory.Path() / std::to_string(getpid())).string(), [&] {
                Faults::Order(row.kind, nNumber, row.nWidth);
            }).Run(row.pszPart);
            _exit(0);
        }
        m_mapRunning[nProcess] = {&row, nNumber, g_pResult};
    }
    void AwaitAll()
    {
        while (!m_mapRunning.empty())
            AwaitOne();
    }

private:
    struct Trial {
        Row* pRow;
        int nNumber;
        Result* pResult;
    };

    void AwaitOne()
    {
        int nStatus = 0;
        const auto [pRow, nNumber, pResult] = m_mapRunning.extract(wait(&nStatus)).mapped();
        ++pRow->nTried;
        if (nNumber == kAlways)
            pRow->nPlaces = pResult->nPlaces;
        if (nStatus != 0) {
            ++pRow->nFaults;
            std::printf("%s, %d in a row from %d: status %x in step %s\n", pRow->pszPart, pRow->nWidth,
                        nNumber, static_cast<unsigned int>(nStatus), pResult->szStep);
        }
        munmap(pResult, sizeof(Result));
    }

    const char* const m_pszLibrary;
    const TempDirectory m_directory;
    std::map<pid_t, Trial> m_mapRunning;
};

// A run in which nothing fails counts the places. Which thread gets there first differs from run to run, and
// the number of places with it.
bool Sweep(Trials& trials, int nStride)
{
    std::vector<Row> vecRows = MakeRows();
    for (Row& row : vecRows)
        trials.Begin(row, kAlways);
    trials.AwaitAll();
    for (Row& row : vecRows) {
        for (int n = 1; n <= row.nPlaces; n += nStride)
            trials.Begin(row, n);
    }
    trials.AwaitAll();
    bool bGood = true;
    for (const Row& row : vecRows) {
        bGood = bGood && row.nPlaces > 0 && row.nFaults == 0;
        std::printf("%2d  %s, %s, %d in a row: %d places, %d tried, %d with a fault\n",
                    static_cast<int>(&row - vecRows.data()), row.pszPart,
                    row.kind == Faults::Kind::Memory ? "memory" : "system calls", row.nWidth, row.nPlaces,
                    row.nTried, row.nFaults);
    }
    return bGood;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 3 && argc != 5)
        Die("sweep LIBRARY STRIDE [ROW NUMBER]");
    Trials trials(argv[1]);
    if (argc == 3)
        return Sweep(trials, std::max(1, std::atoi(argv[2]))) ? 0 : 1;
    Row row = MakeRows().at(static_cast<std::size_t>(std::atoi(argv[3])));
    trials.Begin(row, std::atoi(argv[4]));
    trials.AwaitAll();
    return row.nFaults;
}
