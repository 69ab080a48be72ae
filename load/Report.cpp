#include "load/Report.h"

#include <nlohmann/json.hpp>

#include "load/Text.h"

namespace Load {
namespace {

std::string Row(const std::string& strName, const CallScore& call, double dSeconds)
{
    std::string strRow = Format("%-16.16s %9.0f %11s %9s %8s %8s", strName.c_str(),
                                static_cast<double>(call.times.GetCount()) / dSeconds,
                                CountText(call.nSent).c_str(), CountText(call.nRefused).c_str(),
                                CountText(call.nLate).c_str(), CountText(call.nLost).c_str());
    for (const double dPart : kParts)
        strRow += Format(" %9s", TimeText(call.times.Percentile(dPart)).c_str());
    return strRow + Format(" %9s\n", TimeText(call.times.GetMax()).c_str());
}

Json FiguresOf(const CallScore& call)
{
    Json json = {{"sent", call.nSent},
                 {"done", call.nDone},
                 {"refused", call.nRefused},
                 {"late", call.nLate},
                 {"lost", call.nLost}};
    for (const double dPart : kParts)
        json["p" + Format("%g", dPart * 100) + "Micros"] = call.times.Percentile(dPart).count();
    json["maxMicros"] = call.times.GetMax().count();
    return json;
}

}  // namespace

std::string TableOf(const Options& options, const Mix& mix, const Score& score)
{
    std::string strTable = Format(
        "\n%d game servers, %s users, %.1f s\n%-16s %9s %11s %9s %8s %8s %9s %9s %9s %9s %9s\n",
        options.nServers, CountText(static_cast<std::uint64_t>(options.nUsers)).c_str(), score.dSeconds,
        "call", "answers/s", "sent", "refused", "late", "lost", "p50", "p90", "p99", "p99.9", "longest");
    for (std::size_t n = 0; n < mix.vecCalls.size(); ++n)
        strTable += Row(mix.vecCalls[n].GetName(), score.vecCalls[n], score.dSeconds);
    strTable += Row("all", score.Sum(), score.dSeconds);
    if (score.nNotMade != 0)
        strTable +=
            CountText(score.nNotMade) + " calls of the rate were never made: too many waited for answers.\n";
    if (score.nLinksLost != 0)
        strTable += Format("%d times a link was lost.\n", score.nLinksLost);
    for (const auto& [strText, nTimes] : score.mapRefusals)
        strTable += "refused " + CountText(nTimes) + " times: " + strText + '\n';
    return strTable;
}

std::string JsonOf(const Options& options, const Mix& mix, const Score& score)
{
    Json json = {{"servers", options.nServers},   {"users", options.nUsers},      {"rate", options.dRate},
                 {"inFlight", options.nInFlight}, {"seconds", score.dSeconds},    {"notMade", score.nNotMade},
                 {"linksLost", score.nLinksLost}, {"all", FiguresOf(score.Sum())}};
    for (std::size_t n = 0; n < mix.vecCalls.size(); ++n)
        json["calls"][mix.vecCalls[n].GetName()] = FiguresOf(score.vecCalls[n]);
    for (const Second& second : score.vecSeconds) {
        json["perSecond"].push_back({{"answers", second.nAnswered},
                                     {"p50Micros", second.times.Percentile(0.5).count()},
                                     {"p99Micros", second.times.Percentile(0.99).count()}});
    }
    return Sandbox::DumpJson(json, 2) + '\n';
}

}  // namespace Load
