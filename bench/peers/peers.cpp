// The library beside well-known ways to do the same: gRPC, Thrift, hiredis and Boost.Asio, each with a server
// of its own. One small request and its answer, N blocking callers on one connection; the yardstick is the
// plain client of bench_request_path. In a round each of them runs once, in a process of its own, against its
// server in another one on the same cores. The figures are medians over the rounds, as tables in Markdown;
// docs/measurements.md says what each peer does and what it leaves out.
//
//   bench_peers [rounds, 7 unless given] [milliseconds of a round, 1000 unless given] [rows with this text]
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "bench/LibraryClient.h"
#include "bench/PlainClient.h"
#include "bench/peers/Peer.h"

namespace {

using Bench::Median;
using Bench::Row;

Peers::Peer Library(const char* pszName, const char* pszLevel)
{
    return {pszName, Bench::ServeAtOnce, [pszLevel](int nCallers, unsigned short nPort, int nMilliseconds) {
                return Bench::RunLibrary(pszLevel, nCallers, nPort, nMilliseconds);
            }};
}

Peers::Frames LibraryFrames()
{
    return {[](int nCaller, bool bCheckin) {
                const Bench::RequestFrame frame(nCaller, bCheckin);
                return std::string(frame.Data(), frame.Size());
            },
            [](const std::string& strBody) {
                std::string strFrame;
                Bench::AppendAnswer(Bench::NumberAt(strBody.data()), strBody, strFrame);
                return strFrame;
            },
            [](const std::string& strBody, bool bCheckin) {
                return Bench::NumberAt(strBody.data()) ==
                       (bCheckin ? XS2C_CheckInAns::kMsgID : XS2C_CheckOutAns::kMsgID);
            }};
}

// The yardstick is the first one.
std::vector<Peers::Peer> AllPeers()
{
    return {{"plain client", Bench::ServeAtOnce, Bench::RunPlain},
            Library("library", "Error"),
            Library("library, log Info", "Info"),
            Peers::Grpc(),
            Peers::Thrift(),
            Peers::Hiredis(),
            Peers::BoostAsio(LibraryFrames())};
}

std::vector<Bench::Series> MeasureRow(const Row& row, const std::vector<Peers::Peer>& vecPeers, int nRounds,
                                      int nMilliseconds)
{
    std::vector<std::unique_ptr<Bench::ServiceProcess>> vecServices;
    for (const Peers::Peer& peer : vecPeers)
        vecServices.push_back(std::make_unique<Bench::ServiceProcess>(row.bOneCore, peer.serve));
    std::vector<Bench::Series> vecSeries(vecPeers.size());
    for (int nRound = 0; nRound < nRounds; ++nRound) {
        Bench::Result yardstick;
        for (std::size_t n = 0; n < vecPeers.size(); ++n) {
            const auto result = Bench::InProcess<Bench::Result>(row.bOneCore, [&] {
                return vecPeers[n].run(row.nCallers, vecServices[n]->Port(), nMilliseconds);
            });
            if (n == 0)
                yardstick = result;
            vecSeries[n].Add(result, yardstick);
        }
    }
    return vecSeries;
}

void PrintHead(const char* pszTitle, const std::vector<Peers::Peer>& vecPeers)
{
    std::printf("\n%s\n\n| callers |", pszTitle);
    for (const Peers::Peer& peer : vecPeers)
        std::printf(" %s |", peer.pszName);
    std::printf("\n| --- |");
    for (std::size_t n = 0; n < vecPeers.size(); ++n)
        std::printf(" --- |");
    std::printf("\n");
}

template <class Print>
void PrintTable(const char* pszTitle, const std::vector<Peers::Peer>& vecPeers,
                const std::vector<std::pair<const Row*, std::vector<Bench::Series>>>& vecRows, Print print)
{
    PrintHead(pszTitle, vecPeers);
    for (const auto& [pRow, vecSeries] : vecRows) {
        std::printf("| %s |", pRow->pszName);
        for (const Bench::Series& series : vecSeries) {
            std::printf(" ");
            print(series);
            std::printf(" |");
        }
        std::printf("\n");
    }
}

}  // namespace

int main(int argc, char** argv)
{
    const int nRounds = argc > 1 ? std::atoi(argv[1]) : 7;
    const int nMilliseconds = argc > 2 ? std::atoi(argv[2]) : 1000;
    const char* const pszWanted = argc > 3 ? argv[3] : "";
    const std::vector<Peers::Peer> vecPeers = AllPeers();
    std::vector<std::pair<const Row*, std::vector<Bench::Series>>> vecRows;
    for (const Row& row : Bench::kRows) {
        if (std::strstr(row.pszName, pszWanted) == nullptr)
            continue;
        std::fprintf(stderr, "%s...\n", row.pszName);
        vecRows.emplace_back(&row, MeasureRow(row, vecPeers, nRounds, nMilliseconds));
    }
    PrintTable("Ratio to the plain client, and the lowest and the highest of the rounds:", vecPeers, vecRows,
               [](const Bench::Series& series) {
                   std::printf("%.2f (%.2f to %.2f)", Median(series.vecRatios),
                               Bench::Least(series.vecRatios), Bench::Most(series.vecRatios));
               });
    PrintTable("Requests a second:", vecPeers, vecRows,
               [](const Bench::Series& series) { std::printf("%.0f", Median(series.vecRates)); });
    PrintTable("Context switches of the client's process, a request:", vecPeers, vecRows,
               [](const Bench::Series& series) { std::printf("%.2f", Median(series.vecSwitches)); });
    long nOvertaken = 0;
    for (const auto& [pRow, vecSeries] : vecRows) {
        for (const Bench::Series& series : vecSeries)
            nOvertaken += series.nOvertaken;
    }
    std::printf("\nRequests of the library whose answer came before their caller waited: %ld\n", nOvertaken);
    return 0;
}
