// Rounds of the library: checkins and checkouts by turns, against a service that answers at once.
#pragma once

#include <atomic>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "VelkarConnector.h"
#include "bench/AtOnceService.h"
#include "bench/Rounds.h"
#include "comm/MessageCounts.h"
#include "platform/Host.h"
#include "tests/support/Settings.h"

namespace Bench {

// The service of the library and of the yardstick, for a ServiceProcess.
inline void ServeAtOnce(const ServiceProcess::Ready& ready)
{
    const AtOnceService service;
    ready(service.Port());
    for (;;)
        std::this_thread::sleep_for(std::chrono::hours(1));
}

inline void StartLibrary(unsigned short nPort, const char* pszLevel)
{
    const std::string strDirectory = Host::GetExecutableDirectory();
    Support::Settings settings;
    settings.nServerPort = nPort;
    std::ofstream(strDirectory + "/" + Support::kLogSettingsFile)
        << "level = " << pszLevel << "\nfile = bench_request_path.log\n";
    settings.WriteTo(strDirectory);
    const _CONNECTOR_ID id{"GAME", "SERVER", "WORLD"};
    const _CONNECTOR_CALLBACKS callbacks{};
    char szError[1025];
    if (!InitModule(&id, &callbacks, szError, sizeof(szError)))
        Fail(szError);
}

// True if the answer came before its caller waited: the call then says at once that it has timed out.
template <class Response>
bool IsOvertaken(const Response& res)
{
    return std::strstr(res.szError, "because of timeout.") != nullptr;
}

// A round of the library with that level of its log, and with or without the figures for the operator.
inline Result RunLibrary(const char* pszLevel, int nCallers, unsigned short nPort, int nMilliseconds,
                         bool bCounting = true)
{
    IsCounting() = bCounting;
    StartLibrary(nPort, pszLevel);
    std::vector<_USER_REQ> vecUsers(static_cast<std::size_t>(nCallers));
    int nUser = 0;
    for (_USER_REQ& req : vecUsers) {
        std::snprintf(req.szUserID, sizeof(req.szUserID), "user%d", nUser++);
        std::snprintf(req.szUserIP, sizeof(req.szUserIP), "10.0.0.1");
    }
    std::atomic<long> nFailed{0};
    const Result result = Measure(nCallers, nMilliseconds, [&](int nCaller, long n) {
        const _USER_REQ& req = vecUsers[static_cast<std::size_t>(nCaller)];
        if (n % 2 == 0) {
            _CHECKIN_RES res;
            Checkin(&req, &res);
            nFailed += res.nResult == 0 ? 0 : 1;
            return IsOvertaken(res);
        }
        _RESULT_RES res;
        Checkout(&req, &res);
        nFailed += res.bSuccess == 1 ? 0 : 1;
        return IsOvertaken(res);
    });
    UninitModule();
    // A checkin that was overtaken may let the checkout behind it fail, and the checkin behind that one.
    if (nFailed > 3 * result.nOvertaken)
        Fail("Calls of the library have failed.");
    return result;
}

}  // namespace Bench
