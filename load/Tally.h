// Times of answers, kept in buckets three per cent wide: percentiles of any number of answers in a few KiB.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>

namespace Load {

using Micros = std::chrono::microseconds;

class Tally {
public:
    void Add(Micros time);  // below zero counts as zero, above an hour as an hour
    void Add(const Tally& other);
    std::uint64_t GetCount() const { return m_nCount; }
    Micros GetMax() const { return m_max; }
    // The time within which this part (0 to 1) of the answers has come, rounded up to the end of its bucket;
    // zero without an answer.
    Micros Percentile(double dPart) const;

private:
    std::array<std::uint64_t, 960> m_arrBuckets{};
    std::uint64_t m_nCount = 0;
    Micros m_max{0};
};

}  // namespace Load
