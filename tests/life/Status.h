// GetConnectorStatus of the library file, and the names of its threads.
#pragma once

#include <algorithm>
#include <filesystem>
#include <string>

#include "tests/life/Library.h"
#include "tests/platform/Waiting.h"
#include "tests/support/Files.h"

// As a game that knows so many bytes of the record: those behind them stay, and those that the library does
// not know are zeroed. A record of a size without sense stays as it is.
inline void ExpectState(const Library& library, int nState, int nSize)
{
    decltype(&GetConnectorStatus) pfnStatus = nullptr;
    library.Get(pfnStatus, "GetConnectorStatus");
    struct {
        _CONNECTOR_STATUS status;
        unsigned char arrBehind[16];
    } record;
    std::memset(&record, 0x5A, sizeof(record));
    record.status.nSize = nSize;
    const bool bSense = nSize >= 16 && nSize <= 65536;
    const auto nKnown = static_cast<std::size_t>(bSense ? nSize : 4);
    const std::string strBytes(reinterpret_cast<const char*>(&record) + nKnown, sizeof(record) - nKnown);
    const bool bRight =
        pfnStatus(&record.status) == bSense && record.status.nSize == nSize &&
        record.status.nLinkState == (bSense ? nState : 0x5A5A5A5A) &&
        std::memcmp(reinterpret_cast<char*>(&record) + nKnown, strBytes.data(), strBytes.size()) == 0 &&
        (nKnown <= sizeof(record.status) || record.arrBehind[0] == 0);
    if (!bRight || pfnStatus(nullptr))
        Die("status of " + std::to_string(nSize) + " bytes: " + std::to_string(record.status.nLinkState));
}

// A thread takes its name when it begins to run, which may be behind the start.
inline void ExpectThreads()
{
#ifdef __linux__
    std::string strNames;
    const bool bAll = Eventually([&] {
        strNames.clear();
        for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task"))
            strNames += Support::ReadFile(entry.path() / "comm");
        const auto names = {"comm\n", "charge\n", "reload\n", "log\n", "pool-0\n", "pool-1\n"};
        return std::ranges::all_of(names, [&](const char* pszName) {
            return strNames.find(std::string("velkar-") + pszName) != std::string::npos;
        });
    });
    if (!bAll)
        Die("the threads have the names\n" + strNames);
#endif
}
