// What many users cost: one charge pass over five products, and the list of all users after a reconnect, with
// 5,000, 50,000 and 500,000 users. Each time stands beside two yardsticks of the same run: a plain walk over
// a std::map of the same records, and the same bytes written to a socket and read at its other end.
//
//   bench_users [largest number of users, 500000 unless given]
#include <cstdio>
#include <cstdlib>
#include <functional>

#include "VelkarConnector.h"
#include "bench/AtOnceService.h"
#include "bench/PlainSocket.h"
#include "platform/Host.h"
#include "session/UserInfoMap.h"
#include "tests/support/Settings.h"

namespace {

using Bench::AtOnceService;
using Bench::PlainSocket;
using Clock = AtOnceService::Clock;

constexpr int kProducts = 5;
constexpr int kFirstProduct = 101;
constexpr int kRuns = 3;

double Milliseconds(Clock::duration d) { return std::chrono::duration<double, std::milli>(d).count(); }

double BestOf(const std::function<double()>& measure)
{
    double dBest = measure();
    for (int n = 1; n < kRuns; ++n)
        dBest = std::min(dBest, measure());
    return dBest;
}

CUserInfo MakeUser(int n)
{
    CUserInfo info;
    info.SetKey("user-" + std::to_string(1'000'000 + n));
    info.SetUserIP("10." + std::to_string(n % 200) + ".17.4");
    info.SetEndDate("20991231235959");
    info.SetCRMCode("CRM-1");
    info.SetSeqNo(std::to_string(100'000'000 + n));
    info.SetProductID(kFirstProduct + n % kProducts);
    info.SetBillingID(3);  // the end date is looked at, and the user is charged
    return info;
}

// The users of each product in turn, as a pass looks at them, and nothing done with them.
double PlainWalk(const std::map<std::string, CUserInfo>& users)
{
    const auto begin = Clock::now();
    std::size_t nFound = 0;
    for (int nProduct = kFirstProduct; nProduct < kFirstProduct + kProducts; ++nProduct) {
        for (const auto& [strKey, info] : users)
            nFound += info.GetProductID() == nProduct ? strKey.size() : 0;
    }
    const double dTaken = Milliseconds(Clock::now() - begin);
    return nFound > 0 ? dTaken : 0;
}

struct Times {
    double dCharge, dChargeArrived, dSync;
    std::size_t nChargeBytes, nSyncBytes;
};

// Three passes and three reconnects; the best of each.
Times MeasureLibrary(AtOnceService& service)
{
    Times best{1e9, 1e9, 1e9, 0, 0};
    for (int n = 0; n < kRuns; ++n) {
        service.Forget();
        _RESULT_RES res;
        const auto begin = Clock::now();
        Charge(&res);
        best.dCharge = std::min(best.dCharge, Milliseconds(Clock::now() - begin));
        if (res.bSuccess != 1)
            std::exit((std::fprintf(stderr, "A charge has failed: %s\n", res.szError), 1));
        const auto charges = service.WaitFor<XC2S_ChargeReq>(kProducts);
        best.dChargeArrived = std::min(best.dChargeArrived, Milliseconds(charges.last - begin));
        best.nChargeBytes = charges.nBytes;

        service.Drop();
        const auto registered = service.WaitFor<XC2S_VelkarConnectReq>(1);
        const auto sync = service.WaitFor<XC2S_UserListSyncReq>(1);
        best.dSync = std::min(best.dSync, Milliseconds(sync.last - registered.last));
        best.nSyncBytes = sync.nBytes;
    }
    return best;
}

bool StartLibrary(unsigned short nPort)
{
    Support::Settings settings;
    settings.nServerPort = nPort;
    settings.nReconnectCycle = 1;
    settings.products.clear();
    for (int n = 0; n < kProducts; ++n)
        settings.products.push_back({kFirstProduct + n, "Product", 3});
    settings.WriteTo(Host::GetExecutableDirectory());
    const _CONNECTOR_ID id{"GAME", "SERVER", "WORLD"};
    const _CONNECTOR_CALLBACKS callbacks{};
    char szError[1025];
    if (InitModule(&id, &callbacks, szError, sizeof(szError)))
        return true;
    std::fprintf(stderr, "No start: %s\n", szError);
    return false;
}

}  // namespace

int main(int argc, char** argv)
{
    const int nLargest = argc > 1 ? std::atoi(argv[1]) : 500'000;
    AtOnceService service;
    if (!StartLibrary(service.Port()))
        return 1;
    std::printf("%8s %10s | %12s %8s %8s | %12s %8s %8s\n", "users", "walk ms", "charge ms", "/walk",
                "/socket", "sync ms", "/walk", "/socket");
    std::map<std::string, CUserInfo> users;
    auto& map = UserInfoMap();
    for (int nUsers = 5000; nUsers <= nLargest; nUsers *= 10) {
        while (static_cast<int>(users.size()) < nUsers) {
            const CUserInfo info = MakeUser(static_cast<int>(users.size()));
            users.emplace(info.GetKey(), info);
            map.AddUserInfo(info.GetKey(), info);
        }
        const Times times = MeasureLibrary(service);
        const double dWalk = BestOf([&] { return PlainWalk(users); });
        const double dChargeSocket = BestOf([&] { return PlainSocket(times.nChargeBytes); });
        const double dSyncSocket = BestOf([&] { return PlainSocket(times.nSyncBytes); });
        // A charge walks five times and the list once.
        std::printf("%8d %10.2f | %12.2f %8.1f %8.1f | %12.2f %8.1f %8.1f\n", nUsers, dWalk,
                    times.dChargeArrived, times.dChargeArrived / dWalk, times.dChargeArrived / dChargeSocket,
                    times.dSync, times.dSync / (dWalk / kProducts), times.dSync / dSyncSocket);
        std::printf("%8s %10s | of it inside the call: %.2f ms; %zu bytes | %zu bytes\n", "", "",
                    times.dCharge, times.nChargeBytes, times.nSyncBytes);
    }
    UninitModule();
    return 0;
}
