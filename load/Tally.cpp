#include "load/Tally.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>

namespace Load {
namespace {

// Up to 63 each microsecond has its bucket; above, each power of two has 32.
constexpr std::uint64_t kExact = 64, kSteps = 32;
constexpr Micros kLongest = std::chrono::hours(1);

std::size_t BucketOf(std::uint64_t n)
{
    if (n < kExact)
        return n;
    const auto nShift = static_cast<unsigned int>(std::bit_width(n)) - 6;
    return kExact + (nShift - 1) * kSteps + (n >> nShift) - kSteps;
}

// The longest time of that bucket.
std::uint64_t EndOf(std::size_t nBucket)
{
    if (nBucket < kExact)
        return nBucket;
    const std::uint64_t nShift = (nBucket - kExact) / kSteps + 1;
    return ((kSteps + (nBucket - kExact) % kSteps + 1) << nShift) - 1;
}

}  // namespace

void Tally::Add(Micros time)
{
    time = std::clamp(time, Micros(0), kLongest);
    ++m_arrBuckets[BucketOf(static_cast<std::uint64_t>(time.count()))];
    ++m_nCount;
    m_max = std::max(m_max, time);
}

void Tally::Add(const Tally& other)
{
    std::ranges::transform(m_arrBuckets, other.m_arrBuckets, m_arrBuckets.begin(), std::plus());
    m_nCount += other.m_nCount;
    m_max = std::max(m_max, other.m_max);
}

Micros Tally::Percentile(double dPart) const
{
    const auto nWanted = static_cast<std::uint64_t>(std::ceil(dPart * static_cast<double>(m_nCount)));
    std::uint64_t nSeen = 0;
    for (std::size_t n = 0; n < m_arrBuckets.size(); ++n) {
        nSeen += m_arrBuckets[n];
        if (nSeen >= nWanted && nSeen > 0)
            return std::min(m_max, Micros(EndOf(n)));
    }
    return Micros(0);
}

}  // namespace Load
