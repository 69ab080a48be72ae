// The blocks of an arena.
#include "config/proj/TarvoXmlParser/src/xmlArena.h"

#include <algorithm>

namespace Tarvo::XmlParser {
namespace {

// Bytes of the smallest and the largest block of many pieces. A block is as long as all before it together,
// within these bounds, so that a small tree takes little memory and a large tree few blocks.
constexpr std::size_t kSmallest = 512;
constexpr std::size_t kLargest = std::size_t{64} << 10;

}  // namespace

// A piece of more than a quarter of a block gets a block of its own, and the current block goes on; a smaller
// one begins a new block, and what is left of the current block stays unused.
void* Arena::AllocateBlock(std::size_t nSize)
{
    const std::size_t nBlock = std::clamp(m_nTotal, kSmallest, kLargest);
    const bool bOwnBlock = nSize > nBlock / 4;
    const std::size_t nLength = bOwnBlock ? nSize : nBlock;
    m_vecBlocks.push_back(std::make_unique_for_overwrite<char[]>(nLength));
    m_nTotal += nLength;
    char* const p = m_vecBlocks.back().get();
    if (!bOwnBlock) {
        m_pNext = p + nSize;
        m_pEnd = p + nBlock;
    }
    return p;
}

}  // namespace Tarvo::XmlParser
