// A full storage box: 10,000 entries, about 5 MB in one frame, asked for, read row by row and given back. The
// time beside that of the same bytes through a bare socket, the memory that the library takes meanwhile at
// its peak, as a multiple of the frame, and what the list takes that the game is given.
//
//   bench_storage_box [entries, 10000 unless given]
#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "VelkarConnector.h"
#include "bench/AtOnceService.h"
#include "bench/PlainSocket.h"
#include "platform/Host.h"
#include "tests/support/Settings.h"
#include "tests/wirova/Allocations.h"
#include "wirova/messages/StorageMessages.h"

namespace {

using Clock = Bench::AtOnceService::Clock;

constexpr int kRounds = 15;

void FillBox(XS2C_SearchStorageAns& ans, int nEntries)
{
    for (int n = 0; n < nEntries; ++n) {
        XStorageInfo& row = ans.vecStorage.Add();
        row.nStorageSeq = n;
        row.nOrderSeq = 1'000'000 + n;
        row.strItemID = "ITEM" + std::to_string(n);
        row.strItemName = "A sword of some renown";
        row.strSenderUserID = "a-generous-friend";
        row.strUserID = "the-happy-receiver";
        row.strServerID = "SERVER01";
        row.strCharacterID = "HERO-" + std::to_string(n);
        row.strGiftMessage = "Many happy returns, and may it serve you well against the dragon of the north.";
        row.nCount = row.nRemainCount = 1;
        row.strValidTerm = row.strUseStartDate = row.strValidDate = row.strBuyDate = "20301231235959";
        row.strOptionCode = "COLOUR";
        row.strOptionValue = "RED";
        row.strSetName = "The northern set";
        row.strListImageUrl = "https://images.example.org/items/list/" + std::to_string(n) + ".png";
        row.strIconImageUrl = "https://images.example.org/items/icon/" + std::to_string(n) + ".png";
        row.bNew = true;
    }
}

bool StartLibrary(unsigned short nPort)
{
    Support::Settings settings;
    settings.nServerPort = nPort;
    settings.WriteTo(Host::GetExecutableDirectory());
    const _CONNECTOR_ID id{"GAME", "SERVER", "WORLD"};
    const _CONNECTOR_CALLBACKS callbacks{};
    char szError[1025];
    if (InitModule(&id, &callbacks, szError, sizeof(szError)))
        return true;
    std::fprintf(stderr, "No start: %s\n", szError);
    return false;
}

struct Figures {
    double dCall, dRead;  // milliseconds
    std::size_t nList;    // bytes
};

bool ReadBox(int nEntries, Figures& figures)
{
    const _STORAGE_SEARCH_REQ req{};
    _LIST_RES res;
    const auto begin = Clock::now();
    QueryStorageInfo(&req, &res);
    const auto arrived = Clock::now();
    char szError[256] = "";
    bool bGood = res.bSuccess == 1 &&
                 GetDataSize(res.hData, szError, sizeof(szError)) == static_cast<std::size_t>(nEntries);
    _STORAGE_INFO info;
    for (int n = 0; n < nEntries && bGood; ++n) {
        bGood = GetStorageItemData(res.hData, static_cast<std::size_t>(n), &info, szError, sizeof(szError)) &&
                info.nStorageSeq == n;
    }
    const std::size_t nWithList = g_nLive;
    DestroyHandle(res.hData);
    figures.nList = nWithList - g_nLive;
    const auto end = Clock::now();
    figures.dCall =
        std::min(figures.dCall, std::chrono::duration<double, std::milli>(arrived - begin).count());
    figures.dRead = std::min(figures.dRead, std::chrono::duration<double, std::milli>(end - arrived).count());
    if (!bGood)
        std::fprintf(stderr, "The box has not come: %s %s\n", res.szError, szError);
    return bGood;
}

}  // namespace

int main(int argc, char** argv)
{
    const int nEntries = argc > 1 ? std::atoi(argv[1]) : 10'000;
    Bench::AtOnceService service;
    std::size_t nFrame = 0;
    {
        XS2C_SearchStorageAns ans;
        FillBox(ans, nEntries);
        service.SetAnswer<XC2S_SearchStorageReq>(ans);
        nFrame = static_cast<std::size_t>(ans.GetSize()) + 4;
    }
    if (!StartLibrary(service.Port()))
        return 1;
    Figures figures{1e9, 1e9, 0};
    std::size_t nPeak = 0;
    // In turns, so that both meet the machine in the same state.
    double dSocket = 1e9;
    for (int n = 0; n < kRounds; ++n) {
        dSocket = std::min(dSocket, Bench::PlainSocket(nFrame));
        const std::size_t nBefore = g_nLive;
        g_nPeak = nBefore;
        if (!ReadBox(nEntries, figures))
            return 1;
        nPeak = std::max(nPeak, g_nPeak - nBefore);
    }
    std::printf("%d entries, a frame of %.2f MB\n", nEntries, static_cast<double>(nFrame) / 1e6);
    std::printf("the call until the list is there: %8.2f ms, %5.1f times the bare socket (%.2f ms)\n",
                figures.dCall, figures.dCall / dSocket, dSocket);
    std::printf("reading all rows, giving back:    %8.2f ms, %5.1f times the bare socket\n", figures.dRead,
                figures.dRead / dSocket);
    std::printf("memory at its peak: %.2f MB, %.2f times the frame\n", static_cast<double>(nPeak) / 1e6,
                static_cast<double>(nPeak) / static_cast<double>(nFrame));
    std::printf("the list of %d: %zu bytes\n", nEntries, figures.nList);
    UninitModule();
    return 0;
}
