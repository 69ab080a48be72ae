// The way of a request, beside a yardstick that does the same exchange with the least that it takes: N
// callers on one socket, each of which writes its frame and sleeps until a plain reader thread has its
// answer. Rounds of the library and of the yardstick take turns, each in a process of its own against a
// service in a third one; the ratio and the context switches are medians over the rounds. So is the library's
// rate beside the rate of a round in which it keeps no figures for the operator.
//
//   bench_request_path [rounds, 7 unless given] [milliseconds of a round, 1000 unless given] [rows with this
//   text]
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "bench/LibraryClient.h"
#include "bench/PlainClient.h"

namespace {

using Bench::Median;

void MeasureRow(const Bench::Row& row, const char* pszLevel, int nRounds, int nMilliseconds)
{
    Bench::Series plain, library, counted;  // counted: the library beside itself without its figures
    const Bench::ServiceProcess service(row.bOneCore, Bench::ServeAtOnce);
    for (int n = 0; n < nRounds; ++n) {
        const auto yardstick = Bench::InProcess<Bench::Result>(
            row.bOneCore, [&] { return Bench::RunPlain(row.nCallers, service.Port(), nMilliseconds); });
        plain.Add(yardstick, yardstick);
        const auto round = [&](bool bCounting) {
            return Bench::InProcess<Bench::Result>(row.bOneCore, [&] {
                return Bench::RunLibrary(pszLevel, row.nCallers, service.Port(), nMilliseconds, bCounting);
            });
        };
        // Each of the two is the first one in every other round.
        const auto first = round(n % 2 == 0), second = round(n % 2 != 0);
        const auto& result = n % 2 == 0 ? first : second;
        library.Add(result, yardstick);
        counted.Add(result, n % 2 == 0 ? second : first);
    }
    std::printf(
        "%-22s %-6s | %9.0f %9.0f | %5.2f  (%.2f to %.2f) | %6.2f %6.2f | %5.3f  (%.3f to %.3f) | %ld of "
        "%ld\n",
        row.pszName, pszLevel, Median(plain.vecRates), Median(library.vecRates), Median(library.vecRatios),
        Bench::Least(library.vecRatios), Bench::Most(library.vecRatios), Median(plain.vecSwitches),
        Median(library.vecSwitches), Median(counted.vecRatios), Bench::Least(counted.vecRatios),
        Bench::Most(counted.vecRatios), library.nOvertaken, library.nRequests);
    std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv)
{
    const int nRounds = argc > 1 ? std::atoi(argv[1]) : 7;
    const int nMilliseconds = argc > 2 ? std::atoi(argv[2]) : 1000;
    const char* const pszWanted = argc > 3 ? argv[3] : "";
    std::printf("%-22s %-6s | %9s %9s | %-20s | %13s | %-23s | %s\n", "", "log", "plain/s", "library/s",
                "ratio", "switches", "of the rate uncounted", "overtaken");
    for (const char* const pszLevel : {"Error", "Info"}) {
        for (const Bench::Row& row : Bench::kRows) {
            if (std::strstr(row.pszName, pszWanted) != nullptr)
                MeasureRow(row, pszLevel, nRounds, nMilliseconds);
        }
    }
    std::_Exit(0);  // past the services that are threads of this process on Windows
}
