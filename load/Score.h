// What has come of the calls. Belongs to the one thread of the program.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "load/Tally.h"

namespace Load {

using Clock = std::chrono::steady_clock;

// After this time a game server's library tells the caller of a timeout.
constexpr std::chrono::seconds kAnswerTimeout{5};

struct CallScore {
    std::uint64_t nSent = 0;
    std::uint64_t nDone = 0;     // answered in time with success
    std::uint64_t nRefused = 0;  // answered in time, with anything else
    std::uint64_t nLate = 0;     // answered after kAnswerTimeout
    std::uint64_t nLost = 0;     // never answered
    Tally times{};               // of all that were answered, late ones too
};

struct Second {
    std::uint64_t nAnswered = 0;
    Tally times{};
};

struct Score {
    std::vector<CallScore> vecCalls;   // as in the mix
    std::vector<Second> vecSeconds{};  // since the measurement began
    Clock::time_point start{};         // of the measurement
    double dSeconds = 0;               // that it took
    std::uint64_t nNotMade = 0;        // calls of the rate that nobody was free to make until the end
    int nLinksLost = 0;
    std::map<std::string, std::uint64_t> mapRefusals{};  // by call and text; the first kMostTexts of them
    static constexpr std::size_t kMostTexts = 20;

    CallScore Sum() const
    {
        CallScore sum;
        for (const CallScore& call : vecCalls) {
            sum.nSent += call.nSent, sum.nDone += call.nDone, sum.nRefused += call.nRefused;
            sum.nLate += call.nLate, sum.nLost += call.nLost;
            sum.times.Add(call.times);
        }
        return sum;
    }
};

}  // namespace Load
