// Whether work grows with its size or with the square of it.
#pragma once

#include <algorithm>
#include <ctime>

namespace Growth {

// The seconds of processor time that the function takes, the best of three runs.
template <class Function>
double BestTime(Function function)
{
    double dBest = 1e9;
    for (int n = 0; n < 3; ++n) {
        const std::clock_t start = std::clock();
        function();
        dBest = std::min(dBest, static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC);
    }
    return dBest;
}

inline constexpr double kMost = 24;

// The growth from a small size to one eight times as big: 8 for linear work, 64 for quadratic work. Too much
// has to show five times; a busy machine can make any single measurement look bad.
template <class Function>
double OverEight(int nSmall, Function work)
{
    constexpr double kFloor = 0.004;  // a coarse clock must not make something of nothing
    double dGrowth = 1e9;
    for (int n = 0; n < 5 && dGrowth >= kMost; ++n) {
        const double dSmall = BestTime([&] { work(nSmall); });
        const double dLarge = BestTime([&] { work(nSmall * 8); });
        dGrowth = std::min(dGrowth, dLarge / std::max(dSmall, kFloor));
    }
    return dGrowth;
}

}  // namespace Growth
