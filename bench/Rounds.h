// What the measurements of requests have in common: callers that send one request after the other for a set
// time.
#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <thread>
#include <vector>

#include "bench/Processes.h"

namespace Bench {

struct Result {
    double dRate = 0;     // requests a second
    Usage usage;          // of the client's process, a request
    long nOvertaken = 0;  // answers that came before their caller waited
    long nRequests = 0;
};

// Lets the callers work for that time. exchange(nCaller, nNumber) is one request; true if it was overtaken.
// Every caller ends behind a request with an odd number, so that requests can come in pairs.
inline Result Measure(int nCallers, int nMilliseconds, const std::function<bool(int, long)>& exchange)
{
    std::atomic<bool> bCounting{false}, bEnd{false};
    std::atomic<long> nRequests{0}, nOvertaken{0};
    std::vector<std::thread> vecCallers;
    for (int nCaller = 0; nCaller < nCallers; ++nCaller) {
        vecCallers.emplace_back([&, nCaller] {
            for (long n = 0; !bEnd.load(std::memory_order_relaxed) || n % 2 != 0; ++n) {
                const bool bOvertaken = exchange(nCaller, n);
                if (bCounting.load(std::memory_order_relaxed))
                    ++nRequests;
                nOvertaken += bOvertaken ? 1 : 0;
            }
        });
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(nMilliseconds / 5));
    bCounting = true;
    const Usage before = GetUsage();
    const auto begin = std::chrono::steady_clock::now();
    std::this_thread::sleep_for(std::chrono::milliseconds(nMilliseconds));
    bCounting = false;
    const double dSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    const Usage after = GetUsage();
    bEnd = true;
    for (std::thread& caller : vecCallers)
        caller.join();
    const auto dRequests = static_cast<double>(nRequests.load());
    return {dRequests / dSeconds,
            {(after.dSwitches - before.dSwitches) / dRequests,
             (after.dMicroseconds - before.dMicroseconds) / dRequests},
            nOvertaken.load(),
            nRequests.load()};
}

// What is measured one after the other.
struct Row {
    const char* pszName;
    int nCallers;
    bool bOneCore;
};
inline constexpr Row kRows[] = {{"1 caller, one core", 1, true},
                                {"64 callers, one core", 64, true},
                                {"8 callers", 8, false},
                                {"64 callers", 64, false}};

// What the rounds of one client have given.
struct Series {
    std::vector<double> vecRates, vecSwitches, vecMicroseconds,
        vecRatios;  // ratios to the yardstick's rate of the same round
    long nOvertaken = 0;
    long nRequests = 0;

    void Add(const Result& result, const Result& yardstick)
    {
        vecRates.push_back(result.dRate);
        vecSwitches.push_back(result.usage.dSwitches);
        vecMicroseconds.push_back(result.usage.dMicroseconds);
        vecRatios.push_back(result.dRate / yardstick.dRate);
        nOvertaken += result.nOvertaken;
        nRequests += result.nRequests;
    }
};

inline double Median(std::vector<double> vec)
{
    std::sort(vec.begin(), vec.end());
    return vec[vec.size() / 2];
}
inline double Least(const std::vector<double>& vec) { return *std::min_element(vec.begin(), vec.end()); }
inline double Most(const std::vector<double>& vec) { return *std::max_element(vec.begin(), vec.end()); }

}  // namespace Bench
