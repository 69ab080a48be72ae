// Three questions to the road of a request, on loopback against a service that answers at once:
//   overtaken   how many answers arrive before their caller is ready to wait for them, so that the caller
//               is told of a timeout at once (per million requests), with 1, 8 and 64 callers, and the same
//               with a service half a millisecond away; how many checkouts right behind a checkin miss
//               their user; requests per second beside it
//   starts      how many of 1,000 starts in a row are refused
//
//   overtaken [requests of each row, 200000 unless given]
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "VelkarConnector.h"
#include "bench/AtOnceService.h"
#include "platform/Host.h"
#include "tests/support/Settings.h"

namespace {

using Clock = std::chrono::steady_clock;

bool Start()
{
    const _CONNECTOR_ID id{"GAME", "SERVER", "WORLD"};
    const _CONNECTOR_CALLBACKS callbacks{};
    char szError[1025];
    const bool bStarted = InitModule(&id, &callbacks, szError, sizeof(szError));
    if (!bStarted)
        std::printf("no start: %s\n", szError);
    return bStarted;
}

void WriteSettings(unsigned short nPort)
{
    Support::Settings settings;
    settings.nServerPort = nPort;
    settings.WriteTo(Host::GetExecutableDirectory());
}

struct Counts {
    std::atomic<long> nRequests{0}, nOvertaken{0}, nMissed{0};
};

void Call(int nCaller, long nRequests, Counts& counts)
{
    _USER_REQ req{};
    std::snprintf(req.szUserID, sizeof(req.szUserID), "user%d", nCaller);
    std::snprintf(req.szUserIP, sizeof(req.szUserIP), "10.0.0.1");
    for (long i = 0; i < nRequests; i += 2) {
        _CHECKIN_RES in;
        _RESULT_RES out;
        Checkin(&req, &in);
        Checkout(&req, &out);
        counts.nRequests += 2;
        const bool bCheckedIn = in.nResult == 0;
        counts.nOvertaken += std::strstr(in.szError, "because of timeout.") ? 1 : 0;
        counts.nOvertaken += std::strstr(out.szError, "because of timeout.") ? 1 : 0;
        counts.nMissed += bCheckedIn && std::strstr(out.szError, "not checkined") ? 1 : 0;
    }
}

void Row(std::chrono::microseconds delay, int nCallers, long nRequests)
{
    Bench::AtOnceService service(delay);
    WriteSettings(service.Port());
    if (!Start())
        return;
    Counts counts;
    const auto begin = Clock::now();
    std::vector<std::thread> vecCallers;
    for (int n = 0; n < nCallers; ++n)
        vecCallers.emplace_back([&, n] { Call(n, nRequests / nCallers, counts); });
    for (std::thread& caller : vecCallers)
        caller.join();
    const double dSeconds = std::chrono::duration<double>(Clock::now() - begin).count();
    const auto nDone = static_cast<double>(counts.nRequests);
    std::printf(
        "service %3d us away, %2d callers: %8.0f requests/s, overtaken %8.1f per million, missed users %ld\n",
        static_cast<int>(delay.count()), nCallers, nDone / dSeconds,
        1e6 * static_cast<double>(counts.nOvertaken) / nDone, counts.nMissed.load());
    UninitModule();
}

void Starts(int nStarts)
{
    Bench::AtOnceService service;
    WriteSettings(service.Port());
    // A start takes 50 milliseconds more while the settings file has only just been saved.
    std::this_thread::sleep_for(std::chrono::seconds(3));
    int nRefused = 0;
    const auto begin = Clock::now();
    for (int i = 0; i < nStarts; ++i) {
        nRefused += Start() ? 0 : 1;
        UninitModule();
    }
    std::printf("%d starts: %d refused, %.1f ms for a start and a stop\n", nStarts, nRefused,
                1e3 * std::chrono::duration<double>(Clock::now() - begin).count() / nStarts);
}

}  // namespace

int main(int argc, char** argv)
{
    const long nRequests = argc > 1 ? std::atol(argv[1]) : 200'000;
    Starts(1000);
    for (const int nDelay : {0, 500})
        for (const int nCallers : {1, 8, 64})
            Row(std::chrono::microseconds(nDelay), nCallers,
                nDelay > 0 && nCallers == 1 ? nRequests / 10 : nRequests);
    return 0;
}
