#include "platform/Strova.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <exception>
#include <new>
#include <system_error>

#include "platform/common/LastError.h"
#include "platform/common/XMemory.h"

namespace Strova {

struct _THandle {
    Kernova::MemoryPool::_XMemory m_memory;
    std::size_t m_nToEnd = kNoEnd;  // bytes before the end that SetEnd has set

    static constexpr std::size_t kNoEnd = static_cast<std::size_t>(-1);
    std::size_t GetReadable() const { return std::min(m_memory.GetLength(), m_nToEnd); }
};

namespace {

// A stream's first block, so that a message of the usual length needs no second one.
constexpr std::size_t kFirstBytes = 256;

// An emptied stream keeps its block up to this size and gives back a bigger one.
constexpr std::size_t kKeptBytes = 64u << 10;
constexpr std::size_t kLargeBytes = 256u << 10;

// How many of `size` bytes are there to be taken.
std::size_t Available(const _THandle* pStream, int size)
{
    return std::min(static_cast<std::size_t>(size), pStream->GetReadable());
}

// A large stream gives back what has been read of it, half by half: what is made of its bytes needs the
// memory.
void GiveBackFront(Kernova::MemoryPool::_XMemory& memory)
{
    if (memory.m_nFront < kLargeBytes || memory.m_nFront < memory.m_vecBytes.size() / 2)
        return;
    try {
        std::vector<char> vecRest(memory.GetFront(), memory.GetFront() + memory.GetLength());
        memory.m_vecBytes.swap(vecRest);
        memory.m_nFront = 0;
    } catch (const std::bad_alloc&) {  // it keeps its block
    }
}

void DropFront(_THandle& stream, std::size_t nCount)
{
    auto& memory = stream.m_memory;
    if (stream.m_nToEnd != _THandle::kNoEnd)
        stream.m_nToEnd -= nCount;
    memory.m_nFront += nCount;
    if (memory.GetLength() != 0)
        return GiveBackFront(memory);
    memory.m_nFront = 0;
    memory.m_vecBytes.clear();
    if (memory.m_vecBytes.capacity() > kKeptBytes)
        std::vector<char>().swap(memory.m_vecBytes);
}

}  // namespace

_THandle* CreateHandle()
{
    auto* const pStream = new (std::nothrow) _THandle;
    if (pStream == nullptr)
        Platova::FailWith(std::errc::not_enough_memory);
    return pStream;
}

void DestroyHandle(_THandle* pStream) { delete pStream; }

void SetEnd(_THandle* pStream, int size)
{
    if (pStream != nullptr)
        pStream->m_nToEnd = size < 0 ? _THandle::kNoEnd : static_cast<std::size_t>(size);
}

int GetLength(_THandle* pStream) { return pStream == nullptr ? 0 : static_cast<int>(pStream->GetReadable()); }

int Write(_THandle* pStream, const void* data, int size)
{
    if (pStream == nullptr || size < 0 || (data == nullptr && size > 0))
        return Platova::FailWith(std::errc::invalid_argument);
    auto& memory = pStream->m_memory;
    if (memory.GetLength() + static_cast<std::size_t>(size) > static_cast<std::size_t>(INT_MAX))
        return Platova::FailWith(std::errc::file_too_large);
    auto& vecBytes = memory.m_vecBytes;
    // The front is closed up only once it is the larger part, so that every byte moves at most once.
    if (memory.m_nFront > vecBytes.size() / 2) {
        vecBytes.erase(vecBytes.begin(), vecBytes.begin() + static_cast<std::ptrdiff_t>(memory.m_nFront));
        memory.m_nFront = 0;
    }
    try {
        const auto* const pBytes = static_cast<const char*>(data);
        const std::size_t nNeeded = vecBytes.size() + static_cast<std::size_t>(size);
        if (nNeeded > vecBytes.capacity())  // by half: doubling would leave up to half of it unused
            vecBytes.reserve(std::max({nNeeded, vecBytes.capacity() + vecBytes.capacity() / 2, kFirstBytes}));
        vecBytes.insert(vecBytes.end(), pBytes, pBytes + size);
    } catch (const std::exception&) {
        return Platova::FailWith(std::errc::not_enough_memory);
    }
    return size;
}

int Peek(_THandle* pStream, void* data, int size)
{
    if (pStream == nullptr || size < 0 || (data == nullptr && size > 0))
        return Platova::FailWith(std::errc::invalid_argument);
    const std::size_t nCount = Available(pStream, size);
    if (nCount != 0)
        std::memcpy(data, pStream->m_memory.GetFront(), nCount);
    return static_cast<int>(nCount);
}

int Read(_THandle* pStream, void* data, int size)
{
    const int nCount = Peek(pStream, data, size);
    if (nCount > 0)
        DropFront(*pStream, static_cast<std::size_t>(nCount));
    return nCount;
}

int RemoveLeft(_THandle* pStream, int size)
{
    if (pStream == nullptr || size < 0)
        return Platova::FailWith(std::errc::invalid_argument);
    const std::size_t nCount = Available(pStream, size);
    DropFront(*pStream, nCount);
    return static_cast<int>(nCount);
}

Kernova::MemoryPool::_XMemory* GetXMemory(_THandle* pStream)
{
    return pStream == nullptr ? nullptr : &pStream->m_memory;
}

}  // namespace Strova
