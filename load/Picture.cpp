// The picture of a run: above, answers a second as an area and the 99th percentile as a line over the time;
// below, a row for each call with its percentiles on one logarithmic scale.
#include <algorithm>
#include <cmath>

#include "load/Report.h"
#include "load/Text.h"

namespace Load {
namespace {

constexpr double kWidth = 960, kLeft = 120, kRight = 80, kTop = 70, kPlotHeight = 220, kRowHeight = 34,
                 kGap = 90;
constexpr double kPlotWidth = kWidth - kLeft - kRight;

const char* const kStyle = R"css(<style>
svg{font:13px system-ui,sans-serif;--ink:#1b1f24;--soft:#6a737d;--line:#d8dde3;--area:#9ec5f4;--bar:#2f6fb7;--late:#b3402f}
@media(prefers-color-scheme:dark){svg{--ink:#e6e9ed;--soft:#9aa4af;--line:#3a424b;--area:#28507f;--bar:#7db3f0;--late:#f08a76}}
text{fill:var(--ink)}.soft{fill:var(--soft)}.grid{stroke:var(--line)}.area{fill:var(--area)}
.p99{stroke:var(--late);fill:none;stroke-width:2}.p99dot,.p99text{fill:var(--late)}.span{stroke:var(--bar);stroke-width:6;stroke-linecap:round;opacity:.45}
.p50{fill:var(--bar)}.title{font-size:17px;font-weight:600}.right{text-anchor:end}.mid{text-anchor:middle}
</style>
)css";

std::string TextAt(double x, double y, const std::string& strText, const char* pszClass = "")
{
    std::string strSafe;
    for (const char c : strText)
        strSafe += c == '&' ? "&amp;" : c == '<' ? "&lt;" : c == '>' ? "&gt;" : std::string(1, c);
    return Format("<text x=\"%.1f\" y=\"%.1f\" class=\"%s\">", x, y, pszClass) + strSafe + "</text>\n";
}

std::string LineFrom(double x1, double y1, double x2, double y2, const char* pszClass)
{
    return Format("<line x1=\"%.1f\" y1=\"%.1f\" x2=\"%.1f\" y2=\"%.1f\" class=\"%s\"/>\n", x1, y1, x2, y2,
                  pszClass);
}

// The next of 1, 2, 5, 10, 20... that is not below.
double RoundUp(double d)
{
    const double dPower = std::pow(10, std::floor(std::log10(std::max(d, 1.0))));
    for (const double dStep : {1.0, 2.0, 5.0, 10.0}) {
        if (d <= dStep * dPower)
            return dStep * dPower;
    }
    return d;
}

std::string TimePlot(const Score& score)
{
    const std::size_t nSeconds = std::max<std::size_t>(score.vecSeconds.size(), 1);
    double dMost = 1, dLongest = 1;
    for (const Second& second : score.vecSeconds) {
        dMost = std::max(dMost, static_cast<double>(second.nAnswered));
        dLongest = std::max(dLongest, static_cast<double>(second.times.Percentile(0.99).count()));
    }
    dMost = RoundUp(dMost), dLongest = RoundUp(dLongest);
    const double dBottom = kTop + kPlotHeight, dStep = kPlotWidth / static_cast<double>(nSeconds);
    std::string strArea = Format("<path class=\"area\" d=\"M%.1f %.1f", kLeft, dBottom);
    std::string strLine = "<polyline class=\"p99\" points=\"";
    for (std::size_t n = 0; n < score.vecSeconds.size(); ++n) {
        const Second& second = score.vecSeconds[n];
        const double x = kLeft + dStep * static_cast<double>(n);
        strArea += Format("V%.1fH%.1f", dBottom - kPlotHeight * static_cast<double>(second.nAnswered) / dMost,
                          x + dStep);
        const auto p99 = static_cast<double>(second.times.Percentile(0.99).count());
        strLine += Format("%.1f,%.1f ", x + dStep / 2, dBottom - kPlotHeight * p99 / dLongest);
    }
    std::string strPlot = strArea + Format("V%.1fZ\"/>\n", dBottom) + strLine + "\"/>\n";
    for (const double dPart : {0.0, 0.5, 1.0}) {
        const double y = dBottom - kPlotHeight * dPart;
        strPlot += LineFrom(kLeft, y, kLeft + kPlotWidth, y, "grid");
        strPlot +=
            TextAt(kLeft - 8, y + 4, CountText(static_cast<std::uint64_t>(dMost * dPart)), "soft right");
        strPlot += TextAt(kLeft + kPlotWidth + 8, y + 4,
                          TimeText(Micros(static_cast<std::int64_t>(dLongest * dPart))), "p99text");
    }
    strPlot += TextAt(kLeft, kTop - 10, "answers a second", "soft");
    strPlot += TextAt(kLeft + kPlotWidth, kTop - 10, "99th percentile", "p99text right");
    return strPlot + TextAt(kLeft, dBottom + 18, "0 s", "soft") +
           TextAt(kLeft + kPlotWidth, dBottom + 18, std::to_string(nSeconds) + " s", "soft right");
}

std::string CallRows(const Mix& mix, const Score& score)
{
    double dShortest = 1e9, dLongest = 1;
    for (const CallScore& call : score.vecCalls) {
        if (call.times.GetCount() == 0)
            continue;
        dShortest = std::min(dShortest, static_cast<double>(call.times.Percentile(0.5).count()));
        dLongest = std::max(dLongest, static_cast<double>(call.times.Percentile(0.999).count()));
    }
    const double dFrom = std::floor(std::log10(std::clamp(dShortest, 1.0, dLongest)));
    const double dTo = std::max(dFrom + 1, std::ceil(std::log10(dLongest)));
    const auto place = [&](double dMicros) {
        return kLeft + kPlotWidth * (std::log10(std::max(dMicros, 1.0)) - dFrom) / (dTo - dFrom);
    };
    const double dTop = kTop + kPlotHeight + kGap;
    const double dBottom = dTop + kRowHeight * static_cast<double>(mix.vecCalls.size());
    std::string strRows = TextAt(
        kLeft, dTop - 32, "time to the answer: median, to the 90th, 99th and 99.9th percentile", "soft");
    for (double dPower = dFrom; dPower <= dTo; ++dPower) {
        const double x = place(std::pow(10, dPower));
        strRows += LineFrom(x, dTop - 8, x, dBottom, "grid");
        strRows += TextAt(x, dTop - 14, TimeText(Micros(static_cast<std::int64_t>(std::pow(10, dPower)))),
                          "soft mid");
    }
    for (std::size_t n = 0; n < mix.vecCalls.size(); ++n) {
        const CallScore& call = score.vecCalls[n];
        const double y = dTop + kRowHeight * (static_cast<double>(n) + 0.5);
        strRows += TextAt(kLeft - 8, y + 4, mix.vecCalls[n].GetName(), "right");
        if (call.times.GetCount() == 0)
            continue;
        const auto at = [&](double dPart) {
            return place(static_cast<double>(call.times.Percentile(dPart).count()));
        };
        strRows += LineFrom(at(0.5), y, at(0.999), y, "span");
        strRows += Format("<circle cx=\"%.1f\" cy=\"%.1f\" r=\"6\" class=\"p50\"/>\n", at(0.5), y);
        strRows += Format("<circle cx=\"%.1f\" cy=\"%.1f\" r=\"4\" class=\"p50\"/>\n", at(0.9), y);
        strRows += Format("<circle cx=\"%.1f\" cy=\"%.1f\" r=\"5\" class=\"p99dot\"/>\n", at(0.99), y);
        strRows += TextAt(kLeft + kPlotWidth + 8, y + 4,
                          CountText(static_cast<std::uint64_t>(static_cast<double>(call.times.GetCount()) /
                                                               score.dSeconds)) +
                              "/s",
                          "soft");
    }
    return strRows;
}

}  // namespace

std::string PictureOf(const Options& options, const Mix& mix, const Score& score)
{
    const CallScore sum = score.Sum();
    const double dHeight =
        kTop + kPlotHeight + kGap + kRowHeight * static_cast<double>(mix.vecCalls.size()) + 50;
    std::string strPicture =
        Format("<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 %.0f %.0f\" role=\"img\">\n", kWidth,
               dHeight) +
        kStyle;
    strPicture += TextAt(
        kLeft, 30,
        Format(
            "%d game servers, %s users: %s answers a second", options.nServers,
            CountText(static_cast<std::uint64_t>(options.nUsers)).c_str(),
            CountText(static_cast<std::uint64_t>(static_cast<double>(sum.times.GetCount()) / score.dSeconds))
                .c_str()),
        "title");
    strPicture += TimePlot(score) + CallRows(mix, score);
    strPicture += TextAt(kLeft, dHeight - 16,
                         "refused " + CountText(sum.nRefused) + ", late " + CountText(sum.nLate) + ", lost " +
                             CountText(sum.nLost) + ", never made " + CountText(score.nNotMade),
                         "soft");
    return strPicture + "</svg>\n";
}

}  // namespace Load
