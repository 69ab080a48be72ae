// GetConnectorStatus of the library file, and the names of its threads.
#pragma once

#include <filesystem>
#include <string>

#include "tests/life/Library.h"
#include "tests/support/Files.h"

// As a game that knows so many bytes of the record; whatever lies behind them stays.
inline void ExpectState(const Library& library, int nState, int nSize, bool bTaken = true)
{
    decltype(&GetConnectorStatus) pfnStatus = nullptr;
    library.Get(pfnStatus, "GetConnectorStatus");
    struct {
        _CONNECTOR_STATUS status;
        long long arrBehind[2];
    } record;
    std::memset(&record, 0x5A, sizeof(record));
    record.status.nSize = nSize;
    const auto* const pBytes = reinterpret_cast<const unsigned char*>(&record);
    const bool bRight = pfnStatus(&record.status) == bTaken && record.status.nSize == nSize &&
                        (!bTaken || record.status.nLinkState == nState) && (bTaken || pBytes[4] == 0x5A) &&
                        (nSize < 16 || nSize >= static_cast<int>(sizeof(record)) || pBytes[nSize] == 0x5A) &&
                        (nSize <= static_cast<int>(sizeof(record.status)) || record.arrBehind[0] == 0);
    if (!bRight || pfnStatus(nullptr))
        Die("status of " + std::to_string(nSize) + " bytes: " + std::to_string(record.status.nLinkState));
}

inline void ExpectThreads()
{
#ifdef __linux__
    std::string strNames;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task"))
        strNames += Support::ReadFile(entry.path() / "comm");
    for (const char* pszName : {"velkar-comm\n", "velkar-charge\n", "velkar-reload\n", "velkar-log\n",
                                "velkar-pool-0\n", "velkar-pool-1\n"}) {
        if (strNames.find(pszName) == std::string::npos)
            Die("no thread " + std::string(pszName) + " among\n" + strNames);
    }
#endif
}
