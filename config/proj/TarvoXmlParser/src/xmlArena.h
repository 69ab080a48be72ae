// The memory of a tree: pieces of a few large blocks, handed out one behind the other and freed all at once.
// A tree of many small parts then costs neither an allocation for each part nor a walk to free them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <string_view>
#include <type_traits>
#include <vector>

namespace Tarvo::XmlParser {

// Frees what it has handed out when it dies, without running destructors.
class Arena {
public:
    Arena() = default;
    Arena(const Arena&) = delete;
    Arena& operator=(const Arena&) = delete;

    // Uninitialised memory. nAlign is a power of two, at most that of every fundamental type.
    void* Allocate(std::size_t nSize, std::size_t nAlign)
    {
        const std::size_t nPad = (0 - reinterpret_cast<std::uintptr_t>(m_pNext)) & (nAlign - 1);
        if (static_cast<std::size_t>(m_pEnd - m_pNext) < nPad + nSize)
            return AllocateBlock(nSize);
        char* const p = m_pNext + nPad;
        m_pNext = p + nSize;
        return p;
    }
    // Lengthens the piece that ends at pEnd by nMore bytes. False, and no change, unless that piece is the
    // last one and its block has room.
    bool Extend(const void* pEnd, std::size_t nMore)
    {
        if (pEnd != m_pNext || static_cast<std::size_t>(m_pEnd - m_pNext) < nMore)
            return false;
        m_pNext += nMore;
        return true;
    }
    // A copy that ends in a NUL.
    const char* CopyText(std::string_view text)
    {
        char* const p = static_cast<char*>(Allocate(text.size() + 1, 1));
        text.copy(p, text.size());
        p[text.size()] = '\0';
        return p;
    }

private:
    void* AllocateBlock(std::size_t nSize);

    char* m_pNext = nullptr;  // the free part of the current block
    char* m_pEnd = nullptr;
    std::size_t m_nTotal = 0;  // bytes of all blocks
    std::vector<std::unique_ptr<char[]>> m_vecBlocks;
};

// A growing array in an arena, which is given to every operation that may need memory. The arena keeps the
// array's memory, also that of the shorter array before a move. References are good until an addition.
template <class T>
class ArenaArray {
    static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>);

public:
    std::size_t size() const { return m_nSize; }
    bool empty() const { return m_nSize == 0; }
    T* begin() { return m_pItems; }
    T* end() { return m_pItems + m_nSize; }
    const T* begin() const { return m_pItems; }
    const T* end() const { return m_pItems + m_nSize; }
    T& operator[](std::size_t n) { return m_pItems[n]; }
    const T& operator[](std::size_t n) const { return m_pItems[n]; }
    T& back() { return m_pItems[m_nSize - 1]; }
    const T& back() const { return m_pItems[m_nSize - 1]; }
    void pop_back() { --m_nSize; }

    // REQUIRES: nPlace is at most size().
    T& Insert(Arena& arena, std::size_t nPlace, const T& item)
    {
        const T copy = item;  // the item may be one of the array, which moves
        MakeRoom(arena, 1);
        if (nPlace < m_nSize)
            std::memmove(m_pItems + nPlace + 1, m_pItems + nPlace, (m_nSize - nPlace) * sizeof(T));
        ++m_nSize;
        return m_pItems[nPlace] = copy;
    }
    // REQUIRES: the items are none of the array.
    void Append(Arena& arena, const T* pItems, std::size_t nCount)
    {
        MakeRoom(arena, nCount);
        if (nCount > 0)
            std::memcpy(m_pItems + m_nSize, pItems, nCount * sizeof(T));
        m_nSize += static_cast<std::uint32_t>(nCount);
    }

private:
    // The array at the end of the arena grows to its exact size; any other moves and doubles its room.
    void MakeRoom(Arena& arena, std::size_t nMore)
    {
        if (m_nRoom - m_nSize >= nMore)
            return;
        const std::size_t nNeeded = m_nSize + nMore;
        if (nNeeded > std::numeric_limits<std::uint32_t>::max() / 2)
            throw std::bad_alloc();
        if (m_nRoom > 0 && arena.Extend(m_pItems + m_nRoom, (nNeeded - m_nRoom) * sizeof(T))) {
            m_nRoom = static_cast<std::uint32_t>(nNeeded);
            return;
        }
        const std::size_t nRoom = nNeeded > 2 * std::size_t{m_nRoom} ? nNeeded : 2 * std::size_t{m_nRoom};
        T* const pItems = static_cast<T*>(arena.Allocate(nRoom * sizeof(T), alignof(T)));
        if (m_nSize > 0)
            std::memcpy(pItems, m_pItems, m_nSize * sizeof(T));
        m_pItems = pItems;
        m_nRoom = static_cast<std::uint32_t>(nRoom);
    }

    T* m_pItems = nullptr;
    std::uint32_t m_nSize = 0;
    std::uint32_t m_nRoom = 0;
};

}  // namespace Tarvo::XmlParser
