// The way of a request, beside a yardstick that does the same exchange with the least that it takes: N
// callers on one socket, each of which writes its frame and sleeps until a plain reader thread has its
// answer. Rounds of the library and of the yardstick take turns, each in a process of its own against a
// service in a third one; the ratio and the context switches are medians over the rounds. So are the
// library's rate with the log at Info and its rate without figures for the operator, beside its rate in the
// same round.
//
//   bench_request_path [rounds, 9 unless given] [milliseconds of a round, 1000 unless given] [rows with this
//   text]
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string>
#include <vector>

#include "bench/LibraryClient.h"
#include "bench/PlainClient.h"

namespace {

using Bench::Median;

struct Variant {
    const char* pszLevel;
    bool bCounting;
};
constexpr Variant kVariants[] = {{"Error", true}, {"Info", true}, {"Error", false}};
constexpr std::size_t kCount = std::size(kVariants);

std::string Spread(const std::vector<double>& vecRatios)
{
    char sz[64];
    std::snprintf(sz, sizeof(sz), "%4.2f (%.2f to %.2f)", Median(vecRatios), Bench::Least(vecRatios),
                  Bench::Most(vecRatios));
    return sz;
}

void MeasureRow(const Bench::Row& row, int nRounds, int nMilliseconds)
{
    Bench::Series plain, library, logging, uncounted;
    const Bench::ServiceProcess service(row.bOneCore, Bench::ServeAtOnce);
    for (int n = 0; n < nRounds; ++n) {
        const auto yardstick = Bench::InProcess<Bench::Result>(
            row.bOneCore, [&] { return Bench::RunPlain(row.nCallers, service.Port(), nMilliseconds); });
        plain.Add(yardstick, yardstick);
        Bench::Result arrResults[kCount];
        for (std::size_t nTurn = 0; nTurn < kCount; ++nTurn) {  // another one is the first in each round
            const std::size_t nVariant = (nTurn + static_cast<std::size_t>(n)) % kCount;
            arrResults[nVariant] = Bench::InProcess<Bench::Result>(row.bOneCore, [&] {
                return Bench::RunLibrary(kVariants[nVariant].pszLevel, row.nCallers, service.Port(),
                                         nMilliseconds, kVariants[nVariant].bCounting);
            });
        }
        library.Add(arrResults[0], yardstick);
        logging.Add(arrResults[1], arrResults[0]);
        uncounted.Add(arrResults[2], arrResults[0]);
    }
    std::printf("%-22s | %9.0f %9.0f | %-20s | %5.2f %5.2f | %5.1f %5.1f | %-20s | %-20s | %ld of %ld\n",
                row.pszName, Median(plain.vecRates), Median(library.vecRates),
                Spread(library.vecRatios).c_str(), Median(plain.vecSwitches), Median(library.vecSwitches),
                Median(plain.vecMicroseconds), Median(library.vecMicroseconds),
                Spread(logging.vecRatios).c_str(), Spread(uncounted.vecRatios).c_str(),
                library.nOvertaken + logging.nOvertaken + uncounted.nOvertaken,
                library.nRequests + logging.nRequests + uncounted.nRequests);
    std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv)
{
    const int nRounds = argc > 1 ? std::atoi(argv[1]) : 9;
    const int nMilliseconds = argc > 2 ? std::atoi(argv[2]) : 1000;
    const char* const pszWanted = argc > 3 ? argv[3] : "";
    std::printf("%-22s | %9s %9s | %-20s | %11s | %11s | %-20s | %-20s | %s\n", "", "plain/s", "library/s",
                "ratio", "switches", "processor us", "with the log at Info", "uncounted", "overtaken");
    for (const Bench::Row& row : Bench::kRows) {
        if (std::strstr(row.pszName, pszWanted) != nullptr)
            MeasureRow(row, nRounds, nMilliseconds);
    }
    std::_Exit(0);  // past the services that are threads of this process on Windows
}
