#include "platform/common/XMemory.h"

#include <algorithm>
#include <cstring>

using Kernova::MemoryPool::_XMemory;

namespace {

// A stream's first block, so that a message of the usual length needs no second one.
constexpr std::size_t kFirstBytes = 256;
// A block that has so many bytes grows no more, and an emptied stream keeps a block up to this size.
constexpr std::size_t kBlockBytes = 64u << 10;

}  // namespace

void _XMemory::Append(const char* pBytes, std::size_t nCount)
{
    if (m_nFront == 0 && nCount <= m_vecBytes.capacity() - m_vecBytes.size()) {
        m_vecBytes.insert(m_vecBytes.end(), pBytes, pBytes + nCount);
        m_nLength += nCount;
        return;
    }
    // The front is closed up only once it is the larger part, so that every byte moves at most once.
    if (m_vecOlder.empty() && m_nFront > m_vecBytes.size() / 2) {
        m_vecBytes.erase(m_vecBytes.begin(), m_vecBytes.begin() + static_cast<std::ptrdiff_t>(m_nFront));
        m_nFront = 0;
    }
    const std::size_t nNeeded = m_vecBytes.size() + nCount;
    if (nNeeded > m_vecBytes.capacity() && (nNeeded <= kBlockBytes || m_vecBytes.empty())) {
        const std::size_t nGrown = m_vecBytes.capacity() + m_vecBytes.capacity() / 2;
        m_vecBytes.reserve(std::max({nNeeded, std::min(nGrown, kBlockBytes), kFirstBytes}));
    }
    const std::size_t nFits = std::min(nCount, m_vecBytes.capacity() - m_vecBytes.size());
    std::vector<char> vecNext;
    if (nFits != nCount) {
        vecNext.reserve(std::max(nCount - nFits, kBlockBytes));
        vecNext.insert(vecNext.end(), pBytes + nFits, pBytes + nCount);
        m_vecOlder.emplace_back();  // nothing throws from here on
    }
    m_vecBytes.insert(m_vecBytes.end(), pBytes, pBytes + nFits);
    if (nFits != nCount) {
        m_vecOlder.back().swap(m_vecBytes);
        m_vecBytes.swap(vecNext);
    }
    m_nLength += nCount;
}

void _XMemory::CopyFront(char* pTo, std::size_t nCount) const
{
    std::size_t nSkipped = m_nFront;
    for (std::size_t n = m_nOldest; nCount != 0; ++n) {
        const std::vector<char>& vecBlock = n < m_vecOlder.size() ? m_vecOlder[n] : m_vecBytes;
        const std::size_t nPart = std::min(nCount, vecBlock.size() - nSkipped);
        std::memcpy(pTo, vecBlock.data() + nSkipped, nPart);
        pTo += nPart;
        nCount -= nPart;
        nSkipped = 0;
    }
}

void _XMemory::DropFront(std::size_t nCount)
{
    m_nLength -= nCount;
    m_nFront += nCount;
    while (m_nOldest < m_vecOlder.size() && m_nFront >= m_vecOlder[m_nOldest].size())
        DropOldest();
    if (m_nLength != 0)
        return;
    m_nFront = 0;
    m_vecBytes.clear();
    if (m_vecBytes.capacity() > kBlockBytes)
        std::vector<char>().swap(m_vecBytes);
}

void _XMemory::DropOldest()
{
    m_nFront -= m_vecOlder[m_nOldest].size();
    std::vector<char>().swap(m_vecOlder[m_nOldest]);
    if (++m_nOldest != m_vecOlder.size())
        return;
    m_vecOlder.clear();
    m_nOldest = 0;
}

std::vector<char>& _XMemory::Join()
{
    if (m_nFront != 0 || !m_vecOlder.empty()) {
        std::vector<char> vecAll(m_nLength);
        CopyFront(vecAll.data(), vecAll.size());
        m_vecOlder.clear();
        m_nOldest = m_nFront = 0;
        m_vecBytes.swap(vecAll);
    }
    return m_vecBytes;
}

void _XMemory::SwapEmpty(std::vector<char>& vecBytes)
{
    m_vecBytes.clear();
    m_vecBytes.swap(vecBytes);
    m_nFront = 0;
    m_nLength = m_vecBytes.size();
}
